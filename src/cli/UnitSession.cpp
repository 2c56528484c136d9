#include "cli/UnitSession.h"

#include "cli/CliPoster.h"
#include "device/CConnectionMgr.h"
#include "device/CLoadExec.h"
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

// The unit's volume is given up to a second after mounting before its files are touched.
constexpr std::chrono::seconds kVolumeSettle{1};
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
    return std::unique_ptr<UnitSession>(new UnitSession(poster, link, alerts, s.unit));
}

std::string UnitSession::modelName() const {
    if (!mLink.getConnected()) return {};
    return (mLink.getConnectedModel() ? sim::UnitModel::ql414xe3() : sim::UnitModel::ql900())
        .name();
}

bool UnitSession::askHeld(bool& held) {
    const std::size_t before = mAlerts.shown().size();
    held = mLink.getOccupied();
    if (mLink.unitGone()) return failed(before);
    return mAlerts.shown().size() == before;
}

bool UnitSession::readyToTake() {
    drain();
    const std::size_t before = mAlerts.shown().size();
    bool held = false;
    if (!mLink.getConnected() || !askHeld(held)) return failed(before);
    drain();
    return true;
}

bool UnitSession::load() {
    if (!readyToTake()) return false;
    const std::size_t before = mAlerts.shown().size();
    const auto start = Clock::now();
    const bool loaded = CLoadExec::exec();
    mLoadTime = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
    return loaded || failed(before);
}

bool UnitSession::store() {
    if (!readyToTake()) return false;
    const std::size_t before = mAlerts.shown().size();
    if (!mLink.setEditorMode()) return failed(before);
    drain();
    if (!mLink.mountQl()) return failed(before);
    // As in the load sequence, a pause that a responsive unit cuts short; a volume that
    // vanishes meanwhile makes the write fail.
    mLink.waitForVolume(kVolumeSettle);
    if (CFileDataMgr::saveData()) return true;
    mAlerts.alert("User Pattern file cannot be created.");
    return false;
}

bool UnitSession::release() {
    drain();
    return mLink.getEditorMode() == 0 || mLink.editorOff();
}

void UnitSession::drain() {
    mPoster.drain();
}

// The link's steps that fail without a word do so when the unit went away (the step ends as
// it goes), left editor mode by itself (reporting its storage unmounted), or mounted a
// storage this computer never saw.
bool UnitSession::failed(std::size_t alertsBefore) {
    if (mAlerts.shown().size() != alertsBefore) return false;
    // A unit that went during the step is only seen gone once its removal is handled.
    drain();
    if (!mLink.getConnected()) {
        mAlerts.alert("Unit not connected.");
    } else if (mLink.getEditorMode() == 0) {
        mAlerts.alert("Unit left editor mode.");
    } else {
        mAlerts.alert("Unit storage not found.");
    }
    return false;
}

}  // namespace tavrel::cli
