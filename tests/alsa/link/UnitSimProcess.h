// tavrel-unit-sim run as a process of its own on the sequencer, ready once it has said so:
// from then on its ports are there for any client to find.
#pragma once

#include "alsa/link/ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tavrel::test {

class UnitSimProcess {
public:
    // Starts the unit `model` with its storage in `storage` and the fault switches `faults`
    // (options of the simulator), and waits for its ready line. ready() tells if it came.
    UnitSimProcess(const std::string& model, const std::filesystem::path& storage,
                   const std::vector<std::string>& faults = {});

    bool ready() const { return mReady; }
    // What it printed, for a failure message.
    std::string output() const;
    ChildProcess& process() { return *mProcess; }

private:
    std::unique_ptr<ChildProcess> mProcess;
    bool mReady = false;
};

}  // namespace tavrel::test
