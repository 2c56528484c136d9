// Runs one file write in a child process that permissions bind (dropped to "nobody" when the
// tests run as root) or that has a mount namespace of its own, and brings its report back.
// Permissions and small file systems cannot be tried otherwise by a root test process.
#pragma once

#include "files/AtomicFileWriter.h"

#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <sstream>
#include <string>

namespace tavrel::test {

struct ChildReport {
    std::string skipped;  // why the child could not do what was asked
    WriteReport report;
};

// `prepare` runs in the child before the write and returns an empty string or why it cannot.
// The child sends one line each: that reason, whether it went well and whether in place as
// digits, the error, the backup and why there is none.
inline ChildReport writeInChild(const std::function<std::string()>& prepare,
                                const std::function<WriteReport()>& write) {
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return {"no pipe", {}};
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(pipeFds[0]);
        const std::string skipped = prepare();
        const WriteReport r = skipped.empty() ? write() : WriteReport{};
        const std::string text = skipped + '\n' + std::to_string(r.ok) + std::to_string(r.inPlace) +
                                 '\n' + r.error + '\n' + r.backup.string() + '\n' + r.noBackup;
        const ssize_t n = ::write(pipeFds[1], text.data(), text.size());
        ::_exit(n == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    ::close(pipeFds[1]);
    std::string text;
    char buf[4096];
    for (ssize_t n; (n = ::read(pipeFds[0], buf, sizeof buf)) > 0;) text.append(buf, n);
    ::close(pipeFds[0]);
    ::waitpid(pid, nullptr, 0);
    std::istringstream in(text);
    ChildReport child;
    std::string flags, backup;
    std::getline(in, child.skipped);
    std::getline(in, flags);
    std::getline(in, child.report.error);
    std::getline(in, backup);
    std::getline(in, child.report.noBackup);
    if (flags.size() != 2) return {"the child died", {}};
    child.report.ok = flags[0] == '1';
    child.report.inPlace = flags[1] == '1';
    child.report.backup = backup;
    return child;
}

// For the child: root gives up its rights to "nobody"; a user without them keeps what it has.
inline std::string dropToNobody() {
    if (::geteuid() != 0) return {};
    if (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0) {
        return "cannot drop to an unprivileged user";
    }
    return {};
}

// For the child: a tmpfs of `size` at `where`, seen by this process alone.
inline std::string mountTmpfs(const std::string& where, const std::string& size) {
    if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return "no mount namespace of its own";
    }
    ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    if (::mount("tmpfs", where.c_str(), "tmpfs", 0, ("size=" + size).c_str()) != 0) {
        return "mounting a tmpfs is not permitted here";
    }
    return {};
}

}  // namespace tavrel::test
