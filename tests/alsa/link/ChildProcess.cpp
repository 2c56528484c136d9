#include "alsa/link/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>

namespace tavrel::test {

namespace {

std::size_t index(ChildProcess::Stream stream) {
    return stream == ChildProcess::Stream::Out ? 0 : 1;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> p;
    p.reserve(strings.size() + 1);
    for (std::string& s : strings) p.push_back(s.data());
    p.push_back(nullptr);
    return p;
}

std::vector<std::string> environment(std::vector<std::string> extra) {
    std::vector<std::string> all;
    for (char** e = environ; *e != nullptr; ++e) all.emplace_back(*e);
    all.insert(all.end(), extra.begin(), extra.end());
    return all;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> argv, std::vector<std::string> extraEnv) {
    std::array<int, 2> out{-1, -1};
    std::array<int, 2> err{-1, -1};
    // Close-on-exec: the child keeps only the ends dup2 gives it, so its exit closes them.
    if (::pipe2(out.data(), O_CLOEXEC) != 0 || ::pipe2(err.data(), O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    std::vector<std::string> env = environment(std::move(extraEnv));
    const auto args = pointers(argv);
    const auto envp = pointers(env);
    pid_t pid = -1;
    const int failed = ::posix_spawn(&pid, args[0], &actions, nullptr, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    ::close(err[1]);
    if (failed != 0) {
        ::close(out[0]);
        ::close(err[0]);
        return;
    }
    mPid = pid;
    mReader = std::thread([this, o = out[0], e = err[0]] { readOutput(o, e); });
}

ChildProcess::~ChildProcess() {
    kill(SIGKILL);
    if (mReader.joinable()) mReader.join();
}

void ChildProcess::readOutput(int outFd, int errFd) {
    std::array<pollfd, 2> fds{{{outFd, POLLIN, 0}, {errFd, POLLIN, 0}}};
    char buffer[4096];
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        if (::poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) break;
        for (std::size_t i = 0; i < fds.size(); ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                append(i == 0 ? Stream::Out : Stream::Err,
                       std::string_view(buffer, static_cast<std::size_t>(n)));
            } else if (n == 0 || errno != EINTR) {
                ::close(fds[i].fd);
                fds[i].fd = -1;  // poll ignores it from now on
            }
        }
    }
    reap();
}

void ChildProcess::append(Stream stream, std::string_view bytes) {
    const auto now = Clock::now();
    std::lock_guard lock(mLock);
    std::string& partial = mPartial[index(stream)];
    partial.append(bytes);
    for (std::size_t end; (end = partial.find('\n')) != std::string::npos;) {
        mLines[index(stream)].push_back({now, partial.substr(0, end)});
        partial.erase(0, end + 1);
    }
    mChanged.notify_all();
}

// Waits for the end without reaping, so that kill() can never hit a recycled pid: the pid
// stays the child's until it is reaped under the lock.
void ChildProcess::reap() {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(mPid), &info, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    std::lock_guard lock(mLock);
    int status = 0;
    ::waitpid(mPid, &status, 0);
    mCode = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    mEnded = true;
    mEndedAt = Clock::now();
    for (std::size_t i = 0; i < 2; ++i) {
        if (!mPartial[i].empty()) mLines[i].push_back({mEndedAt, mPartial[i]});
        mPartial[i].clear();
    }
    mChanged.notify_all();
}

std::optional<ChildProcess::Line> ChildProcess::waitForLine(Stream stream, std::string_view text,
                                                            std::chrono::milliseconds timeout) {
    std::unique_lock lock(mLock);
    std::optional<Line> found;
    const auto& lines = mLines[index(stream)];
    mChanged.wait_for(lock, timeout, [&] {
        const auto it = std::find_if(lines.begin(), lines.end(), [&](const Line& l) {
            return l.text.find(text) != std::string::npos;
        });
        if (it != lines.end()) found = *it;
        return found.has_value() || mEnded || mPid <= 0;
    });
    return found;
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds timeout) {
    if (mPid <= 0) return 127;
    std::unique_lock lock(mLock);
    if (!mChanged.wait_for(lock, timeout, [this] { return mEnded; })) return std::nullopt;
    return mCode;
}

void ChildProcess::kill(int signal) {
    std::lock_guard lock(mLock);
    if (mPid > 0 && !mEnded) ::kill(mPid, signal);
}

std::string ChildProcess::text(Stream stream) const {
    std::lock_guard lock(mLock);
    std::string all;
    for (const Line& line : mLines[index(stream)]) all += line.text + '\n';
    return all + mPartial[index(stream)];
}

std::string ChildProcess::threads() const {
    std::lock_guard lock(mLock);
    std::string all;
    if (mPid <= 0 || mEnded) return all;
    std::error_code ec;
    const std::filesystem::path tasks = "/proc/" + std::to_string(mPid) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks, ec)) {
        std::string name;
        std::string waitingIn;
        std::getline(std::ifstream(task.path() / "comm"), name);
        std::getline(std::ifstream(task.path() / "wchan"), waitingIn);
        all += task.path().filename().string() + " " + name + ": " + waitingIn + '\n';
    }
    return all;
}

ChildProcess::Clock::time_point ChildProcess::endedAt() const {
    std::lock_guard lock(mLock);
    return mEndedAt;
}

}  // namespace tavrel::test
