#include "cli/UnitSession.h"

#include "cli/CliPoster.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"
#include "device/MidiLib.h"
#include "device/RealTimeline.h"
#include "device/ThreadWaiter.h"
#include "device/platform/ExtraRootsVolumeService.h"
#include "device/platform/alsa/AlsaMidiService.h"
#include "device/platform/gio/GioVolumeService.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "files/CFileDataMgr.h"
#include "model/Context.h"
#include "sim/SimulatedUnit.h"

#include <filesystem>
#include <optional>
#include <system_error>

namespace tavrel::cli {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// What the link is built on. No MIDI service: no unit can be reached.
struct Services {
    MidiService* midi = nullptr;
    VolumeService* volumes = nullptr;
    RealTimeline* timeline = nullptr;
    sim::SimulatedUnit* unit = nullptr;
};

constexpr const char* kSequencer = "/dev/snd/seq";

// Both services virtual and shared with a unit simulated here, plugged in before the
// transport exists so that its first scan finds it.
Services simulated(const UnitOptions& options, Context& context, std::ostream& err) {
    Services s;
    auto& midi = context.install<VirtualMidiService>(std::make_unique<VirtualMidiService>());
    auto& volumes = context.install<VirtualVolumeService>(std::make_unique<VirtualVolumeService>());
    s.timeline = &context.install(std::make_unique<RealTimeline>());
    s.unit = &context.install(std::make_unique<sim::SimulatedUnit>(
        *options.simulate, midi, volumes, *s.timeline, options.simStorage));
    if (!s.unit->plugIn()) {
        err << "tavrel-cli: the simulated " << options.simulate->name()
            << " could not be started (storage " << s.unit->storageRoot().string() << ")\n";
        return {};
    }
    s.midi = &midi;
    s.volumes = &volumes;
    return s;
}

// The desktop's ALSA sequencer and GIO volumes, with the folders named by --volume-root first.
Services desktop(const UnitOptions& options, Context& context, std::ostream& err) {
    std::error_code ec;
    if (!fs::exists(kSequencer, ec)) {
        err << "tavrel-cli: this computer has no ALSA sequencer (" << kSequencer
            << " is missing), so no unit can be found; --simulate runs one inside tavrel-cli\n";
        return {};
    }
    Services s;
    s.midi = &context.install<AlsaMidiService>(std::make_unique<AlsaMidiService>());
    s.volumes = &context.install<ExtraRootsVolumeService>(std::make_unique<ExtraRootsVolumeService>(
        std::make_unique<GioVolumeService>(), options.volumeRoots));
    s.timeline = &context.install(std::make_unique<RealTimeline>());
    return s;
}

}  // namespace

std::unique_ptr<UnitSession> UnitSession::open(const UnitOptions& options, std::ostream& err) {
    Context& context = Context::current();
    // First, so that it outlives the transport that posts to it.
    CliPoster& poster = context.install(std::make_unique<CliPoster>());
    const Services s =
        options.simulate ? simulated(options, context, err) : desktop(options, context, err);
    if (s.midi == nullptr) return nullptr;
    auto& midi = context.install(std::make_unique<MidiLib>(*s.midi, poster.poster()));
    auto& waiter =
        context.install<ThreadWaiter, Waiter>(std::make_unique<ThreadWaiter>(*s.timeline));
    auto& alerts = context.install<RecordedAlerts, Alerts>(std::make_unique<RecordedAlerts>(err));
    auto& link = context.install<CConnectionMgr, UnitStorage>(
        std::make_unique<CConnectionMgr>(midi, *s.volumes, waiter, alerts));
    auto& runner = context.install(std::make_unique<LinkRunner>(link, poster.poster()));
    return std::unique_ptr<UnitSession>(new UnitSession(poster, link, runner, alerts, s.unit));
}

std::string UnitSession::modelName() const {
    if (!mLink.getConnected()) return {};
    return (mLink.getConnectedModel() ? sim::UnitModel::ql414xe3() : sim::UnitModel::ql900())
        .name();
}

LinkRunner::Outcome UnitSession::run(LinkRunner::Step step) {
    drain();
    std::optional<LinkRunner::Outcome> end;
    {
        const std::lock_guard lock(mStepLock);
        mReleasing = step == LinkRunner::Step::EditorOff;
        if (mInterrupted && !mReleasing) return {step, false, true, {}};
        // Only this thread starts steps, and each is waited for: the runner is never busy here.
        mRunner.start(step, [&end](const LinkRunner::Outcome& outcome) { end = outcome; });
    }
    mPoster.runUntil([&end] { return end.has_value(); });
    if (!end->reason.empty()) mAlerts.alert(end->reason);
    return *end;
}

void UnitSession::interrupt() {
    const std::lock_guard lock(mStepLock);
    mInterrupted = true;
    if (!mReleasing) mRunner.cancel();
}

bool UnitSession::askHeld(bool& held) {
    const int alertsBefore = mLink.alertsShown();
    const LinkRunner::Outcome outcome = run(LinkRunner::Step::AskOccupied);
    held = outcome.ok;
    return outcome.reason.empty() && !outcome.cancelled && mLink.alertsShown() == alertsBefore;
}

bool UnitSession::readyToTake() {
    drain();
    if (!mLink.getConnected()) {
        mAlerts.alert(mLink.failureReason());
        return false;
    }
    bool held = false;
    return askHeld(held);
}

bool UnitSession::load() {
    if (!readyToTake()) return false;
    const auto start = Clock::now();
    const bool loaded = run(LinkRunner::Step::LoadSequence).ok;
    mLoadTime = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
    return loaded;
}

bool UnitSession::openStorage() {
    return readyToTake() && run(LinkRunner::Step::Storage).ok;
}

bool UnitSession::store() {
    if (!openStorage()) return false;
    if (CFileDataMgr::saveData()) return true;
    mAlerts.alert("User Pattern file cannot be created.");
    return false;
}

bool UnitSession::release() {
    drain();
    return mLink.getEditorMode() == 0 || run(LinkRunner::Step::EditorOff).ok;
}

void UnitSession::drain() {
    mPoster.drain();
}

}  // namespace tavrel::cli
