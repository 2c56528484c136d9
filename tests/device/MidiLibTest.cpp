// The MIDI transport: its endpoints, what it sends and how it reports failures, and the receive
// path that turns blocks from the service's thread into whole messages.
#include "device/MidiLib.h"

#include "alsa/SequencerTest.h"
#include "device/MidiReceiver.h"
#include "device/TestKit.h"
#include "device/platform/alsa/AlsaMidiService.h"
#include "device/platform/virtual/VirtualMidiService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace tavrel {
namespace {

using test::Bytes;
using Fault = VirtualMidiService::Fault;
using Strings = std::vector<std::string>;
using Messages = std::vector<Bytes>;

Strings names(const std::vector<CportProperties>& ports) {
    Strings result;
    for (const auto& port : ports) result.push_back(MidiLib::getDeviceName(port));
    return result;
}

class MidiLibTest : public ::testing::Test {
protected:
    void SetUp() override {
        unitIn = service.addSource("QL-900 MIDI IN");
        keysIn = service.addSource("Keys:out");
        unitOut = service.addDestination("QL-900 MIDI OUT");
        synthOut = service.addDestination("Synth:in");
        midi = std::make_unique<MidiLib>(service, mainThread.poster());
        midi->setDelegate(&recorder);
        midi->searchDevice();
    }
    void settle() {
        service.flush();
        mainThread.drain();
    }

