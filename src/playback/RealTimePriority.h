// Real-time scheduling for the preview's threads. At normal priority a 1 ms absolute sleep
// wakes p99 within 0.5-1.2 ms on these machines, as late as a whole tick at fast tempos;
// under SCHED_FIFO within 60-70 us. Refusal is normal (no CAP_SYS_NICE, no rtprio limit) and
// the preview then plays at normal priority.
#pragma once

#include <string>

namespace tavrel {

struct RealTimeOutcome {
    bool granted = false;
    int priority = 0;
    std::string reason;  // why it was refused; empty when granted
};

// Asks for SCHED_FIFO at `priority` for the calling thread and the least timer slack (1 ns),
// so that its absolute sleeps are not rounded up to the default 50 us.
RealTimeOutcome requestRealTime(int priority);

}  // namespace tavrel
