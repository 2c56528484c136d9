// Our client as other programs on the sequencer see it, theirs as the transport lists them, and
// their endpoints coming and going told to the delegate within a second, the bound within which
// the device link notices a unit that is plugged in or pulled.

#include "alsa/AlsaTestKit.h"
#include "alsa/RawClient.h"
#include "alsa/TransportTest.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
using test::RawClient;

constexpr unsigned int kRead = RawClient::kReadable;
constexpr unsigned int kWrite = RawClient::kWritable;

class AlsaPortsTest : public test::TransportTest {
protected:
    // How long after `action` the delegate is given `call`; five seconds when it never is.
    template <class Action>
    std::chrono::milliseconds until(const std::string& call, Action action) {
        const auto start = std::chrono::steady_clock::now();
        action();
        test::eventually([&] { return told(call); });
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start);
    }
};

std::vector<RawClient::PortInfo> portsOf(const RawClient& watcher, const std::string& client) {
    std::vector<RawClient::PortInfo> found;
    for (auto& port : watcher.ports()) {
        if (port.clientName == client) found.push_back(port);
    }
    return found;
}

TEST_F(AlsaPortsTest, OtherProgramsSeeOurClientWithItsTwoPortsUntilTheTransportGoes) {
    RawClient watcher("Port Watcher");
    ASSERT_TRUE(watcher.isOpen());
    const auto ours = portsOf(watcher, "Tavrel");
    ASSERT_EQ(ours.size(), 2u) << "one client of that name, with an input and an output port";
    EXPECT_EQ(ours[0].client, ours[1].client);
    const bool inFirst = ours[0].portName == "MidiLib-InPort";
    const RawClient::PortInfo& in = ours[inFirst ? 0 : 1];
    const RawClient::PortInfo& out = ours[inFirst ? 1 : 0];
    ASSERT_EQ(in.portName, "MidiLib-InPort");
    ASSERT_EQ(out.portName, "MidiLib-OutPort");

    // Patchbays may connect any source to our input; nothing can be read from it.
    EXPECT_EQ(in.caps & kWrite, kWrite);
    EXPECT_EQ(in.caps & (kRead | SND_SEQ_PORT_CAP_NO_EXPORT), 0u);
    // The output sends to the chosen destination only; nobody writes into it.
    EXPECT_NE(out.caps & SND_SEQ_PORT_CAP_READ, 0u);
    EXPECT_EQ(out.caps & (kWrite | SND_SEQ_PORT_CAP_NO_EXPORT), 0u);

    const int keys = watcher.addPort("keys", kRead);
    ASSERT_GE(keys, 0);
    EXPECT_EQ(watcher.connectTo(keys, in.client, in.port), 0) << "as aconnect would";

    midi.reset();
    EXPECT_TRUE(portsOf(watcher, "Tavrel").empty()) << "client and ports go with the transport";
}

// The lists hold exactly the other programs' ports that may be subscribed to, under
// "client:port" and their sequencer address, each once.
TEST_F(AlsaPortsTest, ListsWhatOtherProgramsLetUsSubscribeToUnderNameAndAddress) {
    RawClient probe("Probe");
    ASSERT_TRUE(probe.isOpen());
    ASSERT_GE(probe.addPort("both", kRead | kWrite), 0);
    ASSERT_GE(probe.addPort("sends", kRead), 0);
    ASSERT_GE(probe.addPort("takes", kWrite), 0);
    ASSERT_GE(probe.addPort("direct only", SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_WRITE), 0);
    ASSERT_GE(probe.addPort("hidden", kRead | kWrite | SND_SEQ_PORT_CAP_NO_EXPORT), 0);
    midi->searchDevice();

    std::map<std::int64_t, RawClient::PortInfo> byAddress;
    for (auto& port : probe.ports()) byAddress[port.client << 8 | port.port] = port;
    const auto check = [&](const std::vector<CportProperties>& list) {
        std::set<std::string> probeNames;
        std::set<std::int64_t> ids;
        for (const auto& entry : list) {
            const std::int64_t id = MidiLib::getUniqId(entry);
            EXPECT_TRUE(ids.insert(id).second) << "listed twice: " << id;
            const auto seen = byAddress.find(id);
            if (seen == byAddress.end()) {
                ADD_FAILURE() << entry.deviceName() << " is at no port's address " << id;
                continue;
            }
            const RawClient::PortInfo& port = seen->second;
            EXPECT_EQ(entry.deviceName(), port.clientName + ":" + port.portName);
            EXPECT_NE(port.client, SND_SEQ_CLIENT_SYSTEM);
            EXPECT_NE(port.clientName, "Tavrel");
            if (port.client == probe.client()) probeNames.insert(port.portName);
        }
        return probeNames;
    };
    EXPECT_EQ(check(midi->getInputPortList()), (std::set<std::string>{"both", "sends"}));
    EXPECT_EQ(check(midi->getOutputPortList()), (std::set<std::string>{"both", "takes"}));
}

TEST_F(AlsaPortsTest, PortsComingAndGoingAreToldWithinASecond) {
    RawClient pads("Pads");
    ASSERT_TRUE(pads.isOpen());
    int port = -1;
    const auto added =
        until("added Pads:io (source)", [&] { port = pads.addPort("io", kRead | kWrite); });
    EXPECT_LT(added, 1s);
    // Told in turn, each as the service hands it over: the second may come a moment later.
    EXPECT_TRUE(test::eventually([&] { return told("added Pads:io (destination)"); }));

    const auto removed =
        until("removed Pads:io (destination)", [&] { ASSERT_EQ(pads.removePort(port), 0); });
    EXPECT_LT(removed, 1s);
    EXPECT_TRUE(test::eventually([&] { return told("removed Pads:io (source)"); }));

    // A program that quits takes its ports along.
    auto keys = std::make_unique<RawClient>("Keys");
    ASSERT_GE(keys->addPort("out", kRead), 0);
    EXPECT_TRUE(test::eventually([&] { return told("added Keys:out (source)"); }));
    const auto quit = until("removed Keys:out (source)", [&] { keys.reset(); });
    EXPECT_LT(quit, 1s);
    std::printf("told after: added %lld ms, removed %lld ms, quit %lld ms\n",
                static_cast<long long>(added.count()), static_cast<long long>(removed.count()),
                static_cast<long long>(quit.count()));
}

}  // namespace
}  // namespace tavrel
