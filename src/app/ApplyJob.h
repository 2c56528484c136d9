// The writing of Apply and Apply All on a worker thread: the user pattern file, then (Apply
// All) every pattern's kit and tempo in each of the unit's 50 memories. It shares one atomic
// integer with its dialog: 0 and up while working (Apply All counts the memories done), then
// kDone, kNoVolume or kNotWritten. Alerts from the worker are shown on the UI thread and the
// worker waits for them before it sets the end value.
#pragma once

#include "files/PatternSnapshot.h"
#include "files/WriteReport.h"

#include <atomic>
#include <thread>
#include <vector>

namespace tavrel {
class Alerts;
}

namespace tavrel::app {

class ApplyJob {
public:
    static constexpr int kDone = -1;
    static constexpr int kNoVolume = -2;
    static constexpr int kNotWritten = -3;
    static constexpr int kMemories = 50;

    explicit ApplyJob(Alerts& alerts) : mAlerts(alerts) {}
    ~ApplyJob();  // waits for the worker
    ApplyJob(const ApplyJob&) = delete;
    ApplyJob& operator=(const ApplyJob&) = delete;

    // UI thread: takes what the worker writes from the collection, then starts it.
    void start(bool allMemories);
    int execCnt() const { return mExecCnt; }
    // The user pattern file holds what the collection held at start (its edits are saved).
    bool saved() const { return mSaved; }
    // What each file write did, the user pattern file first; read once the end value is set.
    const std::vector<WriteReport>& reports() const { return mReports; }

private:
    void execute(bool allMemories, const PatternSnapshot& snapshot);

    Alerts& mAlerts;
    std::atomic<int> mExecCnt{0};
    std::atomic<bool> mSaved{false};
    std::vector<WriteReport> mReports;  // the worker's until it sets the end value
    std::thread mThread;
};

}  // namespace tavrel::app
