// Faults met end to end by the desktop program against the simulated unit on a manual clock:
// the unit unplugged or falling silent during the load sequence, stray MIDI while loading, its
// storage vanishing, writes that fail halfway, a full or read-only unit folder, a pattern file
// a byte short or long. After each the event loop still turns, the user has been told in the
// program's own words, the unit's pattern file is the old one or a complete new one (with the
// old one kept as a backup), and the unit can be connected again. Then bad MIDI files and paths
// handed to the desktop program and to the command-line tool: empty, huge, absurd headers, names
// too long or not UTF-8, a folder or a FIFO. Each gets a clear word or the documented result at
// once; nothing hangs or crashes.
#include "AppRig.h"

#include "app/QtAlerts.h"
#include "cli/ConvertCommand.h"
#include "cli/SmfCommand.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "files/AtomicFileWriter.h"
#include "files/CFileDataMgr.h"
#include "files/SmfBuilder.h"
#include "model/CPtnDataMgr.h"
#include "model/Log.h"
#include "support/ScratchFolder.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>
#include <sstream>
#include <thread>

namespace tavrel::test {
namespace {

using sim::UnitStep;

constexpr std::size_t kPatternFileSize = 2'009'212;
constexpr std::uint8_t kEditedTempo = 133;

// A folder or file nobody may change: immutable where the file system lets us (it binds root
// too), else without write permission.
void setReadOnly(const fs::path& path, bool readOnly) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int flags = 0;
    bool done = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = readOnly ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
    done = done && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    if (fd >= 0) ::close(fd);
    if (!done)
        fs::permissions(path, fs::perms::owner_write,
                        readOnly ? fs::perm_options::remove : fs::perm_options::add);
}

class FaultRig : public AppRig {
public:
    FaultRig()
        : AppRig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid"}, true,
                 [](app::AppOptions& o) { o.manualClock = true; }) {}

    fs::path patternFile() const { return dataFolder() / "RHYTHM.QL0"; }
    QStringList alertsSince(qsizetype count) { return session().alerts().shown().mid(count); }

    // Pulls the cable and plugs it back in after `meanwhile`, then waits until the window has
    // settled on the outcome of the load sequence this starts.
    void replug(const std::function<void()>& meanwhile = {}) {
        unit().unplug();
        ASSERT_TRUE(waitUntil([&] { return dialog("NoConnectVC") != nullptr; }));
        if (meanwhile) meanwhile();
        QSignalSpy settled(&window(), &app::CPtnEditViewController::settled);
        ASSERT_TRUE(unit().plugIn());
        std::atomic<bool> loaded{false};
        std::thread stray;
        long strayDelivered = 0;
        if (strayBytes > 0) {
            stray = std::thread([&] { strayDelivered = storm(loaded, strayBytes); });
        }
        const bool ended =
            waitUntil([&] { return settled.count() > 0 && !session().steps()->busy(); });
        loaded = true;
        if (stray.joinable()) stray.join();
        ASSERT_TRUE(ended);
        EXPECT_GE(strayDelivered, strayBytes);
    }
    // Sends stray bytes from the unit's source until `stop`: random ones, then well-formed
    // exclusive messages nobody asked for. Returns how many reached the program.
    long storm(const std::atomic<bool>& stop, int randomBytes) {
        auto& midi = *Context::current().find<VirtualMidiService>();
        std::int64_t source = 0;
        for (const auto& e : midi.sources()) {
            if (e.displayName == unit().model().name() + " MIDI 1") source = e.uniqueId;
        }
        // From the moment the program listens to the unit, which it must before loading.
        const std::vector<std::uint8_t> activeSensing{0xFE};
        while (!stop && !midi.inject(source, activeSensing)) std::this_thread::yield();
        std::mt19937 random(7);
        std::vector<std::uint8_t> block(509);
        long delivered = 0;
        for (int sent = 0; sent < randomBytes; sent += static_cast<int>(block.size())) {
            for (auto& b : block) b = static_cast<std::uint8_t>(random());
            if (midi.inject(source, block)) delivered += static_cast<long>(block.size());
        }
        // Made up for a device of another maker: it names no unit and no known address.
        const std::vector<std::uint8_t> unknown{0xF0, 0x41, 0x10, 0x00, 0x00, 0x7F, 0x12,
                                                0x7F, 0x00, 0x00, 0x01, 0x00, 0xF7};
        for (int n = 0; n < 10'000 && !stop; ++n) {
            if (midi.inject(source, unknown)) delivered += static_cast<long>(unknown.size());
        }
        return delivered;
    }

