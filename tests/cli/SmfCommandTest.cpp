#include "cli/JsonWriter.h"
#include "cli/SmfCommand.h"
#include "model/Context.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace tavrel::cli {
namespace {

class SmfCommandTest : public ::testing::Test {
protected:
    Context ctx;
    std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("tavrel-cli-" + std::to_string(::getpid()));
    std::ostringstream out;
    std::ostringstream err;

    void SetUp() override { std::filesystem::create_directories(dir); }
    void TearDown() override { std::filesystem::remove_all(dir); }

    std::string write(const std::string& name, const std::vector<unsigned char>& bytes) {
        const auto path = dir / name;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        return path.string();
    }
    int run(Args args) { return SmfCommand::run(args, {out, err}); }
};

// Division 96, tempo 120, a kick at 0, then `tail` (events after the kick), in one track.
std::vector<unsigned char> fileWith(std::initializer_list<unsigned char> tail) {
    // clang-format off
    std::vector<unsigned char> b = {
        'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0, 96,
        'M', 'T', 'r', 'k', 0, 0, 0, 0,
        0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20,  // 500,000 us a quarter
        0x00, 0x99, 0x24, 0x64};
    // clang-format on
    b.insert(b.end(), tail);
    b[21] = static_cast<unsigned char>(b.size() - 22);
    return b;
}

TEST_F(SmfCommandTest, JsonReportsEveryRecordUnsigned) {
    // Running status with a data byte of 0xFF: kept as note 255, shown unsigned.
    const auto path = write("two.mid", fileWith({0x60, 0x99, 0xFF, 0x70, 0x60, 0xFF, 0x2F, 0x00}));
    ASSERT_EQ(run({path, "--json"}), kExitOk);
    EXPECT_EQ(out.str(),
              "{\"check\":1,\"loaded\":true,\"tempo\":120,\"count\":3,"
              "\"records\":[[0,36,100],[96,255,112],[96,0,0]]}\n");
    EXPECT_EQ(err.str(), "");
}

TEST_F(SmfCommandTest, BrokenFilesStillGiveOneJsonObjectAndExitOne) {
    const auto junk = write("junk.mid", {'R', 'I', 'F', 'F', 0, 0});
    EXPECT_EQ(run({"--json", junk}), kExitFailed);
    EXPECT_EQ(out.str(), "{\"check\":0,\"loaded\":false,\"tempo\":0,\"count\":0,\"records\":[]}\n");
    EXPECT_NE(err.str().find("not a Standard MIDI File"), std::string::npos);
    const std::string message = err.str();
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1);

    out.str("");
    err.str("");
    EXPECT_EQ(run({(dir / "missing.mid").string(), "--json"}), kExitFailed);
    EXPECT_EQ(out.str(),
              "{\"check\":-1,\"loaded\":false,\"tempo\":0,\"count\":0,\"records\":[]}\n");
    EXPECT_NE(err.str().find("cannot be read"), std::string::npos);
}

TEST_F(SmfCommandTest, SummaryNamesTempoNotesAndLength) {
    // End of Track four quarters after the kick.
    ASSERT_EQ(run({write("one.mid", fileWith({0x83, 0x00, 0xFF, 0x2F, 0x00}))}), kExitOk);
    const std::string s = out.str();
    EXPECT_NE(s.find("tempo:   120 BPM"), std::string::npos) << s;
    EXPECT_NE(s.find("notes:   1\n"), std::string::npos) << s;
    EXPECT_NE(s.find("length:  384 ticks at 96 per quarter, 1 bars of 4/4"), std::string::npos)
        << s;
}

TEST_F(SmfCommandTest, UsageErrorsExitTwo) {
    EXPECT_EQ(run({}), kExitUsage);
    EXPECT_EQ(run({"a.mid", "b.mid"}), kExitUsage);
    EXPECT_EQ(run({"a.mid", "--yaml"}), kExitUsage);
    EXPECT_EQ(out.str(), "");
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
