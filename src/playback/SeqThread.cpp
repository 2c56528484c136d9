#include "playback/SeqThread.h"

#include "playback/ClockThread.h"
#include "playback/RealTimePriority.h"

#include <utility>

namespace tavrel {

SeqThread::SeqThread(std::function<void()> playTick) : mPlayTick(std::move(playTick)) {}

SeqThread::~SeqThread() {
    {
        std::lock_guard lock(myTickLock);
        mQuit = true;
    }
    myCond.notify_one();
    if (myThread.joinable()) myThread.join();
}

void SeqThread::start() {
    std::lock_guard lock(myTickLock);
    if (myThread.joinable()) return;
    myThread = std::thread([this] { threadLoop(); });
}

bool SeqThread::started() const {
    std::lock_guard lock(myTickLock);
    return myThread.joinable();
}

void SeqThread::tickSignal() {
    {
        std::lock_guard lock(myTickLock);
        ++mTickCnt;
    }
    myCond.notify_one();
}

void SeqThread::waitIdle() {
    std::unique_lock lock(myTickLock);
    mIdle.wait(lock, [this] { return mTickCnt == 0 || mQuit; });
}

void SeqThread::threadLoop() {
    // Notes go out from here, so the wake after the clock's tick must be as prompt as the
    // clock's own; just below the clock, which must never wait for a burst of notes. Refused
    // like the clock's, and the clock has said so.
    (void)requestRealTime(ClockThread::kPriority - 1);
    std::unique_lock lock(myTickLock);
    for (;;) {
        myCond.wait(lock, [this] { return mTickCnt > 0 || mQuit; });
        if (mQuit) break;
        while (mTickCnt > 0 && !mQuit) {
            lock.unlock();
            mPlayTick();
            lock.lock();
            --mTickCnt;
        }
        if (mTickCnt == 0) mIdle.notify_all();
    }
    mIdle.notify_all();
}

}  // namespace tavrel
