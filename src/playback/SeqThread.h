// The sequencer thread and the count of ticks waiting for it. The clock adds ticks; the
// thread plays them one by one. The count, not the wake-up, carries the work: ticks raised
// while the thread is busy are played when it gets to them, none is lost and none played
// twice.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace tavrel {

class SeqThread {
public:
    // `playTick` runs on the thread, once per tick, in order.
    explicit SeqThread(std::function<void()> playTick);
    // Ticks still waiting are dropped.
    ~SeqThread();
    SeqThread(const SeqThread&) = delete;
    SeqThread& operator=(const SeqThread&) = delete;

    // Starts the thread; later calls do nothing. Ticks counted before are played then.
    void start();
    bool started() const;
    // One more tick to play. Cheap and never blocks for long: the clock thread calls it.
    void tickSignal();
    // Returns once every tick counted so far has been played. Only while the thread runs.
    void waitIdle();

private:
    void threadLoop();

    const std::function<void()> mPlayTick;
    mutable std::mutex myTickLock;
    std::condition_variable myCond;  // ticks to play, or the end
    std::condition_variable mIdle;   // the count went to zero
    std::int32_t mTickCnt = 0;
    bool mQuit = false;
    std::thread myThread;
};

}  // namespace tavrel
