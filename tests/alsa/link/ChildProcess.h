// A program run by a test as a process of its own. Its stdout and stderr are read as they
// come, line by line, each line stamped with the steady-clock time it arrived, so that a test
// can wait for a line and tell how late it came. The process is killed when the object goes.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tavrel::test {

class ChildProcess {
public:
    using Clock = std::chrono::steady_clock;
    enum class Stream { Out, Err };
    struct Line {
        Clock::time_point at;
        std::string text;
    };

    // Starts `argv` (argv[0] a path) with this process's environment plus `extraEnv`
    // ("NAME=value"), stdin from /dev/null. started() tells whether it ran.
    explicit ChildProcess(std::vector<std::string> argv, std::vector<std::string> extraEnv = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool started() const { return mPid > 0; }
    // The first line of `stream` containing `text`, waiting up to `timeout` for it.
    std::optional<Line> waitForLine(Stream stream, std::string_view text,
                                    std::chrono::milliseconds timeout);
    // The exit code (128 + signal when killed by one) once the process has ended and its
    // output is read; nothing if it still runs after `timeout`.
    std::optional<int> wait(std::chrono::milliseconds timeout);
    // Sends `signal` unless the process has already ended.
    void kill(int signal);

    std::string text(Stream stream) const;
    // While it runs, each of its threads with the kernel function it waits in: what a test
    // shows when the process does not end.
    std::string threads() const;
    // When the process was seen to end; valid once wait() returned a code.
    Clock::time_point endedAt() const;

private:
    void readOutput(int outFd, int errFd);
    void append(Stream stream, std::string_view bytes);
    void reap();

    mutable std::mutex mLock;
    std::condition_variable mChanged;
    pid_t mPid = -1;
    bool mEnded = false;
    int mCode = -1;
    Clock::time_point mEndedAt;
    std::string mPartial[2];
    std::vector<Line> mLines[2];
    std::thread mReader;
};

}  // namespace tavrel::test
