#include "cli/RenderCommand.h"

#include "cli/CliAlerts.h"
#include "cli/InterruptWait.h"
#include "cli/PreviewOptions.h"
#include "cli/PreviewPattern.h"
#include "cli/SynthOpener.h"
#include "model/Context.h"
#include "playback/DownSampler.h"
#include "playback/PatternRenderer.h"
#include "playback/WavFileWriter.h"

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <memory>
#include <string>
#include <system_error>

namespace tavrel::cli {

namespace {

constexpr std::chrono::seconds kQuietStart{1};

// The WAV file is written beside its final name and moved there once complete, so a failed
// render never leaves half a file or replaces a good one.
std::filesystem::path partName(const std::filesystem::path& out) {
    std::filesystem::path part = out;
    part += ".part";
    return part;
}

void reportDone(const PatternRenderer::Result& r, const PreviewOptions& o, double took,
                std::ostream& out) {
    const double seconds = static_cast<double>(r.frames) / DownSampler::kOutRate;
    out << "Wrote " << o.output.string() << ": " << o.loops << (o.loops == 1 ? " pass" : " passes")
        << " of " << r.loopTicks << " ticks, " << std::fixed << std::setprecision(2) << seconds
        << " s of sound in " << took << " s (" << std::setprecision(0)
        << (took > 0 ? seconds / took : 0.0) << " times real time)\n";
}

// A line every tenth of the way, once a render has taken more than a second.
PatternRenderer::Progress progressLines(std::chrono::steady_clock::time_point start,
                                        std::ostream& out) {
    return [start, &out, shown = 0](int percent) mutable {
        if (percent / 10 <= shown || std::chrono::steady_clock::now() - start < kQuietStart) return;
        shown = percent / 10;
        out << "Rendering: " << shown * 10 << "%" << std::endl;
    };
}

std::string failure(const PatternRenderer::Result& r, const PreviewOptions& o,
                    const std::string& writeError) {
    if (r.tooLong) {
        return "the passes would make more than " +
               std::to_string(PatternRenderer::kMaxSeconds / 3600) +
               " hours of sound; choose fewer --loops or --bars";
    }
    if (r.loopTicks < 1) return "the variation's window is empty; nothing to render";
    return "cannot write " + o.output.string() + ": " + writeError;
}

}  // namespace

int RenderCommand::run(const Args& args, CommandIo io) {
    const auto options = PreviewOptions::parse(args, io.err, PreviewOptions::Mode::Render);
    if (!options) {
        io.err << "; usage: tavrel-cli " << usage() << '\n';
        return kExitUsage;
    }
    // Ctrl-C stops the render between two tenths of a second of sound and takes the half-made
    // file away; made before the synthesizer starts a thread, so that it is the one to see it.
    InterruptWait interrupt;
    bool interrupted = false;
    Context context;
    context.install<CliAlerts, Alerts>(std::make_unique<CliAlerts>(io.err, true));
    if (!PreviewPattern::prepare(*options, io.err)) return kExitFailed;
    const auto synth = SynthOpener::open(*options, DownSampler::kInRate, io.err);
    if (!synth) return kExitFailed;

    const std::filesystem::path part = partName(options->output);
    WavFileWriter writer(part, DownSampler::kOutRate);
    if (!writer.ok()) {
        io.err << "tavrel-cli: cannot write " << options->output.string() << ": " << writer.error()
               << '\n';
        return kExitFailed;
    }
    const auto start = std::chrono::steady_clock::now();
    PatternRenderer renderer(*synth);
    const auto result = renderer.render(
        options->loops,
        [&](const std::vector<float>& frames) {
            if (interrupt.arrived()) interrupted = true;
            return !interrupted &&
                   writer.write(frames.data(), static_cast<std::int64_t>(frames.size() / 2));
        },
        progressLines(start, io.out));
    const bool written = writer.close();
    std::error_code ec;
    if (!result.complete || !written) {
        std::filesystem::remove(part, ec);
        if (interrupted) {
            io.err << "tavrel-cli: interrupted; " << options->output.string()
                   << " was not written\n";
            return kExitInterrupted;
        }
        io.err << "tavrel-cli: " << failure(result, *options, writer.error()) << '\n';
        return kExitFailed;
    }
    std::filesystem::rename(part, options->output, ec);
    if (ec) {
        std::filesystem::remove(part, ec);
        io.err << "tavrel-cli: cannot write " << options->output.string() << ": " << ec.message()
               << '\n';
        return kExitFailed;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    reportDone(result, *options, took.count(), io.out);
    return kExitOk;
}

}  // namespace tavrel::cli
