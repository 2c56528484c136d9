// A unit on a USB cable reaches the sequencer as a kernel client with a card number: its bytes
// come from a raw MIDI port, and the kernel cuts them into events of its own sizes. A virtual
// raw MIDI card (snd-virmidi) plays that unit here: what is written to its device file is what
// the cable would carry, and what we send comes out of it.

#include "alsa/AlsaTestKit.h"
#include "alsa/TransportTest.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace tavrel {
namespace {

using test::Bytes;

class AlsaRawMidiTest : public test::TransportTest {
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
        mPort = card->deviceName();
        const std::string file =
            "/dev/snd/midiC" + std::to_string(number) + "D" + std::to_string(device);
        mRaw = ::open(file.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(mRaw, 0) << file;
        // The card passes events on to its device file only once that has been read from.
        std::uint8_t none = 0;
        [[maybe_unused]] const ssize_t nothing = ::read(mRaw, &none, 1);
        ASSERT_TRUE(midi->selectInputDevice(test::indexOf(ports, mPort)));
        ASSERT_TRUE(midi->selectOutputDevice(test::indexOf(midi->getOutputPortList(), mPort)));
    }
    void TearDown() override {
        if (mRaw >= 0) ::close(mRaw);
    }

    // What the cable carries to us.
    void cableSends(const Bytes& bytes) {
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

    std::string mPort;
    int mRaw = -1;
};

// The unit's reply arrives whole, a long message in the transport's pieces however the kernel
// cut it, and a note as itself.
TEST_F(AlsaRawMidiTest, WhatTheUnitSendsArrivesAsFromAnyOtherPort) {
    const Bytes reply{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04,
                      0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7};
    const Bytes dump = test::exclusive(600, 3);
    const Bytes note{0x99, 0x24, 0x64};
    std::vector<Bytes> expected{reply};
    for (auto& piece : test::pieces(dump)) expected.push_back(std::move(piece));
    expected.push_back(note);

    Bytes cable = reply;
    cable.insert(cable.end(), dump.begin(), dump.end());
    cable.insert(cable.end(), note.begin(), note.end());
    cableSends(cable);
    const auto received = recorder.waitForReceived(expected.size());
    EXPECT_EQ(test::summary(received), test::summary(expected));
    EXPECT_TRUE(received == expected) << "same sizes, other bytes";
}

TEST_F(AlsaRawMidiTest, WhatWeSendReachesTheCableByteForByte) {
    const Bytes request{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04, 0x11,
                        0x7F, 0x70, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7};
    const Bytes dump = test::exclusive(1500, 5);
    const Bytes note{0x99, 0x24, 0x64};
    midi->sendMidiWithData(request.data(), std::ssize(request));
    midi->sendMidiWithData(dump.data(), std::ssize(dump));
    midi->sendMidi(MidiPacket{0, 3, {0x99, 0x24, 0x64}});

    Bytes expected = request;
    expected.insert(expected.end(), dump.begin(), dump.end());
    expected.insert(expected.end(), note.begin(), note.end());
    const Bytes got = cableReceives(expected.size());
    EXPECT_EQ(got.size(), expected.size());
    EXPECT_TRUE(got == expected);
    EXPECT_TRUE(recorder.failedSends.empty());
}

}  // namespace
}  // namespace tavrel
