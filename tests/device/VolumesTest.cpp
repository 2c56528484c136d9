#include "device/TestKit.h"
#include "device/platform/ExtraRootsVolumeService.h"
#include "device/platform/gio/GioVolumeService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <tuple>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Roots = std::vector<fs::path>;
using namespace std::chrono_literals;
using test::made;

// Mount order and ejecting are the link's to check; these are the edges it does not reach.
TEST(VirtualVolumeService, OnlyWhatLiesOnAMountedFolderExists) {
    test::ScratchFolder temp;
    VirtualVolumeService volumes;
    const fs::path unit = made(temp / "unit" / "VANTIK").parent_path();
    made(temp / "unit2" / "VANTIK");
    EXPECT_FALSE(volumes.mount(temp / "missing"));
    EXPECT_TRUE(volumes.mount(unit.string() + "/"));
    EXPECT_TRUE(volumes.mount(made(temp / "stick")));
    EXPECT_TRUE(volumes.mount(unit)) << "mounting again is harmless";
    EXPECT_EQ(volumes.volumes(), (Roots{unit, temp / "stick"}));
    EXPECT_TRUE(volumes.exists(unit / "VANTIK"));
    EXPECT_FALSE(volumes.exists(unit / "DATA"));
    EXPECT_FALSE(volumes.exists(temp / "unit2" / "VANTIK")) << "a name beginning alike";
    EXPECT_FALSE(volumes.exists(unit / ".." / "unit2" / "VANTIK"));

    std::string error;
    EXPECT_TRUE(volumes.unmountAndEject(unit, error)) << error;
    EXPECT_FALSE(volumes.unmount(unit));
    EXPECT_FALSE(volumes.unmountAndEject(unit, error));
    EXPECT_NE(error.find(unit.string()), std::string::npos) << error;
    EXPECT_TRUE(fs::is_directory(unit)) << "the folder itself stays";
}

TEST(ExtraRootsVolumeService, ARootCountsWhileItsFolderExistsAndIsLeftToItsOwnerOnEject) {
    test::ScratchFolder temp;
    const fs::path stick = made(temp / "stick"), simulated = temp / "simulated",
                   other = temp / "other";
    auto inner = std::make_unique<VirtualVolumeService>();
    VirtualVolumeService& desk = *inner;
    desk.mount(stick);
    ExtraRootsVolumeService volumes(std::move(inner),
                                    Roots{simulated, simulated.string() + "/", other});

    EXPECT_EQ(volumes.volumes(), Roots{stick});
    made(simulated / "VANTIK");
    EXPECT_EQ(volumes.volumes(), (Roots{simulated, stick}));
    EXPECT_TRUE(volumes.exists(simulated / "VANTIK")) << "the inner service does not know it";
    std::string error;
    EXPECT_TRUE(volumes.unmountAndEject(simulated, error)) << error;
    EXPECT_EQ(volumes.volumes(), (Roots{simulated, stick}));

    fs::remove_all(simulated);
    EXPECT_EQ(volumes.volumes(), Roots{stick});
    EXPECT_FALSE(volumes.exists(simulated / "VANTIK"));
    made(other);
    desk.mount(made(simulated));
    EXPECT_EQ(volumes.volumes(), (Roots{simulated, other, stick})) << "given order, each once";

    desk.setRefuseEject(true);
    EXPECT_FALSE(volumes.unmountAndEject(stick, error));
    desk.setRefuseEject(false);
    EXPECT_TRUE(volumes.unmountAndEject(stick, error)) << error;
    EXPECT_EQ(volumes.volumes(), (Roots{simulated, other}));
}

// The desktop's volumes are whatever this machine has, often none and no session bus: the
// service must answer, sanely and without hanging, wherever it runs.
TEST(GioVolumeService, ListsAbsoluteRootsInOrderAndRefusesToEjectAPlainFolder) {
    test::ScratchFolder temp;
    auto result = std::async(std::launch::async, [&] {
        GioVolumeService volumes(2s);
        std::string error;
        const bool ejected = volumes.unmountAndEject(temp.path(), error);
        // A first look only notes the media waiting for a mount, so this mounts nothing of
        // the machine's: the desktop's automounter has its chance first.
        EXPECT_FALSE(volumes.mountUnmounted("VANTIK"));
        return std::tuple{volumes.volumes(), ejected, error};
    });
    if (result.wait_for(30s) != std::future_status::ready) {
        std::fprintf(stderr, "GioVolumeService did not answer within 30 s\n");
        std::_Exit(1);
    }
    const auto [roots, ejected, error] = result.get();
    for (const fs::path& root : roots) EXPECT_TRUE(root.is_absolute()) << root;
    EXPECT_TRUE(std::is_sorted(roots.begin(), roots.end()));
    EXPECT_FALSE(ejected);
    EXPECT_NE(error.find(temp.path().string()), std::string::npos) << error;
    EXPECT_TRUE(fs::is_directory(temp.path()));
}

}  // namespace
}  // namespace tavrel
