#include "device/platform/virtual/VirtualMidiService.h"

#include "device/MainThreadQueue.h"
#include "device/MidiLib.h"
#include "device/MidiRecorder.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavrel {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What the simulated unit does: it answers on its source from within the callback that hands
// it the request, while the program's send is still on the stack.
TEST(VirtualMidiService, ADestinationAnswersFromItsCallback) {
    VirtualMidiService service;
    const std::int64_t unitIn = service.addSource("QL-900");
    service.addDestination("QL-900", [&](std::span<const std::uint8_t> request) {
        Bytes answer(request.begin(), request.end());
        answer[1] = 0x42;
        service.inject(unitIn, answer);
    });
    test::MidiRecorder recorder;
    MidiLib midi(service);
    midi.setDelegate(&recorder);
    midi.searchDevice();
    ASSERT_TRUE(midi.selectInputDevice(0));
    ASSERT_TRUE(midi.selectOutputDevice(0));

    const Bytes request{0xF0, 0x41, 0x10, 0xF7};
    midi.sendMidiWithData(request.data(), std::ssize(request));
    EXPECT_EQ(recorder.waitForReceived(1), (std::vector<Bytes>{{0xF0, 0x42, 0x10, 0xF7}}));
}

TEST(VirtualMidiService, NothingReachesAClosedClient) {
    VirtualMidiService service;
    const std::int64_t in = service.addSource("QL-900");
    test::MainThreadQueue mainThread;
    test::MidiRecorder recorder;
    {
        MidiLib midi(service, mainThread.poster());
        midi.setDelegate(&recorder);
        midi.searchDevice();
        ASSERT_TRUE(midi.selectInputDevice(0));
    }
    EXPECT_FALSE(service.isConnected(in));
    EXPECT_FALSE(service.inject(in, Bytes{0x90, 0x3C, 0x64}));
    service.addSource("Pads");
    service.flush();
    EXPECT_EQ(mainThread.runAll(), 0);
    EXPECT_EQ(service.clientName(), std::nullopt);
}

}  // namespace
}  // namespace tavrel
