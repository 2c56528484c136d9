// Tests that need the system's General MIDI SoundFont: skipped, with the reason, where none
// is installed (`./dev deps` installs one); the step log is kept quiet.
#pragma once

#include "model/Log.h"
#include "playback/DrumSynth.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace tavrel::test {

class SynthFixture : public ::testing::Test {
protected:
    SynthFixture() {
        Log::setSink([](std::string_view, std::string_view) {});
    }
    ~SynthFixture() override { Log::setSink({}); }

    void SetUp() override {
        if (!DrumSynth::defaultSoundFont()) {
            GTEST_SKIP() << "no General MIDI SoundFont installed (./dev deps installs one)";
        }
    }

    static std::unique_ptr<DrumSynth> openSynth(double sampleRate) {
        std::string error;
        auto synth = DrumSynth::open(*DrumSynth::defaultSoundFont(), sampleRate, error);
        EXPECT_TRUE(synth) << error;
        return synth;
    }
};

}  // namespace tavrel::test
