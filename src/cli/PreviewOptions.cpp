#include "cli/PreviewOptions.h"

#include <charconv>
#include <string_view>

namespace tavrel::cli {

namespace {

constexpr std::string_view kSimulate = "--simulate";

struct Range {
    int min;
    int max;
};

// The whole of `text` as a number within `range`.
std::optional<int> number(const std::string& text, Range range) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    if (value < range.min || value > range.max) return std::nullopt;
    return value;
}

// `--name VALUE` as a number; false, with the reason on `err`, when it is not one in range.
bool takeNumber(std::optional<int>& into, const Args& args, std::size_t& i, Range range,
                std::ostream& err) {
    into = i + 1 < args.size() ? number(args[i + 1], range) : std::nullopt;
    if (!into) {
        err << "tavrel-cli: " << args[i] << " needs a number from " << range.min << " to "
            << range.max;
        return false;
    }
    ++i;
    return true;
}

bool takeSimulate(PreviewOptions& o, const std::string& a, std::ostream& err) {
    const auto name = a.size() > kSimulate.size() ? a.substr(kSimulate.size() + 1) : "QL-900";
    o.simulate = sim::UnitModel::named(name);
    if (!o.simulate) err << "tavrel-cli: no simulated model '" << name << "'";
    return o.simulate.has_value();
}

bool take(PreviewOptions& o, const Args& args, std::size_t& i, std::ostream& err) {
    const std::string& a = args[i];
    std::optional<int> variation;
    if (a == "--variation") {
        if (!takeNumber(variation, args, i, {0, 9}, err)) return false;
        o.variation = *variation;
        return true;
    }
    if (a == "--from") return takeNumber(o.from, args, i, {0, 9999}, err);
    if (a == "--bars") return takeNumber(o.bars, args, i, {1, 9999}, err);
    if (a == "--tempo") return takeNumber(o.tempo, args, i, {40, 350}, err);
    if (a == "--seconds") return takeNumber(o.seconds, args, i, {1, 86400}, err);
    if (a == "--port" && i + 1 < args.size()) {
        o.port = args[++i];
        return true;
    }
    if (a == kSimulate || a.starts_with(std::string(kSimulate) + "=")) {
        return takeSimulate(o, a, err);
    }
    if (!a.starts_with("-") && o.file.empty()) {
        o.file = a;
        return true;
    }
    err << "tavrel-cli: unexpected argument '" << a << "'";
    return false;
}

}  // namespace

std::optional<PreviewOptions> PreviewOptions::parse(const Args& args, std::ostream& err) {
    PreviewOptions o;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (!take(o, args, i, err)) return std::nullopt;
    }
    if (o.file.empty()) {
        err << "tavrel-cli: no MIDI file given";
        return std::nullopt;
    }
    return o;
}

}  // namespace tavrel::cli
