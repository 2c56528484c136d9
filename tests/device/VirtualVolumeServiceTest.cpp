#include "device/platform/virtual/VirtualVolumeService.h"

#include "device/TempFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::TempFolder;

TEST(VirtualVolumeService, ListsVolumesInMountOrder) {
    TempFolder temp;
    VirtualVolumeService volumes;
    const fs::path b = temp.folder("b"), a = temp.folder("a"), c = temp.folder("c");

    EXPECT_TRUE(volumes.mount(b));
    EXPECT_TRUE(volumes.mount(a.string() + "/"));
    EXPECT_TRUE(volumes.mount(c));
    EXPECT_TRUE(volumes.mount(b)) << "mounting again is harmless";
    EXPECT_FALSE(volumes.mount(temp.path() / "missing"));
    EXPECT_EQ(volumes.volumes(), (std::vector<fs::path>{b, a, c}));

    EXPECT_TRUE(volumes.unmount(a));
    EXPECT_FALSE(volumes.unmount(a));
    EXPECT_EQ(volumes.volumes(), (std::vector<fs::path>{b, c}));
}

TEST(VirtualVolumeService, OnlyWhatLiesOnAMountedVolumeExists) {
    TempFolder temp;
    VirtualVolumeService volumes;
    const fs::path unit = temp.folder("unit/VANTIK").parent_path();
    temp.folder("unit2/VANTIK");
    ASSERT_TRUE(volumes.mount(unit));

    EXPECT_TRUE(volumes.exists(unit / "VANTIK"));
    EXPECT_FALSE(volumes.exists(unit / "DATA"));
    EXPECT_FALSE(volumes.exists(temp.path() / "unit2" / "VANTIK")) << "a name beginning alike";
    EXPECT_FALSE(volumes.exists(unit / ".." / "unit2" / "VANTIK"));

    ASSERT_TRUE(volumes.unmount(unit));
    EXPECT_FALSE(volumes.exists(unit / "VANTIK"));
}

TEST(VirtualVolumeService, EjectUnmountsUnlessRefused) {
    TempFolder temp;
    VirtualVolumeService volumes;
    const fs::path unit = temp.folder("unit");
    ASSERT_TRUE(volumes.mount(unit));
    std::string error;

    volumes.setRefuseEject(true);
    EXPECT_FALSE(volumes.unmountAndEject(unit, error));
    EXPECT_NE(error, "");
    EXPECT_EQ(volumes.volumes(), std::vector<fs::path>{unit});

    volumes.setRefuseEject(false);
    error.clear();
    EXPECT_TRUE(volumes.unmountAndEject(unit, error)) << error;
    EXPECT_TRUE(volumes.volumes().empty());
    EXPECT_TRUE(fs::is_directory(unit)) << "the folder itself stays";
    EXPECT_FALSE(volumes.unmountAndEject(unit, error));
    EXPECT_NE(error.find(unit.string()), std::string::npos) << error;
}

// Run under ThreadSanitizer too: the simulated unit mounts from its own thread.
TEST(VirtualVolumeService, MountsFromAnotherThreadWhileListing) {
    TempFolder temp;
    VirtualVolumeService volumes;
    const fs::path unit = temp.folder("unit");
    std::thread unitThread([&] {
        for (int i = 0; i < 500; ++i) {
            volumes.mount(unit);
            volumes.unmount(unit);
        }
    });
    for (int i = 0; i < 500; ++i) {
        for (const fs::path& root : volumes.volumes()) ASSERT_EQ(root, unit);
        volumes.exists(unit);
    }
    unitThread.join();
    EXPECT_TRUE(volumes.volumes().empty());
}

}  // namespace
}  // namespace tavrel
