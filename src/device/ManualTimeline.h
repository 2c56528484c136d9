// Virtual time for tests. It stands still until whoever waits on it moves it on with
// advanceTo; then the work handed to `after` runs as its due time is passed, in due order, on
// a worker thread of this timeline, as late replies do on the program's timer thread. A test
// of a 25 s time-out therefore takes no real time and always sees the same order of events.
#pragma once

#include "device/Timeline.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace tavrel {

class ManualTimeline : public Timeline {
public:
    ManualTimeline();
    // Work not yet due is dropped.
    ~ManualTimeline() override;
    ManualTimeline(const ManualTimeline&) = delete;
    ManualTimeline& operator=(const ManualTimeline&) = delete;

    Clock::time_point now() const override;
    // Safe from any thread, the worker's own work included; work due at the same moment runs
    // in the order it was handed in.
    void after(std::chrono::milliseconds delay, std::function<void()> fn) override;

    // When the earliest work not yet run is due; nothing when there is none.
    std::optional<Clock::time_point> nextDue() const;
    // Moves time on to `until` (never back), running every piece of work due by then, that
    // handed in by the work itself included, and returns once the last has finished. Time
    // stands at each piece's due time while it runs. One thread at a time.
    void advanceTo(Clock::time_point until);
    // How far time has moved since this timeline was made.
    Clock::duration elapsed() const { return now() - kStart; }

private:
    // Any fixed point will do; this one keeps tests' printed times small.
    static constexpr Clock::time_point kStart{};

    void runOnWorker(std::function<void()> fn, std::unique_lock<std::mutex>& lock);
    void work();

    mutable std::mutex mLock;
    std::condition_variable mChanged;
    Clock::time_point mNow = kStart;
    std::multimap<Clock::time_point, std::function<void()>> mDue;
    std::function<void()> mHandedOver;  // the work the worker is to run next
    bool mWorkerBusy = false;           // from handing work over until it has run
    bool mStop = false;
    std::thread mWorker;  // last: starts once everything it uses exists
};

}  // namespace tavrel
