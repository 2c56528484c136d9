// What a command needs to talk to the unit, and the steps it is built from.
//
// open() makes the objects in the current Context, in the program's start-up order, so that
// they outlive the link: the MIDI and volume services, the timeline, the simulated unit when
// there is one (its endpoints exist before the transport looks for them), the transport with
// the tool's main-thread queue, the waiter, the alerts, the link itself and the device thread
// that runs its steps. The Context ends them in reverse order.
//
// Every step runs on the link's device thread, as on the desktop; the tool's thread waits for
// the step's end in its queue, running the endpoint changes posted meanwhile. The link's
// "held" state starts as "no report yet", so every step that takes the unit asks first
// whether another editor holds it. Failures are shown as alerts, once each: the link's own,
// or the reason the link gives where a step fails without a word. The tool's thread only.
#pragma once

#include "cli/RecordedAlerts.h"
#include "cli/UnitOptions.h"
#include "device/LinkRunner.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>

namespace tavrel {
class CConnectionMgr;
namespace sim {
class SimulatedUnit;
}
}  // namespace tavrel

namespace tavrel::cli {

class CliPoster;

class UnitSession {
public:
    // Null, having said why in one line on `err`, when no unit can be reached the way the
    // options say: the computer has no ALSA sequencer, or the simulated unit did not start.
    static std::unique_ptr<UnitSession> open(const UnitOptions& options, std::ostream& err);

    CConnectionMgr& link() { return mLink; }
    // The unit simulated in this process, or null.
    sim::SimulatedUnit* simulatedUnit() { return mUnit; }
    const RecordedAlerts& alerts() const { return mAlerts; }
    // "QL-900" or "QL-414XE3" as the link recognised it; empty while no unit is connected.
    std::string modelName() const;

    // Asks the unit whether an editor (this program included) holds it; `held` is the answer.
    // False when the unit did not answer in time, which the link shows as an alert, or went
    // while asked.
    bool askHeld(bool& held);
    // The load sequence: editor mode, the storage mounted, the kit names and the user
    // patterns read into the Context. The unit stays in editor mode; see release().
    bool load();
    // Editor mode and the storage mounted, nothing read: the unit's files ready to be written.
    bool openStorage();
    // openStorage, and the Context's patterns written over the unit's RHYTHM.QL0 (the file it
    // replaces is backed up first).
    bool store();
    // Ends the editor mode a step started, which gives the storage back to the unit. True
    // when there was none to end.
    bool release();
    // Ends the wait of the step under way at once; from any thread.
    void cancel() { mRunner.cancel(); }
    // The user asked to stop; from any thread. The step under way is cancelled and no step
    // starts after it, save release(), which is never cancelled this way: the unit is still
    // let go.
    void interrupt();

    // How long the last load sequence took.
    std::chrono::microseconds loadTime() const { return mLoadTime; }

private:
    UnitSession(CliPoster& poster, CConnectionMgr& link, LinkRunner& runner, RecordedAlerts& alerts,
                sim::SimulatedUnit* unit)
        : mPoster(poster), mLink(link), mRunner(runner), mAlerts(alerts), mUnit(unit) {}

    // Runs what MIDI posted for the main thread; called between steps.
    void drain();
    // Runs `step` on the device thread and waits for its end; a failure the link did not
    // alert is alerted with the link's reason.
    LinkRunner::Outcome run(LinkRunner::Step step);
    // A connected unit that has answered whether another editor holds it; taking a held unit
    // is then refused, with its alert, by the link.
    bool readyToTake();

    CliPoster& mPoster;
    CConnectionMgr& mLink;
    LinkRunner& mRunner;
    RecordedAlerts& mAlerts;
    sim::SimulatedUnit* mUnit;
    std::chrono::microseconds mLoadTime{0};
    std::mutex mStepLock;  // a step's start against interrupt()
    bool mInterrupted = false;
    bool mReleasing = false;  // the step last started lets the unit go
};

}  // namespace tavrel::cli
