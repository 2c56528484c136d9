#include "cli/UnitCommand.h"

#include "cli/ApplyAllCommand.h"
#include "cli/InterruptWatch.h"
#include "cli/UnitOptions.h"
#include "cli/UnitReport.h"
#include "cli/UnitSession.h"
#include "cli/WriteNotes.h"
#include "device/CConnectionMgr.h"
#include "files/CFileDataMgr.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"

#include <chrono>
#include <string>

namespace tavrel::cli {

namespace {

std::size_t patternCount() {
    return Context::current().patterns().getPtnData().size();
}

std::string patternsWord(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " pattern" : " patterns");
}

// A status asks the unit nothing but whether an editor holds it, and takes nothing.
int status(UnitSession& session, const UnitOptions& options, CommandIo io) {
    CConnectionMgr& link = session.link();
    UnitReport::Status status;
    status.connected = link.getConnected();
    status.model = session.modelName();
    const bool answered = !status.connected || session.askHeld(status.held);
    // A unit that went while asked is reported as gone, not as it was before.
    status.connected = link.getConnected();
    status.model = session.modelName();
    link.storeMountURL();
    if (link.isVolumeExist()) status.volumeRoot = link.getMountURL();
    UnitReport::printStatus(status, options.json, io.out);
    return answered ? kExitOk : kExitFailed;
}

// The load sequence, then the unit is let go. False when either failed.
bool loadAndRelease(UnitSession& session) {
    const bool loaded = session.load();
    const bool released = session.release();
    return loaded && released;
}

int load(UnitSession& session, const UnitOptions& options, CommandIo io) {
    UnitReport::Load report;
    report.ok = loadAndRelease(session);
    report.model = session.modelName();
    report.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(session.loadTime());
    if (!report.ok && !session.alerts().shown().empty()) {
        report.alert = session.alerts().shown().front();
    }
    UnitReport::printLoad(report, options.json, io.out);
    return report.ok ? kExitOk : kExitFailed;
}

int pull(UnitSession& session, const UnitOptions& options, CommandIo io) {
    if (!loadAndRelease(session)) return kExitFailed;
    const std::string out = options.file.string();
    const std::size_t count = patternCount();
    if (count == 0) {
        io.err << "tavrel-cli: the unit holds no pattern; " << out << " not written\n";
        return kExitFailed;
    }
    if (!CFileDataMgr::exportData(options.file)) {
        WriteNotes::failure(CFileDataMgr::lastWriteReport(), io.err);
        return kExitFailed;
    }
    io.out << out << ": " << patternsWord(count) << " from the " << session.modelName() << '\n';
    WriteNotes::success(CFileDataMgr::lastWriteReport(), io.err);
    return kExitOk;
}

// The file is read before the unit is touched, and the unit's own file is not read at all:
// a pattern file the unit cannot read can still be replaced. The file replaced is backed up.
int push(UnitSession& session, const UnitOptions& options, CommandIo io) {
    const std::string in = options.file.string();
    if (!CFileDataMgr::importData(options.file) || patternCount() == 0) {
        io.err << "tavrel-cli: " << in
               << ": not a pattern file, or one without patterns; the unit was not touched\n";
        return kExitFailed;
    }
    const bool stored = session.store();
    const bool released = session.release();
    if (!stored) WriteNotes::afterStore(session.alerts(), io.err);
    if (!stored || !released) return kExitFailed;
    io.out << in << ": " << patternsWord(patternCount()) << " written to the "
           << session.modelName() << "'s RHYTHM.QL0\n";
    WriteNotes::success(CFileDataMgr::lastWriteReport(), io.err);
    return kExitOk;
}

}  // namespace

int UnitCommand::run(const Args& args, CommandIo io) {
    if (!args.empty() && args.front() == "apply-all") return ApplyAllCommand::run(args, io);
    const auto options = UnitOptions::parse(args, io.err);
    if (!options) {
        io.err << "; usage: tavrel-cli " << usage() << '\n';
        return kExitUsage;
    }
    // Before the session starts its threads, so that they all leave the signals to it; a
    // first signal cancels the step under way, and the unit is still let go.
    InterruptWatch interrupt;
    // The link, the unit and the patterns read belong to this command alone.
    Context context;
    const auto session = UnitSession::open(*options, io.err);
    if (!session) return kExitFailed;
    interrupt.onFirst([&session] { session->interrupt(); });
    // The hook goes before the session does, however the command ends.
    const struct Unhook {
        InterruptWatch& watch;
        ~Unhook() { watch.onFirst({}); }
    } unhook{interrupt};
    const int code = run(*session, *options, io);
    return interrupt.interrupted() ? kExitInterrupted : code;
}

int UnitCommand::run(UnitSession& session, const UnitOptions& options, CommandIo io) {
    switch (options.action) {
        case UnitOptions::Action::Status:
            return status(session, options, io);
        case UnitOptions::Action::Load:
            return load(session, options, io);
        case UnitOptions::Action::Pull:
            return pull(session, options, io);
        case UnitOptions::Action::Push:
            return push(session, options, io);
    }
    return kExitUsage;
}

}  // namespace tavrel::cli
