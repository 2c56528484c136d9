// tavrel-cli as a test runs it: as a process of its own, to its end or in the background.
#pragma once

#include "alsa/link/ChildProcess.h"

#include <chrono>
#include <csignal>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace tavrel::test {

class TavrelCli {
public:
    struct Result {
        int code = -1;  // -1: still running at the limit, and killed
        std::string out;
        std::string err;
        std::chrono::milliseconds took{0};
    };

    static std::unique_ptr<ChildProcess> start(const std::vector<std::string>& args) {
        std::vector<std::string> argv{TAVREL_CLI};
        argv.insert(argv.end(), args.begin(), args.end());
        return std::make_unique<ChildProcess>(std::move(argv));
    }

    // Runs `tavrel-cli args...` and waits up to `limit` for it to end.
    static Result run(const std::vector<std::string>& args,
                      std::chrono::seconds limit = std::chrono::seconds(40)) {
        const auto begin = ChildProcess::Clock::now();
        const auto process = start(args);
        const auto code = process->wait(limit);
        if (!code) {
            process->kill(SIGKILL);
            process->wait(limit);
        }
        const auto end = code ? process->endedAt() : ChildProcess::Clock::now();
        return {code.value_or(-1), process->text(ChildProcess::Stream::Out),
                process->text(ChildProcess::Stream::Err),
                std::chrono::duration_cast<std::chrono::milliseconds>(end - begin)};
    }
};

// For assertion messages: the exit code and both streams.
inline std::ostream& operator<<(std::ostream& out, const TavrelCli::Result& result) {
    return out << "exit " << result.code << " after " << result.took.count() << " ms\nstdout:\n"
               << result.out << "stderr:\n"
               << result.err;
}

}  // namespace tavrel::test
