// The desktop program as a process of its own against tavrel-unit-sim, linked through the
// kernel's sequencer: the window loads the unit's kits and patterns, loads a MIDI file named on
// its command line, and lets the unit go when it quits.
#include "alsa/SequencerTest.h"
#include "alsa/link/ChildProcess.h"
#include "alsa/link/UnitSimProcess.h"
#include "support/ScratchFolder.h"

#include <chrono>

namespace tavrel::test {
namespace {

using namespace std::chrono_literals;

class DesktopOverSequencer : public SequencerTest {};

TEST_F(DesktopOverSequencer, TheWindowLoadsTheUnitAndLetsItGoOnQuitting) {
    ScratchFolder folder;
    UnitSimProcess unit("QL-900", folder.path() / "unit");
    ASSERT_TRUE(unit.ready()) << unit.output();
    const auto shot = folder.path() / "window.png";
    ChildProcess tavrel({TAVREL_APP, "--volume-root", (folder.path() / "unit").string(),
                         "--screenshot", shot.string(), TAVREL_EXAMPLES_DIR "/rock-4-4.mid"},
                        {"QT_QPA_PLATFORM=offscreen"});
    // A ceiling, not a guess at the time: under ThreadSanitizer in the emulated guest a run
    // takes 12 to 20 s, and one has gone past 60 s. If one stops, its threads and all output are
    // shown.
    const auto code = tavrel.wait(180s);
    const std::string threads = code ? "" : tavrel.threads();
    ASSERT_EQ(code, 0) << "threads:\n"
                       << threads << "out: " << tavrel.text(ChildProcess::Stream::Out)
                       << "\nerr: " << tavrel.text(ChildProcess::Stream::Err)
                       << "\nunit: " << unit.output();
    EXPECT_EQ(tavrel.text(ChildProcess::Stream::Out),
              "QL-900 connected, storage mounted; 1 pattern\n");
    EXPECT_TRUE(std::filesystem::exists(shot));
    EXPECT_TRUE(unit.process().waitForLine(ChildProcess::Stream::Err, "rx editor-off", 5s))
        << unit.output();
}

}  // namespace
}  // namespace tavrel::test
