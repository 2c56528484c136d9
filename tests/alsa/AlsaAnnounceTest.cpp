// Endpoints of other programs coming and going reach the delegate within a second,
// the bound within which the device link notices a unit that is plugged in or pulled.

#include "alsa/AlsaTestKit.h"
#include "alsa/RawClient.h"
#include "alsa/TransportTest.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
using test::RawClient;

constexpr unsigned int kRead = RawClient::kReadable;
constexpr unsigned int kWrite = RawClient::kWritable;

class AlsaAnnounceTest : public test::TransportTest {
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

TEST_F(AlsaAnnounceTest, PortsComingAndGoingAreToldWithinASecond) {
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
