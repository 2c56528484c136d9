#include "sim/VirtualUnitPorts.h"

#include "device/platform/virtual/VirtualMidiService.h"

#include <utility>

namespace tavrel::sim {

VirtualUnitPorts::~VirtualUnitPorts() {
    close();
}

bool VirtualUnitPorts::open(const std::string& model, Receiver receiver) {
    close();
    const std::string name = model + " MIDI 1";
    // The destination first: once the source is announced the program may connect and send
    // at once, and the unit must already be listening.
    mDestination = mMidi.addDestination(name, std::move(receiver));
    mSource = mMidi.addSource(name);
    return true;
}

void VirtualUnitPorts::close() {
    if (mSource != 0) mMidi.removeEndpoint(mSource);
    if (mDestination != 0) mMidi.removeEndpoint(mDestination);
    mSource = mDestination = 0;
}

bool VirtualUnitPorts::send(std::span<const std::uint8_t> bytes) {
    return mSource != 0 && mMidi.inject(mSource, bytes);
}

}  // namespace tavrel::sim
