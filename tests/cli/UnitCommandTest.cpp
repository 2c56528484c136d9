// `tavrel-cli unit` and `tavrel-cli preview` end to end against the unit simulated inside the
// command, in a storage folder of the test's. The simulated unit answers at once, so nothing
// here waits.
#include "cli/CommandRig.h"
#include "cli/ConvertCommand.h"
#include "cli/ListCommand.h"
#include "cli/PreviewCommand.h"
#include "cli/UnitCommand.h"
#include "cli/UnitOptions.h"
#include "cli/UnitSession.h"
#include "model/Context.h"
#include "sim/FactoryKits.h"
#include "sim/SimulatedUnit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <regex>
#include <string>

namespace tavrel::cli {
namespace {

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::HasSubstr;

// The simulator's kits as the link's list holds them: each name padded to the 15 characters
// a slot of the unit's list has.
std::string factoryKitsJson() {
    std::string json;
    for (const std::string_view name : sim::FactoryKits::names()) {
        std::string padded(name);
        padded.resize(15, ' ');
        json += (json.empty() ? "\"" : ",\"") + padded + "\"";
    }
    return "[" + json + "]";
}

// The load report without its timing, which differs from run to run.
std::string withoutElapsed(const std::string& json) {
    return std::regex_replace(json, std::regex("\"elapsed_ms\":[0-9]+,"), "");
}

// The rig's folder points XDG_DATA_HOME into itself.
class UnitCommandTest : public ::testing::Test, public test::CommandRig {
protected:
    // `tavrel-cli unit ACTION ARGS... --simulate=MODEL --sim-storage STORAGE`.
    int unit(Args args, const std::string& model = "QL-900") {
        args.insert(args.end(), {"--simulate=" + model, "--sim-storage", storage().string()});
        return run(&UnitCommand::run, args);
    }
    // A pattern file converted from the examples named.
    std::string convert(Args args) {
        for (std::string& name : args) name.insert(0, TAVREL_EXAMPLES_DIR "/");
        args.insert(args.end(), {"-o", (dir / "in.QL0").string()});
        EXPECT_EQ(run(&ConvertCommand::run, args), kExitOk) << err.str();
        return args.back();
    }

