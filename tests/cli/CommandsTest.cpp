#include "cli/BackupsCommand.h"
#include "cli/CommandRig.h"
#include "cli/ConvertCommand.h"
#include "cli/ListCommand.h"
#include "cli/MemoryCommand.h"
#include "cli/PreviewCommand.h"
#include "cli/RenderCommand.h"
#include "cli/SmfCommand.h"
#include "cli/UnitCommand.h"
#include "files/AtomicFileWriter.h"
#include "files/SettingsCopy.h"
#include "files/SmfBuilder.h"
#include "model/Context.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace tavrel::cli {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::Command;
using test::smfFile;
using test::TrackBuilder;
using ::testing::HasSubstr;

// `bars` bars of quarter notes at division 96, after a Set Tempo when `micros` is set; format
// 1 puts an empty track before them.
Bytes groove(int bars, std::uint32_t micros = 0, std::uint16_t format = 0) {
    TrackBuilder t;
    if (micros != 0) t.tempo(0, micros);
    t.noteOn(0, 36, 100);
    for (int i = 1; i < bars * 4; ++i) t.noteOn(96, i % 2 == 0 ? 36 : 38, 100);
    t.endOfTrack(96);
    if (format == 0) return smfFile(0, 96, {t.chunk()});
    return smfFile(1, 96, {TrackBuilder().endOfTrack().chunk(), t.chunk()});
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

class CommandTest : public ::testing::Test, public test::CommandRig {
protected:
    std::string file(const std::string& name, const Bytes& bytes) {
        return test::writeBytes(dir / name, bytes).string();
    }
    std::string outFile() const { return (dir / "OUT.QL0").string(); }

    Context ctx;  // the memory command reads through the process's context
};

// Every command refuses a line it cannot use before it reads a file, writes one or starts a
// unit.
TEST_F(CommandTest, BadCommandLinesExitTwoWithTheUsage) {
    const std::string good = file("good.mid", groove(1));
    const std::string storage = (dir / "unit").string();
    struct Case {
        Command command;
        Args args;
        const char* usage;
    };
    const std::vector<Case> cases = {
        {&SmfCommand::run, {}, "smf FILE"},
        {&SmfCommand::run, {good, "--yaml"}, "smf FILE"},
        {&ListCommand::run, {good, good}, "list FILE.QL0"},
        {&MemoryCommand::run, {}, "memory DATA_FOLDER"},
        {&BackupsCommand::run, {"--all"}, "backups"},
        {&ConvertCommand::run, {"-o", outFile()}, "convert FILE.mid"},
        {&ConvertCommand::run, {good}, "convert FILE.mid"},
        {&ConvertCommand::run, {good, "-o"}, "convert FILE.mid"},
        {&ConvertCommand::run, {good, "-o", outFile(), "--merge"}, "convert FILE.mid"},
        {&RenderCommand::run, {good}, "render FILE.mid"},
        {&RenderCommand::run, {good, "-o"}, "render FILE.mid"},
        {&RenderCommand::run, {good, "-o", outFile(), "--loops", "0"}, "render FILE.mid"},
        {&RenderCommand::run, {good, "-o", outFile(), "--synth"}, "render FILE.mid"},
        {&RenderCommand::run, {good, "-o", outFile(), "--seconds", "3"}, "render FILE.mid"},
        {&PreviewCommand::run, {"--simulate"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--variation", "10"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--tempo", "39"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--seconds", "0"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--bars"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--simulate=QL-1000"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--surprise"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--synth", "--simulate"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--soundfont", "x.sf2", "--port", "QL"}, "preview FILE"},
        {&PreviewCommand::run, {good, "--loops", "2"}, "preview FILE"},
        {&UnitCommand::run, {}, "unit "},
        {&UnitCommand::run, {"save"}, "unit "},
        {&UnitCommand::run, {"pull", "--simulate"}, "unit "},
        {&UnitCommand::run, {"push", "a.QL0", "b.QL0", "--simulate"}, "unit "},
        {&UnitCommand::run, {"pull", "a.QL0", "--json", "--simulate"}, "unit "},
        {&UnitCommand::run, {"load", "--simulate=QL-1000"}, "unit "},
        {&UnitCommand::run, {"load", "--sim-storage", storage}, "unit "},
        {&UnitCommand::run, {"load", "--simulate", "--volume-root", storage}, "unit "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.usage + (c.args.empty() ? "" : " ... " + c.args.back()));
        EXPECT_EQ(run(c.command, c.args), kExitUsage);
        EXPECT_THAT(err.str(), HasSubstr(std::string("; usage: tavrel-cli ") + c.usage));
        EXPECT_EQ(out.str(), "");
    }
    EXPECT_FALSE(fs::exists(outFile()));
    EXPECT_FALSE(fs::exists(storage)) << "no unit was started";
}

TEST_F(CommandTest, SmfReportsEveryRecordAndABrokenFileStillGivesOneJsonObject) {
    // Running status with a data byte of 0xFF: note 255, shown unsigned.
    TrackBuilder t;
    t.tempo(0, 500000).noteOn(0, 36, 100).event(96, {0x99, 0xFF, 0x70}).endOfTrack(96);
    ASSERT_EQ(run(&SmfCommand::run, {file("odd.mid", smfFile(0, 96, {t.chunk()})), "--json"}),
              kExitOk);
    EXPECT_EQ(out.str(),
              "{\"check\":1,\"loaded\":true,\"tempo\":120,\"count\":3,"
              "\"records\":[[0,36,100],[96,255,112],[96,0,0]]}\n");
    EXPECT_EQ(err.str(), "");

    ASSERT_EQ(run(&SmfCommand::run, {file("one.mid", groove(1, 500000))}), kExitOk);
    EXPECT_THAT(out.str(), HasSubstr("notes:   4\n  length:  384 ticks at 96 per quarter, 1 bars"));

    const std::vector<std::pair<std::string, std::string>> broken = {
        {file("junk.mid", {'R', 'I', 'F', 'F', 0, 0}), "0"},
        {(dir / "missing.mid").string(), "-1"},
    };
    for (const auto& [path, check] : broken) {
        EXPECT_EQ(run(&SmfCommand::run, {"--json", path}), kExitFailed);
        EXPECT_EQ(out.str(), "{\"check\":" + check +
                                 ",\"loaded\":false,\"tempo\":0,\"count\":0,\"records\":[]}\n");
        EXPECT_EQ(occurrences(err.str(), "\n"), 1u) << err.str();
    }
    EXPECT_THAT(err.str(), HasSubstr("cannot be read"));
}

std::string variationsJson(int bars, int count) {
    std::string s;
    for (int v = 0; v < 10; ++v) {
        const bool fill = v == 2 || v == 4 || v == 6 || v == 8;
        s += std::string(v == 0 ? "[" : ",") +
             "{\"from\":0,\"bars\":" + std::to_string(fill ? 1 : bars) +
             ",\"totalBars\":" + std::to_string(bars) + ",\"count\":" + std::to_string(count) + "}";
    }
    return s + "]";
}

TEST_F(CommandTest, MidiFilesComeBackThroughConvertAndList) {
    const auto first = file("a-very-long-groove.mid", groove(2, 300000));
    const auto second = file("b.mid", groove(3, 500000, 1));
    ASSERT_EQ(run(&ConvertCommand::run, {first, second, "-o", outFile()}), kExitOk) << err.str();
    EXPECT_THAT(err.str(), HasSubstr("b.mid: SMF Format 1 Merge all tracks. -> OK"));

    ASSERT_EQ(run(&ListCommand::run, {outFile(), "--json"}), kExitOk) << err.str();
    EXPECT_EQ(out.str(),
              "{\"patterns\":["
              "{\"name\":\"a-very-long-\",\"kit\":0,\"tempo\":200,\"numerator\":4,"
              "\"denominator\":4,\"variations\":" +
                  variationsJson(2, 9) +
                  "},"
                  "{\"name\":\"b           \",\"kit\":0,\"tempo\":120,\"numerator\":4,"
                  "\"denominator\":4,\"variations\":" +
                  variationsJson(3, 13) + "}]}\n");
    ASSERT_EQ(run(&ListCommand::run, {outFile()}), kExitOk);
    EXPECT_TRUE(out.str().starts_with("2 patterns\n  1  \"a-very-long-\"  kit 0  tempo 200  4/4\n"))
        << out.str();

    // A name with an escape sequence, a C1 control, a lone UTF-8 byte and a backslash reaches
    // the terminal escaped; a whole UTF-8 letter does not.
    Bytes patterns = test::readBytes(outFile());
    const std::string raw = "\x1b[2J\xc2\x9b\xe9\\\xc3\xa9.";
    std::copy(raw.begin(), raw.end(), patterns.begin() + 12);
    ASSERT_EQ(run(&ListCommand::run, {file("odd.QL0", patterns)}), kExitOk);
    EXPECT_THAT(out.str(), HasSubstr(R"("\x1b[2J\xc2\x9b\xe9\\)"
                                     "\xc3\xa9.-\""));

    EXPECT_EQ(run(&ListCommand::run, {first}), kExitFailed);
    EXPECT_THAT(err.str(), HasSubstr("not a pattern file"));
    EXPECT_EQ(out.str(), "");
}

TEST_F(CommandTest, ConvertSkipsFilesThatMakeNoPatternAndSaysWhy) {
    const auto good = file("good.mid", groove(1));
    const auto junk = file("junk.mid", {'R', 'I', 'F', 'F', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const auto multi = file("multi.mid", groove(1, 0, 1));
    const auto blip = file("blip.mid", smfFile(0, 96, {TrackBuilder().noteOn(0, 36, 9).chunk()}));
    const auto missing = (dir / "missing.mid").string();
    // The patterns that could be made are written; the exit status tells a script of the rest.
    ASSERT_EQ(run(&ConvertCommand::run,
                  {junk, good, multi, blip, missing, "--no-merge", "-o", outFile()}),
              kExitFailed);
    EXPECT_THAT(err.str(), HasSubstr("4 of 5 MIDI files made no pattern"));
    EXPECT_THAT(err.str(), HasSubstr("junk.mid: no pattern: not a Standard MIDI File"));
    EXPECT_THAT(err.str(), HasSubstr("multi.mid: no pattern: its tracks were not merged"));
    EXPECT_THAT(err.str(), HasSubstr("blip.mid: no pattern: its notes last less than one bar"));
    EXPECT_THAT(err.str(),
                HasSubstr("missing.mid: no pattern: cannot be read: No such file or directory"));
    ASSERT_EQ(run(&ListCommand::run, {outFile()}), kExitOk);
    EXPECT_TRUE(out.str().starts_with("1 pattern\n  1  \"good        \"")) << out.str();

    fs::remove(outFile());
    EXPECT_EQ(run(&ConvertCommand::run, {junk, missing, "-o", outFile()}), kExitFailed);
    EXPECT_THAT(err.str(), HasSubstr("no pattern made"));
    EXPECT_FALSE(fs::exists(outFile()));

    // Why a write failed is said without -v, in one line.
    EXPECT_EQ(run(&ConvertCommand::run, {good, "-o", good + "/OUT.QL0"}), kExitFailed);
    EXPECT_THAT(err.str(),
                HasSubstr("cannot write " + good + "/OUT.QL0: cannot create a temporary file in " +
                          good + ": Not a directory\n"));
}

TEST_F(CommandTest, BackupsListsTheCopiesOfEachTargetNewestFirst) {
    const auto good = file("good.mid", groove(1));
    Args args = {"-o", outFile()};
    for (int i = 0; i < 3; ++i) {
        args.push_back(good);  // one pattern more each time
        ASSERT_EQ(run(&ConvertCommand::run, args), kExitOk);
    }
    EXPECT_THAT(err.str(),
                HasSubstr("the OUT.QL0 it replaced is kept at " + dir.backups().string()));
    test::writeBytes(dir / "notes.txt", {'a'});
    ASSERT_TRUE(AtomicFileWriter::write(dir / "notes.txt", Bytes{'b'}).ok);

    ASSERT_EQ(run(&BackupsCommand::run, {"--json"}), kExitOk);
    const std::string json = out.str();
    EXPECT_EQ(occurrences(json, "\"origin\":\"" + dir.path().string() + "\""), 2u) << json;
    EXPECT_EQ(occurrences(json, "\"size\":1,\"patterns\":null}"), 1u) << json;
    const auto newer = json.find("\"size\":2009212,\"patterns\":2}");
    const auto older = json.find("\"size\":2009212,\"patterns\":1}");
    EXPECT_TRUE(newer != std::string::npos && older != std::string::npos && newer < older) << json;

    ASSERT_EQ(run(&BackupsCommand::run, {}), kExitOk);
    EXPECT_TRUE(out.str().starts_with((dir / "OUT.QL0").string() + "\n  ")) << out.str();
}

TEST_F(CommandTest, ConvertWritesFiftyPatternsAtMost) {
    Args args = {"-o", outFile()};
    const Bytes one = groove(1);
    for (int i = 0; i < 51; ++i) args.push_back(file("g" + std::to_string(i) + ".mid", one));
    EXPECT_EQ(run(&ConvertCommand::run, args), kExitFailed);
    EXPECT_THAT(err.str(), HasSubstr("51 patterns made"));
    EXPECT_FALSE(fs::exists(outFile()));

    args.pop_back();
    EXPECT_EQ(run(&ConvertCommand::run, args), kExitOk) << err.str();
    EXPECT_TRUE(fs::exists(outFile()));
}

TEST_F(CommandTest, MemoryShowsEveryUserPatternOfEveryMemory) {
    test::writeBytes(dir / "SYSTEM1.QL0",
                     test::settingsCopy("<sys><SETUP><MemNum>7</MemNum></SETUP></sys>", 0));
    test::writeBytes(
        dir / "MEMORY1.QL0",
        test::settingsCopy("<memory><mem id=\"0\"><CONTENT350><Kit>5</Kit><Tempo>1205</Tempo>"
                           "</CONTENT350></mem><mem id=\"49\"><CONTENT398><Kit>3</Kit>"
                           "<Tempo>400</Tempo></CONTENT398></mem></memory>",
                           0));
    ASSERT_EQ(run(&MemoryCommand::run, {dir.path().string(), "--json"}), kExitOk);
    const std::string json = out.str();
    EXPECT_TRUE(
        json.starts_with("{\"current\":7,\"memories\":[{\"id\":0,\"contents\":["
                         "{\"content\":350,\"kit\":5,\"tempo\":1205},"
                         "{\"content\":351,\"kit\":-1,\"tempo\":-1},"))
        << json.substr(0, 200);
    EXPECT_TRUE(
        json.ends_with("{\"content\":398,\"kit\":3,\"tempo\":400},"
                       "{\"content\":399,\"kit\":-1,\"tempo\":-1}]}]}\n"))
        << json.substr(json.size() - 200);
    EXPECT_EQ(occurrences(json, "\"content\":"), 2500u);
    EXPECT_EQ(occurrences(json, "\"id\":"), 50u);

    // Memories and patterns counted from one, tempo in beats per minute.
    ASSERT_EQ(run(&MemoryCommand::run, {dir.path().string()}), kExitOk);
    const std::string text = out.str();
    EXPECT_TRUE(
        text.starts_with("current memory: 8\nmemory 1\n"
                         "  pattern  1  content 350  kit    5  tempo  120.5\n"))
        << text.substr(0, 200);
    EXPECT_TRUE(text.ends_with("  pattern 50  content 399  kit    -  tempo      -\n"));
    EXPECT_EQ(occurrences(text, "\n"), 1u + 50 + 50 * 50);
    EXPECT_EQ(err.str(), "");
}

TEST_F(CommandTest, MemoryWithoutAReadableMemoryFileExitsOneWithOneLine) {
    EXPECT_EQ(run(&MemoryCommand::run, {(dir / "missing").string()}), kExitFailed);
    EXPECT_THAT(err.str(), HasSubstr("not a folder"));
    EXPECT_EQ(occurrences(err.str(), "\n"), 1u);
    EXPECT_EQ(out.str(), "");

    test::writeBytes(dir / "MEMORY1.QL0", test::settingsCopy("<memory>", 1));
    test::writeBytes(dir / "SYSTEM1.QL0",
                     test::settingsCopy("<sys><SETUP><MemNum>7</MemNum></SETUP></sys>", 0));
    EXPECT_EQ(run(&MemoryCommand::run, {dir.path().string(), "--json"}), kExitFailed);
    EXPECT_EQ(out.str(), "{\"current\":7,\"memories\":[]}\n");
    EXPECT_THAT(err.str(), HasSubstr("readable memory file"));
    EXPECT_EQ(occurrences(err.str(), "\n"), 1u);
}

// Every node of a settings text, one line each: depth, type, name, attributes in their order and
// value. Blanks beside other nodes are layout; blank-only text is content.
std::vector<std::string> treeOf(const std::string& xml) {
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_string(xml.c_str(), pugi::parse_full | pugi::parse_ws_pcdata_single));
    std::vector<std::string> lines;
    const std::function<void(pugi::xml_node, int)> walk = [&](pugi::xml_node n, int depth) {
        std::string line = std::to_string(depth) + ' ' + std::to_string(n.type()) + ' ' + n.name();
        for (pugi::xml_attribute a : n.attributes())
            line += ' ' + std::string(a.name()) + '=' + a.value();
        lines.push_back(line + " [" + n.value() + ']');
        for (pugi::xml_node child : n.children()) walk(child, depth + 1);
    };
    walk(doc, 0);
    return lines;
}

TEST_F(CommandTest, ApplyAllChangesOnlyKitAndTempoInBothMemoryCopies) {
    const auto fast = file("fast.mid", groove(1, 300000));  // 200 BPM
    const auto mid = file("mid.mid", groove(1, 500000));    // 120 BPM
    ASSERT_EQ(run(&ConvertCommand::run, {fast, mid, "-o", outFile()}), kExitOk) << err.str();
    const std::string storage = (dir / "unit").string();
    const Args applyAll = {"apply-all",  "--from",        outFile(),
                           "--simulate", "--sim-storage", storage};
    ASSERT_EQ(run(&UnitCommand::run, applyAll), kExitOk) << err.str();  // seeds the storage

    // The declaration and comments beside the elements are the settings writer's to keep; here,
    // what else a file written by hand may hold.
    const std::string before =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<memory version=\"2\">\n"
        "  <mem name=\"First\" id=\"0\">\n"
        "    <?tool keep?>\n"
        "    <CONTENT350><!-- kick --><Tempo>900</Tempo><Kit>3</Kit><Pan side=\"L\" lv=\"5\"/>"
        "</CONTENT350>\n"
        "    <CONTENT351><Kit>4</Kit><Tempo>1000</Tempo><Memo><![CDATA[a < b]]></Memo>"
        "</CONTENT351>\n"
        "  </mem>\n"
        "  <mem id=\"1\"><CONTENT350><Kit>1</Kit><Tempo>1</Tempo></CONTENT350><T>\n</T></mem>\n"
        "</memory>";
    const fs::path data = dir / "unit" / "VANTIK" / "DATA";
    test::writeBytes(data / "MEMORY1.QL0", test::settingsCopy(before, 9));
    ASSERT_EQ(run(&UnitCommand::run, applyAll), kExitOk) << err.str();
    EXPECT_THAT(err.str(), HasSubstr("Now Working... (0%)\n"));
    EXPECT_THAT(err.str(), HasSubstr("Now Working... (100%)\n"));
    EXPECT_THAT(out.str(), HasSubstr("set 3 times in 50 memories; 97 left out"));

    std::string expected = before;
    const auto change = [&](const std::string& from, const std::string& to) {
        expected.replace(expected.find(from), from.size(), to);
    };
    change("<Tempo>900</Tempo><Kit>3</Kit>", "<Tempo>2000</Tempo><Kit>0</Kit>");
    change("<Kit>4</Kit><Tempo>1000</Tempo>", "<Kit>0</Kit><Tempo>1200</Tempo>");
    change("<Kit>1</Kit><Tempo>1</Tempo>", "<Kit>0</Kit><Tempo>2000</Tempo>");
    // Both copies are written; their generation trailers are the settings writer's.
    for (const char* name : {"MEMORY1.QL0", "MEMORY2.QL0"}) {
        const Bytes saved = test::readBytes(data / name);
        ASSERT_GT(saved.size(), 5u);
        EXPECT_EQ(treeOf(std::string(saved.begin(), saved.end() - 5)), treeOf(expected)) << name;
    }
}

}  // namespace
}  // namespace tavrel::cli
