#include "alsa/link/UnitSimProcess.h"

#include <chrono>

namespace tavrel::test {

namespace {
// The simulator says this once its client and ports exist.
constexpr const char* kReadyLine = "is ALSA client";
// Starting takes a fraction of a second natively and several under emulation.
constexpr std::chrono::seconds kStartLimit{10};
}  // namespace

UnitSimProcess::UnitSimProcess(const std::string& model, const std::filesystem::path& storage,
                               const std::vector<std::string>& faults) {
    std::vector<std::string> argv{TAVREL_UNIT_SIM, "--model", model, "--storage", storage};
    argv.insert(argv.end(), faults.begin(), faults.end());
    mProcess = std::make_unique<ChildProcess>(std::move(argv));
    mReady = mProcess->waitForLine(ChildProcess::Stream::Out, kReadyLine, kStartLimit).has_value();
}

std::string UnitSimProcess::output() const {
    return mProcess->text(ChildProcess::Stream::Out) + mProcess->text(ChildProcess::Stream::Err);
}

}  // namespace tavrel::test
