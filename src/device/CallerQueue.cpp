#include "device/CallerQueue.h"

#include <utility>

namespace tavrel {

CallerQueue::Poster CallerQueue::poster() {
    return [this](Task task) {
        {
            std::lock_guard lock(mLock);
            mTasks.push_back(std::move(task));
        }
        mPosted.notify_all();
    };
}

std::deque<CallerQueue::Task> CallerQueue::take(bool wait) {
    std::deque<Task> tasks;
    std::unique_lock lock(mLock);
    if (wait) mPosted.wait(lock, [this] { return !mTasks.empty(); });
    tasks.swap(mTasks);
    return tasks;
}

int CallerQueue::drain() {
    auto tasks = take(false);
    // Run without the lock: a task may post again.
    for (auto& task : tasks) task();
    return static_cast<int>(tasks.size());
}

void CallerQueue::runUntil(const std::function<bool()>& done) {
    while (!done()) {
        // Every task taken runs, even once `done` holds: it was posted before the end.
        for (auto& task : take(true)) task();
    }
}

}  // namespace tavrel
