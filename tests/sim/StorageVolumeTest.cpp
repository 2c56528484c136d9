#include "device/TempFolder.h"
#include "device/platform/ExtraRootsVolumeService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "sim/HiddenFolderVolume.h"
#include "sim/StorageSeeder.h"
#include "sim/VirtualStorageVolume.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

class StorageVolumeTest : public ::testing::Test {
protected:
    // The program in the other process, told the storage folder with --volume-root.
    bool otherProcessSeesTheUnit() {
        ExtraRootsVolumeService seen(std::make_unique<VirtualVolumeService>(), {root});
        return seen.exists(root / "VANTIK" / "DATA" / "RHYTHM.QL0");
    }

    test::TempFolder temp;
    fs::path root = temp.folder("storage");
};

TEST_F(StorageVolumeTest, AnotherProcessSeesTheStorageExactlyWhileMounted) {
    {
        sim::HiddenFolderVolume volume(root);
        ASSERT_TRUE(sim::StorageSeeder::seed(volume.unitFolder()));
        EXPECT_FALSE(otherProcessSeesTheUnit());
        ASSERT_TRUE(volume.mount());
        EXPECT_TRUE(otherProcessSeesTheUnit());
        EXPECT_EQ(volume.unitFolder(), root / "VANTIK");
        volume.unmount();
        EXPECT_FALSE(otherProcessSeesTheUnit());
        EXPECT_TRUE(fs::exists(volume.unitFolder() / "DATA" / "RHYTHM.QL0"));
        ASSERT_TRUE(volume.mount());
    }
    EXPECT_FALSE(otherProcessSeesTheUnit()) << "a simulator that ends hides its storage";
    // One killed while mounted leaves it showing; the next one starts unmounted.
    fs::rename(root / ".VANTIK", root / "VANTIK");
    sim::HiddenFolderVolume next(root);
    EXPECT_FALSE(otherProcessSeesTheUnit());
    EXPECT_TRUE(fs::exists(next.unitFolder() / "DATA" / "RHYTHM.QL0"));
}

TEST_F(StorageVolumeTest, TheProgramAndTheProcessShareOneStorageFolder) {
    {
        sim::HiddenFolderVolume process(root);
        ASSERT_TRUE(sim::StorageSeeder::seed(process.unitFolder()));
        std::ofstream(process.unitFolder() / "DATA" / "RHYTHM.QL0", std::ios::trunc) << "mine";
    }
    VirtualVolumeService volumes;
    sim::VirtualStorageVolume inProgram(volumes, root);
    EXPECT_EQ(fs::file_size(inProgram.unitFolder() / "DATA" / "RHYTHM.QL0"), 4u);
    EXPECT_FALSE(volumes.exists(root / "VANTIK"));
    ASSERT_TRUE(inProgram.mount());
    EXPECT_EQ(volumes.volumes(), std::vector<fs::path>{root});
    EXPECT_TRUE(volumes.exists(root / "VANTIK" / "DATA" / "RHYTHM.QL0"));
    inProgram.unmount();
    EXPECT_TRUE(volumes.volumes().empty());
}

}  // namespace
}  // namespace tavrel
