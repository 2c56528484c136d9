// The thread that starts the link's steps, for a program without an event loop (the
// command-line tool, tests): the transport's main-thread work and the ends of the device
// thread's steps are posted here from any thread and run when that thread drains the queue,
// between two steps or while it waits for one to end.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace tavrel {

class CallerQueue {
public:
    using Task = std::function<void()>;
    using Poster = std::function<void(Task)>;

    // Queues tasks here, from any thread. The queue must outlive whoever holds the poster.
    Poster poster();
    // Runs the tasks queued so far, oldest first, on the calling thread; returns how many ran.
    int drain();
    // Runs tasks as they come, oldest first, until `done` holds. `done` is asked on the
    // calling thread, before the first task and after every batch.
    void runUntil(const std::function<bool()>& done);

private:
    std::deque<Task> take(bool wait);

    std::mutex mLock;
    std::condition_variable mPosted;
    std::deque<Task> mTasks;
};

}  // namespace tavrel
