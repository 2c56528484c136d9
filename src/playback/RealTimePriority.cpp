#include "playback/RealTimePriority.h"

#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>

#include <system_error>

namespace tavrel {

RealTimeOutcome requestRealTime(int priority) {
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    sched_param param{};
    param.sched_priority = priority;
    const int rc = pthread_setschedparam(pthread_self(), SCHED_FIFO, &param);
    if (rc != 0) return {false, priority, std::system_category().message(rc)};
    return {true, priority, {}};
}

}  // namespace tavrel
