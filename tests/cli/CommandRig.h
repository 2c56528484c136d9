// What the command tests share: a scratch folder (which takes the backups too), the command's
// output and errors, and a silenced log, which says thousands of lines a run.
#pragma once

#include "cli/Command.h"
#include "model/Log.h"
#include "support/ScratchFolder.h"

#include <pthread.h>
#include <signal.h>

#include <sstream>
#include <string>

namespace tavrel::test {

using Command = int (*)(const cli::Args&, cli::CommandIo);

// Ctrl-C pressed before the command starts: SIGINT waits, blocked on this thread, for the
// command to take it. The mask is put back when this goes.
class PendingCtrlC {
public:
    PendingCtrlC() {
        sigset_t interrupt;
        sigemptyset(&interrupt);
        sigaddset(&interrupt, SIGINT);
        pthread_sigmask(SIG_BLOCK, &interrupt, &mPrevious);
        pthread_kill(pthread_self(), SIGINT);
    }
    ~PendingCtrlC() { pthread_sigmask(SIG_SETMASK, &mPrevious, nullptr); }
    PendingCtrlC(const PendingCtrlC&) = delete;
    PendingCtrlC& operator=(const PendingCtrlC&) = delete;

private:
    sigset_t mPrevious{};
};

class CommandRig {
public:
    CommandRig() {
        Log::setSink([](std::string_view, std::string_view) {});
    }
    ~CommandRig() { Log::setSink({}); }
    CommandRig(const CommandRig&) = delete;
    CommandRig& operator=(const CommandRig&) = delete;

    // Runs `command` with fresh output and errors.
    int run(Command command, const cli::Args& args) {
        out.str("");
        err.str("");
        return command(args, {out, err});
    }

    ScratchFolder dir;
    std::ostringstream out;
    std::ostringstream err;
};

}  // namespace tavrel::test
