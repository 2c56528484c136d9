// `tavrel-cli preview` into the unit simulated inside the command.
#include "cli/PreviewCommand.h"
#include "model/Log.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>

#include <regex>
#include <sstream>
#include <string>

namespace tavrel::cli {
namespace {

class PreviewCommandTest : public ::testing::Test {
protected:
    PreviewCommandTest() {
        Log::setSink([](std::string_view, std::string_view) {});
    }
    ~PreviewCommandTest() override { Log::setSink({}); }

    int preview(Args args) {
        args.insert(args.begin(), std::string(TAVREL_EXAMPLES_DIR) + "/rock-4-4.mid");
        out.str("");
        err.str("");
        return PreviewCommand::run(args, {out, err});
    }

    test::ScratchFolder dir;  // the simulated unit's storage goes here
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(PreviewCommandTest, PlaysTheWindowIntoTheSimulatedUnitAndEndsEveryNote) {
    ASSERT_EQ(preview({"--simulate", "--variation", "1", "--from", "1", "--bars", "1", "--tempo",
                       "350", "--seconds", "1"}),
              kExitOk)
        << err.str();
    EXPECT_NE(out.str().find("variation 1, bars 2 to 2, tempo 350, 4/4, through QL-900 MIDI 1\n"),
              std::string::npos)
        << out.str();
    EXPECT_NE(out.str().find("Stopped after 1."), std::string::npos) << out.str();
    std::smatch heard;
    const std::string text = out.str();
    ASSERT_TRUE(std::regex_search(text, heard,
                                  std::regex("heard ([0-9]+) note-ons, then "
                                             "([0-9]+) note-offs")))
        << text;
    EXPECT_GT(std::stoi(heard[1]), 0);
    EXPECT_GT(std::stoi(heard[2]), 0) << "the stop's note-offs come last";
}

TEST_F(PreviewCommandTest, CtrlCStopsItLongBeforeItsTime) {
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &interrupt, &previous);
    pthread_kill(pthread_self(), SIGINT);  // waits, blocked, for the command to take it
    const int exit = preview({"--simulate", "--seconds", "600"});
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    EXPECT_EQ(exit, kExitOk) << err.str();
    EXPECT_NE(out.str().find("Interrupted after 0."), std::string::npos) << out.str();
}

TEST_F(PreviewCommandTest, WrongLinesExitTwoAndAWindowPastTheFileOne) {
    for (const Args& args : std::vector<Args>{{"--variation", "10"},
                                              {"--tempo", "39"},
                                              {"--seconds", "0"},
                                              {"--bars"},
                                              {"--simulate=QL-1000"},
                                              {"--surprise"}}) {
        EXPECT_EQ(preview(args), kExitUsage) << args.front();
        EXPECT_NE(err.str().find("; usage: tavrel-cli preview "), std::string::npos) << err.str();
    }
    EXPECT_EQ(PreviewCommand::run({"--simulate"}, {out, err}), kExitUsage);
    EXPECT_EQ(preview({"--simulate", "--from", "9999"}), kExitFailed);
    EXPECT_NE(err.str().find("past the end"), std::string::npos) << err.str();
}

}  // namespace
}  // namespace tavrel::cli
