// The synthesizer as the preview's output: chosen beside the MIDI output, and what happens on
// a computer where no audio driver opens.
#include "playback/CMidiOutMgr.h"
#include "playback/DrumSynth.h"
#include "playback/PreviewOutputSelector.h"
#include "playback/PreviewRig.h"
#include "playback/SynthAudioDriver.h"
#include "playback/SynthFixture.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavrel::test {
namespace {

class SynthOutputTest : public SynthFixture {
protected:
    SynthOutputTest() : SynthFixture(48000) {}

    // Whether anything sounds after a short render.
    bool sounding() {
        std::vector<float> block(std::size_t{2} * 256);
        synth->render(block.data(), 256);
        return synth->activeVoices() > 0;
    }
};

TEST_F(SynthOutputTest, WithNoAudioDriverSaysSoOnceAndStillTakesNotes) {
    const SynthAudioDriver driver(*synth, {"no-such-driver", "neither"});
    EXPECT_FALSE(driver.playing());
    EXPECT_EQ(driver.describe(),
              "No audio output opened (tried no-such-driver, neither); the built-in synthesizer "
              "plays silently");
    synth->noteOn(38, 100);
    EXPECT_TRUE(sounding());
}

TEST_F(SynthOutputTest, SelectorSendsToTheChosenOutputAndEndsTheOneLeft) {
    PreviewRig rig;  // its sequencer is never played
    CMidiOutMgr midiOut(rig.midi);
    PreviewOutputSelector output(midiOut);

    output.useOutput(*synth);
    output.noteOn(38, 100);
    EXPECT_TRUE(sounding());
    EXPECT_TRUE(rig.sentSince().all.empty());

    output.useMidi();  // the synthesizer's notes end as it is left
    for (int i = 0; i < 400 && synth->activeVoices() > 0; ++i) sounding();
    EXPECT_EQ(synth->activeVoices(), 0);
    output.noteOn(36, 90);
    EXPECT_EQ(rig.sentSince().all.size(), 1U);
}

// Values a MIDI data byte cannot carry are not played, rather than wrapped into other notes.
TEST_F(SynthOutputTest, NotesOutsideTheMidiRangeAreNotPlayed) {
    for (const auto& [note, velocity] :
         std::vector<std::pair<int, int>>{{-1, 100}, {128, 100}, {38, 0}, {38, 128}, {38, -3}}) {
        synth->noteOn(note, velocity);
        EXPECT_FALSE(sounding()) << note << ' ' << velocity;
    }
}

}  // namespace
}  // namespace tavrel::test
