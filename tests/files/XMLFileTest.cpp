#include "files/CXMLFile.h"
#include "files/FolderStorage.h"
#include "files/SettingsCopy.h"
#include "model/Context.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::settingsCopy;

std::string memoryWithKit(int kit) {
    return "<memory><mem id=\"0\"><CONTENT350><Kit>" + std::to_string(kit) +
           "</Kit><Tempo>1200</Tempo></CONTENT350></mem></memory>";
}

class XMLFileTest : public ::testing::Test {
protected:
    XMLFileTest() {
        fs::create_directories(data);
        ctx.install<FolderStorage, UnitStorage>(std::make_unique<FolderStorage>(data));
    }
    void put(const std::string& name, const Bytes& bytes) { test::writeBytes(data / name, bytes); }
    void putXml(const std::string& name, const std::string& xml, std::int32_t generation) {
        put(name, settingsCopy(xml, generation));
    }
    // Copy `n` (1 or 2) of both files: memory number n, kit 11 n.
    void putCopy(int n, std::int32_t generation) {
        const std::string i = std::to_string(n);
        putXml("SYSTEM" + i + ".QL0", "<sys><SETUP><MemNum>" + i + "</MemNum></SETUP></sys>",
               generation);
        putXml("MEMORY" + i + ".QL0", memoryWithKit(11 * n), generation);
    }
    Bytes bytesOf(const std::string& name) { return test::readBytes(data / name); }

    test::ScratchFolder dir;
    fs::path data = dir / "DATA";
    Context ctx;
};

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
        // Read unsigned, or big-endian, either of these would choose the other file.
        {"file 2 newer, signed: FF FF FF FF is -1", -1, 0, 2},
        {"file 1 newer, little-endian: 00 01 00 00 is 256", 256, 2, 1},
    };
    for (const Case& c : cases) {
        fs::remove_all(data);
        fs::create_directories(data);
        if (c.first) putCopy(1, *c.first);
        if (c.second) putCopy(2, *c.second);
        const CXMLFile settings;
        EXPECT_EQ(settings.getCurrentNumber(), c.chosen) << c.what;
        EXPECT_EQ(settings.getKitFromMem(0, 350), c.chosen * 11) << c.what;
    }
}

TEST_F(XMLFileTest, UnusableCopiesCountAsMissing) {
    const Bytes unusable[] = {
        {'<', 'm', '>'},
        settingsCopy("not XML at all", 9),
        settingsCopy("<memory><mem id=\"0\"><CONTENT350><Kit>1</Kit>", 9),
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
            EXPECT_FALSE(settings.setKitAndTempoFromMem(0, 0, 1, 120)) << what;
            EXPECT_FALSE(settings.saveFile()) << what;
            EXPECT_EQ(bytesOf("MEMORY1.QL0"), bad) << what;
        }
        putCopy(2, -100);  // beside an unusable copy, the other is taken even when older
        const CXMLFile settings;
        EXPECT_EQ(settings.getCurrentNumber(), 2) << what;
        EXPECT_EQ(settings.getKitFromMem(0, 350), 22) << what;
    }

    Context withoutUnit;
    CXMLFile settings;
    EXPECT_FALSE(settings.hasMemoryDoc());
    EXPECT_FALSE(settings.saveFile());
}

