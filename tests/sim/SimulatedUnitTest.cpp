#include "sim/ReplyChecks.h"
#include "sim/SimulatedUnit.h"
#include "sim/UnitRig.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::message;

struct ModelCase {
    sim::UnitModel model;
    std::uint8_t id;  // the last byte of its header
};

void PrintTo(const ModelCase& param, std::ostream* out) {
    *out << param.model.name();
}

std::string caseName(const ::testing::TestParamInfo<ModelCase>& info) {
    return info.param.id == 0x04 ? "QL900" : "QL414XE3";
}

// Requests as the device link stores them, checksums included.
const Bytes kEditorOn{0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7};
const Bytes kEditorOff{0x12, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x11, 0xF7};
const Bytes kMount{0x12, 0x7F, 0x70, 0x00, 0x01, 0x01, 0x0F, 0xF7};
const Bytes kUnmount{0x12, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x10, 0xF7};
const Bytes kAskEditorMode{0x11, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7};
const Bytes kAskMount{0x11, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x0F, 0xF7};
const Bytes kAskKits{0x11, 0x7F, 0x70, 0x01, 0x00, 0x00, 0x00, 0x00, 0x63, 0x2D, 0xF7};

class SimulatedUnitTest : public ::testing::TestWithParam<ModelCase> {
protected:
    SimulatedUnitTest() : rig(GetParam().model) {}
    void SetUp() override { ASSERT_TRUE(rig.plugIn()); }

    Bytes msg(const Bytes& body) const { return message(GetParam().id, body); }
    std::vector<Bytes> ask(const Bytes& body) { return rig.exchange(msg(body)); }
    std::vector<Bytes> only(const Bytes& body) const { return {msg(body)}; }
    bool volumeShown() { return rig.volumes.exists(rig.root() / "VANTIK" / "DATA" / "RHYTHM.QL0"); }

    test::UnitRig rig;
};

TEST_P(SimulatedUnitTest, ReportsItsEditorModeWithTheLinksOwnMessages) {
    EXPECT_EQ(ask(kAskEditorMode), only({0x12, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x11, 0xF7}));
    EXPECT_EQ(ask(kEditorOn), only(kEditorOn));
    EXPECT_TRUE(rig.unit->editorMode());
    EXPECT_EQ(ask(kAskEditorMode), only(kEditorOn));
    EXPECT_EQ(ask(kEditorOff), only(kEditorOff));
    EXPECT_FALSE(rig.unit->editorMode());
}

TEST_P(SimulatedUnitTest, MountShowsTheStorageAsAVolumeUntilUnmounted) {
    ask(kEditorOn);
    EXPECT_FALSE(volumeShown());
    EXPECT_EQ(ask(kMount), only(kMount));
    EXPECT_EQ(rig.volumes.volumes(), std::vector<fs::path>{rig.root()});
    EXPECT_TRUE(volumeShown());
    EXPECT_EQ(ask(kAskMount), only({0x12, 0x7F, 0x70, 0x00, 0x01, 0x01, 0x0F, 0xF7}));

    EXPECT_EQ(ask(kUnmount), only(kUnmount));
    EXPECT_TRUE(rig.volumes.volumes().empty());
    EXPECT_TRUE(fs::exists(rig.root() / "VANTIK" / "DATA" / "RHYTHM.QL0"));
    // The storage took the editor's session with it: the unit is free for the next one.
    EXPECT_EQ(ask(kAskEditorMode), only(kEditorOff));
}

TEST_P(SimulatedUnitTest, EditorOffTakesTheStorageBackAndSaysSo) {
    ask(kEditorOn);
    ask(kMount);
    EXPECT_EQ(ask(kEditorOff), (std::vector<Bytes>{msg(kEditorOff), msg(kUnmount)}));
    EXPECT_TRUE(rig.volumes.volumes().empty());
    EXPECT_FALSE(rig.unit->mounted());
}

TEST_P(SimulatedUnitTest, MountsOnlyForAnEditor) {
    EXPECT_EQ(ask(kMount), only(kUnmount));
    EXPECT_TRUE(rig.volumes.volumes().empty());
    EXPECT_TRUE(ask(kAskKits).empty());
}

