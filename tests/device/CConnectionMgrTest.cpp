#include "device/CConnectionMgr.h"

#include "device/ManualTimeline.h"
#include "device/MidiLib.h"
#include "device/TempFolder.h"
#include "device/ThreadWaiter.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "model/Context.h"
#include "support/ScriptedAlerts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::TempFolder;

class ConnectionMgrStorage : public ::testing::Test {
protected:
    // A volume folder `name` under the temporary folder, with the unit's folder if asked.
    fs::path volume(const std::string& name, bool withUnitFolder) {
        return withUnitFolder ? temp.folder(name + "/VANTIK").parent_path() : temp.folder(name);
    }

    TempFolder temp;
    Context context;
    VirtualMidiService service;
    MidiLib midi{service};
    VirtualVolumeService volumes;
    ManualTimeline timeline;
    ThreadWaiter waiter{timeline, {}};
    test::ScriptedAlerts alerts;
    CConnectionMgr link{midi, volumes, waiter, alerts};
};

TEST_F(ConnectionMgrStorage, TheUnitsVolumeIsTheFirstHoldingTheUnitsFolder) {
    const fs::path plain = volume("stick", false);
    const fs::path otherCase = temp.folder("camera/vantik").parent_path();
    const fs::path unit = volume("unit", true);
    const fs::path second = volume("second-unit", true);
    for (const fs::path& root : {plain, otherCase, unit, second}) ASSERT_TRUE(volumes.mount(root));

    link.storeMountURL();

    // The file system decides about letter case; the temporary folder's is case-sensitive.
    EXPECT_EQ(link.getMountURL(), unit);
}

TEST_F(ConnectionMgrStorage, AVolumeFoundBeforeIsKeptWhenNoneHoldsTheUnitsFolder) {
    const fs::path stick = volume("stick", false);
    ASSERT_TRUE(volumes.mount(stick));
    link.storeMountURL();
    EXPECT_EQ(link.getMountURL(), std::nullopt);

    const fs::path unit = volume("unit", true);
    ASSERT_TRUE(volumes.mount(unit));
    link.storeMountURL();
    ASSERT_TRUE(volumes.unmount(unit));
    link.storeMountURL();

    EXPECT_EQ(link.getMountURL(), unit);
}

TEST_F(ConnectionMgrStorage, AVolumeUnmountedByHandIsGoneWhileItsRootIsKept) {
    const fs::path unit = volume("unit", true);
    EXPECT_FALSE(link.isVolumeExist());
    ASSERT_TRUE(volumes.mount(unit));
    link.storeMountURL();
    EXPECT_TRUE(link.isVolumeExist());

    ASSERT_TRUE(volumes.unmount(unit));

    EXPECT_FALSE(link.isVolumeExist());
    EXPECT_EQ(link.getMountURL(), unit);
}

TEST_F(ConnectionMgrStorage, FileNamesLieInTheDataFolderWithOrWithoutALeadingSlash) {
    EXPECT_EQ(link.getFileURL("/RHYTHM.QL0"), std::nullopt);
    EXPECT_EQ(link.getMountURLAppendPath("DATA"), std::nullopt);

    const fs::path unit = volume("unit", true);
    ASSERT_TRUE(volumes.mount(unit));
    link.storeMountURL();

    const fs::path expected = unit / "VANTIK" / "DATA" / "RHYTHM.QL0";
    EXPECT_EQ(link.getFileURL("/RHYTHM.QL0"), expected);
    EXPECT_EQ(link.getFileURL("RHYTHM.QL0"), expected);
    EXPECT_EQ(link.getMountURLAppendPath("/DATA/RHYTHM.QL0"), expected);
}

TEST_F(ConnectionMgrStorage, FileDataIsTheWholeFileOrNothing) {
    const fs::path unit = volume("unit", true);
    std::string contents(200'000, '\0');
    for (std::size_t i = 0; i < contents.size(); ++i) contents[i] = static_cast<char>(i * 7);
    temp.file("unit/VANTIK/DATA/RHYTHM.QL0", contents);
    temp.folder("unit/VANTIK/DATA/MEMORY1.QL0");

    EXPECT_EQ(link.getFileData("/RHYTHM.QL0"), std::nullopt) << "no volume yet";
    EXPECT_FALSE(link.isDataFileExist("/RHYTHM.QL0"));
    ASSERT_TRUE(volumes.mount(unit));
    link.storeMountURL();

    EXPECT_TRUE(link.isDataFileExist("/RHYTHM.QL0"));
    EXPECT_EQ(link.getFileData("/RHYTHM.QL0"),
              std::vector<std::uint8_t>(contents.begin(), contents.end()));
    EXPECT_FALSE(link.isDataFileExist("/SYSTEM1.QL0"));
    EXPECT_EQ(link.getFileData("/SYSTEM1.QL0"), std::nullopt);
    EXPECT_EQ(link.getFileData("/MEMORY1.QL0"), std::nullopt) << "a folder is not a file";
    temp.file("unit/VANTIK/DATA/EMPTY.QL0", "");
    EXPECT_EQ(link.getFileData("/EMPTY.QL0"), std::vector<std::uint8_t>{});

    ASSERT_TRUE(volumes.unmount(unit));
    EXPECT_EQ(link.getFileData("/RHYTHM.QL0"), std::nullopt) << "the volume is gone";
}

}  // namespace
}  // namespace tavrel
