// The window's way to the link's blocking steps: each runs on a device thread of its own while
// the UI thread carries on, and its outcome is posted back to the UI thread. It also remembers
// the unit's last answer to "is it held by an editor?", which the 0.1 s watch reads instead of
// asking the unit.
#pragma once

#include "device/LinkRunner.h"

#include <atomic>
#include <memory>
#include <thread>

namespace tavrel {
class CConnectionMgr;
}

namespace tavrel::app {

class DeviceSteps {
public:
    using Step = LinkRunner::Step;
    using Outcome = LinkRunner::Outcome;
    using Done = LinkRunner::Done;

    DeviceSteps(CConnectionMgr& link, LinkRunner::Poster postToUi);
    ~DeviceSteps();  // waits for the running step
    DeviceSteps(const DeviceSteps&) = delete;
    DeviceSteps& operator=(const DeviceSteps&) = delete;

    // False, and no callback, while another step runs.
    bool start(Step step, Done done);
    bool busy() const { return mBusy; }
    // The last answer to AskOccupied, or to a refused editor-mode request: 1 held, 0 free,
    // -1 not asked since the unit was plugged in.
    int lastHeld() const { return mLastHeld; }
    void forgetHeld() { mLastHeld = -1; }

private:
    Outcome run(Step step);

    CConnectionMgr& mLink;
    LinkRunner::Poster mPost;
    std::atomic<bool> mBusy{false};
    std::atomic<int> mLastHeld{-1};
    std::thread mThread;
};

}  // namespace tavrel::app
