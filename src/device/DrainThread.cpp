#include "device/DrainThread.h"

#include <utility>

namespace tavrel {

DrainThread::DrainThread(std::function<void()> job)
    : mJob(std::move(job)), mThread([this] { run(); }) {}

DrainThread::~DrainThread() {
    mStop.store(true);
    if (!mPending.exchange(true)) mWakeUp.release();
    mThread.join();
}

void DrainThread::wake() {
    if (!mPending.exchange(true, std::memory_order_acq_rel)) mWakeUp.release();
}

void DrainThread::run() {
    for (;;) {
        mWakeUp.acquire();
        mBusy.store(true);
        // Taking the flag before the job runs means a wake during the job releases again,
        // and the exchange makes what the waker wrote before waking visible to the job.
        mPending.exchange(false, std::memory_order_acq_rel);
        if (mStop.load()) return;
        mJob();
        mBusy.store(false);
        mBusy.notify_all();
    }
}

void DrainThread::waitIdle() {
    for (;;) {
        // mPending first: the worker raises mBusy before it lowers mPending.
        const bool pending = mPending.load();
        const bool busy = mBusy.load();
        if (!pending && !busy) return;
        if (busy) {
            mBusy.wait(true);
        } else {
            std::this_thread::yield();  // woken, about to start
        }
    }
}

}  // namespace tavrel
