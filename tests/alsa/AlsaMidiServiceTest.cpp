#include "device/platform/alsa/AlsaMidiService.h"

#include "alsa/AlsaTestKit.h"
#include "alsa/SequencerTest.h"
#include "device/MidiLib.h"
#include "device/TestKit.h"
#include "sim/alsa/AlsaUnitPorts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace tavrel {
namespace {

using test::Bytes;
using test::eventually;
using test::indexOf;

// The simulated unit's own ALSA ports stand in for a device on the cable.
using AlsaMidiServiceTest = test::SequencerTest;

TEST_F(AlsaMidiServiceTest, TalksToAnotherClientAndHearsItsPortsComeAndGo) {
    std::mutex lock;
    Bytes heard;  // every block the unit's port received, one after the other
    const auto hear = [&](std::span<const std::uint8_t> bytes) {
        std::lock_guard guard(lock);
        heard.insert(heard.end(), bytes.begin(), bytes.end());
    };
    sim::AlsaUnitPorts unit;
    ASSERT_TRUE(unit.open("QL-900", hear));
    AlsaMidiService service;
    test::MainThreadQueue mainThread;
    test::MidiRecorder recorder;
    MidiLib midi(service, mainThread.poster());
    ASSERT_TRUE(midi.isReady());
    midi.setDelegate(&recorder);
    midi.searchDevice();

    const std::string name = "QL-900:QL-900 MIDI 1";
    const std::int64_t in = indexOf(midi.getInputPortList(), name);
    const std::int64_t out = indexOf(midi.getOutputPortList(), name);
    ASSERT_GE(in, 0);
    ASSERT_GE(out, 0);
    EXPECT_EQ(MidiLib::getUniqId(midi.getInputPortList()[in]) >> 8, unit.client());
    for (const auto& port : midi.getInputPortList()) {
        EXPECT_FALSE(port.deviceName().starts_with("Tavrel:")) << "our own ports are not listed";
        EXPECT_FALSE(port.deviceName().starts_with("System:"));
    }
    ASSERT_TRUE(midi.selectInputDevice(in));
    ASSERT_TRUE(midi.selectOutputDevice(out));

    const Bytes reply{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04,
                      0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7};
    ASSERT_TRUE(unit.send(reply));
    EXPECT_EQ(recorder.waitForReceived(1), std::vector<Bytes>{reply});
    const Bytes request{0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7};
    midi.sendMidiWithData(request.data(), std::ssize(request));
    midi.sendMidi(MidiPacket{0, 3, {0x89, 0x24, 0x00}});
    EXPECT_TRUE(eventually([&] {
        std::lock_guard guard(lock);
        return heard == Bytes{0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7, 0x89, 0x24, 0x00};
    }));

    const auto told = [&](const std::string& call) {
        return eventually([&] {
            mainThread.runAll();
            return std::find(recorder.calls.begin(), recorder.calls.end(), call) !=
                   recorder.calls.end();
        });
    };
    unit.close();
    EXPECT_TRUE(told("removed " + name + " (source)"));
    EXPECT_TRUE(told("removed " + name + " (destination)"));
    ASSERT_TRUE(unit.open("QL-900", hear));
    EXPECT_TRUE(told("added " + name + " (source)"));
}

}  // namespace
}  // namespace tavrel
