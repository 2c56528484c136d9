#include "cli/ConvertCommand.h"
#include "cli/JsonWriter.h"
#include "cli/ListCommand.h"
#include "cli/MemoryCommand.h"
#include "cli/SmfCommand.h"
#include "files/SettingsCopy.h"
#include "files/SmfBuilder.h"
#include "model/Context.h"
#include "model/Log.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace tavrel::cli {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::smfFile;
using test::TrackBuilder;
using Command = int (*)(const Args&, CommandIo);

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

class CommandTest : public ::testing::Test {
protected:
    // Every Kit and Tempo read is logged; thousands of lines a run say nothing here.
    CommandTest() {
        Log::setSink([](std::string_view, std::string_view) {});
    }
    ~CommandTest() override { Log::setSink({}); }

    int run(Command command, const Args& args) {
        out.str("");
        err.str("");
        return command(args, {out, err});
    }
    std::string file(const std::string& name, const Bytes& bytes) {
        return test::writeBytes(dir / name, bytes).string();
    }
    bool errSays(const std::string& text) const {
        return err.str().find(text) != std::string::npos;
    }
    std::string outFile() const { return (dir / "OUT.QL0").string(); }

    Context ctx;
    test::ScratchFolder dir;
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(CommandTest, BadCommandLinesExitTwoWithTheUsage) {
    const std::string good = file("good.mid", groove(1));
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
        {&ConvertCommand::run, {"-o", outFile()}, "convert FILE.mid"},
        {&ConvertCommand::run, {good}, "convert FILE.mid"},
        {&ConvertCommand::run, {good, "-o"}, "convert FILE.mid"},
        {&ConvertCommand::run, {good, "-o", outFile(), "--merge"}, "convert FILE.mid"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(run(c.command, c.args), kExitUsage) << c.usage;
        EXPECT_TRUE(errSays(std::string("usage: tavrel-cli ") + c.usage)) << err.str();
        EXPECT_EQ(out.str(), "");
    }
    EXPECT_FALSE(fs::exists(outFile()));
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
    EXPECT_NE(out.str().find("notes:   4\n  length:  384 ticks at 96 per quarter, 1 bars"),
              std::string::npos)
        << out.str();

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
    EXPECT_TRUE(errSays("cannot be read"));
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
    EXPECT_TRUE(errSays("b.mid: SMF Format 1 Merge all tracks. -> OK")) << err.str();

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

    EXPECT_EQ(run(&ListCommand::run, {first}), kExitFailed);
    EXPECT_TRUE(errSays("not a pattern file")) << err.str();
    EXPECT_EQ(out.str(), "");
}

TEST_F(CommandTest, ConvertSkipsFilesThatMakeNoPatternAndSaysWhy) {
    const auto good = file("good.mid", groove(1));
    const auto junk = file("junk.mid", {'R', 'I', 'F', 'F', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const auto multi = file("multi.mid", groove(1, 0, 1));
    const auto blip = file("blip.mid", smfFile(0, 96, {TrackBuilder().noteOn(0, 36, 9).chunk()}));
    const auto missing = (dir / "missing.mid").string();
    ASSERT_EQ(run(&ConvertCommand::run,
                  {junk, good, multi, blip, missing, "--no-merge", "-o", outFile()}),
              kExitOk);
    EXPECT_TRUE(errSays("junk.mid: no pattern: not a Standard MIDI File")) << err.str();
    EXPECT_TRUE(errSays("multi.mid: no pattern: its tracks were not merged")) << err.str();
    EXPECT_TRUE(errSays("blip.mid: no pattern: its notes last less than one bar")) << err.str();
    EXPECT_TRUE(errSays("missing.mid: no pattern: cannot be read: No such file or directory"))
        << err.str();
    ASSERT_EQ(run(&ListCommand::run, {outFile()}), kExitOk);
    EXPECT_TRUE(out.str().starts_with("1 pattern\n  1  \"good        \"")) << out.str();

    fs::remove(outFile());
    EXPECT_EQ(run(&ConvertCommand::run, {junk, missing, "-o", outFile()}), kExitFailed);
    EXPECT_TRUE(errSays("no pattern made")) << err.str();
    EXPECT_FALSE(fs::exists(outFile()));
}

TEST_F(CommandTest, ConvertWritesFiftyPatternsAtMost) {
    Args args = {"-o", outFile()};
    const Bytes one = groove(1);
    for (int i = 0; i < 51; ++i) args.push_back(file("g" + std::to_string(i) + ".mid", one));
    EXPECT_EQ(run(&ConvertCommand::run, args), kExitFailed);
    EXPECT_TRUE(errSays("51 patterns made")) << err.str();
    EXPECT_FALSE(fs::exists(outFile()));

    args.pop_back();
    EXPECT_EQ(run(&ConvertCommand::run, args), kExitOk) << err.str();
    ASSERT_EQ(run(&ListCommand::run, {outFile()}), kExitOk);
    EXPECT_TRUE(out.str().starts_with("50 patterns\n"));
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
    EXPECT_TRUE(errSays("not a folder")) << err.str();
    EXPECT_EQ(occurrences(err.str(), "\n"), 1u);
    EXPECT_EQ(out.str(), "");

    test::writeBytes(dir / "MEMORY1.QL0", test::settingsCopy("<memory>", 1));
    test::writeBytes(dir / "SYSTEM1.QL0",
                     test::settingsCopy("<sys><SETUP><MemNum>7</MemNum></SETUP></sys>", 0));
    EXPECT_EQ(run(&MemoryCommand::run, {dir.path().string(), "--json"}), kExitFailed);
    EXPECT_EQ(out.str(), "{\"current\":7,\"memories\":[]}\n");
    EXPECT_TRUE(errSays("readable memory file")) << err.str();
    EXPECT_EQ(occurrences(err.str(), "\n"), 1u);
}

TEST(JsonWriter, EscapesAndSeparates) {
    std::ostringstream s;
    JsonWriter json(s);
    json.beginObject().key("a\"b").value("x\\y\n\x01").key("n").beginArray().value(1).value(true);
    json.beginObject().endObject().endArray().key("bad").value(
        std::string_view("\xC3\x28\xC3\xA9"));
    json.endObject();
    EXPECT_EQ(s.str(),
              "{\"a\\\"b\":\"x\\\\y\\u000a\\u0001\",\"n\":[1,true,{}],"
              "\"bad\":\"\\ufffd(\xC3\xA9\"}");
}

}  // namespace
}  // namespace tavrel::cli
