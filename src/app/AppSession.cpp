#include "app/AppSession.h"

#include "app/QtAlerts.h"
#include "app/SynthOutput.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"
#include "device/ManualTimeline.h"
#include "device/MidiLib.h"
#include "device/RealTimeline.h"
#include "device/ThreadWaiter.h"
#include "device/platform/ExtraRootsVolumeService.h"
#include "device/platform/alsa/AlsaMidiService.h"
#include "device/platform/gio/GioVolumeService.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "files/CXMLFile.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "sim/SimulatedUnit.h"

#include <filesystem>
#include <system_error>

namespace tavrel::app {

namespace {

constexpr const char* kSequencer = "/dev/snd/seq";

// Owns the QObject that queued calls from other threads are delivered to. Deleting it drops
// calls still queued, so nothing posted during a session runs after the session has gone.
class PostTarget {
public:
    QObject* object() { return &mObject; }

private:
    QObject mObject;
};

}  // namespace

AppSession::AppSession(const AppOptions& options) {
    Context& context = Context::current();
    mPostTarget = context.install(std::make_unique<PostTarget>()).object();
    mAlerts = &context.install<QtAlerts, Alerts>(std::make_unique<QtAlerts>());
    if (options.simulate) {
        openSimulated(options);
    } else {
        openDesktop(options);
    }
    // After the sequencer, so that it is switched back to MIDI before the synthesizer goes.
    mSynth = &context.install(std::make_unique<SynthOutput>(mSeq));
}

AppSession::~AppSession() = default;

// Both services virtual and shared with the unit simulated here, plugged in before the
// transport exists so that its first scan finds it.
void AppSession::openSimulated(const AppOptions& options) {
    Context& context = Context::current();
    auto& midi = context.install<VirtualMidiService>(std::make_unique<VirtualMidiService>());
    auto& volumes = context.install<VirtualVolumeService>(std::make_unique<VirtualVolumeService>());
    Timeline* timeline = nullptr;
    if (options.manualClock) {
        auto& manual = context.install(std::make_unique<ManualTimeline>());
        timeline = &manual;
        // Before each look at the unit: everything it sent has been delivered and decoded.
        mWaiter = &context.install<ThreadWaiter, Waiter>(
            std::make_unique<ThreadWaiter>(manual, [this, &midi] {
                midi.flush();
                if (mMidi != nullptr) mMidi->waitIdle();
            }));
    } else {
        timeline = &context.install(std::make_unique<RealTimeline>());
    }
    mUnit = &context.install(std::make_unique<sim::SimulatedUnit>(*options.simulate, midi, volumes,
                                                                  *timeline, options.simStorage));
    options.faults.applyTo(mUnit->faults());
    if (!mUnit->plugIn()) {
        mProblem = QString("The simulated %1 could not be started (storage %2).")
                       .arg(QString::fromStdString(options.simulate->name()),
                            QString::fromStdString(mUnit->storageRoot().string()));
    }
    openLink(midi, volumes, *timeline);
}

// The desktop's ALSA sequencer and GIO volumes, with the folders named by --volume-root first.
void AppSession::openDesktop(const AppOptions& options) {
    Context& context = Context::current();
    std::error_code ec;
    if (!std::filesystem::exists(kSequencer, ec)) {
        mProblem = QString(
                       "This computer has no ALSA sequencer (%1 is missing), so no unit can be "
                       "found. Importing and exporting pattern files still work.")
                       .arg(kSequencer);
        mSeq = &context.install(std::make_unique<CSeqSim>(nullptr));
        return;
    }
    auto& midi = context.install<AlsaMidiService, MidiService>(std::make_unique<AlsaMidiService>());
    auto& volumes = context.install<ExtraRootsVolumeService, VolumeService>(
        std::make_unique<ExtraRootsVolumeService>(std::make_unique<GioVolumeService>(),
                                                  options.volumeRoots));
    auto& timeline = context.install(std::make_unique<RealTimeline>());
    openLink(midi, volumes, timeline);
}

void AppSession::openLink(MidiService& midiService, VolumeService& volumes, Timeline& timeline) {
    Context& context = Context::current();
    QObject* target = mPostTarget;
    auto post = [target](std::function<void()> task) {
        QMetaObject::invokeMethod(target, std::move(task), Qt::QueuedConnection);
    };
    mMidi = &context.install(std::make_unique<MidiLib>(midiService, post));
    // The sequencer is made as soon as the transport it plays through exists; its clock
    // thread asks for real-time scheduling, so that the preview's 1 ms steps keep time.
    mSeq = &context.install(std::make_unique<CSeqSim>(mMidi));
    if (mWaiter == nullptr) {
        mWaiter = &context.install<ThreadWaiter, Waiter>(
            std::make_unique<ThreadWaiter>(static_cast<RealTimeline&>(timeline)));
    }
    Waiter& waiter = *mWaiter;
    mLink = &context.install<CConnectionMgr, UnitStorage>(
        std::make_unique<CConnectionMgr>(*mMidi, volumes, waiter, *mAlerts));
    mSteps = &context.install(std::make_unique<LinkRunner>(*mLink, post));
}

QString AppSession::unitName() const {
    if (mLink == nullptr || !mLink->getConnected()) return {};
    return mLink->getConnectedModel() ? "QL-414XE3" : "QL-900";
}

void AppSession::rereadSettings() {
    mSettings = std::make_unique<CXMLFile>();
}

void AppSession::forgetSettings() {
    mSettings.reset();
}

}  // namespace tavrel::app
