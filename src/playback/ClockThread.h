// The preview's clock thread: wakes at absolute 1 ms deadlines on CLOCK_MONOTONIC and polls
// the tick clock, which raises the ticks and wakes the sequencer. The deadlines are the tick
// clock's own millisecond steps, so the grid stays fixed however long a poll took and in
// phase with the start of play; a late wake is made good by the tick clock's catch-up, not
// by this thread. The clock must count CLOCK_MONOTONIC microseconds.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

namespace tavrel {

class TickClock;

class ClockThread {
public:
    // SCHED_FIFO priority of the clock; the sequencer thread runs one below it.
    static constexpr int kPriority = 20;

    // Starts polling `clock` at once and returns when the thread has asked for real-time
    // scheduling. `clock` must outlive this object.
    explicit ClockThread(TickClock& clock);
    // Returns once the thread has ended, at most one millisecond later.
    ~ClockThread();
    ClockThread(const ClockThread&) = delete;
    ClockThread& operator=(const ClockThread&) = delete;

    // Whether the thread got SCHED_FIFO.
    bool realTime() const { return mRealTime.load(); }

private:
    void run();
    void schedule();

    TickClock& mClock;
    std::atomic<bool> mStop{false};
    std::atomic<bool> mRealTime{false};
    std::atomic<bool> mScheduled{false};
    std::thread mThread;  // last: starts once everything it uses exists
};

}  // namespace tavrel
