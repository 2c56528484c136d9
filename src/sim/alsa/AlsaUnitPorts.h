// The unit's endpoints in the ALSA sequencer, for the simulator process: a client named after
// the model with one port "<model> MIDI 1" that others may read from and write to, as a USB
// unit's port shows up. Tavrel, like any patchbay, lists it as "<model>:<model> MIDI 1" among
// both the sources and the destinations.
//
// Closing deletes the port (others see it go, as at an unplug) but keeps the client, so that
// a cable pulled from inside the receiver does not wait for its own thread.
#pragma once

#include "sim/UnitPorts.h"

#include <memory>

namespace tavrel::sim {

class AlsaUnitPorts : public UnitPorts {
public:
    AlsaUnitPorts();
    ~AlsaUnitPorts() override;
    AlsaUnitPorts(const AlsaUnitPorts&) = delete;
    AlsaUnitPorts& operator=(const AlsaUnitPorts&) = delete;

    // False, with ALSA's reason logged, where there is no sequencer.
    bool open(const std::string& model, Receiver receiver) override;
    void close() override;
    // To every subscriber of the port, as a device's output reaches whoever listens.
    bool send(std::span<const std::uint8_t> bytes) override;

    // The client's sequencer number; -1 before the first open.
    int client() const;

private:
    class Session;  // the sequencer's objects, kept out of this header
    std::unique_ptr<Session> mSession;
    int mPort = -1;  // -1 while closed
};

}  // namespace tavrel::sim
