// Time of `tavrel-cli unit load --simulate`, run in this process the way the command runs it:
// the whole command (services, simulated unit, transport and link set up, the unit asked
// whether it is held, the load sequence, editor mode ended, everything torn down) and the
// load sequence alone. The goal is under 200 ms per load sequence; waiting in one-second
// polls, as the unit's protocol was first driven, costs at least 4 s (editor mode, mount,
// the second given to the volume, the kit names).
//
// A small harness rather than Google Benchmark: what matters is the spread, so it prints
// percentiles. Arguments are ignored (./dev bench hands every benchmark the same ones).
#include "cli/UnitCommand.h"
#include "cli/UnitOptions.h"
#include "cli/UnitSession.h"
#include "model/Context.h"
#include "model/Log.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace tavrel;
using Clock = std::chrono::steady_clock;
using Ms = std::chrono::duration<double, std::milli>;

constexpr int kRuns = 300;

struct Run {
    double command = 0;   // ms
    double sequence = 0;  // ms
    bool ok = false;
};

// The simulated unit's storage and the user's data folder in a scratch folder, removed at exit.
class Scratch {
public:
    Scratch() {
        std::string dir = (fs::temp_directory_path() / "tavrel-bench-XXXXXX").string();
        if (::mkdtemp(dir.data()) == nullptr) std::abort();
        mDir = dir;
        ::setenv("XDG_DATA_HOME", (mDir / "data").c_str(), 1);
    }
    ~Scratch() {
        std::error_code ec;
        fs::remove_all(mDir, ec);
    }
    fs::path storage() const { return mDir / "unit"; }

private:
    fs::path mDir;
};

Run loadOnce(const cli::UnitOptions& options) {
    std::ostringstream out;
    std::ostringstream err;
    Run run;
    const auto start = Clock::now();
    {
        Context context;
        const auto session = cli::UnitSession::open(options, err);
        if (!session) return run;
        run.ok = cli::UnitCommand::run(*session, options, {out, err}) == cli::kExitOk;
        run.sequence = Ms(session->loadTime()).count();
    }
    run.command = Ms(Clock::now() - start).count();
    if (!run.ok) std::fprintf(stderr, "bench_unit_load: %s", err.str().c_str());
    return run;
}

void printPercentiles(const char* what, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    const auto at = [&](std::size_t percent) { return ms[(ms.size() - 1) * percent / 100]; };
    std::printf("  %-14s p50 %7.2f ms   p99 %7.2f ms   max %7.2f ms\n", what, at(50), at(99),
                ms.back());
}

}  // namespace

int main() {
    Log::setSink([](std::string_view, std::string_view) {});
    Scratch scratch;
    std::ostringstream parseErrors;
    const auto options = cli::UnitOptions::parse(
        {"load", "--simulate", "--sim-storage", scratch.storage().string()}, parseErrors);
    if (!options) return 1;
    // The first run seeds the unit's storage; it is not counted.
    if (!loadOnce(*options).ok) return 1;
    std::vector<double> command;
    std::vector<double> sequence;
    for (int i = 0; i < kRuns; ++i) {
        const Run run = loadOnce(*options);
        if (!run.ok) return 1;
        command.push_back(run.command);
        sequence.push_back(run.sequence);
    }
    std::printf("unit load --simulate, %d runs (goal: load sequence under 200 ms)\n", kRuns);
    printPercentiles("whole command", command);
    printPercentiles("load sequence", sequence);
    return 0;
}