    fs::path storage() const { return dir / "unit"; }
    fs::path unitFile() const { return storage() / "VANTIK" / "DATA" / "RHYTHM.QL0"; }
};

TEST_F(UnitCommandTest, EachModelReportsItselfFreeAndLoadsItsKitsAndNoPatterns) {
    for (const std::string model : {"QL-900", "QL-414XE3"}) {
        SCOPED_TRACE(model);
        ASSERT_EQ(unit({"status", "--json"}, model), kExitOk) << err.str();
        EXPECT_EQ(out.str(), "{\"connected\":true,\"model\":\"" + model +
                                 "\",\"editorMode\":0,\"mounted\":false,\"volumeRoot\":null}\n");

        ASSERT_EQ(unit({"load", "--json"}, model), kExitOk) << err.str();
        EXPECT_EQ(withoutElapsed(out.str()), "{\"ok\":true,\"model\":\"" + model + "\",\"kits\":" +
                                                 factoryKitsJson() + ",\"patterns\":[]}\n");
        EXPECT_EQ(err.str(), "");
    }
}

TEST_F(UnitCommandTest, PushedPatternsComeBackByteForByteAndTheReplacedFileIsBackedUp) {
    const std::string in = convert({"rock-4-4.mid", "fill-4-4.mid"});
    ASSERT_EQ(unit({"status"}), kExitOk);  // the unit seeds its storage

    ASSERT_EQ(unit({"push", in}), kExitOk) << err.str();
    EXPECT_EQ(test::readBytes(unitFile()), test::readBytes(in));
    // What a backup holds is the writer's; here, that the unit's file gets one, under its model.
    const auto backups = fs::directory_iterator(dir.backups() / "QL-900" / "RHYTHM.QL0");
    EXPECT_EQ(std::distance(backups, fs::directory_iterator()), 1);

    const std::string pulled = (dir / "out.QL0").string();
    ASSERT_EQ(unit({"pull", pulled}), kExitOk) << err.str();
    EXPECT_EQ(out.str(), pulled + ": 2 patterns from the QL-900\n");
    EXPECT_EQ(test::readBytes(pulled), test::readBytes(in));

    // A load reports the unit's patterns as list reports the file's.
    ASSERT_EQ(run(&ListCommand::run, {in, "--json"}), kExitOk);
    const std::string listed = out.str();
    ASSERT_EQ(unit({"load", "--json"}), kExitOk) << err.str();
    EXPECT_THAT(out.str(), EndsWith(listed.substr(listed.find("\"patterns\":"))));
}

// The simulator's switches are not on the command line: these run the command through a
// session opened as the command opens it, with the unit held by another editor first, or the
// user's Ctrl-C come before the command starts. A command the user stopped asks the unit
// nothing more.
TEST_F(UnitCommandTest, CommandsLetTheUnitGoAndAHeldUnitOrAStoppedCommandIsOnlyReported) {
    ASSERT_EQ(unit({"status"}), kExitOk);  // the unit seeds its storage
    const test::Bytes before = test::readBytes(unitFile());
    const std::string in = convert({"rock-4-4.mid"});
    struct Case {
        Args action;
        bool held;
        bool interrupted;
    };
    for (const Case& c :
         {Case{{"load", "--json"}, false, false}, Case{{"load", "--json"}, true, false},
          Case{{"push", in}, true, false}, Case{{"push", in}, false, true}}) {
        SCOPED_TRACE(c.action.front() + (c.held ? " held" : "") +
                     (c.interrupted ? " stopped" : ""));
        Args args = c.action;
        args.insert(args.end(), {"--simulate", "--sim-storage", storage().string()});
        out.str("");
        err.str("");
        Context context;
        const auto options = UnitOptions::parse(args, err);
        const auto session = options ? UnitSession::open(*options, err) : nullptr;
        ASSERT_TRUE(session) << err.str();
        sim::SimulatedUnit& simulated = *session->simulatedUnit();
        simulated.faults().heldByOtherEditor = c.held;
        if (c.interrupted) session->interrupt();
        const int exit = UnitCommand::run(*session, *options, {out, err});
        EXPECT_FALSE(simulated.editorMode()) << "editor mode ended, or never sent";
        EXPECT_FALSE(simulated.mounted());
        if (!c.held && !c.interrupted) {
            EXPECT_EQ(exit, kExitOk) << err.str();
            continue;
        }
        EXPECT_EQ(exit, kExitFailed);
        EXPECT_EQ(err.str(), c.held ? "tavrel-cli: Unit already occupied.\n" : "");
        if (c.action.front() == "load") {
            EXPECT_EQ(withoutElapsed(out.str()),
                      "{\"ok\":false,\"model\":\"QL-900\",\"kits\":[],\"patterns\":[],"
                      "\"alert\":\"Unit already occupied.\"}\n");
        }
    }
    EXPECT_EQ(test::readBytes(unitFile()), before);
}

// Without --sim-storage the simulated unit's storage goes to XDG_DATA_HOME, in the rig's folder.
class PreviewCommandTest : public UnitCommandTest {
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
    // Some notes heard, and the stop's note-offs after them.
    EXPECT_TRUE(std::regex_search(
        out.str(), std::regex("heard [1-9][0-9]* note-ons, then [1-9][0-9]* note-offs")))
        << out.str();
}

TEST_F(PreviewCommandTest, CtrlCStopsItLongBeforeItsTime) {
    const test::PendingCtrlC ctrlC;
    EXPECT_EQ(preview({"--simulate", "--seconds", "600"}), kExitOk) << err.str();
    EXPECT_THAT(out.str(), HasSubstr("Interrupted after 0."));
}

}  // namespace
}  // namespace tavrel::cli
