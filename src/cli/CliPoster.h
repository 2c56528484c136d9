// The command-line tool's main thread, as MIDI needs one. The transport posts its main-thread
// work (the link's rescan when an endpoint comes or goes, transport errors) from its own
// threads; it waits here until the tool drains the queue between two steps of a command. A
// step that blocks (a wait for the unit) therefore never has the link's state rescanned under
// it; an endpoint change during a step takes effect before the next one.
#pragma once

#include "device/MidiLib.h"

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

private:
    std::mutex mLock;
    std::deque<std::function<void()>> mTasks;
};

}  // namespace tavrel::cli
