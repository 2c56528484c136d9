// Tests that need the system's General MIDI SoundFont: skipped, with the reason, where none
// is installed (`./dev deps` installs one); the step log is kept quiet. Given a sample rate,
// the fixture opens a synthesizer on that SoundFont for the test.
#pragma once

#include "model/Log.h"
#include "playback/DrumSynth.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace tavrel::test {

class SynthFixture : public ::testing::Test {
protected:
    explicit SynthFixture(double sampleRate = 0) : mSampleRate(sampleRate) {
        Log::setSink([](std::string_view, std::string_view) {});
    }
    ~SynthFixture() override { Log::setSink({}); }

    void SetUp() override {
        if (!DrumSynth::defaultSoundFont()) {
            GTEST_SKIP() << "no General MIDI SoundFont installed (./dev deps installs one)";
        }
        if (mSampleRate == 0) return;
        std::string error;
        synth = DrumSynth::open(*DrumSynth::defaultSoundFont(), mSampleRate, error);
        ASSERT_TRUE(synth) << error;
    }

    std::unique_ptr<DrumSynth> synth;

private:
    double mSampleRate;
};

}  // namespace tavrel::test
