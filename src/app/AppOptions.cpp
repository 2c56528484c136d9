#include "app/AppOptions.h"

#include <string>
#include <string_view>

namespace tavrel::app {

namespace {

// The simulated unit's switches, handed to its own parser. The bool says whether it takes a
// value.
struct FaultSwitch {
    const char* name;
    bool value;
};
constexpr FaultSwitch kFaultSwitches[] = {
    {"--silent", false},   {"--held", false},          {"--never-mount", false},
    {"--slow", true},      {"--drop-kit-reply", true}, {"--drop-kit-lists", true},
    {"--unplug-at", true},
};

const FaultSwitch* faultSwitch(const QString& arg) {
    for (const FaultSwitch& f : kFaultSwitches) {
        if (arg == QLatin1String(f.name)) return &f;
    }
    return nullptr;
}

// "--name=value" or "--name value"; false, with `error` set, when the value is missing.
bool takeValue(const QStringList& args, qsizetype& i, const QString& name, QString& value,
               QString& error) {
    const QString& arg = args[i];
    if (arg.startsWith(name + '=')) {
        value = arg.mid(name.size() + 1);
        return true;
    }
    if (i + 1 >= args.size()) {
        error = name + " needs a value";
        return false;
    }
    value = args[++i];
    return true;
}

// The simulator's own lines for its switches, from --silent up to its --help.
QString faultSwitchUsage() {
    const QString all = QString::fromStdString(sim::UnitSimOptions::usage());
    const auto from = all.indexOf("  --silent");
    const auto to = all.indexOf("  -h, --help");
    return from >= 0 && to > from ? all.mid(from, to - from) : QString();
}

}  // namespace

std::optional<AppOptions> AppOptions::parse(const QStringList& args, QString& error) {
    AppOptions o;
    std::vector<std::string> faultArgs;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        QString value;
        if (arg == "--simulate" || arg.startsWith("--simulate=")) {
            const QString name = arg == "--simulate" ? QString("QL-900") : arg.mid(11);
            o.simulate = sim::UnitModel::named(name.toStdString());
            if (!o.simulate) {
                error = "unknown model " + name + " (QL-900 or QL-414XE3)";
                return std::nullopt;
            }
        } else if (arg.startsWith("--sim-storage") || arg.startsWith("--volume-root") ||
                   arg.startsWith("--screenshot")) {
            const QString name = arg.section('=', 0, 0);
            if (!takeValue(args, i, name, value, error)) return std::nullopt;
            if (name == "--sim-storage") o.simStorage = value.toStdString();
            if (name == "--volume-root") o.volumeRoots.emplace_back(value.toStdString());
            if (name == "--screenshot") o.screenshot = value;
        } else if (const FaultSwitch* f = faultSwitch(arg)) {
            faultArgs.push_back(arg.toStdString());
            if (f->value && i + 1 < args.size()) faultArgs.push_back(args[++i].toStdString());
        } else if (arg.startsWith('-')) {
            error = "unknown option " + arg;
            return std::nullopt;
        } else {
            o.midiFiles.append(arg);
        }
    }
    if (!faultArgs.empty() && !o.simulate) {
        error = "the simulated unit's switches need --simulate";
        return std::nullopt;
    }
    const std::vector<std::string_view> views(faultArgs.begin(), faultArgs.end());
    std::string faultError;
    const auto faults = sim::UnitSimOptions::parse(views, faultError);
    if (!faults) {
        error = QString::fromStdString(faultError);
        return std::nullopt;
    }
    o.faults = *faults;
    return o;
}

QString AppOptions::usage() {
    return R"(Usage: tavrel [options] [FILE.mid ...]

Turns MIDI drum files into the user rhythm patterns of a QL-900 or QL-414XE3 and keeps the
unit's store of 50 patterns. MIDI files named here are loaded as new patterns once the unit's
patterns are in.

  --simulate[=MODEL]     talk to a unit simulated inside Tavrel, QL-900 (default) or QL-414XE3
  --sim-storage DIR      the simulated unit's storage folder
                         (default $XDG_DATA_HOME/tavrel/sim/<model>)
  --volume-root DIR      count DIR as a volume (the storage of a tavrel-unit-sim process)
  --screenshot FILE.png  save a picture of the loaded main window, then quit
  -h, --help             show this text
  --version              show the version

The simulated unit's switches (with --simulate), so each dialog can be seen without hardware:
)" + faultSwitchUsage();
}

}  // namespace tavrel::app
