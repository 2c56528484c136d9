#include "playback/CMidiOutMgr.h"
#include "playback/PreviewRig.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavrel {
namespace {

using test::Bytes;

// The note output alone: the rig's sequencer is never played, so only `out` sends.
class CMidiOutMgrTest : public ::testing::Test {
protected:
    test::PreviewRig rig;
    CMidiOutMgr out{rig.midi};
};

TEST_F(CMidiOutMgrTest, SendsOnChannelTenAsLowBytesUnchecked) {
    out.noteOn(36, 100);
    out.noteOn(200, -1);
    out.programChange(5);
    out.programChange(-3);
    EXPECT_EQ(rig.sentSince().all,
              (std::vector<Bytes>{{0x99, 36, 100}, {0x99, 0xC8, 0xFF}, {0xC9, 5}, {0xC9, 0xFD}}));
    out.allOff();
    EXPECT_EQ(rig.sentSince().all, (std::vector<Bytes>{{0x89, 36, 0x40}, {0x89, 0xC8, 0x40}}));
    out.allOff();
    EXPECT_TRUE(rig.sentSince().all.empty()) << "an empty ring sends nothing";
}

TEST_F(CMidiOutMgrTest, TickComeEndsANoteAfterItsFiftyTicks) {
    out.noteOn(38, 90);
    rig.sentSince();
    for (int i = 1; i < CMidiOutMgr::kNoteLength; ++i) out.tickCome();
    out.noteOn(42, 80);
    EXPECT_EQ(rig.sentSince().all, (std::vector<Bytes>{{0x99, 42, 80}}));
    out.tickCome();
    EXPECT_EQ(rig.sentSince().all, (std::vector<Bytes>{{0x89, 38, 0x40}}));
    out.allOff();
    EXPECT_EQ(rig.sentSince().all, (std::vector<Bytes>{{0x89, 42, 0x40}}))
        << "a note tickCome ended is not ended again";
}

}  // namespace
}  // namespace tavrel
