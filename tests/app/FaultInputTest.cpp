// Bad MIDI files and paths handed to the desktop program and to the command-line tool: empty,
// huge, absurd headers, names too long or not UTF-8, a folder or a FIFO. Each gets a clear
// word or the documented result at once; nothing hangs or crashes.
#include "AppRig.h"

#include "cli/ConvertCommand.h"
#include "cli/SmfCommand.h"
#include "files/SmfBuilder.h"
#include "model/Log.h"
#include "support/ScratchFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <sstream>

namespace tavrel::test {
namespace {

using Clock = std::chrono::steady_clock;

// A bar of quarter notes at `division`, in one track under a header of its own making.
Bytes oneBar(std::uint16_t tracks, std::uint16_t division) {
    TrackBuilder t;
    for (int i = 0; i < 4; ++i) t.noteOn(i == 0 ? 0 : division, 36, 100);
    t.endOfTrack(division);
    return smfHeader(0, tracks, division) + t.chunk();
}

enum Kind { kFile, kSparse100MB, kNone, kFolder, kFifo };

struct BadInput {
    const char* name;
    std::string file;  // in the scratch folder, made as `kind` says of `bytes`
    Kind kind;
    Bytes bytes;
    // What the desktop's alert says after "Format error. The file ", empty for no alert about the
    // file; and whether it makes a pattern of it.
    std::string desktopSays;
    bool desktopMakes;
    // What the tool says after the path; empty when it reads the file and converts it.
    std::string toolSays;
};

fs::path make(const fs::path& dir, const BadInput& in) {
    const fs::path path = dir / in.file;
    if (in.kind == kFile || in.kind == kSparse100MB) writeBytes(path, in.bytes);
    if (in.kind == kSparse100MB) fs::resize_file(path, 100ull << 20);
    if (in.kind == kFolder) fs::create_directory(path);
    if (in.kind == kFifo) ::mkfifo(path.c_str(), 0600);
    return path;
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST(BadInput, EveryBadFileOrPathIsAnsweredAtOnceByTheProgramAndTheTool) {
    const ScratchFolder dir;
    // The tool refuses a header it cannot take; the desktop goes on without a word and keeps
    // the new pattern's initial 16 empty bars, as its loader always has.
    const std::string notSmf = "not a Standard MIDI File";
    const std::string tooLarge = "is larger than 64 MiB, the most a MIDI file may be";
    const std::string tooLong = "cannot be read: File name too long";
    const std::string notRegular = "is not a regular file";
    const std::string longName = std::string(296, 'n') + ".mid";
    const BadInput inputs[] = {
        {"empty", "empty.mid", kFile, {}, "", true, notSmf},
        {"100 MB sparse", "huge.mid", kSparse100MB, oneBar(1, 96), tooLarge, false, tooLarge},
        {"65535 tracks declared", "tracks.mid", kFile, oneBar(65535, 96), "", true, ""},
        {"division 0", "div0.mid", kFile, oneBar(1, 0), "", true, ""},
        {"division 0x7FFF", "div7fff.mid", kFile, oneBar(1, 0x7FFF), "", true, ""},
        {"SMPTE division", "smpte.mid", kFile, oneBar(1, 0xE728), "", true, ""},
        {"name of 300 characters", longName, kNone, {}, tooLong, false, tooLong},
        // Qt cannot name such a file, so the desktop looks for another; the tool reads it.
        {"name not UTF-8", "\xff\xfe\x80.mid", kFile, oneBar(1, 96),
         "cannot be read: No such file or directory", false, ""},
        {"a folder", "folder.mid", kFolder, {}, notRegular, false, notRegular},
        {"a FIFO without a writer", "fifo.mid", kFifo, {}, notRegular, false, notRegular},
    };

    AppRig rig;
    ASSERT_TRUE(rig.waitLoaded());
    EveryAlertAnswered alerts;
    Log::setSink([](std::string_view, std::string_view) {});
    for (const BadInput& in : inputs) {
        SCOPED_TRACE(in.name);
        const fs::path path = make(dir.path(), in);
        const std::size_t before = patterns().getPtnData().size();

        // The desktop gets its paths as Qt decodes them, from file dialogs and the command line.
        alerts.informative.clear();
        auto start = Clock::now();
        rig.menus().loadSmfFile(QString::fromLocal8Bit(path.c_str()));
        const double desktop = secondsSince(start);
        EXPECT_EQ(patterns().getPtnData().size(), before + (in.desktopMakes ? 1 : 0));
        const QString& said = alerts.informative;
        if (!in.desktopSays.empty()) {
            EXPECT_EQ(said.toStdString(), "Format error. The file " + in.desktopSays + ".");
        } else {
            EXPECT_FALSE(said.startsWith("The file")) << said.toStdString();
        }

        std::ostringstream out, err;
        start = Clock::now();
        const int smf = cli::SmfCommand::run({path.string()}, {out, err});
        const int convert = cli::ConvertCommand::run(
            {path.string(), "-o", (dir.path() / "OUT.QL0").string()}, {out, err});
        const double tool = secondsSince(start);
        std::printf("%-24s desktop %.3f s, command line %.3f s\n", in.name, desktop, tool);
        EXPECT_LT(desktop, 5.0);
        EXPECT_LT(tool, 5.0);
        const int expected = in.toolSays.empty() ? cli::kExitOk : cli::kExitFailed;
        EXPECT_EQ(smf, expected) << err.str();
        EXPECT_EQ(convert, expected) << err.str();
        EXPECT_NE(err.str().find(in.toolSays), std::string::npos) << err.str();
    }
    Log::setSink({});
}

}  // namespace
}  // namespace tavrel::test