    int strayBytes = 0;  // sent from the unit while it loads after the next replug

private:
    EveryAlertAnswered mAnswers;  // each with its one button
};

enum Act : unsigned { kLoad = 1, kSave = 2, kApplyAll = 4 };
enum FileAfter { kOld, kNew };
using Inject = std::function<void(FaultRig&)>;

struct Fault {
    const char* name;
    Inject inject;  // just before the act
    unsigned acts;
    QStringList alerts;
    const char* dialog;  // the connection dialog up afterwards, if any
    FileAfter file;
};

// Returns what the unit's pattern file held just before the program wrote it.
Bytes actOn(FaultRig& rig, unsigned acts, const Inject& inject) {
    if ((acts & kLoad) != 0) {
        rig.replug([&] { inject(rig); });
        rig.strayBytes = 0;
    } else {
        inject(rig);
    }
    patterns().getPtnData()[0]->setTempo(kEditedTempo);
    Bytes beforeWrite = readBytes(rig.patternFile());
    if ((acts & kSave) != 0) rig.menus().saveFile();
    if ((acts & kApplyAll) != 0) {
        rig.menus().getMenuOfApplyAll()->trigger();
        EXPECT_TRUE(waitUntil([&] { return rig.dialog("CApplyAllVC") == nullptr; }));
    }
    return beforeWrite;
}

Inject unplugAt(UnitStep step) {
    return [step](FaultRig& rig) { rig.unit().faults().unplugAtStep = step; };
}
Inject writerFaults(long long failAfter, long long beside, long long backup) {
    return [=](FaultRig&) {
        AtomicFileWriter::setFaultsForTesting({failAfter, beside, backup, false});
    };
}
Inject resizedBy(int bytes) {
    return [bytes](FaultRig& rig) { fs::resize_file(rig.patternFile(), kPatternFileSize + bytes); };
}

