// tavrel-unit-sim: the simulated unit as a process of its own, on the ALSA sequencer, for
// trying Tavrel (or any patchbay) against a unit without owning one.
#include "device/RealTimeline.h"
#include "sim/HiddenFolderVolume.h"
#include "sim/SimulatedUnit.h"
#include "sim/UnitSimOptions.h"
#include "sim/alsa/AlsaUnitPorts.h"

#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace tavrel;
using namespace tavrel::sim;

constexpr const char* kName = "tavrel-unit-sim";

// Blocked in every thread, so that only the sigwait below takes them and the unit is
// unplugged in order: the endpoints go first, then the storage is hidden.
sigset_t stopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return set;
}

int run(const UnitSimOptions& options) {
    const sigset_t stop = stopSignals();  // before any thread starts
    const fs::path storage = options.storage.empty() ? SimulatedUnit::defaultStorage(options.model)
                                                     : fs::absolute(options.storage);
    RealTimeline timeline;
    auto ports = std::make_unique<AlsaUnitPorts>();
    const AlsaUnitPorts& alsa = *ports;
    SimulatedUnit unit(options.model, std::move(ports),
                       std::make_unique<HiddenFolderVolume>(storage), timeline);
    options.applyTo(unit.faults());
    if (!unit.plugIn()) {
        std::cerr << kName << ": the unit could not be started\n";
        return 1;
    }
    std::cout << options.model.name() << " is ALSA client " << alsa.client() << ", port \""
              << options.model.name() << " MIDI 1\"; storage " << storage.string()
              << "\nRun Tavrel with --volume-root " << storage.string() << std::endl;
    int signal = 0;
    sigwait(&stop, &signal);
    unit.unplug();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string_view> args(argv + 1, argv + argc);
    std::string error;
    const auto options = UnitSimOptions::parse(args, error);
    if (!options) {
        std::cerr << kName << ": " << error << " (see --help)\n";
        return 2;
    }
    if (options->help) {
        std::cout << UnitSimOptions::usage();
        return 0;
    }
    if (!fs::exists("/dev/snd/seq")) {
        std::cerr << kName << ": this computer has no ALSA sequencer (/dev/snd/seq is missing)\n";
        return 1;
    }
    return run(*options);
}