TEST_F(XMLFileTest, TheSetterChangesOneContentAndASaveKeepsEverythingElse) {
    // In the unit's own layout, so that the saved text differs only in what was set.
    const std::string before =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<memory>\n"
        "<mem id=\"3\">\n"
        "<CONTENT350>\n\t<Kit>1</Kit>\n\t<Tempo>1200</Tempo>\n</CONTENT350>\n"
        "<CONTENT351>\n\t<Kit>2</Kit>\n</CONTENT351>\n"
        "<CONTENT352>\n\t<Kit>2</Kit>\n\t<Tempo>3</Tempo>\n\t<Tempo>4</Tempo>\n</CONTENT352>\n"
        "<CONTENT399>\n\t<Kit>5</Kit>\n\t<Tempo>1000</Tempo>\n</CONTENT399>\n"
        "</mem>\n"
        "</memory>";
    putXml("MEMORY2.QL0", before, 7);
    CXMLFile settings;
    EXPECT_TRUE(settings.setKitAndTempoFromMem(3, 0, 12, 95));    // content 350
    EXPECT_FALSE(settings.setKitAndTempoFromMem(3, 1, 12, 95));   // no Tempo
    EXPECT_FALSE(settings.setKitAndTempoFromMem(3, 2, 12, 95));   // two Tempos
    EXPECT_FALSE(settings.setKitAndTempoFromMem(3, 50, 12, 95));  // no content 400
    EXPECT_TRUE(settings.setKitAndTempoFromMem(3, 49, 0, 350));
    ASSERT_TRUE(settings.saveFile());

    std::string after = before;
    const auto change = [&](const std::string& from, const std::string& to) {
        after.replace(after.find(from), from.size(), to);
    };
    change("<Kit>1</Kit>\n\t<Tempo>1200<", "<Kit>12</Kit>\n\t<Tempo>950<");
    change("<Kit>5</Kit>\n\t<Tempo>1000<", "<Kit>0</Kit>\n\t<Tempo>3500<");
    EXPECT_EQ(bytesOf("MEMORY1.QL0"), settingsCopy(after, 0));
}

TEST_F(XMLFileTest, SaveWritesTheUnitsLayoutAndGenerationsZeroAndOne) {
    // standalone="yes" is dropped from the declaration, other attributes stay; text that is
    // only blanks is text, not layout.
    putXml(
        "MEMORY2.QL0",
        "<?xml version='1.0' encoding='UTF-8' standalone='yes'?><!-- kept -->"
        "<memory><mem id=\"3\"><Name/><Label>   </Label><CONTENT350><Kit>7</Kit><Tempo>1200</Tempo>"
        "<Pad><Layer><Sample>kick &amp; snare</Sample></Layer></Pad></CONTENT350></mem>"
        "</memory>",
        41);
    CXMLFile settings;
    ASSERT_TRUE(settings.saveFile());
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!-- kept -->\n"
        "<memory>\n"
        "<mem id=\"3\">\n"
        "<Name></Name>\n"
        "<Label>   </Label>\n"
        "<CONTENT350>\n"
        "\t<Kit>7</Kit>\n"
        "\t<Tempo>1200</Tempo>\n"
        "\t<Pad>\n"
        "    \t<Layer>\n"
        "        \t<Sample>kick &amp; snare</Sample>\n"
        "    \t</Layer>\n"
        "\t</Pad>\n"
        "</CONTENT350>\n"
        "</mem>\n"
        "</memory>";
    EXPECT_EQ(bytesOf("MEMORY1.QL0"), settingsCopy(expected, 0));
    EXPECT_EQ(bytesOf("MEMORY2.QL0"), settingsCopy(expected, 1));
}

TEST_F(XMLFileTest, SaveStopsAtAFailedFirstWriteAndReportsAFailedSecond) {
    // A folder where a copy goes stops the writer even for root.
    putXml("MEMORY2.QL0", memoryWithKit(22), 5);
    const Bytes second = bytesOf("MEMORY2.QL0");
    fs::create_directory(data / "MEMORY1.QL0");
    {
        CXMLFile settings;
        ASSERT_TRUE(settings.setKitAndTempoFromMem(0, 0, 12, 95));
        EXPECT_FALSE(settings.saveFile());
        EXPECT_EQ(bytesOf("MEMORY2.QL0"), second);
    }
    fs::remove(data / "MEMORY1.QL0");
    fs::remove(data / "MEMORY2.QL0");
    fs::create_directory(data / "MEMORY2.QL0");
    putXml("MEMORY1.QL0", memoryWithKit(11), 4);
    CXMLFile settings;
    EXPECT_FALSE(settings.saveFile());
    EXPECT_EQ(bytesOf("MEMORY1.QL0").back(), 0) << "the first copy was written, generation 0";
}

}  // namespace
}  // namespace tavrel
