#include "device/TempFolder.h"
#include "files/CFileDataMgr.h"
#include "files/CXMLFile.h"
#include "files/FolderStorage.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "sim/FactoryKits.h"
#include "sim/ScopedDataHome.h"
#include "sim/StorageSeeder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using sim::StorageSeeder;

Bytes read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

class StorageSeederTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StorageSeeder::seed(unitFolder));
        ctx.install<FolderStorage, UnitStorage>(std::make_unique<FolderStorage>(data));
    }

    test::TempFolder temp;
    test::ScopedDataHome home{temp.path() / "share"};
    fs::path unitFolder = temp.path() / "VANTIK";
    fs::path data = unitFolder / "DATA";
    Context ctx;
};

TEST_F(StorageSeederTest, GivesANewUnitItsFiveDataFiles) {
    EXPECT_EQ(namesIn(unitFolder), std::set<std::string>{"DATA"});
    EXPECT_EQ(namesIn(data), (std::set<std::string>{"MEMORY1.QL0", "MEMORY2.QL0", "RHYTHM.QL0",
                                                    "SYSTEM1.QL0", "SYSTEM2.QL0"}));
    const Bytes rhythm = read(data / "RHYTHM.QL0");
    ASSERT_EQ(rhythm.size(), 2009212u);
    EXPECT_EQ(Bytes(rhythm.begin(), rhythm.begin() + 12),
              (Bytes{'P', 'T', 'N', '_', '0', '0', '0', '0', 0, 0, 0, 0}));
    ctx.patterns().addPatternData();
    EXPECT_TRUE(CFileDataMgr::loadData());
    EXPECT_TRUE(ctx.patterns().getPtnData().empty());
    // Each settings copy ends in a line feed and its generation: 0 for file 1, 1 for file 2.
    for (const char* name : {"SYSTEM", "MEMORY"}) {
        for (const int copy : {1, 2}) {
            const Bytes file = read(data / (name + std::to_string(copy) + ".QL0"));
            ASSERT_GT(file.size(), 5u);
            EXPECT_EQ(Bytes(file.end() - 5, file.end()),
                      (Bytes{'\n', static_cast<std::uint8_t>(copy - 1), 0, 0, 0}))
                << name << copy;
        }
    }
}

TEST_F(StorageSeederTest, TheSettingsHoldFiftyMemoriesWithKitAndTempoForEveryUserPattern) {
    const CXMLFile xml;
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
}

TEST_F(StorageSeederTest, TheMemoryFileHasTheLayoutTheProgramWritesBack) {
    const Bytes first = read(data / "MEMORY1.QL0");
    const Bytes second = read(data / "MEMORY2.QL0");
    CXMLFile xml;
    ASSERT_TRUE(xml.saveFile());
    EXPECT_EQ(read(data / "MEMORY1.QL0"), first);
    EXPECT_EQ(read(data / "MEMORY2.QL0"), second);
}

TEST_F(StorageSeederTest, SeedingAgainOnlyFillsInWhatIsMissing) {
    std::ofstream(data / "RHYTHM.QL0", std::ios::binary | std::ios::trunc) << "the user's";
    const Bytes memory2 = read(data / "MEMORY2.QL0");
    fs::remove(data / "MEMORY2.QL0");
    ASSERT_TRUE(StorageSeeder::seed(unitFolder));
    EXPECT_EQ(read(data / "RHYTHM.QL0"),
              (Bytes{'t', 'h', 'e', ' ', 'u', 's', 'e', 'r', '\'', 's'}));
    EXPECT_EQ(read(data / "MEMORY2.QL0"), memory2);
    EXPECT_EQ(namesIn(data).size(), 5u);
}

}  // namespace
}  // namespace tavrel
