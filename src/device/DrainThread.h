// One worker thread that runs a job whenever it is woken. Wakes that arrive while the job
// runs fold into one further run, so runs never overlap and none is missed; waking takes no
// lock and allocates nothing, so the MIDI service's thread can do it for every block.
#pragma once

#include <atomic>
#include <functional>
#include <semaphore>
#include <thread>

namespace tavrel {

class DrainThread {
public:
    explicit DrainThread(std::function<void()> job);
    // Waits for a run in progress, then stops the thread. Bytes still waiting are not drained.
    ~DrainThread();
    DrainThread(const DrainThread&) = delete;
    DrainThread& operator=(const DrainThread&) = delete;

    // From any thread.
    void wake();
    // Returns once no run is due or under way: everything woken for so far has been done.
    // For a writer whose ring is full, and for tests on a manual clock, which must let replies
    // land before time moves on.
    void waitIdle();

private:
    void run();

    std::function<void()> mJob;
    // Set by wake() until the worker takes it; only the wake that sets it releases the
    // semaphore, which therefore never counts past one.
    std::atomic<bool> mPending{false};
    std::atomic<bool> mStop{false};
    // Raised before the worker takes mPending and lowered after the job, so that a run in
    // progress is always seen through one of the two.
    std::atomic<bool> mBusy{false};
    std::binary_semaphore mWakeUp{0};
    std::thread mThread;  // last: starts once everything it uses exists
};

}  // namespace tavrel