TEST_P(SimulatedUnitTest, SendsOneMessagePerKitThenAnEmptySlot) {
    ask(kEditorOn);
    const std::vector<Bytes> replies = ask(kAskKits);
    ASSERT_GE(replies.size(), 31u);
    ASSERT_LE(replies.size(), 61u);
    for (const Bytes& reply : replies) {
        test::expectWellFormedDataSet(reply, GetParam().id);
        EXPECT_EQ(reply.size(), 31u);  // 16 name bytes each
    }
    // "Studio Rock" padded to 16 bytes; 7F+70+01+00 and the name sum to 1463, 73 short of 1536.
    EXPECT_EQ(replies[0], msg({0x12, 0x7F, 0x70, 0x01, 0x00, 'S', 't', 'u', 'd', 'i',  'o', ' ',
                               'R',  'o',  'c',  'k',  ' ',  ' ', ' ', ' ', ' ', 0x49, 0xF7}));
    // Slot addresses step by 16 and carry into the next 7-bit byte.
    EXPECT_EQ(Bytes(replies[1].begin() + 9, replies[1].begin() + 13),
              (Bytes{0x7F, 0x70, 0x01, 0x10}));
    EXPECT_EQ(Bytes(replies[7].begin() + 9, replies[7].begin() + 13),
              (Bytes{0x7F, 0x70, 0x01, 0x70}));
    EXPECT_EQ(Bytes(replies[8].begin() + 9, replies[8].begin() + 13),
              (Bytes{0x7F, 0x70, 0x02, 0x00}));
    const std::size_t end = replies.size() - 1;
    const Bytes& last = replies.back();
    EXPECT_EQ(last[11] * 128 + last[12], 128 + 16 * static_cast<int>(end));
    EXPECT_EQ(last[13], 0) << "the closing slot starts with 0";
    for (std::size_t kit = 0; kit < end; ++kit) {
        EXPECT_NE(replies[kit][13], 0) << "kit " << kit;
        EXPECT_NE(replies[kit][13], ' ') << "kit " << kit;
        EXPECT_EQ(replies[kit][28], ' ') << "kit " << kit << " has at most 15 characters";
    }
}

TEST_P(SimulatedUnitTest, IgnoresWhatIsNotAGoodRequestOfItsModel) {
    const std::uint8_t other = GetParam().id == 0x04 ? 0x05 : 0x04;
    Bytes badChecksum = msg(kEditorOn);
    badChecksum[14] = 0x11;
    const std::vector<Bytes> bad{
        badChecksum,
        message(other, kEditorOn),
        msg({0x12, 0x7F, 0x70, 0x00, 0x02, 0x01, 0x0E, 0xF7}),        // no such address
        msg({0x13, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7}),        // no such command
        msg({0x11, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7}),  // size of three bytes
        msg({0x12, 0x7F, 0x70, 0xF7}),
    };
    for (const Bytes& request : bad) {
        EXPECT_TRUE(rig.exchange(request).empty()) << ::testing::PrintToString(request);
    }
    EXPECT_EQ(rig.unit->messagesIgnored(), static_cast<int>(bad.size()));
    EXPECT_FALSE(rig.unit->editorMode());
    // A preview's notes are for the unit's sounds and no business of the protocol.
    EXPECT_TRUE(rig.exchange({0x99, 0x24, 0x64, 0x89, 0x24, 0x00}).empty());
    EXPECT_EQ(rig.unit->messagesIgnored(), static_cast<int>(bad.size()));
    EXPECT_EQ(ask(kEditorOn), only(kEditorOn));
}

TEST_P(SimulatedUnitTest, AssemblesARequestThatArrivesInPieces) {
    const Bytes whole = msg(kEditorOn);
    rig.send(Bytes(whole.begin(), whole.begin() + 5));
    rig.send({0xF8});  // a clock tick in the middle
    rig.send(Bytes(whole.begin() + 5, whole.end()));
    EXPECT_EQ(rig.replies(), only(kEditorOn));
}

INSTANTIATE_TEST_SUITE_P(BothModels, SimulatedUnitTest,
                         ::testing::Values(ModelCase{sim::UnitModel::ql900(), 0x04},
                                           ModelCase{sim::UnitModel::ql414xe3(), 0x05}),
                         caseName);

}  // namespace
}  // namespace tavrel