TEST(DesktopFaults, TheProgramSurvivesLosesNothingAndConnectsAgain) {
    const Inject unplug = [](FaultRig& r) { r.unit().unplug(); };
    const Inject silent = [](FaultRig& r) { r.unit().faults().silent = true; };
    const Inject silentFromKits = [](FaultRig& r) {
        r.unit().faults().dropKitReply = 3;
        r.unit().faults().dropKitLists = -1;
    };
    const Inject stray = [](FaultRig& r) { r.strayBytes = 100'000; };
    const Inject storageGone = [](FaultRig& r) {
        r.unit().faults().loseStorageAtStep = UnitStep::KitRequest;
    };
    const Inject readOnly = [](FaultRig& r) {
        setReadOnly(r.patternFile(), true);
        setReadOnly(r.dataFolder(), true);
    };
    const QString busy = "Unit is busy.", wrong = "User pattern file format is wrong.",
                  notMade = "User Pattern file cannot be created.";
    const char* const noUnit = "NoConnectVC";
    const Inject midWrite = writerFaults(1 << 20, -1, -1);
    const Fault faults[] = {
        {"unplugged at editor mode", unplugAt(UnitStep::EditorOn), kLoad, {}, noUnit, kOld},
        {"unplugged at mount", unplugAt(UnitStep::Mount), kLoad, {}, noUnit, kOld},
        {"unplugged at the kit names", unplugAt(UnitStep::KitRequest), kLoad, {}, noUnit, kOld},
        {"silent from the start", silent, kLoad, {busy}, "OccupitedVC", kOld},
        {"silent from the kit names", silentFromKits, kLoad, {busy}, nullptr, kOld},
        {"stray MIDI while loading", stray, kLoad, {}, nullptr, kOld},
        {"storage gone before the read", storageGone, kLoad, {wrong}, nullptr, kOld},
        {"pattern file a byte short", resizedBy(-1), kLoad | kSave, {wrong}, nullptr, kNew},
        {"pattern file a byte long", resizedBy(+1), kLoad | kSave, {}, nullptr, kNew},
        {"unplugged before save", unplug, kSave, {"Unit not connected."}, noUnit, kOld},
        {"cable pulled mid-save", midWrite, kSave, {notMade}, nullptr, kOld},
        {"unplugged before apply all", unplug, kApplyAll, {"Device not connected."}, noUnit, kOld},
        {"cable pulled mid-apply all", midWrite, kApplyAll, {notMade}, nullptr, kOld},
        {"unit folder full", writerFaults(-1, 0, -1), kSave, {}, nullptr, kNew},
        {"unit folder and backups full", writerFaults(-1, 0, 0), kSave, {notMade}, nullptr, kOld},
        {"unit folder read-only", readOnly, kSave | kApplyAll, {notMade, notMade}, nullptr, kOld},
    };
    for (const Fault& f : faults) {
        SCOPED_TRACE(f.name);
        FaultRig rig;
        ASSERT_TRUE(rig.waitLoaded(1));
        rig.menus().saveFile();  // the unit holds one pattern: the old file
        const Bytes old = readBytes(rig.patternFile());
        ASSERT_EQ(old.size(), kPatternFileSize);
        const qsizetype before = rig.session().alerts().shown().size();

        const Bytes beforeWrite = actOn(rig, f.acts, f.inject);
        rig.watchTicks(3);
        EXPECT_EQ(rig.alertsSince(before), f.alerts);
        if (f.dialog != nullptr) {
            EXPECT_NE(rig.dialog(f.dialog), nullptr) << f.dialog;
        }

        AtomicFileWriter::setFaultsForTesting({});
        setReadOnly(rig.dataFolder(), false);
        setReadOnly(rig.patternFile(), false);
        const Bytes now = readBytes(rig.patternFile());
        if (f.file == kOld) {
            EXPECT_TRUE(now == old) << "the old file changed";
        } else {
            // Complete: all of it, one pattern counted, the edit in slot 0 (tempo at 12 + 18).
            ASSERT_EQ(now.size(), kPatternFileSize);
            EXPECT_EQ(Bytes(now.begin() + 8, now.begin() + 12), Bytes({0xF8, 0x9C, 0, 0}));
            EXPECT_EQ(now[30], kEditedTempo);
            const WriteReport report = CFileDataMgr::lastWriteReport();
            EXPECT_TRUE(report.ok) << report.error;
            EXPECT_TRUE(report.backup.empty() ? !report.noBackup.empty()
                                              : readBytes(report.backup) == beforeWrite);
        }

        // Faults off, cable out and in again: the load sequence runs through.
        sim::UnitFaults& unitFaults = rig.unit().faults();
        unitFaults.silent = false;
        unitFaults.dropKitReply = -1;
        unitFaults.unplugAtStep = UnitStep::None;
        unitFaults.loseStorageAtStep = UnitStep::None;
        if (rig.dialog("OccupitedVC") != nullptr) {
            rig.click("OccupitedVC", "connectButton");  // it stays up while the unit is away
        } else {
            rig.replug();
        }
        EXPECT_TRUE(rig.waitLoaded(1));
        EXPECT_EQ(rig.alertsSince(before).size(), f.alerts.size());
    }
}

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

TEST(BadInput, EveryBadFileOrPathIsAnsweredAtOnceByTheProgramAndTheTool) {
    const ScratchFolder dir;
    // The tool refuses a header it cannot take; the desktop goes on without a word and keeps
    // the new pattern's initial 16 empty bars, as its loader always has.
    const std::string tooLarge = "is larger than 64 MiB, the most a MIDI file may be";
    const std::string tooLong = "cannot be read: File name too long";
    const std::string notRegular = "is not a regular file";
    const std::string longName = std::string(296, 'n') + ".mid";
    const BadInput inputs[] = {
        {"empty", "empty.mid", kFile, {}, "", true, "not a Standard MIDI File"},
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
        const fs::path path = dir.path() / in.file;
        if (in.kind == kFile || in.kind == kSparse100MB) writeBytes(path, in.bytes);
        if (in.kind == kSparse100MB) fs::resize_file(path, 100ull << 20);
        if (in.kind == kFolder) fs::create_directory(path);
        if (in.kind == kFifo) ::mkfifo(path.c_str(), 0600);
        const std::size_t before = patterns().getPtnData().size();

        // The desktop gets its paths as Qt decodes them, from file dialogs and the command line.
        alerts.informative.clear();
        QElapsedTimer timer;
        timer.start();
        rig.menus().loadSmfFile(QString::fromLocal8Bit(path.c_str()));
        const double desktop = static_cast<double>(timer.restart()) / 1000;
        EXPECT_EQ(patterns().getPtnData().size(), before + (in.desktopMakes ? 1 : 0));
        const QString& said = alerts.informative;
        if (!in.desktopSays.empty()) {
            EXPECT_EQ(said.toStdString(), "Format error. The file " + in.desktopSays + ".");
        } else {
            EXPECT_FALSE(said.contains("The file")) << said.toStdString();
        }

        std::ostringstream out, err;
        const int smf = cli::SmfCommand::run({path.string()}, {out, err});
        const int convert = cli::ConvertCommand::run(
            {path.string(), "-o", (dir.path() / "OUT.QL0").string()}, {out, err});
        const double tool = static_cast<double>(timer.elapsed()) / 1000;
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
