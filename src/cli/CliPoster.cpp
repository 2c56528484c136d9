#include "cli/CliPoster.h"

#include <utility>

namespace tavrel::cli {

MidiLib::MainThreadPoster CliPoster::poster() {
    return [this](std::function<void()> task) {
        std::lock_guard lock(mLock);
        mTasks.push_back(std::move(task));
    };
}

int CliPoster::drain() {
    std::deque<std::function<void()>> tasks;
    {
        std::lock_guard lock(mLock);
        tasks.swap(mTasks);
    }
    // Run without the lock: a task may post again.
    for (auto& task : tasks) task();
    return static_cast<int>(tasks.size());
}

}  // namespace tavrel::cli
