#include "device/MidiLib.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "playback/CMidiOutMgr.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tavrel {
namespace {

using Bytes = std::vector<std::uint8_t>;

class CMidiOutMgrTest : public ::testing::Test {
protected:
    CMidiOutMgrTest() {
        midi.searchDevice();
        midi.selectOutputDevice(0);
    }
    std::vector<Bytes> sentSinceLastLook() {
        std::vector<Bytes> all;
        const auto backlog = service.backlog(dest);
        for (std::size_t i = seen; i < backlog.size(); ++i) all.push_back(backlog[i].bytes);
        seen = backlog.size();
        return all;
    }

    VirtualMidiService service;
    std::int64_t dest = service.addDestination("Drums");
    MidiLib midi{service};
    CMidiOutMgr out{&midi};
    std::size_t seen = 0;
};

TEST_F(CMidiOutMgrTest, SendsOnChannelTenAsLowBytesUnchecked) {
    out.noteOn(36, 100);
    out.noteOn(200, -1);
    out.programChange(5);
    out.programChange(-3);
    EXPECT_EQ(sentSinceLastLook(),
              (std::vector<Bytes>{{0x99, 36, 100}, {0x99, 0xC8, 0xFF}, {0xC9, 5}, {0xC9, 0xFD}}));
    out.allOff();
    EXPECT_EQ(sentSinceLastLook(), (std::vector<Bytes>{{0x89, 36, 0x40}, {0x89, 0xC8, 0x40}}));
    out.allOff();
    EXPECT_TRUE(sentSinceLastLook().empty()) << "an empty ring sends nothing";
}

TEST_F(CMidiOutMgrTest, TickComeEndsANoteAfterItsFiftyTicks) {
    out.noteOn(38, 90);
    sentSinceLastLook();
    for (int i = 1; i < CMidiOutMgr::kNoteLength; ++i) out.tickCome();
    out.noteOn(42, 80);
    EXPECT_EQ(sentSinceLastLook(), (std::vector<Bytes>{{0x99, 42, 80}}));
    out.tickCome();
    EXPECT_EQ(sentSinceLastLook(), (std::vector<Bytes>{{0x89, 38, 0x40}}));
    out.allOff();
    EXPECT_EQ(sentSinceLastLook(), (std::vector<Bytes>{{0x89, 42, 0x40}}))
        << "a note tickCome ended is not ended again";
}

}  // namespace
}  // namespace tavrel
