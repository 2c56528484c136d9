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
    // What a transport on a service that cannot start does is MidiLibSetup's to show.
    for (int attempt = 0; attempt < 2; ++attempt) EXPECT_FALSE(MidiLib(service).isReady());
    EXPECT_EQ(log.count("device: ALSA sequencer not available: "), 1);

    EXPECT_TRUE(service.sources().empty() && service.destinations().empty());
    EXPECT_FALSE(service.connectSource(0x8000).ok());
    const auto sent = service.send(0x8000, Bytes{0x90, 0x3C, 0x64});
    EXPECT_FALSE(sent.ok());
    EXPECT_FALSE(sent.what.empty());
}

}  // namespace
}  // namespace tavrel
