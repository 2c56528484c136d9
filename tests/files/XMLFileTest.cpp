#include "files/CXMLFile.h"
#include "files/FolderStorage.h"
#include "files/SettingsFixture.h"
#include "model/Context.h"
#include "model/Log.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using test::SettingsFixture;

class XMLFileTest : public ::testing::Test {
protected:
    Context ctx;
    fs::path dir;
    fs::path data;
    std::optional<std::string> oldXdg;

    void SetUp() override {
        const std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        dir = fs::temp_directory_path() / ("tavrel-xml-" + std::to_string(::getpid()) + "-" + test);
        data = dir / "DATA";
        fs::create_directories(data);
        // The writer keeps backups of replaced files; they belong to the test, not the user.
        if (const char* xdg = std::getenv("XDG_DATA_HOME")) oldXdg = xdg;
        ::setenv("XDG_DATA_HOME", (dir / "xdg").c_str(), 1);
        ctx.install<FolderStorage, UnitStorage>(std::make_unique<FolderStorage>(data));
    }
    void TearDown() override {
        if (oldXdg) {
            ::setenv("XDG_DATA_HOME", oldXdg->c_str(), 1);
        } else {
            ::unsetenv("XDG_DATA_HOME");
        }
        fs::remove_all(dir);
    }

    void put(const std::string& name, const Bytes& bytes) {
        SettingsFixture::writeFile(data / name, bytes);
    }
    void putXml(const std::string& name, const std::string& xml, std::int32_t generation) {
        put(name, SettingsFixture::copyOf(xml, generation));
    }
    Bytes bytesOf(const std::string& name) {
        std::ifstream in(data / name, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    // The text of a copy this program wrote: everything before the line feed and generation.
    std::string textOf(const std::string& name) {
        const Bytes b = bytesOf(name);
        return b.size() < 5 ? std::string() : std::string(b.begin(), b.end() - 5);
    }
    Bytes lastFive(const std::string& name) {
        const Bytes b = bytesOf(name);
        return b.size() < 5 ? b : Bytes(b.end() - 5, b.end());
    }
};

std::string memoryWithKit(int kit) {
    return "<memory><mem id=\"0\"><CONTENT350><Kit>" + std::to_string(kit) +
           "</Kit><Tempo>1200</Tempo></CONTENT350></mem></memory>";
}

std::string systemWith(int memNum) {
    return "<sys><SETUP><MemNum>" + std::to_string(memNum) + "</MemNum></SETUP></sys>";
}

TEST_F(XMLFileTest, TheCopyWithTheGreaterGenerationWinsAndATieGoesToFileOne) {
    struct Case {
        const char* what;
        std::optional<std::int32_t> first, second;
        int chosen;
    };
    const Case cases[] = {
        {"only file 2, whatever its generation", std::nullopt, -7, 2},
        {"only file 1", 9, std::nullopt, 1},
        {"a tie", 5, 5, 1},
        {"file 2 newer", 5, 6, 2},
        {"file 1 newer", 6, 5, 1},
        {"signed: FF FF FF FF is -1", -1, 0, 2},
        {"little-endian: 00 01 00 00 is 256", 256, 2, 1},
    };
    for (const Case& c : cases) {
        for (const char* name : {"SYSTEM1.QL0", "SYSTEM2.QL0", "MEMORY1.QL0", "MEMORY2.QL0"}) {
            fs::remove(data / name);
        }
        if (c.first) putXml("SYSTEM1.QL0", systemWith(1), *c.first);
        if (c.first) putXml("MEMORY1.QL0", memoryWithKit(11), *c.first);
        if (c.second) putXml("SYSTEM2.QL0", systemWith(2), *c.second);
        if (c.second) putXml("MEMORY2.QL0", memoryWithKit(22), *c.second);
        const CXMLFile settings;
        EXPECT_EQ(settings.getCurrentNumber(), c.chosen) << c.what;
        EXPECT_EQ(settings.getKitFromMem(0, 350), c.chosen * 11) << c.what;
    }
}

TEST_F(XMLFileTest, TruncatedOrGarbageCopiesCountAsMissing) {
    const Bytes unusable[] = {
        {},
        {'<'},
        {'<', 'm'},
        {'<', 'm', '>'},
        {0, 0, 0, 0},
        SettingsFixture::copyOf("not XML at all", 9),
        SettingsFixture::copyOf("<memory><mem id=\"0\"><CONTENT350><Kit>1</Kit>", 9),
    };
    for (const Bytes& bad : unusable) {
        const std::string what = std::to_string(bad.size()) + " bytes";
        fs::remove(data / "MEMORY2.QL0");
        fs::remove(data / "SYSTEM2.QL0");
        put("SYSTEM1.QL0", bad);
        put("MEMORY1.QL0", bad);
        {
            CXMLFile settings;
            EXPECT_EQ(settings.getCurrentNumber(), -1) << what;
            EXPECT_EQ(settings.getKitFromMem(0, 350), -1) << what;
            EXPECT_EQ(settings.getTempoFromMem(0, 350), -1) << what;
            EXPECT_FALSE(settings.setKitAndTempoFromMem(0, 0, 1, 120)) << what;
            EXPECT_FALSE(settings.saveFile()) << what;
            EXPECT_EQ(bytesOf("MEMORY1.QL0"), bad) << what;
            EXPECT_FALSE(fs::exists(data / "MEMORY2.QL0")) << what;
        }
        // Beside an unusable copy, the other one is taken even when it is older.
        putXml("SYSTEM2.QL0", systemWith(2), -100);
        putXml("MEMORY2.QL0", memoryWithKit(22), -100);
        const CXMLFile settings;
        EXPECT_EQ(settings.getCurrentNumber(), 2) << what;
        EXPECT_EQ(settings.getKitFromMem(0, 350), 22) << what;
    }
}

TEST_F(XMLFileTest, WithoutTheUnitsStorageThereIsNothingToReadOrWrite) {
    Context withoutUnit;
    putXml("MEMORY1.QL0", memoryWithKit(11), 0);
    CXMLFile settings;
    EXPECT_FALSE(settings.hasMemoryDoc());
    EXPECT_FALSE(settings.saveFile());
    EXPECT_EQ(bytesOf("MEMORY1.QL0"), SettingsFixture::copyOf(memoryWithKit(11), 0));
}

TEST_F(XMLFileTest, ReadersTakeTheContentNumberAndLogTheValue) {
    SettingsFixture unit;
    unit.memNum = 7;
    unit.seed(data);
    std::vector<std::string> logged;
    Log::setSink([&](std::string_view category, std::string_view text) {
        logged.push_back(std::string(category) + ": " + std::string(text));
    });
    const CXMLFile settings;
    EXPECT_EQ(settings.getCurrentNumber(), 7);
    EXPECT_EQ(settings.getKitFromMem(3, 350), SettingsFixture::kitOf(3, 350));
    EXPECT_EQ(settings.getTempoFromMem(49, 399), SettingsFixture::tempoOf(49, 399));
    EXPECT_EQ(settings.getKitFromMem(0, 0), SettingsFixture::kitOf(0, 0));  // CONTENT000
    EXPECT_EQ(settings.getKitFromMem(50, 350), -1);
    EXPECT_EQ(settings.getTempoFromMem(3, 349), -1);
    EXPECT_EQ(settings.getKitFromMem(3, 400), -1);
    Log::setSink({});
    const std::vector<std::string> expected = {
        "files: Kit " + std::to_string(SettingsFixture::kitOf(3, 350)),
        "files: Tempo " + std::to_string(SettingsFixture::tempoOf(49, 399)),
        "files: Kit " + std::to_string(SettingsFixture::kitOf(0, 0)),
    };
    EXPECT_EQ(logged, expected);
}

TEST_F(XMLFileTest, PathsMustMatchOneElementAndNumbersAreReadLeniently) {
    putXml("SYSTEM1.QL0", "<sys><SETUP><MemNum> 8th</MemNum></SETUP></sys>", 0);
    putXml("MEMORY1.QL0",
           "<memory><mem id=\"0\"><CONTENT350><Kit> 12 </Kit><Tempo>1205.5</Tempo></CONTENT350>"
           "<CONTENT351><Kit>1</Kit><Kit>2</Kit><Tempo/></CONTENT351>"
           "<CONTENT352><Kit>-3</Kit><Tempo>99999999999</Tempo></CONTENT352></mem>"
           "<mem id=\"1\"><CONTENT350><Kit>4</Kit></CONTENT350></mem>"
           "<mem id=\"1\"><CONTENT350><Kit>5</Kit></CONTENT350></mem></memory>",
           0);
    const CXMLFile settings;
    EXPECT_EQ(settings.getCurrentNumber(), 8);
    EXPECT_EQ(settings.getKitFromMem(0, 350), 12);
    EXPECT_EQ(settings.getTempoFromMem(0, 350), 1205);
    EXPECT_EQ(settings.getKitFromMem(0, 351), -1);   // two Kits
    EXPECT_EQ(settings.getTempoFromMem(0, 351), 0);  // there, but empty
    EXPECT_EQ(settings.getKitFromMem(0, 352), -3);
    EXPECT_EQ(settings.getTempoFromMem(0, 352), 2147483647);
    EXPECT_EQ(settings.getKitFromMem(1, 350), -1);  // two memories with id 1
}

TEST_F(XMLFileTest, SettingAPatternChangesOnlyItsContentAndTheSavedCopiesWinNextTime) {
    SettingsFixture unit;
    unit.seed(data);
    CXMLFile settings;
    EXPECT_TRUE(settings.setKitAndTempoFromMem(3, 0, 12, 95));
    EXPECT_TRUE(settings.setKitAndTempoFromMem(49, 49, 0, 350));
    EXPECT_FALSE(settings.setKitAndTempoFromMem(3, 50, 1, 120));  // no CONTENT400
    EXPECT_FALSE(settings.setKitAndTempoFromMem(50, 0, 1, 120));
    EXPECT_TRUE(settings.saveFile());

    unit.change(3, 350, 12, 950);
    unit.change(49, 399, 0, 3500);
    EXPECT_EQ(bytesOf("MEMORY1.QL0"), SettingsFixture::copyOf(unit.memoryXml(), 0));
    EXPECT_EQ(bytesOf("MEMORY2.QL0"), SettingsFixture::copyOf(unit.memoryXml(), 1));

    const CXMLFile again;
    EXPECT_EQ(again.getKitFromMem(3, 350), 12);
    EXPECT_EQ(again.getTempoFromMem(3, 350), 950);
}

TEST_F(XMLFileTest, AContentWithoutOneKitAndOneTempoIsLeftAlone) {
    putXml("MEMORY1.QL0",
           "<memory><mem id=\"3\">"
           "<CONTENT350><Kit>1</Kit></CONTENT350>"
           "<CONTENT351><Kit>2</Kit><Tempo>3</Tempo><Tempo>4</Tempo></CONTENT351>"
           "<CONTENT352><Tempo>5</Tempo></CONTENT352>"
           "</mem></memory>",
           0);
    CXMLFile settings;
    EXPECT_FALSE(settings.setKitAndTempoFromMem(3, 0, 12, 95));
    EXPECT_FALSE(settings.setKitAndTempoFromMem(3, 1, 12, 95));
    EXPECT_FALSE(settings.setKitAndTempoFromMem(3, 2, 12, 95));
    ASSERT_TRUE(settings.saveFile());
    EXPECT_EQ(textOf("MEMORY1.QL0"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<memory>\n"
              "<mem id=\"3\">\n"
              "<CONTENT350>\n"
              "\t<Kit>1</Kit>\n"
              "</CONTENT350>\n"
              "<CONTENT351>\n"
              "\t<Kit>2</Kit>\n"
              "\t<Tempo>3</Tempo>\n"
              "\t<Tempo>4</Tempo>\n"
              "</CONTENT351>\n"
              "<CONTENT352>\n"
              "\t<Tempo>5</Tempo>\n"
              "</CONTENT352>\n"
              "</mem>\n"
              "</memory>");
}

TEST_F(XMLFileTest, SaveWritesTheUnitsLayoutAndGenerationsZeroAndOne) {
    putXml("MEMORY2.QL0",
           "<memory><mem id=\"3\"><Name/><CONTENT350><Kit>7</Kit><Tempo>1200</Tempo>"
           "<Pad><Layer><Sample>kick &amp; snare</Sample></Layer></Pad></CONTENT350></mem>"
           "</memory>",
           41);
    CXMLFile settings;
    ASSERT_TRUE(settings.setKitAndTempoFromMem(3, 0, 12, 95));
    ASSERT_TRUE(settings.saveFile());
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<memory>\n"
        "<mem id=\"3\">\n"
        "<Name></Name>\n"
        "<CONTENT350>\n"
        "\t<Kit>12</Kit>\n"
        "\t<Tempo>950</Tempo>\n"
        "\t<Pad>\n"
        "    \t<Layer>\n"
        "        \t<Sample>kick &amp; snare</Sample>\n"
        "    \t</Layer>\n"
        "\t</Pad>\n"
        "</CONTENT350>\n"
        "</mem>\n"
        "</memory>";
    EXPECT_EQ(textOf("MEMORY1.QL0"), expected);
    EXPECT_EQ(textOf("MEMORY2.QL0"), expected);
    EXPECT_EQ(lastFive("MEMORY1.QL0"), (Bytes{0x0A, 0, 0, 0, 0}));
    EXPECT_EQ(lastFive("MEMORY2.QL0"), (Bytes{0x0A, 1, 0, 0, 0}));
}

TEST_F(XMLFileTest, TheDeclarationKeepsItsAttributesExceptStandaloneYes) {
    struct Case {
        const char* read;
        const char* written;
    };
    const Case cases[] = {
        {"", R"(<?xml version="1.0" encoding="UTF-8"?>)"},
        {R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)",
         R"(<?xml version="1.0" encoding="UTF-8"?>)"},
        {"<?xml version='1.0' standalone='yes'?>", R"(<?xml version="1.0"?>)"},
        {R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)",
         R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)"},
    };
    for (const Case& c : cases) {
        putXml("MEMORY1.QL0", std::string(c.read) + "<memory><!-- kept --></memory>", 0);
        fs::remove(data / "MEMORY2.QL0");
        CXMLFile settings;
        ASSERT_TRUE(settings.saveFile()) << c.read;
        EXPECT_EQ(textOf("MEMORY2.QL0"),
                  std::string(c.written) + "\n<memory>\n<!-- kept -->\n</memory>")
            << c.read;
    }
}

TEST_F(XMLFileTest, SaveStopsAtTheFirstFailedWriteAndReportsTheSecond) {
    // A folder standing where a copy goes stops the writer even for root, which a read-only
    // data folder would not.
    SettingsFixture unit;
    unit.seed(data);
    const Bytes second = bytesOf("MEMORY2.QL0");
    fs::remove(data / "MEMORY1.QL0");
    fs::create_directory(data / "MEMORY1.QL0");
    {
        CXMLFile settings;
        ASSERT_TRUE(settings.setKitAndTempoFromMem(3, 0, 12, 95));
        EXPECT_FALSE(settings.saveFile());
        EXPECT_EQ(bytesOf("MEMORY2.QL0"), second);
    }
    fs::remove(data / "MEMORY1.QL0");
    fs::remove(data / "MEMORY2.QL0");
    fs::create_directory(data / "MEMORY2.QL0");
    SettingsFixture::writeFile(data / "MEMORY1.QL0", SettingsFixture::copyOf(unit.memoryXml(), 4));
    CXMLFile settings;
    EXPECT_FALSE(settings.saveFile());
    EXPECT_EQ(lastFive("MEMORY1.QL0"), (Bytes{0x0A, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace tavrel
