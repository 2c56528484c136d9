// The program's process objects, made in the current Context in start-up order: the UI-thread
// poster and the alerts first (everything below may use them), then the MIDI and volume
// services (with the simulated unit plugged in before the transport's first scan), the MIDI
// transport, the preview sequencer that plays through it, the waiter, the device link and the
// device thread, and the built-in synthesizer. The Context ends them in reverse order.
//
// Without an ALSA sequencer there is no link: problem() says why, and the program still runs
// for import, export and MIDI files.
#pragma once

#include "app/AppOptions.h"

#include <QObject>
#include <QString>

#include <memory>

namespace tavrel {
class CConnectionMgr;
class CSeqSim;
class CXMLFile;
class LinkRunner;
class MidiLib;
class MidiService;
class Timeline;
class ThreadWaiter;
class VolumeService;
namespace sim {
class SimulatedUnit;
}
}  // namespace tavrel

namespace tavrel::app {

class QtAlerts;
class SynthOutput;

class AppSession {
public:
    // Main thread, with a QApplication and a Context.
    explicit AppSession(const AppOptions& options);
    ~AppSession();
    AppSession(const AppSession&) = delete;
    AppSession& operator=(const AppSession&) = delete;

    QtAlerts& alerts() { return *mAlerts; }
    CSeqSim* sequencer() { return mSeq; }
    MidiLib* midi() { return mMidi; }
    CConnectionMgr* link() { return mLink; }  // null without a sequencer
    LinkRunner* steps() { return mSteps; }    // the device thread; null with the link
    sim::SimulatedUnit* simulatedUnit() { return mUnit; }
    // The built-in synthesizer the preview may play through instead of MIDI.
    SynthOutput& synthOutput() { return *mSynth; }
    // Why no unit can be reached, for the window; empty when the link exists.
    const QString& problem() const { return mProblem; }
    // "QL-900" or "QL-414XE3" while a unit is connected, else empty.
    QString unitName() const;

    // The unit's settings files, read afresh after each load; null before the first.
    CXMLFile* settings() { return mSettings.get(); }
    void rereadSettings();
    void forgetSettings();

private:
    void openSimulated(const AppOptions& options);
    void openDesktop(const AppOptions& options);
    // The transport, sequencer, waiter, link and device thread on top of the services.
    void openLink(MidiService& midi, VolumeService& volumes, Timeline& timeline);

    QObject* mPostTarget = nullptr;  // queued calls to the UI thread land here
    QtAlerts* mAlerts = nullptr;
    sim::SimulatedUnit* mUnit = nullptr;
    MidiLib* mMidi = nullptr;
    CSeqSim* mSeq = nullptr;
    ThreadWaiter* mWaiter = nullptr;  // made early on a manual clock, else with the link
    CConnectionMgr* mLink = nullptr;
    LinkRunner* mSteps = nullptr;
    SynthOutput* mSynth = nullptr;
    std::unique_ptr<CXMLFile> mSettings;
    QString mProblem;
};

}  // namespace tavrel::app