    VirtualMidiService service;
    CallerQueue mainThread;
    test::MidiRecorder recorder;
    std::int64_t unitIn = 0, keysIn = 0, unitOut = 0, synthOut = 0;
    std::unique_ptr<MidiLib> midi;
};

TEST_F(MidiLibTest, ListsTheEndpointsInOrderAndSelectsOnlyThoseStillListedAndThere) {
    EXPECT_TRUE(midi->isReady());
    EXPECT_EQ(names(midi->getInputPortList()), (Strings{"QL-900 MIDI IN", "Keys:out"}));
    EXPECT_EQ(names(midi->getOutputPortList()), (Strings{"QL-900 MIDI OUT", "Synth:in"}));
    EXPECT_EQ(midi->getCurInputPort(), -1);
    EXPECT_EQ(midi->getCurOutputPort(), -1);

    ASSERT_TRUE(midi->selectInputDevice(0));
    ASSERT_TRUE(midi->selectInputDevice(1));
    EXPECT_FALSE(service.isConnected(unitIn)) << "the second source replaces the first";
    ASSERT_TRUE(midi->selectOutputDevice(1));
    for (const std::int64_t index : {-1, 2}) {
        EXPECT_FALSE(midi->selectInputDevice(index));
        EXPECT_FALSE(midi->selectOutputDevice(index));
    }
    EXPECT_EQ(midi->getCurInputPort(), 1);
    EXPECT_EQ(midi->getCurOutputPort(), 1);
    midi->sendMidi(MidiPacket{0, 2, {0xC9, 0x05}});
    EXPECT_EQ(service.backlog(synthOut).size(), 1u);

    ASSERT_TRUE(service.removeEndpoint(unitIn));
    EXPECT_FALSE(midi->selectInputDevice(0)) << "the listed endpoint is gone";
    midi->searchDevice();
    EXPECT_EQ(names(midi->getInputPortList()), Strings{"Keys:out"});
    EXPECT_EQ(midi->getCurInputPort(), 1) << "the index is kept, and now points past the list";
    EXPECT_TRUE(midi->selectInputDevice(0)) << "found again by its unique id";
    EXPECT_TRUE(service.isConnected(keysIn));
    settle();
    for (const auto& call : recorder.calls) EXPECT_FALSE(call.starts_with("error")) << call;
}

TEST(MidiLibSetup, AFailedStepIsLoggedAndLeavesATransportThatDoesNothing) {
    const std::pair<Fault, std::string> steps[] = {
        {Fault::CreateClient, "Init-MIDIClientCreate"},
        {Fault::CreateOutputPort, "Init-MIDIOutputPortCreate"},
        {Fault::CreateInputPort, "Init-MIDIInputPortCreate"},
    };
    for (const auto& [fault, label] : steps) {
        SCOPED_TRACE(label);
        VirtualMidiService service;
        const std::int64_t in = service.addSource("QL-900");
        service.addDestination("QL-900");
        service.setFault(fault);
        test::LogCapture log;
        MidiLib midi(service);
        service.setFault(Fault::None);

        EXPECT_FALSE(midi.isReady());
        EXPECT_EQ(log.count(label), 1);
        midi.searchDevice();
        EXPECT_TRUE(midi.getInputPortList().empty());
        EXPECT_TRUE(midi.getOutputPortList().empty());
        EXPECT_FALSE(midi.selectInputDevice(0));
        EXPECT_FALSE(service.isConnected(in));
    }
}

TEST(AlsaMidiService, WithoutASequencerItSaysSoOnceAndListsNothing) {
    if (test::haveSequencer()) {
        GTEST_SKIP() << "this computer has an ALSA sequencer (/dev/snd/seq), so the path for "
                        "one without it cannot be taken here";
    }
    test::LogCapture log;
    AlsaMidiService service;
    // What a transport on a service that cannot start does is MidiLibSetup's to show.
    for (int attempt = 0; attempt < 2; ++attempt) EXPECT_FALSE(MidiLib(service).isReady());
    EXPECT_EQ(log.count("device: ALSA sequencer not available: "), 1);

    EXPECT_TRUE(service.sources().empty() && service.destinations().empty());
    EXPECT_FALSE(service.connectSource(0x8000).ok());
    const auto sent = service.send(0x8000, Bytes{0x90, 0x3C, 0x64});
    EXPECT_FALSE(sent.ok());
    EXPECT_FALSE(sent.what.empty());
}

TEST_F(MidiLibTest, ARefusedConnectIsReportedAndTheSourceIsDisconnectedBeforeTheNext) {
    service.setFault(Fault::Connect);
    EXPECT_FALSE(midi->selectInputDevice(0));
    EXPECT_EQ(midi->getCurInputPort(), -1);
    EXPECT_TRUE(recorder.calls.empty()) << "midiError waits for the main thread";
    settle();
    EXPECT_EQ(recorder.calls, Strings{"error Connect-MIDIPortConnectSource"});

    service.setFault(Fault::Disconnect);
    EXPECT_FALSE(midi->selectInputDevice(1));
    settle();
    EXPECT_EQ(recorder.calls.back(), "error Disconnect-MIDIPortDisconnectSource");
    EXPECT_FALSE(service.isConnected(keysIn));

    midi.reset();
    midi = std::make_unique<MidiLib>(service);  // without a poster, told at once
    midi->setDelegate(&recorder);
    midi->searchDevice();
    recorder.calls.clear();
    service.setFault(Fault::Connect);
    EXPECT_FALSE(midi->selectInputDevice(0));
    EXPECT_EQ(recorder.calls, Strings{"error Connect-MIDIPortConnectSource"});
}

TEST_F(MidiLibTest, SendsOnlyToTheOutputDeviceBlockByBlockAndReportsAFailedSend) {
    const Bytes request{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x63, 0x11, 0xF7};
    midi->sendMidiWithData(request.data(), std::ssize(request));
    midi->sendMidi(MidiPacket{0, 3, {0x99, 0x24, 0x64}});
    midi->sendPacketList(request);
    EXPECT_TRUE(service.backlog(unitOut).empty() && service.backlog(synthOut).empty())
        << "nothing goes out before an output device is chosen";

    ASSERT_TRUE(midi->selectOutputDevice(0));
    midi->sendMidiWithData(request.data(), std::ssize(request));
    midi->sendMidi(MidiPacket{12345, 3, {0x99, 0x24, 0x64}});
    MidiPacket tooLong{0, 300, {}};
    tooLong.data.fill(0x01);
    midi->sendMidi(tooLong);
    const auto sent = service.backlog(unitOut);
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0].bytes, request);
    EXPECT_EQ(sent[1].bytes, (Bytes{0x99, 0x24, 0x64}));
    EXPECT_EQ(sent[2].bytes.size(), 256u) << "never more than the packet holds";
    settle();
    EXPECT_TRUE(recorder.calls.empty());

    ASSERT_TRUE(service.removeEndpoint(unitOut));
    midi->sendMidi(MidiPacket{0, 3, {0x89, 0x24, 0x00}});
    EXPECT_EQ(recorder.failedSends, (std::vector<Bytes>{{0x89, 0x24, 0x00}}))
        << "told at once, on the sending thread";
    settle();
    EXPECT_EQ(std::count(recorder.calls.begin(), recorder.calls.end(), "send error"), 1);
    for (const auto& call : recorder.calls) EXPECT_FALSE(call.starts_with("error")) << call;
}

