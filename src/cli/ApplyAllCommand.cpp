#include "cli/ApplyAllCommand.h"

#include "cli/InterruptWatch.h"
#include "cli/UnitOptions.h"
#include "cli/UnitSession.h"
#include "cli/WriteNotes.h"
#include "files/CFileDataMgr.h"
#include "files/CXMLFile.h"
#include "model/Alerts.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tavrel::cli {

namespace {

constexpr int kMemories = 50;
// The dialog's status line, refreshed here every tenth of the memories.
constexpr int kProgressStep = 5;

struct Options {
    UnitOptions unit;
    std::filesystem::path from;
};

// --from is ours; the rest is what every unit command takes.
std::optional<Options> parse(const Args& args, std::ostream& err) {
    Options o;
    Args unitArgs{"status"};
    for (std::size_t i = 1; i < args.size(); ++i) {
        if (args[i] == "--from" && i + 1 < args.size() && o.from.empty()) {
            o.from = args[++i];
        } else if (args[i] == "--json") {
            err << "tavrel-cli: unexpected argument '--json'";
            return std::nullopt;
        } else {
            unitArgs.push_back(args[i]);
        }
    }
    const auto unit = UnitOptions::parse(unitArgs, err);
    if (!unit) return std::nullopt;
    o.unit = *unit;
    return o;
}

std::size_t patternCount() {
    return Context::current().patterns().getPtnData().size();
}

// The patterns in the collection and the unit's RHYTHM.QL0 written from them; the unit is
// left in editor mode with its storage mounted.
bool saveToUnit(UnitSession& session, const Options& options, CommandIo io) {
    if (!options.from.empty()) {
        // Read before the unit is touched: a file that cannot be used costs nothing.
        if (!CFileDataMgr::importData(options.from)) {
            io.err << "tavrel-cli: " << options.from.string()
                   << ": not a pattern file; the unit was not touched\n";
            return false;
        }
        if (session.store()) return true;
        WriteNotes::afterStore(session.alerts(), io.err);
        return false;
    }
    if (!session.load()) return false;
    Alerts& alerts = *Context::current().find<Alerts>();
    if (!CFileDataMgr::IsVolumeExist()) {
        alerts.alert("Device not connected.");
        return false;
    }
    if (CFileDataMgr::saveData()) return true;
    alerts.alert("User Pattern file cannot be created.");
    WriteNotes::failure(CFileDataMgr::lastWriteReport(), io.err);
    return false;
}

struct Applied {
    int set = 0;
    int skipped = 0;  // memories or contents the settings file does not have
};

Applied applyToMemories(CXMLFile& settings, std::ostream& err) {
    Applied applied;
    const auto& patterns = Context::current().patterns().getPtnData();
    for (int mem = 0; mem < kMemories; ++mem) {
        if (mem % kProgressStep == 0) err << "Now Working... (" << mem * 2 << "%)\n";
        for (std::size_t i = 0; i < patterns.size(); ++i) {
            const bool ok = settings.setKitAndTempoFromMem(
                mem, static_cast<int>(i), patterns[i]->getKitNum(), patterns[i]->getTempo());
            ++(ok ? applied.set : applied.skipped);
        }
    }
    err << "Now Working... (100%)\n";
    return applied;
}

int applyAll(UnitSession& session, const Options& options, CommandIo io) {
    if (!saveToUnit(session, options, io)) return kExitFailed;
    WriteNotes::success(CFileDataMgr::lastWriteReport(), io.err);
    const std::size_t count = patternCount();
    if (count == 0) {
        io.out << "RHYTHM.QL0: no patterns to write; the " << session.modelName()
               << "'s file was left as it was\n";
    } else {
        io.out << "RHYTHM.QL0: " << count << (count == 1 ? " pattern" : " patterns")
               << " written to the " << session.modelName() << '\n';
    }

    CXMLFile settings;
    if (!settings.hasMemoryDoc()) {
        io.err << "tavrel-cli: neither MEMORY1.QL0 nor MEMORY2.QL0 of the unit holds a readable "
                  "memory file; no memory was changed\n";
        return kExitFailed;
    }
    const Applied applied = applyToMemories(settings, io.err);
    const bool saved = settings.saveFile();
    for (const WriteReport& report : settings.saveReports()) {
        if (report.ok) {
            WriteNotes::success(report, io.err);
        } else {
            WriteNotes::failure(report, io.err);
        }
    }
    if (!saved) return kExitFailed;
    io.out << "MEMORY1.QL0, MEMORY2.QL0: kit and tempo set " << applied.set << " times in "
           << kMemories << " memories";
    if (applied.skipped > 0) {
        io.out << "; " << applied.skipped << " left out, whose memory or content the file lacks";
    }
    io.out << '\n';
    return kExitOk;
}

}  // namespace

int ApplyAllCommand::run(const Args& args, CommandIo io) {
    const auto options = parse(args, io.err);
    if (!options) {
        io.err << "; usage: tavrel-cli " << usage() << '\n';
        return kExitUsage;
    }
    const InterruptWatch interrupt;
    Context context;
    const auto session = UnitSession::open(options->unit, io.err);
    if (!session) return kExitFailed;
    int code = applyAll(*session, *options, io);
    if (!session->release()) code = kExitFailed;
    return interrupt.interrupted() ? kExitInterrupted : code;
}

}  // namespace tavrel::cli
