#include "device/MidiFifo.h"
#include "device/MidiReceiver.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tavrel {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Feeds each block as the service's thread would, then drains as the drain thread would.
std::vector<Bytes> receive(MidiReceiver& receiver, const std::vector<Bytes>& blocks) {
    std::vector<Bytes> messages;
    for (const Bytes& block : blocks) {
        receiver.receive(block);
        receiver.drain([&](const MidiPacket& p) {
            messages.emplace_back(p.data.begin(), p.data.begin() + p.length);
        });
    }
    return messages;
}

std::vector<Bytes> receive(const std::vector<Bytes>& blocks) {
    MidiReceiver receiver;
    return receive(receiver, blocks);
}

TEST(MidiReceive, ExclusiveMessagesArriveWholeWithoutRealTimeOrCommonBytes) {
    EXPECT_EQ(receive({{0xF0, 0x41, 0x10, 0xF7}}), (std::vector<Bytes>{{0xF0, 0x41, 0x10, 0xF7}}));
    EXPECT_EQ(receive({{0xF0, 0x41, 0xF8, 0x10, 0xFE, 0xF7}}),
              (std::vector<Bytes>{{0xF0, 0x41, 0x10, 0xF7}}))
        << "clock and active sensing inside the message are dropped";
    EXPECT_EQ(receive({{0xF0, 0x41}, {0xF2, 0x10}, {0xF7}}),
              (std::vector<Bytes>{{0xF0, 0x41, 0x10, 0xF7}}))
        << "a system common byte leaves the message open, across blocks";
    EXPECT_EQ(receive({{0xF0, 0xF7}}), (std::vector<Bytes>{{0xF0, 0xF7}}));
}

TEST(MidiReceive, BytesOutsideAMessageProduceNothing) {
    EXPECT_TRUE(receive({{0xF7}}).empty());
    EXPECT_TRUE(receive({{0x3C, 0x64, 0x00}}).empty()) << "data before any status";
    EXPECT_EQ(receive({{0xF0, 0x01, 0xF7, 0x05, 0x06, 0x07, 0xF7}}),
              (std::vector<Bytes>{{0xF0, 0x01, 0xF7}}))
        << "data and a second F7 after the end";
    EXPECT_EQ(receive({{0x90, 0x3C, 0xF0, 0x01, 0xF7, 0x64}}),
              (std::vector<Bytes>{{0xF0, 0x01, 0xF7}}))
        << "an exclusive message drops the unfinished channel message before it";
}

TEST(MidiReceive, ChannelMessagesTakeTheirLengthAndRunningStatusIsNotRebuilt) {
    EXPECT_EQ(
        receive({{0xC5, 0x10}, {0xD2, 0x40}, {0xE0, 0x00, 0x40}, {0xB1, 0x07, 0x64}}),
        (std::vector<Bytes>{{0xC5, 0x10}, {0xD2, 0x40}, {0xE0, 0x00, 0x40}, {0xB1, 0x07, 0x64}}));
    // The data bytes after a complete message fill the record from its first byte on.
    EXPECT_EQ(receive({{0x90, 0x3C, 0x64}, {0x3E, 0x64, 0x00}}),
              (std::vector<Bytes>{{0x90, 0x3C, 0x64}, {0x3E, 0x64, 0x00}}));
    EXPECT_EQ(receive({{0xC5, 0x10, 0x11, 0x12, 0x13}}),
              (std::vector<Bytes>{{0xC5, 0x10}, {0x11, 0x12}}));
    EXPECT_EQ(receive({{0x90, 0x3C}, {0x80, 0x3C, 0x00}}), (std::vector<Bytes>{{0x80, 0x3C, 0x00}}))
        << "a new status drops the unfinished message";
}

Bytes exclusive(std::size_t total) {
    Bytes m(total);
    m.front() = 0xF0;
    for (std::size_t i = 1; i + 1 < total; ++i) m[i] = static_cast<std::uint8_t>(i & 0x7F);
    m.back() = 0xF7;
    return m;
}

TEST(MidiReceive, LongExclusiveMessagesComeIn256BytePieces) {
    const Bytes m300 = exclusive(300);
    const auto pieces = receive({m300});
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[0], Bytes(m300.begin(), m300.begin() + 256)) << "no F7 in the first piece";
    EXPECT_EQ(pieces[1], Bytes(m300.begin() + 256, m300.end())) << "from the 257th byte on";
    EXPECT_EQ(pieces[1].size(), 44u);

    const Bytes m256 = exclusive(256);
    EXPECT_EQ(receive({m256}), (std::vector<Bytes>{m256})) << "F7 as the 256th byte";

    const Bytes m257 = exclusive(257);
    EXPECT_EQ(receive({m257}),
              (std::vector<Bytes>{Bytes(m257.begin(), m257.begin() + 256), Bytes{0xF7}}));

    const Bytes m1000 = exclusive(1000);
    const auto four = receive({m1000});
    ASSERT_EQ(four.size(), 4u);
    EXPECT_EQ(four[3], Bytes(m1000.begin() + 768, m1000.end()));
}

TEST(MidiReceive, TheRingHolds4095BytesInOrderAcrossItsEnd) {
    MidiFifo ring;
    for (int i = 0; i < 4095; ++i) ASSERT_TRUE(ring.pushFifo(static_cast<std::uint8_t>(i)));
    EXPECT_FALSE(ring.pushFifo(0xAA)) << "the 4096th byte is dropped";
    std::uint8_t byte = 0;
    for (int i = 0; i < 4095; ++i) {
        ASSERT_TRUE(ring.popFifo(byte));
        ASSERT_EQ(byte, static_cast<std::uint8_t>(i));
    }
    EXPECT_FALSE(ring.popFifo(byte));

    // Indices now stand just before the end; the next bytes wrap around it.
    for (int i = 0; i < 3000; ++i) ASSERT_TRUE(ring.pushFifo(static_cast<std::uint8_t>(i * 7)));
    for (int i = 0; i < 3000; ++i) {
        ASSERT_TRUE(ring.popFifo(byte));
        ASSERT_EQ(byte, static_cast<std::uint8_t>(i * 7));
    }
}

TEST(MidiReceive, AFullRingDropsWhatComesAfterButADrainIsStillDue) {
    MidiReceiver receiver;
    EXPECT_FALSE(receiver.receive(Bytes{0xF8, 0xFA, 0xFE, 0xFF})) << "real time only: no drain";
    EXPECT_TRUE(receiver.receive(Bytes{0x90, 0x3C, 0x64}));
    EXPECT_TRUE(receiver.receive(Bytes(4092, 0x01)));  // the ring is full now
    EXPECT_TRUE(receiver.receive(Bytes{0xC5, 0x10})) << "dropped bytes still count";

    std::vector<Bytes> messages;
    receiver.drain([&](const MidiPacket& p) {
        messages.emplace_back(p.data.begin(), p.data.begin() + p.length);
    });
    ASSERT_EQ(messages.size(), 1u + 4092u / 3u);
    EXPECT_EQ(messages.front(), (Bytes{0x90, 0x3C, 0x64}));
    EXPECT_EQ(messages.back(), (Bytes{0x01, 0x01, 0x01})) << "the program change never arrived";
}

}  // namespace
}  // namespace tavrel
