// System-exclusive messages through the real sequencer: out of our output port, into our
// input port, from another program, and from and to a unit on a USB cable: sizes around
// the transport's 256-byte pieces, and longer than its receive ring.

#include "alsa/AlsaTestKit.h"
#include "alsa/RawClient.h"
#include "alsa/TransportTest.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace tavrel {
namespace {

using test::Bytes;
using test::RawClient;

const std::vector<std::size_t> kSizes{16, 31, 256, 257, 4096};

// One message of each size, each with bytes of its own.
std::vector<Bytes> messages(const std::vector<std::size_t>& sizes) {
    std::vector<Bytes> all;
    all.reserve(sizes.size());
    for (const std::size_t size : sizes) {
        all.push_back(test::exclusive(size, static_cast<std::uint8_t>(all.size())));
    }
    return all;
}

// The pieces the delegate is given for `sent`, in order.
std::vector<Bytes> piecesOf(const std::vector<Bytes>& sent) {
    std::vector<Bytes> all;
    for (const Bytes& message : sent) {
        for (auto& piece : test::pieces(message)) all.push_back(std::move(piece));
    }
    return all;
}

class AlsaExclusiveTest : public test::TransportTest {
protected:
    void send(const Bytes& message) { midi->sendMidiWithData(message.data(), std::ssize(message)); }

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
    // More than the kernel keeps for a client's input unless asked for more room: it comes
    // back whole even while our receive thread is held up by the delegate.
    std::vector<std::size_t> sizes = kSizes;
    sizes.push_back(32768);
    const auto sent = messages(sizes);
    for (const Bytes& message : sent) send(message);
    const auto expected = piecesOf(sent);
    test::expectPieces(recorder.waitForReceived(expected.size()), expected);
    const auto took = std::chrono::steady_clock::now() - start;
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
    send(stray);
    for (const auto& piece : test::pieces(message)) send(piece);
    send(stray);
    send(note);
    std::vector<Bytes> expected = test::pieces(message);
    expected.push_back(note);
    test::expectPieces(recorder.waitForReceived(expected.size()), expected);
}

// A program that connects itself to our input, as a patchbay would, reaches the delegate
// though it is not the selected source.
TEST_F(AlsaExclusiveTest, AnotherProgramThatConnectsItselfReachesOurInput) {
    RawClient other("Other");
    ASSERT_TRUE(other.isOpen());
    const int port = other.addPort("out", RawClient::kReadable);
    ASSERT_GE(port, 0);
    int connected = 0;
    for (const auto& ours : other.ports()) {
        if (ours.clientName != "Tavrel" || ours.portName != "MidiLib-InPort") continue;
        ASSERT_EQ(other.connectTo(port, ours.client, ours.port), 0);
        ++connected;
    }
    ASSERT_EQ(connected, 1);
    const auto sent = messages(kSizes);
    for (const Bytes& message : sent) EXPECT_GE(other.sendToSubscribers(port, message), 0);
    const auto expected = piecesOf(sent);
    test::expectPieces(recorder.waitForReceived(expected.size()), expected);
}

// A unit on a USB cable reaches the sequencer as a kernel client with a card number: its bytes
// come from a raw MIDI port, and the kernel cuts them into events of its own sizes. A virtual
// raw MIDI card (snd-virmidi) plays that unit here: what is written to its device file is what
// the cable would carry, and what we send comes out of it.
class AlsaRawMidiTest : public AlsaExclusiveTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        midi->searchDevice();
        const auto& ports = midi->getInputPortList();
        int number = -1;
        int device = -1;
        const auto card = std::find_if(ports.begin(), ports.end(), [&](const CportProperties& p) {
            return std::sscanf(p.deviceName().c_str(), "Virtual Raw MIDI %d-%d:", &number,
                               &device) == 2;
        });
        if (card == ports.end()) {
            if (std::getenv("TAVREL_REQUIRE_ALSA") != nullptr) FAIL() << "no virtual MIDI card";
            GTEST_SKIP() << "no virtual raw MIDI card here (modprobe snd-virmidi)";
        }
        const std::string port = card->deviceName();
        const std::string file =
            "/dev/snd/midiC" + std::to_string(number) + "D" + std::to_string(device);
        mRaw = ::open(file.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(mRaw, 0) << file;
        // The card passes events on to its device file only once that has been read from.
        std::uint8_t none = 0;
        [[maybe_unused]] const ssize_t nothing = ::read(mRaw, &none, 1);
        ASSERT_TRUE(midi->selectInputDevice(test::indexOf(ports, port)));
        ASSERT_TRUE(midi->selectOutputDevice(test::indexOf(midi->getOutputPortList(), port)));
    }
    void TearDown() override {
        if (mRaw >= 0) ::close(mRaw);
    }

    // What the cable carries to us.
    void cableSends(const Bytes& bytes) const {
        ASSERT_EQ(::write(mRaw, bytes.data(), bytes.size()), std::ssize(bytes));
    }
    // What the cable carries away, until `count` bytes came or two seconds passed.
    Bytes cableReceives(std::size_t count) {
        Bytes got;
        pollfd readable{mRaw, POLLIN, 0};
        while (got.size() < count && ::poll(&readable, 1, 2000) > 0) {
            std::uint8_t block[512];
            const ssize_t n = ::read(mRaw, block, sizeof block);
            if (n <= 0) break;
            got.insert(got.end(), block, block + n);
        }
        return got;
    }

    int mRaw = -1;
};

// The unit's reply arrives whole, a long message in the transport's pieces however the kernel
// cut it, and a note as itself.
TEST_F(AlsaRawMidiTest, WhatTheUnitSendsArrivesAsFromAnyOtherPort) {
    const Bytes reply{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04,
                      0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7};
    const Bytes dump = test::exclusive(600, 3);
    const Bytes note{0x99, 0x24, 0x64};
    cableSends(test::joined({reply, dump, note}));
    std::vector<Bytes> expected = piecesOf({reply, dump});
    expected.push_back(note);
    test::expectPieces(recorder.waitForReceived(expected.size()), expected);
}

TEST_F(AlsaRawMidiTest, WhatWeSendReachesTheCableByteForByte) {
    const Bytes request{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04, 0x11,
                        0x7F, 0x70, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7};
    const Bytes dump = test::exclusive(1500, 5);
    send(request);
    send(dump);
    midi->sendMidi(MidiPacket{0, 3, {0x99, 0x24, 0x64}});
    const Bytes expected = test::joined({request, dump, {0x99, 0x24, 0x64}});
    const Bytes got = cableReceives(expected.size());
    EXPECT_EQ(got.size(), expected.size());
    EXPECT_TRUE(got == expected);
    EXPECT_TRUE(recorder.failedSends.empty());
}

}  // namespace
}  // namespace tavrel
