// `tavrel-cli render` and `tavrel-cli preview --synth`: the built-in synthesizer from the
// command line.
#include "cli/CommandRig.h"
#include "cli/ConvertCommand.h"
#include "cli/PreviewCommand.h"
#include "cli/RenderCommand.h"
#include "playback/SynthFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tavrel::cli {
namespace {

using ::testing::HasSubstr;

const std::string kRock = std::string(TAVREL_EXAMPLES_DIR) + "/rock-4-4.mid";

class RenderCommandTest : public test::SynthFixture, public test::CommandRig {
protected:
    std::string wav() const { return (dir.path() / "out.wav").string(); }
};

// One bar at 240 loops after 383 ticks of 625/240 ms: 997 ms a pass.
TEST_F(RenderCommandTest, RendersTheChosenWindowOfAMidiFileOrAPatternFile) {
    const std::string patterns = (dir.path() / "RHYTHM.QL0").string();
    ASSERT_EQ(run(&ConvertCommand::run, {kRock, "-o", patterns}), kExitOk) << err.str();
    for (const std::string& input : {kRock, patterns + ":1"}) {
        ASSERT_EQ(run(&RenderCommand::run, {input, "-o", wav(), "--bars", "1", "--tempo", "240",
                                            "--loops", "3", "--variation", "1"}),
                  kExitOk)
            << input << ": " << err.str();
        EXPECT_THAT(out.str(), HasSubstr("3 passes of 383 ticks"));
        // Frames of 16-bit stereo after the 44-byte header.
        const std::uintmax_t frames = (std::filesystem::file_size(wav()) - 44) / 4;
        EXPECT_GE(frames, 3U * 997 * 48) << input;
        EXPECT_LT(frames, 3U * 997 * 48 + 5 * 48000) << input << ": at most a few seconds of tail";
        EXPECT_FALSE(std::filesystem::exists(wav() + ".part"));
    }
    EXPECT_EQ(run(&RenderCommand::run, {patterns + ":2", "-o", wav()}), kExitFailed);
    EXPECT_THAT(err.str(), HasSubstr("has 1 patterns; there is no pattern 2"));
}

TEST_F(RenderCommandTest, FailuresSayWhyInOneLineAndLeaveNoFile) {
    EXPECT_EQ(run(&RenderCommand::run, {kRock, "-o", wav(), "--loops", "1000", "--tempo", "40"}),
              kExitFailed);
    EXPECT_EQ(err.str(),
              "tavrel-cli: the passes would make more than 3 hours of sound; choose "
              "fewer --loops or --bars\n");
    EXPECT_FALSE(std::filesystem::exists(wav()));
    const std::string nowhere = (dir.path() / "missing" / "out.wav").string();
    EXPECT_EQ(run(&RenderCommand::run, {kRock, "-o", nowhere}), kExitFailed);
    EXPECT_TRUE(err.str().starts_with("tavrel-cli: cannot write " + nowhere + ": ")) << err.str();
    const std::string notAFont = (dir.path() / "kit.sf2").string();
    test::writeBytes(notAFont, {'R', 'I', 'F', 'F', 0, 0});
    for (const std::string& font : {notAFont, notAFont + ".missing"}) {
        EXPECT_EQ(run(&RenderCommand::run, {kRock, "-o", wav(), "--soundfont", font}), kExitFailed);
        EXPECT_THAT(err.str(), HasSubstr(font));
        EXPECT_EQ(err.str().find('\n'), err.str().size() - 1) << "one line: " << err.str();
        EXPECT_FALSE(std::filesystem::exists(wav()));
        EXPECT_FALSE(std::filesystem::exists(wav() + ".part"));
    }
    const test::PendingCtrlC ctrlC;
    EXPECT_EQ(run(&RenderCommand::run, {kRock, "-o", wav(), "--loops", "100"}), kExitInterrupted);
    EXPECT_EQ(err.str(), "tavrel-cli: interrupted; " + wav() + " was not written\n");
    EXPECT_FALSE(std::filesystem::exists(wav()));
    EXPECT_FALSE(std::filesystem::exists(wav() + ".part"));
}

// Without a sound card the preview says so in one line and plays on, silently.
TEST_F(RenderCommandTest, PreviewThroughTheSynthesizerPlaysWithOrWithoutAudio) {
    ASSERT_EQ(run(&PreviewCommand::run, {kRock, "--synth", "--seconds", "1"}), kExitOk)
        << err.str();
    const std::string text = out.str();
    EXPECT_TRUE(text.starts_with("The built-in synthesizer plays through ") ||
                text.starts_with("No audio output opened (tried pipewire, pulseaudio, jack, "
                                 "alsa); the built-in synthesizer plays silently\n"))
        << text;
    EXPECT_THAT(text, HasSubstr("through the built-in synthesizer\nStopped after 1."));
    EXPECT_EQ(err.str(), "");
}

}  // namespace
}  // namespace tavrel::cli