TEST_F(MidiLibTest, MessagesArriveWholeAndInOrderFromTheServicesThreadHoweverTheyAreCut) {
    ASSERT_TRUE(midi->selectInputDevice(0));
    // Blocks cut across messages, with clock bytes in between, as a busy cable delivers them.
    std::vector<Bytes> expected;
    Bytes stream;
    for (int i = 0; i < 900; ++i) {
        const auto n = static_cast<std::uint8_t>(i % 128);
        const Bytes message = i % 10 == 0 ? Bytes{0xF0, 0x41, n, 0xF7} : Bytes{0x99, n, 0x40};
        expected.push_back(message);
        stream.insert(stream.end(), message.begin(), message.end());
        if (i % 7 == 0) stream.push_back(0xF8);
    }
    for (std::size_t at = 0, size = 1; at < stream.size(); at += size, size = size % 9 + 1) {
        const std::size_t end = std::min(stream.size(), at + size);
        ASSERT_TRUE(service.inject(unitIn, {stream.data() + at, end - at}));
    }
    // A platform may hand over a long exclusive message as one block, more than the ring
    // holds: it arrives whole, in 256-byte pieces; one of exactly 256 bytes is one piece.
    for (const std::size_t size : {256u, 10000u}) {
        Bytes message{0xF0};
        for (std::size_t i = 1; i + 1 < size; ++i)
            message.push_back(static_cast<std::uint8_t>(i % 127));
        message.push_back(0xF7);
        for (std::size_t at = 0; at < size; at += 256) {
            expected.emplace_back(message.begin() + at, message.begin() + std::min(size, at + 256));
        }
        ASSERT_TRUE(service.inject(unitIn, message));
    }
    // Compared whole rather than printed: a mismatch would print 10,000 bytes.
    EXPECT_TRUE(recorder.waitForReceived(expected.size()) == expected);
}

TEST_F(MidiLibTest, EndpointsComingAndGoingAreToldOnTheMainThread) {
    const std::int64_t pads = service.addSource("Pads:out");
    service.addDestination("Pads:in");
    service.removeEndpoint(pads);
    service.injectIOError("cable trouble");
    service.flush();
    EXPECT_TRUE(recorder.calls.empty()) << "nothing runs before the main thread gets to it";

    mainThread.drain();
    EXPECT_EQ(recorder.calls,
              (Strings{"connectMidiSource", "added Pads:out (source)", "connectMidiSource",
                       "added Pads:in (destination)", "disconnectMidiSource",
                       "removed Pads:out (source)", "io error: cable trouble"}));
}

TEST_F(MidiLibTest, ATransportThatIsGoneLeavesNothingConnectedOrPending) {
    ASSERT_TRUE(midi->selectInputDevice(0));
    service.addSource("Pads:out");
    service.flush();
    midi.reset();
    EXPECT_EQ(mainThread.drain(), 1) << "the task posted before still runs, and does nothing";
    EXPECT_TRUE(recorder.calls.empty());
    EXPECT_FALSE(service.isConnected(unitIn));
    EXPECT_EQ(service.clientName(), std::nullopt);
    service.addSource("Pads:in");
    service.flush();
    EXPECT_EQ(mainThread.drain(), 0);
}

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

TEST(MidiReceive, AssemblesWholeMessagesAndKeepsTheParsersHabits) {
    const struct {
        const char* what;
        Messages blocks;
        Messages expected;
    } cases[] = {
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
    for (const auto& c : cases) {
        MidiReceiver receiver;
        EXPECT_EQ(receive(receiver, c.blocks), c.expected) << c.what;
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
