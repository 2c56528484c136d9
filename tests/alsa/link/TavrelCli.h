// tavrel-cli as a test runs it: as a process of its own, to its end or in the background.
#pragma once

#include "alsa/link/ChildProcess.h"

#include <chrono>
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

    // Runs `tavrel-cli args...` and waits up to `limit` for it to end.
    static Result run(const std::vector<std::string>& args,
                      std::chrono::seconds limit = std::chrono::seconds(40));
    static std::unique_ptr<ChildProcess> start(const std::vector<std::string>& args);
};

// For assertion messages: the exit code and both streams.
std::ostream& operator<<(std::ostream& out, const TavrelCli::Result& result);

}  // namespace tavrel::test
