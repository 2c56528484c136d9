// The preview's tick clock: 96 ticks a quarter note, counted from whole milliseconds of wall
// time. A tick lasts 625 / tempo ms, which no whole number of milliseconds matches, so the
// thresholds are counted from the start of a 625 ms cycle (the length of `tempo` ticks) and
// the truncation of one threshold never carries into the next. The clock thread polls it
// every millisecond; a poll that comes late steps every whole millisecond it missed and keeps
// the rest for the next poll, so a late wake shifts ticks but never loses or adds one.
//
// Threads: polled on the clock thread, started, stopped and retimed from the main thread and
// the sequencer thread. Every operation takes one lock; onTick runs under it, so once
// tickClockStop has returned every tick the clock raised has been handed on.
#pragma once

#include "playback/ClockSource.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>

namespace tavrel {

class TickClock {
public:
    // `onTick` is called once per raised tick, on the thread that steps the clock, with the
    // clock's lock held: it must not call back into this clock. `source` must outlive it.
    TickClock(const ClockSource& source, std::function<void()> onTick);
    TickClock(const TickClock&) = delete;
    TickClock& operator=(const TickClock&) = delete;

    // Starting takes the wall time from here on; the counters keep their values, so a clock
    // stopped mid-cycle goes on from the same point.
    void tickClockStart();
    void tickClockStop();
    // Steps once for every whole millisecond of wall time since the last step. While
    // stopped it only follows the wall time, so a restart does not catch up the pause.
    void tickClockPoll();
    // One millisecond; raises a tick when its threshold is reached.
    void tickClockStep();
    // A new tempo (quarter notes a minute) restarts the cycle at the next tick. Returns
    // whether a restart is pending.
    bool tickClockSetTempo(std::uint32_t tempo);
    // Starts the cycle afresh at the next tick; `defaultTempo` also sets 120.
    void tickClockReset(bool defaultTempo = false);
    // Ticks raised since the last call. The sequencer counts its own; this count is for
    // whoever wants to know how far the clock has gone.
    std::uint32_t tickClockTakePending();

    bool running() const;
    std::uint32_t tempo() const;
    // While running, the wall time (us) at which the next millisecond step falls due. A
    // poller that wakes then steps each millisecond as it falls due rather than up to a
    // whole millisecond later, as a grid of its own would, out of phase with the start.
    std::optional<std::int64_t> nextStepAt() const;

private:
    void stepLocked();

    const ClockSource& mSource;
    const std::function<void()> mOnTick;
    mutable std::mutex mLock;
    std::uint32_t mMilliseconds = 0;  // since the cycle began
    std::uint32_t mTickIndex = 0;     // ticks raised in this cycle
    std::uint32_t mPending = 0;
    std::uint32_t mNextThreshold = 0;  // ms count at which the next tick is due
    bool mRestart = false;
    std::uint32_t mTempo = 0;
    bool mRunning = false;
    std::int64_t mLastTime = 0;  // wall time (us) up to which the clock has stepped
};

}  // namespace tavrel
