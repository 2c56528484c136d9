// The simulated unit's storage: the files a new unit comes with, in the layout the program
// reads and writes.
#include "files/CFileDataMgr.h"
#include "files/CXMLFile.h"
#include "files/FolderStorage.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "sim/FactoryKits.h"
#include "sim/StorageSeeder.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using sim::StorageSeeder;
using test::Bytes;
using test::namesIn;
using test::readBytes;
using Names = std::vector<std::string>;

class StorageTest : public ::testing::Test {
protected:
    void SetUp() override {
        context.install<FolderStorage, UnitStorage>(std::make_unique<FolderStorage>(data));
    }

    test::ScratchFolder temp;  // backups of replaced files go there too
    const fs::path root = temp / "storage";
    const fs::path data = root / "VANTIK" / "DATA";
    Context context;
};

TEST_F(StorageTest, ANewUnitGetsAnEmptyPatternFileAndTwoCopiesOfEachSettingsFileOnce) {
    ASSERT_TRUE(StorageSeeder::seed(root / "VANTIK"));
    EXPECT_EQ(namesIn(root / "VANTIK"), Names{"DATA"});
    EXPECT_EQ(namesIn(data),
              (Names{"MEMORY1.QL0", "MEMORY2.QL0", "RHYTHM.QL0", "SYSTEM1.QL0", "SYSTEM2.QL0"}));
    const Bytes rhythm = readBytes(data / "RHYTHM.QL0");
    ASSERT_EQ(rhythm.size(), 2009212u);
    EXPECT_EQ(Bytes(rhythm.begin(), rhythm.begin() + 12),
              (Bytes{'P', 'T', 'N', '_', '0', '0', '0', '0', 0, 0, 0, 0}));
    context.patterns().addPatternData();
    EXPECT_TRUE(CFileDataMgr::loadData());
    EXPECT_TRUE(context.patterns().getPtnData().empty());
    // Each settings copy ends in a line feed and its generation: 0 for file 1, 1 for file 2.
    for (const char* name : {"SYSTEM", "MEMORY"}) {
        for (const int copy : {1, 2}) {
            const Bytes file = readBytes(data / (name + std::to_string(copy) + ".QL0"));
            ASSERT_GT(file.size(), 5u);
            EXPECT_EQ(Bytes(file.end() - 5, file.end()),
                      (Bytes{'\n', static_cast<std::uint8_t>(copy - 1), 0, 0, 0}))
                << name << copy;
        }
    }

    test::writeBytes(data / "RHYTHM.QL0", {'m', 'i', 'n', 'e'});
    const Bytes memory2 = readBytes(data / "MEMORY2.QL0");
    fs::remove(data / "MEMORY2.QL0");
    ASSERT_TRUE(StorageSeeder::seed(root / "VANTIK"));
    EXPECT_EQ(readBytes(data / "RHYTHM.QL0"), (Bytes{'m', 'i', 'n', 'e'})) << "kept as it was";
    EXPECT_EQ(readBytes(data / "MEMORY2.QL0"), memory2) << "seeded again";
}

TEST_F(StorageTest, TheMemoriesGiveEveryUserPatternAKitAndTempoInTheLayoutTheProgramWrites) {
    ASSERT_TRUE(StorageSeeder::seed(root / "VANTIK"));
    const Bytes first = readBytes(data / "MEMORY1.QL0");
    const Bytes second = readBytes(data / "MEMORY2.QL0");
    CXMLFile xml;
    EXPECT_EQ(xml.getCurrentNumber(), 0);
    const int kits = static_cast<int>(sim::FactoryKits::names().size());
    std::set<int> tempos;
    for (int mem = 0; mem < 50; ++mem) {
        for (int content = 350; content < 400; ++content) {
            const int kit = xml.getKitFromMem(mem, content);
            const int tempo = xml.getTempoFromMem(mem, content);
            EXPECT_TRUE(kit >= 0 && kit < kits) << mem << "/" << content << ": " << kit;
            EXPECT_TRUE(tempo >= 400 && tempo <= 3500 && tempo % 10 == 0) << tempo;
            tempos.insert(tempo);
        }
        EXPECT_EQ(xml.getKitFromMem(mem, 349), -1);
        EXPECT_EQ(xml.getKitFromMem(mem, 400), -1);
    }
    EXPECT_EQ(xml.getKitFromMem(50, 350), -1);
    EXPECT_GT(tempos.size(), 5u) << "memories that all agree would hide a value written astray";
    EXPECT_EQ(xml.getKitFromMem(7, 353), StorageSeeder::kitOf(7, 3));
    EXPECT_EQ(xml.getTempoFromMem(7, 353), StorageSeeder::tempoOf(7, 3));

    ASSERT_TRUE(xml.saveFile());
    EXPECT_EQ(readBytes(data / "MEMORY1.QL0"), first);
    EXPECT_EQ(readBytes(data / "MEMORY2.QL0"), second);
}

}  // namespace
}  // namespace tavrel
