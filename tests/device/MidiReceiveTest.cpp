#include "device/MidiFifo.h"
#include "device/MidiReceiver.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tavrel {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Messages = std::vector<Bytes>;

// Feeds each block as the service's thread would, then drains as the drain thread would.
Messages receive(MidiReceiver& receiver, const Messages& blocks) {
    Messages messages;
    for (const Bytes& block : blocks) {
        receiver.receive(block);
        receiver.drain([&](const MidiPacket& p) {
            messages.emplace_back(p.data.begin(), p.data.begin() + p.length);
        });
    }
    return messages;
}

Messages receive(const Messages& blocks) {
    MidiReceiver receiver;
    return receive(receiver, blocks);
}

TEST(MidiReceive, AssemblesWholeMessagesAndKeepsTheParsersHabits) {
    const struct {
        const char* what;
        Messages blocks;
        Messages expected;
    } cases[] = {
        {"exclusive", {{0xF0, 0x41, 0x10, 0xF7}}, {{0xF0, 0x41, 0x10, 0xF7}}},
        {"real time inside", {{0xF0, 0x41, 0xF8, 0x10, 0xFE, 0xF7}}, {{0xF0, 0x41, 0x10, 0xF7}}},
        {"common inside, blocks", {{0xF0, 0x41}, {0xF2, 0x10}, {0xF7}}, {{0xF0, 0x41, 0x10, 0xF7}}},
        {"empty exclusive", {{0xF0, 0xF7}}, {{0xF0, 0xF7}}},
        {"stray F7", {{0xF7}, {0x90, 0x3C, 0x64, 0xF7}}, {{0x90, 0x3C, 0x64}}},
        {"data before any status", {{0x3C, 0x64, 0x00}}, {}},
        {"data after F7", {{0xF0, 0x01, 0xF7, 0x05, 0x06, 0x07, 0xF7}}, {{0xF0, 0x01, 0xF7}}},
        {"F0 drops a note", {{0x90, 0x3C, 0xF0, 0x01, 0xF7, 0x64}}, {{0xF0, 0x01, 0xF7}}},
        {"status drops a note", {{0x90, 0x3C}, {0x80, 0x3C, 0x00}}, {{0x80, 0x3C, 0x00}}},
        {"no running status",
         {{0x90, 0x3C, 0x64}, {0x3E, 0x64, 0x00}},
         {{0x90, 0x3C, 0x64}, {0x3E, 0x64, 0x00}}},
        {"after a program change", {{0xC5, 0x10, 0x11, 0x12, 0x13}}, {{0xC5, 0x10}, {0x11, 0x12}}},
        {"lengths",
         {{0xC5, 0x10}, {0xD2, 0x40}, {0xE0, 0x00, 0x40}, {0xB1, 0x07, 0x64}},
         {{0xC5, 0x10}, {0xD2, 0x40}, {0xE0, 0x00, 0x40}, {0xB1, 0x07, 0x64}}},
    };
    for (const auto& c : cases) EXPECT_EQ(receive(c.blocks), c.expected) << c.what;
}

TEST(MidiReceive, TheRingHolds4095BytesInOrderAcrossItsEnd) {
    MidiFifo ring;
    std::uint8_t byte = 0;
    // The second round starts just before the end of the ring and wraps around it.
    for (const int round : {1, 7}) {
        for (int i = 0; i < 4095; ++i)
            ASSERT_TRUE(ring.pushFifo(static_cast<std::uint8_t>(i * round)));
        EXPECT_FALSE(ring.pushFifo(0xAA)) << "the 4096th byte is dropped";
        for (int i = 0; i < 4095; ++i) {
            ASSERT_TRUE(ring.popFifo(byte));
            ASSERT_EQ(byte, static_cast<std::uint8_t>(i * round));
        }
        EXPECT_FALSE(ring.popFifo(byte));
    }
}

TEST(MidiReceive, AFullRingDropsWhatComesAfterButADrainIsStillDue) {
    MidiReceiver receiver;
    EXPECT_FALSE(receiver.receive(Bytes{0xF8, 0xFA, 0xFE, 0xFF})) << "real time only: no drain";
    EXPECT_TRUE(receiver.receive(Bytes{0x90, 0x3C, 0x64}));
    EXPECT_TRUE(receiver.receive(Bytes(4092, 0x01)));  // the ring is full now
    EXPECT_TRUE(receiver.receive(Bytes{0xC5, 0x10})) << "dropped bytes still count";

    const Messages messages = receive(receiver, Messages{Bytes{}});
    ASSERT_EQ(messages.size(), 1u + 4092u / 3u);
    EXPECT_EQ(messages.front(), (Bytes{0x90, 0x3C, 0x64}));
    EXPECT_EQ(messages.back(), (Bytes{0x01, 0x01, 0x01})) << "the program change never arrived";
}

}  // namespace
}  // namespace tavrel
