// The command-line tool's main thread, as MIDI and the device thread need one. The transport
// posts its main-thread work (the link's rescan when an endpoint comes or goes, transport
// errors) and the device thread the end of each step; they wait here until the tool drains
// the queue, between two steps or while it waits for a step to end. An endpoint change during
// a step therefore takes effect on the tool's thread, as on the desktop's.
#pragma once

#include "device/MidiLib.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace tavrel::cli {

class CliPoster {
public:
    // Queues tasks here, from any thread. The queue must outlive whoever holds the poster.
    MidiLib::MainThreadPoster poster();
    // Runs the tasks queued so far, oldest first, on the calling thread; returns how many ran.
    int drain();
    // Runs tasks as they come, oldest first, until `done` holds after one of them. `done` is
    // asked on the calling thread, before the first and after every task.
    void runUntil(const std::function<bool()>& done);

private:
    std::deque<std::function<void()>> take(bool wait);

    std::mutex mLock;
    std::condition_variable mPosted;
    std::deque<std::function<void()>> mTasks;
};

}  // namespace tavrel::cli
