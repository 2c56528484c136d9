#include "cli/PreviewCommand.h"

#include "cli/CliAlerts.h"
#include "cli/InterruptWait.h"
#include "cli/PreviewOptions.h"
#include "cli/PreviewPattern.h"
#include "cli/SynthOpener.h"
#include "device/MidiLib.h"
#include "device/RealTimeline.h"
#include "device/platform/alsa/AlsaMidiService.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "playback/LiveSynth.h"
#include "sim/SimulatedUnit.h"

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <memory>
#include <optional>

namespace tavrel::cli {

namespace {

constexpr const char* kSequencer = "/dev/snd/seq";

// Where the notes go: the MIDI service, and the unit simulated on it, if any.
struct Output {
    MidiService* service = nullptr;
    VirtualMidiService* simulated = nullptr;
};

// A unit simulated in this process, plugged in before the transport looks for destinations.
Output openSimulated(const sim::UnitModel& model, Context& context, std::ostream& err) {
    auto& midi = context.install(std::make_unique<VirtualMidiService>());
    auto& volumes = context.install(std::make_unique<VirtualVolumeService>());
    auto& timeline = context.install(std::make_unique<RealTimeline>());
    auto& unit =
        context.install(std::make_unique<sim::SimulatedUnit>(model, midi, volumes, timeline));
    if (!unit.plugIn()) {
        err << "tavrel-cli: the simulated " << model.name() << " could not be started\n";
        return {};
    }
    return {&midi, &midi};
}

Output openAlsa(Context& context, std::ostream& err) {
    std::error_code ec;
    if (!std::filesystem::exists(kSequencer, ec)) {
        err << "tavrel-cli: this computer has no ALSA sequencer (" << kSequencer
            << " is missing); --simulate plays into a unit inside tavrel-cli\n";
        return {};
    }
    return {&context.install(std::make_unique<AlsaMidiService>()), nullptr};
}

// The listed destination whose name contains `part`; with an empty `part`, the only one.
std::optional<std::int64_t> choosePort(const MidiLib& midi, const std::string& part,
                                       std::ostream& err) {
    const auto& ports = midi.getOutputPortList();
    std::optional<std::int64_t> chosen;
    int matches = 0;
    for (std::size_t i = 0; i < ports.size(); ++i) {
        if (MidiLib::getDeviceName(ports[i]).find(part) == std::string::npos) continue;
        if (matches++ == 0) chosen = static_cast<std::int64_t>(i);
    }
    if (matches == 1 || (matches > 1 && !part.empty())) return chosen;
    err << "tavrel-cli: "
        << (matches == 0 ? "no MIDI destination" : "more than one MIDI destination")
        << (part.empty() ? "" : " named like '" + part + "'") << "; --port NAME chooses from:";
    for (const auto& p : ports) err << " '" << MidiLib::getDeviceName(p) << "'";
    err << '\n';
    return std::nullopt;
}

void reportStart(const CSeqSim& seq, const std::string& port, std::ostream& out) {
    const CPtnDataMgr& pattern = *seq.getPattern();
    out << "Playing \"" << pattern.getName() << "\" variation " << seq.getVariNum() << ", bars "
        << seq.getFrom() + 1 << " to " << seq.getFrom() + seq.getBars() << ", tempo "
        << seq.getTempo() << ", " << seq.getBeatPerBar() << "/" << pattern.getDeno() << ", through "
        << port << '\n';
}

// What the simulated unit heard: the note-ons, and the note-offs that the stop sent last.
void reportHeard(const VirtualMidiService& midi, std::int64_t port, std::ostream& out) {
    int noteOns = 0;
    int offsAtEnd = 0;
    for (const auto& m : midi.backlog(port)) {
        const bool off = m.bytes.front() == 0x89;
        offsAtEnd = off ? offsAtEnd + 1 : 0;
        if (m.bytes.front() == 0x99) ++noteOns;
    }
    out << "The unit heard " << noteOns << " note-ons, then " << offsAtEnd << " note-offs\n";
}

// Plays until the time is up or Ctrl-C, then stops with every note ended.
void playUntilDone(CSeqSim& seq, const PreviewOptions& o, InterruptWait& interrupt,
                   const std::string& through, std::ostream& out) {
    seq.setup();
    seq.play();
    reportStart(seq, through, out);
    const auto start = std::chrono::steady_clock::now();
    const std::optional<std::chrono::seconds> limit =
        o.seconds ? std::optional(std::chrono::seconds(*o.seconds)) : std::nullopt;
    const bool interrupted = interrupt.wait(limit);
    seq.stop();
    const std::chrono::duration<double> played = std::chrono::steady_clock::now() - start;
    out << (interrupted ? "Interrupted" : "Stopped") << " after " << std::fixed
        << std::setprecision(1) << played.count() << " s; every note ended\n";
}

// The built-in synthesizer, through whichever audio driver opens; silent with none.
int playThroughSynth(const PreviewOptions& o, InterruptWait& interrupt, Context& context,
                     CommandIo io) {
    auto synth = SynthOpener::open(o, LiveSynth::kSampleRate, io.err);
    if (!synth) return kExitFailed;
    LiveSynth live(std::move(synth));
    io.out << live.driver().describe() << '\n';
    CSeqSim& seq = context.install(std::make_unique<CSeqSim>(nullptr));
    seq.previewOutput().useOutput(live.synth());
    seq.previewOutput().programChange(context.patterns().getCurPattarn()->getKitNum());
    playUntilDone(seq, o, interrupt, "the built-in synthesizer", io.out);
    // The sequencer outlives this function; the synthesizer does not.
    seq.previewOutput().useMidi();
    return kExitOk;
}

}  // namespace

int PreviewCommand::run(const Args& args, CommandIo io) {
    const auto options = PreviewOptions::parse(args, io.err);
    if (!options) {
        io.err << "; usage: tavrel-cli " << usage() << '\n';
        return kExitUsage;
    }
    // Before the first thread: every thread inherits the blocked signals.
    InterruptWait interrupt;
    Context context;
    // A format 1 file plays with its tracks merged, as the desktop program suggests.
    context.install<CliAlerts, Alerts>(std::make_unique<CliAlerts>(io.err, true));
    if (!PreviewPattern::prepare(*options, io.err)) return kExitFailed;
    if (options->synth) return playThroughSynth(*options, interrupt, context, io);
    const Output output = options->simulate ? openSimulated(*options->simulate, context, io.err)
                                            : openAlsa(context, io.err);
    if (output.service == nullptr) return kExitFailed;
    MidiLib& midi = context.install(std::make_unique<MidiLib>(*output.service));
    midi.searchDevice();
    const std::string part =
        options->port.empty() && options->simulate ? options->simulate->name() : options->port;
    const auto index = choosePort(midi, part, io.err);
    if (!index || !midi.selectOutputDevice(*index)) return kExitFailed;
    const CportProperties port = midi.getOutputPortList()[static_cast<std::size_t>(*index)];

    CSeqSim& seq = context.install(std::make_unique<CSeqSim>(&midi));
    playUntilDone(seq, *options, interrupt, MidiLib::getDeviceName(port), io.out);
    if (output.simulated != nullptr) reportHeard(*output.simulated, port.uniqueID(), io.out);
    return kExitOk;
}

}  // namespace tavrel::cli
