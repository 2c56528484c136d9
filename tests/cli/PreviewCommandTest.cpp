// `tavrel-cli preview` into the unit simulated inside the command.
#include "cli/CommandRig.h"
#include "cli/PreviewCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>

#include <regex>
#include <string>

namespace tavrel::cli {
namespace {

using ::testing::HasSubstr;

// The simulated unit's storage goes to the rig's folder.
class PreviewCommandTest : public ::testing::Test, public test::CommandRig {
protected:
    int preview(Args args) {
        args.insert(args.begin(), std::string(TAVREL_EXAMPLES_DIR) + "/rock-4-4.mid");
        return run(&PreviewCommand::run, args);
    }
};

TEST_F(PreviewCommandTest, PlaysTheWindowIntoTheSimulatedUnitAndEndsEveryNote) {
    EXPECT_EQ(preview({"--simulate", "--from", "9999"}), kExitFailed);
    EXPECT_THAT(err.str(), HasSubstr("past the end"));
    ASSERT_EQ(preview({"--simulate", "--variation", "1", "--from", "1", "--bars", "1", "--tempo",
                       "350", "--seconds", "1"}),
              kExitOk)
        << err.str();
    EXPECT_THAT(out.str(), HasSubstr("variation 1, bars 2 to 2, tempo 350, 4/4, through QL-900 "
                                     "MIDI 1\n"));
    EXPECT_THAT(out.str(), HasSubstr("Stopped after 1."));
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
    EXPECT_THAT(out.str(), HasSubstr("Interrupted after 0."));
}

}  // namespace
}  // namespace tavrel::cli
