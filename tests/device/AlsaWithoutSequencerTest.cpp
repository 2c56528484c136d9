#include "device/platform/alsa/AlsaMidiService.h"

#include "alsa/SequencerTest.h"
#include "device/MidiLib.h"
#include "device/TestKit.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

using test::Bytes;

TEST(AlsaMidiService, WithoutASequencerItSaysSoOnceAndListsNothing) {
    if (test::haveSequencer()) {
        GTEST_SKIP() << "this computer has an ALSA sequencer (/dev/snd/seq), so the path for "
                        "one without it cannot be taken here";
    }
    test::LogCapture log;
    AlsaMidiService service;
    test::MidiRecorder recorder;
    for (int attempt = 0; attempt < 2; ++attempt) {
        MidiLib midi(service);
        midi.setDelegate(&recorder);
        EXPECT_FALSE(midi.isReady());
        midi.searchDevice();
        EXPECT_TRUE(midi.getInputPortList().empty());
        EXPECT_TRUE(midi.getOutputPortList().empty());
        EXPECT_FALSE(midi.selectInputDevice(0));
        midi.sendMidi(MidiPacket{0, 3, {0x99, 0x24, 0x64}});
    }
    EXPECT_EQ(log.count("device: ALSA sequencer not available: "), 1);

    EXPECT_TRUE(service.sources().empty());
    EXPECT_FALSE(service.connectSource(0x8000).ok());
    const auto sent = service.send(0x8000, Bytes{0x90, 0x3C, 0x64});
    EXPECT_FALSE(sent.ok());
    EXPECT_FALSE(sent.what.empty());
    EXPECT_TRUE(recorder.calls.empty());
}

}  // namespace
}  // namespace tavrel
