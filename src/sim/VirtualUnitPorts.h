// The unit's endpoints inside the program, in a VirtualMidiService: the source "<model> MIDI 1"
// that the program connects to and the destination of the same name that it sends to.
#pragma once

#include "sim/UnitPorts.h"

#include <cstdint>

namespace tavrel {
class VirtualMidiService;
}

namespace tavrel::sim {

class VirtualUnitPorts : public UnitPorts {
public:
    explicit VirtualUnitPorts(VirtualMidiService& midi) : mMidi(midi) {}
    ~VirtualUnitPorts() override;
    VirtualUnitPorts(const VirtualUnitPorts&) = delete;
    VirtualUnitPorts& operator=(const VirtualUnitPorts&) = delete;

    bool open(const std::string& model, Receiver receiver) override;
    void close() override;
    bool send(std::span<const std::uint8_t> bytes) override;

private:
    VirtualMidiService& mMidi;
    std::int64_t mSource = 0;  // 0 while closed; the service never gives out 0
    std::int64_t mDestination = 0;
};

}  // namespace tavrel::sim
