// The desktop's volumes are whatever this machine has, often none and no session bus; these
// tests check that the service answers, and answers sanely, wherever it runs.
#include "device/platform/gio/GioVolumeService.h"

#include "device/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <utility>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Runs `work` on its own thread; a hang ends the test program with a message instead of
// holding the test run until CTest's time-out.
template <class Work>
auto withinSeconds(int seconds, Work work) {
    auto result = std::async(std::launch::async, work);
    if (result.wait_for(std::chrono::seconds(seconds)) != std::future_status::ready) {
        std::fprintf(stderr, "GioVolumeService did not answer within %d s\n", seconds);
        std::_Exit(1);
    }
    return result.get();
}

TEST(GioVolumeService, ListsAbsoluteRootsInOrderWithoutHanging) {
    const std::vector<fs::path> roots = withinSeconds(30, [] {
        GioVolumeService volumes;
        return volumes.volumes();
    });
    for (const fs::path& root : roots) {
        EXPECT_TRUE(root.is_absolute()) << root;
        std::printf("volume: %s\n", root.c_str());
    }
    EXPECT_TRUE(std::is_sorted(roots.begin(), roots.end()));
}

TEST(GioVolumeService, RefusesToEjectAFolderThatIsNoVolume) {
    test::TempFolder temp;
    const auto [ok, error] = withinSeconds(30, [&] {
        GioVolumeService volumes(2s);
        std::string why;
        const bool done = volumes.unmountAndEject(temp.path(), why);
        return std::pair{done, why};
    });
    EXPECT_FALSE(ok);
    EXPECT_NE(error.find(temp.path().string()), std::string::npos) << error;
    EXPECT_TRUE(fs::is_directory(temp.path()));
}

}  // namespace
}  // namespace tavrel
