#include "cli/MemoryCommand.h"
#include "files/SettingsFixture.h"
#include "model/Context.h"
#include "model/Log.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>

namespace tavrel::cli {
namespace {

using test::SettingsFixture;

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

class MemoryCommandTest : public ::testing::Test {
protected:
    Context ctx;
    std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("tavrel-memory-" + std::to_string(::getpid()));
    std::ostringstream out;
    std::ostringstream err;
    SettingsFixture unit;

    void SetUp() override {
        std::filesystem::create_directories(dir);
        // Every Kit and Tempo read is logged; 5000 lines a run say nothing here.
        Log::setSink([](std::string_view, std::string_view) {});
        unit.memNum = 7;
        unit.change(0, 350, 5, 1205);
        unit.remove(49, 399);
    }
    void TearDown() override {
        Log::setSink({});
        std::filesystem::remove_all(dir);
    }
    int run(Args args) { return MemoryCommand::run(args, {out, err}); }
};

TEST_F(MemoryCommandTest, JsonListsEveryUserContentOfEveryMemory) {
    unit.seed(dir);
    ASSERT_EQ(run({dir.string(), "--json"}), kExitOk);
    const std::string s = out.str();
    const std::string second =
        "{\"content\":351,\"kit\":" + std::to_string(SettingsFixture::kitOf(0, 351)) +
        ",\"tempo\":" + std::to_string(SettingsFixture::tempoOf(0, 351)) + "}";
    EXPECT_TRUE(
        s.starts_with("{\"current\":7,\"memories\":[{\"id\":0,\"contents\":["
                      "{\"content\":350,\"kit\":5,\"tempo\":1205}," +
                      second))
        << s.substr(0, 200);
    EXPECT_TRUE(s.ends_with("{\"content\":399,\"kit\":-1,\"tempo\":-1}]}]}\n"))
        << s.substr(s.size() - 200);
    EXPECT_EQ(occurrences(s, "\"content\":"), 2500u);
    EXPECT_EQ(occurrences(s, "\"id\":"), 50u);
    EXPECT_EQ(err.str(), "");
}

TEST_F(MemoryCommandTest, TextCountsMemoriesAndPatternsFromOneWithTempoInBpm) {
    unit.seed(dir);
    ASSERT_EQ(run({dir.string()}), kExitOk);
    const std::string s = out.str();
    EXPECT_TRUE(
        s.starts_with("current memory: 8\nmemory 1\n"
                      "  pattern  1  content 350  kit    5  tempo  120.5\n"))
        << s.substr(0, 200);
    EXPECT_TRUE(s.ends_with("  pattern 50  content 399  kit    -  tempo      -\n"))
        << s.substr(s.size() - 200);
    EXPECT_EQ(std::count(s.begin(), s.end(), '\n'), 1 + 50 + 50 * 50);
}

TEST_F(MemoryCommandTest, UnreadableMemoryFilesExitOneWithOneLine) {
    // No folder; a folder without settings; settings whose memory copies do not parse.
    const std::string missing = (dir / "missing").string();
    EXPECT_EQ(run({missing}), kExitFailed);
    EXPECT_NE(err.str().find("not a folder"), std::string::npos) << err.str();
    EXPECT_EQ(occurrences(err.str(), "\n"), 1u);
    EXPECT_EQ(out.str(), "");

    for (const auto& name : {"MEMORY1.QL0", "MEMORY2.QL0"}) {
        SettingsFixture::writeFile(dir / name, SettingsFixture::copyOf("<memory>", 1));
    }
    SettingsFixture::writeFile(dir / "SYSTEM1.QL0", SettingsFixture::copyOf(unit.systemXml(), 0));
    err.str("");
    EXPECT_EQ(run({dir.string(), "--json"}), kExitFailed);
    EXPECT_EQ(out.str(), "{\"current\":7,\"memories\":[]}\n");
    const std::string message = err.str();
    EXPECT_NE(message.find("readable memory file"), std::string::npos) << message;
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1);
}

TEST_F(MemoryCommandTest, UsageErrorsExitTwo) {
    EXPECT_EQ(run({}), kExitUsage);
    EXPECT_EQ(run({"a", "b"}), kExitUsage);
    EXPECT_EQ(run({"a", "--yaml"}), kExitUsage);
    EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace tavrel::cli
