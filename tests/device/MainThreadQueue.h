// Stands in for the desktop's event loop: MidiLib posts its main-thread tasks here from any
// thread, and the test runs them on its own thread when it chooses.
#pragma once

#include "device/MidiLib.h"

#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace tavrel::test {

class MainThreadQueue {
public:
    MidiLib::MainThreadPoster poster() {
        return [this](std::function<void()> task) {
            std::lock_guard lock(mLock);
            mTasks.push_back(std::move(task));
        };
    }

    // Runs the tasks posted so far, oldest first; returns how many ran.
    int runAll() {
        std::deque<std::function<void()>> tasks;
        {
            std::lock_guard lock(mLock);
            tasks.swap(mTasks);
        }
        for (auto& task : tasks) task();
        return static_cast<int>(tasks.size());
    }

private:
    std::mutex mLock;
    std::deque<std::function<void()>> mTasks;
};

}  // namespace tavrel::test
