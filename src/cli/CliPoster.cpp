#include "cli/CliPoster.h"

#include <utility>

namespace tavrel::cli {

MidiLib::MainThreadPoster CliPoster::poster() {
    return [this](std::function<void()> task) {
        {
            std::lock_guard lock(mLock);
            mTasks.push_back(std::move(task));
        }
        mPosted.notify_all();
    };
}

std::deque<std::function<void()>> CliPoster::take(bool wait) {
    std::deque<std::function<void()>> tasks;
    std::unique_lock lock(mLock);
    if (wait) mPosted.wait(lock, [this] { return !mTasks.empty(); });
    tasks.swap(mTasks);
    return tasks;
}

int CliPoster::drain() {
    auto tasks = take(false);
    // Run without the lock: a task may post again.
    for (auto& task : tasks) task();
    return static_cast<int>(tasks.size());
}

void CliPoster::runUntil(const std::function<bool()>& done) {
    while (!done()) {
        auto tasks = take(true);
        // Each runs, even after `done` holds: what was posted before is older than the end.
        for (auto& task : tasks) task();
    }
}

}  // namespace tavrel::cli
