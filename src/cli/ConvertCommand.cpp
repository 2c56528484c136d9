#include "cli/ConvertCommand.h"

#include "cli/CliAlerts.h"
#include "files/CFileDataMgr.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Limits.h"
#include "smf/FileContents.h"
#include "smf/SmfReader.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrel::cli {

namespace {

// What the unit holds, and so what one pattern file can carry.
constexpr std::size_t kMaxPatterns = limits::kMaxPatterns;

struct Options {
    std::vector<std::string> inputs;
    std::string output;
    bool merge = true;
};

std::optional<Options> parse(const Args& args, std::ostream& err) {
    Options o;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "-o" && i + 1 < args.size() && o.output.empty()) {
            o.output = args[++i];
        } else if (a == "--no-merge") {
            o.merge = false;
        } else if (a.starts_with("-")) {
            err << "tavrel-cli: unexpected argument '" << a << "'";
            return std::nullopt;
        } else {
            o.inputs.push_back(a);
        }
    }
    if (o.inputs.empty() || o.output.empty()) {
        err << "tavrel-cli: " << (o.inputs.empty() ? "no MIDI file given" : "no -o OUT.QL0 given");
        return std::nullopt;
    }
    return o;
}

// Why a file made no pattern, told from what the load showed the user on its way.
std::string reasonForNoPattern(const CliAlerts& alerts, int alertsBefore, int declinedBefore) {
    if (alerts.questionsDeclined() != declinedBefore) return "its tracks were not merged";
    if (alerts.alertsShown() != alertsBefore) return "the file cannot be read";
    return "its notes last less than one bar";
}

// One MIDI file as one more pattern; a file that makes none is reported with the reason.
void convertOne(const std::string& path, CliAlerts& alerts, CommandIo io) {
    alerts.setSubject(path);
    // The desktop program gives a file whose header the reader refuses an empty pattern;
    // a batch conversion has no use for one. Only the header is looked at here.
    const smf::FileContents file = smf::FileContents::read(path);
    if (!file.ok()) {
        io.err << "tavrel-cli: " << path << ": no pattern: " << file.error() << '\n';
        return;
    } else if (smf::readHeader(file.bytes()).tracks == 0) {
        io.err << "tavrel-cli: " << path << ": no pattern: not a Standard MIDI File of format 0 "
               << "or 1 with at least one track\n";
        return;
    }
    const int alertsBefore = alerts.alertsShown();
    const int declinedBefore = alerts.questionsDeclined();
    if (!CFileDataMgr::loadSmf(path, file)) {
        io.err << "tavrel-cli: " << path
               << ": no pattern: " << reasonForNoPattern(alerts, alertsBefore, declinedBefore)
               << '\n';
        return;
    }
    const CPatternMgr& patterns = Context::current().patterns();
    const auto& made = *patterns.getCurPattarn();
    io.out << "  " << patterns.getCurPattarnNum() + 1 << "  \"" << made.getName() << "\"  tempo "
           << made.getTempo() << "  from " << path << '\n';
}

}  // namespace

int ConvertCommand::run(const Args& args, CommandIo io) {
    const auto options = parse(args, io.err);
    if (!options) {
        io.err << "; usage: tavrel-cli " << usage() << '\n';
        return kExitUsage;
    }
    // A context of its own, so that every run starts from an empty collection and its
    // answers to the merge question go nowhere else.
    Context context;
    auto& alerts =
        context.install<CliAlerts, Alerts>(std::make_unique<CliAlerts>(io.err, options->merge));
    for (const std::string& path : options->inputs) convertOne(path, alerts, io);

    const std::size_t count = context.patterns().getPtnData().size();
    const std::string& out = options->output;
    if (count == 0) {
        io.err << "tavrel-cli: no pattern made; " << out << " not written\n";
        return kExitFailed;
    }
    if (count > kMaxPatterns) {
        io.err << "tavrel-cli: " << count << " patterns made, but a pattern file holds at most "
               << kMaxPatterns << "; " << out << " not written\n";
        return kExitFailed;
    }
    if (!CFileDataMgr::exportData(out)) {
        io.err << "tavrel-cli: cannot write " << out << '\n';
        return kExitFailed;
    }
    io.out << out << ": " << count << (count == 1 ? " pattern" : " patterns") << '\n';
    return kExitOk;
}

}  // namespace tavrel::cli
