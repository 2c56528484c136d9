// System-exclusive messages through the real sequencer: out of our output port, into our
// input port, and from and to another program: sizes around the transport's 256-byte pieces,
// and longer than its receive ring.

#include "alsa/AlsaTestKit.h"
#include "alsa/RawClient.h"
#include "alsa/TransportTest.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <vector>

namespace tavrel {
namespace {

using test::Bytes;
using test::RawClient;

const std::vector<std::size_t> kSizes{16, 31, 256, 257, 4096};

class AlsaExclusiveTest : public test::TransportTest {
protected:
    // Sends a message of each size with `send` and returns the pieces the delegate got, in
    // order.
    template <class Send>
    std::vector<Bytes> roundTrip(const std::vector<std::size_t>& sizes, Send send,
                                 std::vector<Bytes>& expected) {
        std::uint8_t seed = 0;
        for (const std::size_t size : sizes) {
            const Bytes message = test::exclusive(size, seed++);
            for (auto& piece : test::pieces(message)) expected.push_back(std::move(piece));
            send(message);
        }
        return recorder.waitForReceived(expected.size());
    }

    // Midi Through, the kernel's port that sends back what it gets, both ways.
    void loopBack() {
        midi->searchDevice();
        const std::string through = "Midi Through:Midi Through Port-0";
        ASSERT_TRUE(midi->selectInputDevice(test::indexOf(midi->getInputPortList(), through)));
        ASSERT_TRUE(midi->selectOutputDevice(test::indexOf(midi->getOutputPortList(), through)));
    }
};

TEST_F(AlsaExclusiveTest, OurMessagesComeBackThroughMidiThroughWholeOrIn256BytePieces) {
    loopBack();

    const auto start = std::chrono::steady_clock::now();
    std::vector<Bytes> expected;
    // More than the kernel keeps for a client's input unless asked for more room: it comes
    // back whole even while our receive thread is held up by the delegate.
    std::vector<std::size_t> sizes = kSizes;
    sizes.push_back(32768);
    const auto received = roundTrip(
        sizes, [&](const Bytes& m) { midi->sendMidiWithData(m.data(), std::ssize(m)); }, expected);
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(test::summary(received), test::summary(expected));
    EXPECT_TRUE(received == expected) << "same sizes, other bytes";
    EXPECT_TRUE(recorder.failedSends.empty());
    std::printf("round trip of %zu pieces: %lld ms\n", expected.size(),
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::milliseconds>(took).count()));
}

// A message may be sent block by block, as it was received; a block that goes on with it starts
// without F0. Data bytes that belong to no message are not sent at all.
TEST_F(AlsaExclusiveTest, AMessageSentInPiecesComesBackAsOne) {
    loopBack();
    const Bytes message = test::exclusive(600, 9);
    const Bytes stray{0x10, 0x20};
    const Bytes note{0x90, 0x3C, 0x64};
    midi->sendMidiWithData(stray.data(), std::ssize(stray));
    for (const auto& piece : test::pieces(message)) {
        midi->sendMidiWithData(piece.data(), std::ssize(piece));
    }
    midi->sendMidiWithData(stray.data(), std::ssize(stray));
    midi->sendMidiWithData(note.data(), std::ssize(note));
    std::vector<Bytes> expected = test::pieces(message);
    expected.push_back(note);
    const auto received = recorder.waitForReceived(expected.size());
    EXPECT_EQ(test::summary(received), test::summary(expected));
    EXPECT_TRUE(received == expected) << "same sizes, other bytes";
}

// A program that connects itself to our input, as a patchbay would, reaches the delegate
// though it is not the selected source; and it can be our output device.
TEST_F(AlsaExclusiveTest, AnotherProgramReachesOurInputAndIsReachedFromOurOutput) {
    RawClient other("Other");
    ASSERT_TRUE(other.isOpen());
    const int port = other.addPort("io", RawClient::kReadable | RawClient::kWritable);
    ASSERT_GE(port, 0);
    int connected = 0;
    for (const auto& ours : other.ports()) {
        if (ours.clientName != "Tavrel" || ours.portName != "MidiLib-InPort") continue;
        ASSERT_EQ(other.connectTo(port, ours.client, ours.port), 0);
        ++connected;
    }
    ASSERT_EQ(connected, 1);
    std::vector<Bytes> expected;
    const auto received = roundTrip(
        kSizes, [&](const Bytes& m) { EXPECT_GE(other.sendToSubscribers(port, m), 0); }, expected);
    EXPECT_EQ(test::summary(received), test::summary(expected));
    EXPECT_TRUE(received == expected) << "same sizes, other bytes";

    midi->searchDevice();
    ASSERT_TRUE(midi->selectOutputDevice(test::indexOf(midi->getOutputPortList(), "Other:io")));
    Bytes sent;
    std::uint8_t seed = 0;
    for (const std::size_t size : kSizes) {
        const Bytes message = test::exclusive(size, seed++);
        midi->sendMidiWithData(message.data(), std::ssize(message));
        sent.insert(sent.end(), message.begin(), message.end());
    }
    const Bytes arrived = other.receive(sent.size(), std::chrono::seconds(5));
    EXPECT_EQ(arrived.size(), sent.size());
    EXPECT_TRUE(arrived == sent);
    EXPECT_TRUE(recorder.failedSends.empty());
}

}  // namespace
}  // namespace tavrel
