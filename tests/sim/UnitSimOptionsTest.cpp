#include "sim/UnitSimOptions.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {
namespace {

using sim::UnitSimOptions;
using sim::UnitStep;

std::optional<UnitSimOptions> parse(std::vector<std::string_view> args, std::string& error) {
    return UnitSimOptions::parse(args, error);
}

TEST(UnitSimOptions, EveryFaultSwitchReachesTheUnit) {
    std::string error;
    const auto options = parse({"--model", "QL-414XE3", "--storage", "/tmp/unit", "--silent",
                                "--slow", "2500", "--held", "--drop-kit-reply", "4",
                                "--drop-kit-lists", "all", "--never-mount", "--unplug-at", "mount"},
                               error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->model, sim::UnitModel::ql414xe3());
    EXPECT_EQ(options->storage, "/tmp/unit");
    sim::UnitFaults faults;
    options->applyTo(faults);
    EXPECT_TRUE(faults.silent);
    EXPECT_EQ(faults.replyDelayMs, 2500);
    EXPECT_TRUE(faults.heldByOtherEditor);
    EXPECT_EQ(faults.dropKitReply, 4);
    EXPECT_EQ(faults.dropKitLists, -1);
    EXPECT_TRUE(faults.neverMount);
    EXPECT_EQ(faults.unplugAtStep, UnitStep::Mount);
    EXPECT_EQ(faults.unplugAtMessage, 0);

    const auto byCount = parse({"--unplug-at", "7", "--drop-kit-lists", "3"}, error);
    ASSERT_TRUE(byCount) << error;
    EXPECT_EQ(byCount->unplugAtMessage, 7);
    EXPECT_EQ(byCount->unplugAtStep, UnitStep::None);
    EXPECT_EQ(byCount->dropKitLists, 3);
    EXPECT_EQ(byCount->model, sim::UnitModel::ql900());
}

TEST(UnitSimOptions, ALineThatCannotBeFollowedSaysWhy) {
    const std::vector<std::pair<std::vector<std::string_view>, std::string>> cases{
        {{"--model", "QL-901"}, "unknown model QL-901 (QL-900 or QL-414XE3)"},
        {{"--model"}, "--model needs a value"},
        {{"--slow", "2s"}, "bad value for --slow: 2s"},
        {{"--unplug-at", "0"}, "bad value for --unplug-at: 0"},
        {{"--loud"}, "unknown option --loud"},
    };
    for (const auto& [args, expected] : cases) {
        std::string error;
        EXPECT_FALSE(parse(args, error));
        EXPECT_EQ(error, expected);
    }
}

}  // namespace
}  // namespace tavrel
