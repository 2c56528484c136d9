// The link between tavrel-cli and the unit over the kernel's sequencer, both as processes of
// their own: patterns pushed to each model come back by pull and a load brings the kits; a unit
// that dies mid-command, or a command the user stops, is reported promptly in the program's words.
#include "alsa/SequencerTest.h"
#include "alsa/link/TavrelCli.h"
#include "alsa/link/UnitSimProcess.h"
#include "support/ScratchFolder.h"

#include <csignal>
#include <iostream>
#include <string>
#include <thread>

namespace tavrel::test {
namespace {

using namespace std::chrono_literals;
using Stream = ChildProcess::Stream;

const std::string kExamples = TAVREL_EXAMPLES_DIR;

// Test names hold no dashes.
std::string modelTestName(const ::testing::TestParamInfo<const char*>& param) {
    std::string name = param.param;
    std::erase(name, '-');
    return name;
}

class LinkOverSequencerTest : public SequencerTest,
                              public ::testing::WithParamInterface<const char*> {
protected:
    std::string model() const { return GetParam(); }
    std::string storage() const { return (scratch / "storage").string(); }
    TavrelCli::Result unit(std::vector<std::string> args) {
        args.insert(args.begin(), "unit");
        args.insert(args.end(), {"--volume-root", storage()});
        return TavrelCli::run(args);
    }

    ScratchFolder scratch;
};

TEST_P(LinkOverSequencerTest, PatternsPushedComeBackByPullAndALoadBringsTheKits) {
    UnitSimProcess sim(model(), storage());
    ASSERT_TRUE(sim.ready()) << sim.output();
    const std::string in = (scratch / "in.QL0").string();
    const std::string out = (scratch / "out.QL0").string();
    const auto made = TavrelCli::run(
        {"convert", kExamples + "/rock-4-4.mid", kExamples + "/shuffle-6-8.mid", "-o", in});
    ASSERT_EQ(made.code, 0) << made;

    const auto pushed = unit({"push", in});
    ASSERT_EQ(pushed.code, 0) << pushed;
    EXPECT_NE(pushed.out.find("2 patterns written to the " + model()), std::string::npos) << pushed;
    const auto pulled = unit({"pull", out});
    ASSERT_EQ(pulled.code, 0) << pulled;
    EXPECT_NE(pulled.out.find("2 patterns from the " + model()), std::string::npos) << pulled;
    EXPECT_TRUE(readBytes(out) == readBytes(in)) << "the pulled file differs from the pushed";

    // The kit list comes in messages of the unit's; the patterns came back by pull.
    const auto loaded = unit({"load", "--json"});
    ASSERT_EQ(loaded.code, 0) << loaded;
    EXPECT_NE(loaded.out.find("\"kits\":[\""), std::string::npos) << loaded;
    const auto status = unit({"status", "--json"});
    ASSERT_EQ(status.code, 0) << status;
    EXPECT_NE(status.out.find("\"editorMode\":0,\"mounted\":false"), std::string::npos)
        << "every command gives the unit back: " << status;
    std::cout << "link " << model() << " ms: push " << pushed.took.count() << ", pull "
              << pulled.took.count() << ", load " << loaded.took.count() << ", status "
              << status.took.count() << '\n';
}

// The command is in the middle of a wait for the unit (its answer late, its storage never
// coming, or no answer at all) when the unit's process is killed or the user presses Ctrl-C.
// A killed unit says no goodbye, its client just vanishes: the link must not sit out the rest of
// the wait for a unit that is gone. Ctrl-C cancels the wait under way at once, however long the
// unit would keep it waiting, and still lets the unit go before the command ends.
TEST_P(LinkOverSequencerTest, AWaitForTheUnitEndsWithinASecondOfItsDeathOrOfCtrlC) {
    struct Case {
        std::vector<std::string> faults;
        std::vector<std::string> command;
        const char* waitingAfter;  // the log line of the request being waited on
        bool ctrlC;                // the user stops the command; otherwise the unit is killed
        bool askedAfter;  // the unit still answers, so it can be asked whether it was let go
    };
    const std::string gone = "tavrel-cli: Unit not connected.";
    const std::string stopping =
        "tavrel-cli: stopping once the unit is let go (again to stop at once)";
    const std::string cancelled = "device: step cancelled";
    const Case cases[] = {
        {{"--slow", "4000"}, {"status", "--json"}, "device: RQ Editor Mode", false, false},
        {{"--never-mount"}, {"load", "--json"}, "device: TX MOUNT", false, false},
        {{"--slow", "500"}, {"load"}, "device: TX MOUNT", true, true},
        {{"--silent"}, {"load"}, "device: RQ Editor Mode", true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.waitingAfter);
        UnitSimProcess sim(model(), storage(), c.faults);
        ASSERT_TRUE(sim.ready()) << sim.output();
        std::vector<std::string> args{"-v", "unit"};
        args.insert(args.end(), c.command.begin(), c.command.end());
        args.insert(args.end(), {"--volume-root", storage()});
        const auto cli = TavrelCli::start(args);
        ASSERT_TRUE(cli->waitForLine(Stream::Err, c.waitingAfter, 20s)) << cli->text(Stream::Err);
        if (!c.ctrlC) std::this_thread::sleep_for(300ms);  // well inside the wait
        const auto stoppedAt = ChildProcess::Clock::now();
        c.ctrlC ? cli->kill(SIGINT) : sim.process().kill(SIGKILL);

        const auto said = cli->waitForLine(Stream::Err, "tavrel-cli: ", 15s);
        ASSERT_TRUE(said) << cli->text(Stream::Err);
        EXPECT_EQ(said->text, c.ctrlC ? stopping : gone);
        const auto prompt = cli->waitForLine(Stream::Err, c.ctrlC ? cancelled : gone, 15s);
        ASSERT_TRUE(prompt) << cli->text(Stream::Err);
        const auto latency =
            std::chrono::duration_cast<std::chrono::milliseconds>(prompt->at - stoppedAt);
        EXPECT_LT(latency, 1s);
        std::cout << (c.ctrlC ? "signal-to-cancel " : "kill-to-report ") << model() << " after "
                  << c.waitingAfter << ": " << latency.count() << " ms\n";
        // Only the report must be prompt: ending the command (the desktop's volumes asked, the
        // sequencer left) takes several seconds in a sanitizer build under emulation.
        EXPECT_EQ(cli->wait(40s), c.ctrlC ? 130 : 1) << cli->text(Stream::Err);
        if (c.command.front() == "status") {
            EXPECT_NE(cli->text(Stream::Out).find("\"connected\":false"), std::string::npos)
                << cli->text(Stream::Out);
        }
        if (!c.askedAfter) continue;
        const auto status = unit({"status", "--json"});
        ASSERT_EQ(status.code, 0) << status;
        EXPECT_NE(status.out.find("\"editorMode\":0,\"mounted\":false"), std::string::npos)
            << status;
    }
}

INSTANTIATE_TEST_SUITE_P(BothModels, LinkOverSequencerTest,
                         ::testing::Values("QL-900", "QL-414XE3"), modelTestName);

}  // namespace
}  // namespace tavrel::test
