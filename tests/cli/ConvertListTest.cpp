#include "cli/ConvertCommand.h"
#include "cli/ListCommand.h"
#include "files/CFileDataMgr.h"
#include "files/CPhraseFile.h"
#include "files/SmfBuilder.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

namespace tavrel::cli {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::smfFile;
using test::TrackBuilder;

// `bars` bars of quarter-note kicks at division 96, with a tempo event when `micros` is set.
Bytes kicks(int bars, std::uint32_t micros = 0, std::uint16_t format = 0) {
    TrackBuilder t;
    if (micros != 0) t.tempo(0, micros);
    t.noteOn(0, 36, 100);
    for (int i = 1; i < bars * 4; ++i) t.noteOn(96, i % 2 == 0 ? 36 : 38, 100);
    t.endOfTrack(96);
    if (format == 0) return smfFile(0, 96, {t.chunk()});
    return smfFile(1, 96, {TrackBuilder().endOfTrack().chunk(), t.chunk()});
}

class ConvertListTest : public ::testing::Test {
protected:
    ConvertListTest() {
        std::string pattern = (fs::temp_directory_path() / "tavrel-convert-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "cannot make " << pattern;
        dir = pattern;
        ::setenv("XDG_DATA_HOME", (dir / "data").c_str(), 1);
    }
    ~ConvertListTest() override {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }

    std::string midi(const std::string& name, const Bytes& bytes) {
        std::ofstream(dir / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        return (dir / name).string();
    }
    std::string outFile() const { return (dir / "OUT.QL0").string(); }
    int convert(Args args) { return run(&ConvertCommand::run, std::move(args)); }
    int list(Args args) { return run(&ListCommand::run, std::move(args)); }
    int run(int (*command)(const Args&, CommandIo), Args args) {
        out.str("");
        err.str("");
        return command(args, {out, err});
    }
    bool errSays(const std::string& text) const {
        return err.str().find(text) != std::string::npos;
    }

    Context ctx;
    fs::path dir;
    std::ostringstream out;
    std::ostringstream err;
};

std::string variationsJson(int bars, int count) {
    std::string s;
    for (int v = 0; v < 10; ++v) {
        const bool fill = v == 2 || v == 4 || v == 6 || v == 8;
        s += std::string(v == 0 ? "" : ",") +
             "{\"from\":0,\"bars\":" + std::to_string(fill ? 1 : bars) +
             ",\"totalBars\":" + std::to_string(bars) + ",\"count\":" + std::to_string(count) + "}";
    }
    return "[" + s + "]";
}

TEST_F(ConvertListTest, MidiFilesComeBackThroughConvertAndList) {
    const auto first = midi("a-very-long-groove.mid", kicks(2, 300000));
    const auto second = midi("b.mid", kicks(3, 500000, 1));
    ASSERT_EQ(convert({first, second, "-o", outFile()}), kExitOk) << err.str();
    EXPECT_TRUE(errSays("b.mid: SMF Format 1 Merge all tracks. -> OK")) << err.str();

    ASSERT_EQ(list({outFile(), "--json"}), kExitOk) << err.str();
    EXPECT_EQ(out.str(),
              "{\"patterns\":["
              "{\"name\":\"a-very-long-\",\"kit\":0,\"tempo\":200,\"numerator\":4,"
              "\"denominator\":4,\"variations\":" +
                  variationsJson(2, 9) +
                  "},"
                  "{\"name\":\"b           \",\"kit\":0,\"tempo\":120,\"numerator\":4,"
                  "\"denominator\":4,\"variations\":" +
                  variationsJson(3, 13) + "}]}\n");
    ASSERT_EQ(list({outFile()}), kExitOk);
    EXPECT_NE(out.str().find("  1  \"a-very-long-\"  kit 0  tempo 200  4/4\n"), std::string::npos)
        << out.str();

    // Every variation holds the notes the reader makes of the file.
    CPhraseFile reader;
    ASSERT_TRUE(reader.loadSmf(first));
    const StepRecords expected(reader.getSeqData(), reader.getSeqData() + reader.getSeqDataCount());
    ASSERT_TRUE(CFileDataMgr::importData(outFile()));
    const auto pattern = ctx.patterns().getPtnData().at(0);
    for (int v = 0; v < 10; ++v)
        EXPECT_EQ(*pattern->getPhraseAtVariation(v)->getSeqData(), expected);
}

TEST_F(ConvertListTest, FilesThatMakeNoPatternAreSkippedWithTheReason) {
    const auto good = midi("good.mid", kicks(1));
    const auto junk = midi("junk.mid", {'R', 'I', 'F', 'F', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const auto multi = midi("multi.mid", kicks(1, 0, 1));
    const auto blip = midi("blip.mid", smfFile(0, 96, {TrackBuilder().noteOn(0, 36, 9).chunk()}));
    const auto missing = (dir / "missing.mid").string();
    ASSERT_EQ(convert({junk, good, multi, blip, missing, "--no-merge", "-o", outFile()}), kExitOk);
    EXPECT_TRUE(errSays("junk.mid: no pattern: not a Standard MIDI File")) << err.str();
    EXPECT_TRUE(errSays("multi.mid: no pattern: its tracks were not merged")) << err.str();
    EXPECT_TRUE(errSays("blip.mid: no pattern: its notes last less than one bar")) << err.str();
    EXPECT_TRUE(errSays("missing.mid: no pattern: the file cannot be read")) << err.str();
    ASSERT_EQ(list({outFile()}), kExitOk);
    EXPECT_EQ(out.str().substr(0, 10), "1 pattern\n");
    EXPECT_NE(out.str().find("\"good        \""), std::string::npos);

    fs::remove(outFile());
    EXPECT_EQ(convert({junk, missing, "-o", outFile()}), kExitFailed);
    EXPECT_TRUE(errSays("no pattern made")) << err.str();
    EXPECT_FALSE(fs::exists(outFile()));
}

TEST_F(ConvertListTest, MoreThanFiftyPatternsWriteNothing) {
    Args args = {"-o", outFile()};
    const Bytes groove = kicks(1);
    for (int i = 0; i < 51; ++i) args.push_back(midi("g" + std::to_string(i) + ".mid", groove));
    EXPECT_EQ(convert(args), kExitFailed);
    EXPECT_TRUE(errSays("51 patterns made")) << err.str();
    EXPECT_FALSE(fs::exists(outFile()));

    args.pop_back();
    EXPECT_EQ(convert(args), kExitOk) << err.str();
    ASSERT_EQ(list({outFile()}), kExitOk);
    EXPECT_EQ(out.str().substr(0, 12), "50 patterns\n");
}

TEST_F(ConvertListTest, BadCommandLinesAndBadFiles) {
    const auto good = midi("good.mid", kicks(1));
    for (const Args& args : {Args{}, Args{good}, Args{"-o", outFile()}, Args{good, "-o"},
                             Args{good, "-o", outFile(), "--merge"}}) {
        EXPECT_EQ(convert(args), kExitUsage);
        EXPECT_TRUE(errSays("usage: tavrel-cli convert")) << err.str();
    }
    for (const Args& args : {Args{}, Args{good, good}, Args{good, "--yaml"}}) {
        EXPECT_EQ(list(args), kExitUsage);
    }
    EXPECT_EQ(list({good}), kExitFailed);
    EXPECT_TRUE(errSays("not a pattern file")) << err.str();
    EXPECT_EQ(out.str(), "");
    EXPECT_FALSE(fs::exists(outFile()));
}

}  // namespace
}  // namespace tavrel::cli
