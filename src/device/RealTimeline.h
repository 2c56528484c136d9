// The program's timeline: the steady clock, with delayed work run on a timer thread of its
// own, so that a late reply never runs on the thread that asked for it.
#pragma once

#include "device/Timeline.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace tavrel {

class RealTimeline : public Timeline {
public:
    RealTimeline();
    // Stops the timer thread after the work it is running; work not yet due is dropped, so
    // whatever it would have touched may go with this object.
    ~RealTimeline() override;
    RealTimeline(const RealTimeline&) = delete;
    RealTimeline& operator=(const RealTimeline&) = delete;

    Clock::time_point now() const override { return Clock::now(); }
    // Safe from any thread, the timer thread's own work included. Work due at the same
    // moment runs in the order it was handed in.
    void after(std::chrono::milliseconds delay, std::function<void()> fn) override;

private:
    void run();

    std::mutex mLock;
    std::condition_variable mChanged;
    std::multimap<Clock::time_point, std::function<void()>> mDue;
    bool mStop = false;
    std::thread mTimer;  // last: starts once everything it uses exists
};

}  // namespace tavrel
