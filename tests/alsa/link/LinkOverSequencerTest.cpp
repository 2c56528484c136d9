// The link between tavrel-cli and the unit over the kernel's sequencer, both as processes of
// their own: patterns pushed to each model come back by pull and by load, and a unit that
// dies mid-command is reported gone, promptly and in the program's own words.
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

// The array or object after "key": in one line of JSON, brackets inside strings skipped.
std::string jsonValue(const std::string& json, const std::string& key) {
    const std::size_t start = json.find('"' + key + "\":");
    if (start == std::string::npos) return {};
    const std::size_t from = start + key.size() + 3;
    int depth = 0;
    bool inString = false;
    for (std::size_t i = from; i < json.size(); ++i) {
        const char c = json[i];
        if (inString) {
            if (c == '\\') ++i;
            if (c == '"') inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if ((c == ']' || c == '}') && --depth == 0) {
            return json.substr(from, i + 1 - from);
        }
    }
    return {};
}

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

TEST_P(LinkOverSequencerTest, PatternsPushedToTheUnitComeBackByPullAndByLoad) {
    UnitSimProcess sim(model(), storage());
    ASSERT_TRUE(sim.ready()) << sim.output();
    const std::string in = (scratch / "in.QL0").string();
    const std::string out = (scratch / "out.QL0").string();
    const auto made = TavrelCli::run(
        {"convert", kExamples + "/rock-4-4.mid", kExamples + "/shuffle-6-8.mid", "-o", in});
    ASSERT_EQ(made.code, 0) << made;
    const auto listed = TavrelCli::run({"list", in, "--json"});
    ASSERT_EQ(listed.code, 0) << listed;
    const std::string pushedPatterns = jsonValue(listed.out, "patterns");
    ASSERT_NE(pushedPatterns.find("shuffle-6-8"), std::string::npos) << listed;

    const auto before = unit({"load", "--json"});
    ASSERT_EQ(before.code, 0) << before;
    EXPECT_NE(before.out.find("\"model\":\"" + model() + '"'), std::string::npos) << before;
    EXPECT_NE(jsonValue(before.out, "kits"), "[]") << before;
    EXPECT_EQ(jsonValue(before.out, "patterns"), "[]") << "a fresh unit holds none";

    const auto pushed = unit({"push", in});
    ASSERT_EQ(pushed.code, 0) << pushed;
    EXPECT_NE(pushed.out.find("2 patterns written to the " + model()), std::string::npos) << pushed;
    const auto pulled = unit({"pull", out});
    ASSERT_EQ(pulled.code, 0) << pulled;
    EXPECT_NE(pulled.out.find("2 patterns from the " + model()), std::string::npos) << pulled;
    EXPECT_TRUE(readBytes(out) == readBytes(in)) << "the pulled file differs from the pushed";

    const auto after = unit({"load", "--json"});
    ASSERT_EQ(after.code, 0) << after;
    EXPECT_EQ(jsonValue(after.out, "patterns"), pushedPatterns);
    const auto status = unit({"status", "--json"});
    ASSERT_EQ(status.code, 0) << status;
    EXPECT_NE(status.out.find("\"editorMode\":0,\"mounted\":false"), std::string::npos)
        << "every command gives the unit back: " << status;
    std::cout << "link " << model() << " ms: load " << before.took.count() << ", push "
              << pushed.took.count() << ", pull " << pulled.took.count() << ", load "
              << after.took.count() << ", status " << status.took.count() << '\n';
}

// The command is in the middle of a wait for the unit (its answer late, or its storage never
// coming) when the unit's process is killed: no goodbye, its client just vanishes. The link
// must not sit out the rest of the wait for a unit that is gone.
TEST_P(LinkOverSequencerTest, AUnitKilledMidCommandIsReportedGoneWithinASecond) {
    struct Case {
        std::vector<std::string> faults;
        const char* command;
        const char* waitingAfter;  // the log line of the request being waited on
        const char* reported;      // on stdout, if anything
    };
    const Case cases[] = {
        {{"--slow", "4000"}, "status", "device: RQ Editor Mode", "\"connected\":false"},
        {{"--slow", "4000"}, "load", "device: TX Editor ON", nullptr},
        {{"--never-mount"}, "load", "device: TX MOUNT", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.waitingAfter);
        UnitSimProcess sim(model(), storage(), c.faults);
        ASSERT_TRUE(sim.ready()) << sim.output();
        const auto cli =
            TavrelCli::start({"-v", "unit", c.command, "--json", "--volume-root", storage()});
        ASSERT_TRUE(cli->waitForLine(Stream::Err, c.waitingAfter, 20s)) << cli->text(Stream::Err);
        std::this_thread::sleep_for(300ms);  // well inside the wait
        const auto killedAt = ChildProcess::Clock::now();
        sim.process().kill(SIGKILL);

        const auto alert = cli->waitForLine(Stream::Err, "tavrel-cli: ", 15s);
        ASSERT_TRUE(alert) << cli->text(Stream::Err);
        EXPECT_EQ(alert->text, "tavrel-cli: Unit not connected.");
        // The report is what must be prompt; ending the command (the desktop's volumes asked,
        // the sequencer left) takes several seconds in a sanitizer build under emulation.
        EXPECT_EQ(cli->wait(30s), 1) << cli->text(Stream::Err);
        if (c.reported != nullptr) {
            EXPECT_NE(cli->text(Stream::Out).find(c.reported), std::string::npos)
                << cli->text(Stream::Out);
        }
        const auto latency =
            std::chrono::duration_cast<std::chrono::milliseconds>(alert->at - killedAt);
        EXPECT_LT(latency, 1s) << "the unit's ports went at once, with its process";
        std::cout << "kill-to-report " << model() << " after " << c.waitingAfter << ": "
                  << latency.count() << " ms\n";
    }
}

// Ctrl-C cancels the wait under way at once, however long the unit would keep it waiting, and
// still lets the unit go before the command ends.
TEST_P(LinkOverSequencerTest, AnInterruptedCommandStopsItsWaitAndLetsTheUnitGo) {
    struct Case {
        std::vector<std::string> faults;
        const char* waitingAfter;  // the log line of the request being waited on
        bool answers;              // the unit can be asked afterwards whether it was let go
    };
    const Case cases[] = {
        {{"--slow", "500"}, "device: TX MOUNT", true},
        {{"--silent"}, "device: RQ Editor Mode", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.waitingAfter);
        UnitSimProcess sim(model(), storage(), c.faults);
        ASSERT_TRUE(sim.ready()) << sim.output();
        const auto cli = TavrelCli::start({"-v", "unit", "load", "--volume-root", storage()});
        ASSERT_TRUE(cli->waitForLine(Stream::Err, c.waitingAfter, 20s)) << cli->text(Stream::Err);
        const auto signalledAt = ChildProcess::Clock::now();
        cli->kill(SIGINT);
        EXPECT_TRUE(
            cli->waitForLine(Stream::Err, "tavrel-cli: stopping once the unit is let go", 5s));
        const auto cancelled = cli->waitForLine(Stream::Err, "device: step cancelled", 5s);
        ASSERT_TRUE(cancelled) << cli->text(Stream::Err);
        const auto latency =
            std::chrono::duration_cast<std::chrono::milliseconds>(cancelled->at - signalledAt);
        EXPECT_LT(latency, 1s) << "the step's wait ends with the signal";
        std::cout << "signal-to-cancel " << model() << " after " << c.waitingAfter << ": "
                  << latency.count() << " ms\n";
        EXPECT_EQ(cli->wait(40s), 130) << cli->text(Stream::Err);
        if (!c.answers) continue;
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
