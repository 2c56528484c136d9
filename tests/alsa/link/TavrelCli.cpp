#include "alsa/link/TavrelCli.h"

#include <csignal>

namespace tavrel::test {

std::unique_ptr<ChildProcess> TavrelCli::start(const std::vector<std::string>& args) {
    std::vector<std::string> argv{TAVREL_CLI};
    argv.insert(argv.end(), args.begin(), args.end());
    return std::make_unique<ChildProcess>(std::move(argv));
}

TavrelCli::Result TavrelCli::run(const std::vector<std::string>& args, std::chrono::seconds limit) {
    const auto begin = ChildProcess::Clock::now();
    const auto process = start(args);
    Result result;
    const auto code = process->wait(limit);
    if (!code) {
        process->kill(SIGKILL);
        process->wait(limit);
    }
    result.code = code.value_or(-1);
    result.took = std::chrono::duration_cast<std::chrono::milliseconds>(
        (code ? process->endedAt() : ChildProcess::Clock::now()) - begin);
    result.out = process->text(ChildProcess::Stream::Out);
    result.err = process->text(ChildProcess::Stream::Err);
    return result;
}

std::ostream& operator<<(std::ostream& out, const TavrelCli::Result& result) {
    return out << "exit " << result.code << " after " << result.took.count() << " ms\nstdout:\n"
               << result.out << "stderr:\n"
               << result.err;
}

}  // namespace tavrel::test
