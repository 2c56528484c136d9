#include "cli/PreviewOptions.h"

#include <charconv>
#include <filesystem>
#include <string_view>
#include <system_error>

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

// A path argument after `--name`; false, with the reason on `err`, when there is none.
bool takePath(std::filesystem::path& into, const Args& args, std::size_t& i, std::ostream& err) {
    if (i + 1 >= args.size() || args[i + 1].empty()) {
        err << "tavrel-cli: " << args[i] << " needs a file name";
        return false;
    }
    into = args[++i];
    return true;
}

// INPUT: a MIDI file, or FILE:P for pattern P of a pattern file. A file that exists under
// the whole name is taken as it is, colon and all.
void takeInput(PreviewOptions& o, const std::string& a) {
    o.file = a;
    const auto colon = a.rfind(':');
    if (colon == std::string::npos || colon == 0) return;
    std::error_code ec;
    if (std::filesystem::exists(a, ec)) return;
    const auto pattern = number(a.substr(colon + 1), {1, 50});
    if (!pattern) return;
    o.file = a.substr(0, colon);
    o.patternNumber = pattern;
}

// The options only one of the two commands has.
bool takeModal(PreviewOptions& o, const Args& args, std::size_t& i, bool render,
               std::ostream& err) {
    const std::string& a = args[i];
    if (render && a == "-o") return takePath(o.output, args, i, err);
    if (render && a == "--loops") {
        std::optional<int> loops;
        if (!takeNumber(loops, args, i, {1, 1000}, err)) return false;
        o.loops = *loops;
        return true;
    }
    if (!render && a == "--synth") {
        o.synth = true;
        return true;
    }
    if (!render && a == "--seconds") return takeNumber(o.seconds, args, i, {1, 86400}, err);
    if (!render && a == "--port" && i + 1 < args.size()) {
        o.port = args[++i];
        return true;
    }
    if (!render && (a == kSimulate || a.starts_with(std::string(kSimulate) + "="))) {
        return takeSimulate(o, a, err);
    }
    err << "tavrel-cli: unexpected argument '" << a << "'";
    return false;
}

bool take(PreviewOptions& o, const Args& args, std::size_t& i, bool render, std::ostream& err) {
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
    if (a == "--soundfont") {
        o.soundFont.emplace();
        return takePath(*o.soundFont, args, i, err);
    }
    if (!a.starts_with("-") && o.file.empty()) {
        takeInput(o, a);
        return true;
    }
    return takeModal(o, args, i, render, err);
}

// What the options say together; false, with the reason on `err`, when they disagree.
bool consistent(PreviewOptions& o, bool render, std::ostream& err) {
    if (o.file.empty()) {
        err << "tavrel-cli: no MIDI or pattern file given";
        return false;
    }
    if (render && o.output.empty()) {
        err << "tavrel-cli: -o OUT.wav names the sound file to write";
        return false;
    }
    // A SoundFont is only for the synthesizer: naming one asks for it.
    if (o.soundFont) o.synth = true;
    if (render) o.synth = true;
    if (o.synth && (o.simulate || !o.port.empty())) {
        err << "tavrel-cli: the built-in synthesizer (--synth, --soundfont) is an output of its "
               "own; --port and --simulate choose a MIDI output instead";
        return false;
    }
    return true;
}

}  // namespace

std::optional<PreviewOptions> PreviewOptions::parse(const Args& args, std::ostream& err,
                                                    Mode mode) {
    const bool render = mode == Mode::Render;
    PreviewOptions o;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (!take(o, args, i, render, err)) return std::nullopt;
    }
    if (!consistent(o, render, err)) return std::nullopt;
    return o;
}

}  // namespace tavrel::cli
