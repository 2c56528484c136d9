#include "device/platform/ExtraRootsVolumeService.h"

#include "device/TempFolder.h"
#include "device/platform/virtual/VirtualVolumeService.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Roots = std::vector<fs::path>;

class ExtraRoots : public ::testing::Test {
protected:
    ExtraRoots() {
        auto inner = std::make_unique<VirtualVolumeService>();
        inner->mount(stick);
        desk = inner.get();
        volumes = std::make_unique<ExtraRootsVolumeService>(
            std::move(inner), Roots{simulated, simulated.string() + "/", other});
    }

    test::TempFolder temp;
    const fs::path stick = temp.folder("stick");
    const fs::path simulated = temp.path() / "simulated";  // made and removed by the tests
    const fs::path other = temp.path() / "other";
    VirtualVolumeService* desk = nullptr;
    std::unique_ptr<ExtraRootsVolumeService> volumes;
};

TEST_F(ExtraRoots, ARootCountsAsMountedWhileItsFolderExists) {
    EXPECT_EQ(volumes->volumes(), Roots{stick});
    temp.folder("simulated/VANTIK");
    EXPECT_EQ(volumes->volumes(), (Roots{simulated, stick}));
    EXPECT_TRUE(volumes->exists(simulated / "VANTIK")) << "the inner service does not know it";

    fs::remove_all(simulated);
    EXPECT_EQ(volumes->volumes(), Roots{stick});
    EXPECT_FALSE(volumes->exists(simulated / "VANTIK"));

    temp.folder("other");
    temp.folder("simulated");
    desk->mount(simulated);
    EXPECT_EQ(volumes->volumes(), (Roots{simulated, other, stick})) << "given order, each once";
}

TEST_F(ExtraRoots, EjectLeavesAnExtraRootToItsOwnerAndPassesOthersOn) {
    temp.folder("simulated/VANTIK");
    std::string error;
    EXPECT_TRUE(volumes->unmountAndEject(simulated, error)) << error;
    EXPECT_EQ(volumes->volumes(), (Roots{simulated, stick}));

    desk->setRefuseEject(true);
    EXPECT_FALSE(volumes->unmountAndEject(stick, error));
    desk->setRefuseEject(false);
    EXPECT_TRUE(volumes->unmountAndEject(stick, error)) << error;
    EXPECT_EQ(volumes->volumes(), Roots{simulated});
}

}  // namespace
}  // namespace tavrel
