#include "cli/UnitOptions.h"

#include <string>
#include <string_view>

namespace tavrel::cli {

namespace {

constexpr std::string_view kSimulate = "--simulate";

std::optional<UnitOptions::Action> actionNamed(std::string_view name) {
    if (name == "status") return UnitOptions::Action::Status;
    if (name == "load") return UnitOptions::Action::Load;
    if (name == "pull") return UnitOptions::Action::Pull;
    if (name == "push") return UnitOptions::Action::Push;
    return std::nullopt;
}

bool takesFile(UnitOptions::Action action) {
    return action == UnitOptions::Action::Pull || action == UnitOptions::Action::Push;
}

// One option or the file; false, with the reason on `err`, for anything else.
bool take(UnitOptions& o, const Args& args, std::size_t& i, std::ostream& err) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    if (a == "--json" && !takesFile(o.action)) {
        o.json = true;
    } else if (a == kSimulate || a.starts_with(std::string(kSimulate) + "=")) {
        const auto name = a.size() > kSimulate.size() ? a.substr(kSimulate.size() + 1) : "QL-900";
        o.simulate = sim::UnitModel::named(name);
        if (!o.simulate) err << "tavrel-cli: no simulated model '" << name << "'";
        return o.simulate.has_value();
    } else if (a == "--sim-storage" && hasValue) {
        o.simStorage = args[++i];
    } else if (a == "--volume-root" && hasValue) {
        o.volumeRoots.emplace_back(args[++i]);
    } else if (!a.starts_with("-") && takesFile(o.action) && o.file.empty()) {
        o.file = a;
    } else {
        err << "tavrel-cli: unexpected argument '" << a << "'";
        return false;
    }
    return true;
}

bool consistent(const UnitOptions& o, std::ostream& err) {
    if (takesFile(o.action) && o.file.empty()) {
        err << "tavrel-cli: no pattern file given";
        return false;
    }
    if (!o.simulate && !o.simStorage.empty()) {
        err << "tavrel-cli: --sim-storage needs --simulate";
        return false;
    }
    if (o.simulate && !o.volumeRoots.empty()) {
        err << "tavrel-cli: --volume-root names the storage of a unit simulated in another "
               "process, not with --simulate";
        return false;
    }
    return true;
}

}  // namespace

std::optional<UnitOptions> UnitOptions::parse(const Args& args, std::ostream& err) {
    const auto action = args.empty() ? std::nullopt : actionNamed(args.front());
    if (!action) {
        err << "tavrel-cli: unit needs one of status, load, pull, push";
        return std::nullopt;
    }
    UnitOptions o;
    o.action = *action;
    for (std::size_t i = 1; i < args.size(); ++i) {
        if (!take(o, args, i, err)) return std::nullopt;
    }
    if (!consistent(o, err)) return std::nullopt;
    return o;
}

}  // namespace tavrel::cli
