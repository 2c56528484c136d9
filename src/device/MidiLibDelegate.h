// What MidiLib tells the object that uses it. Every message is optional: a delegate
// overrides those it wants, the rest do nothing. Each says on which thread it arrives.
#pragma once

#include "device/MidiPacket.h"
#include "device/platform/MidiNotification.h"

#include <cstdint>
#include <span>
#include <string>

namespace tavrel {

class MidiLibDelegate {
public:
    virtual ~MidiLibDelegate() = default;

    // A complete message, or a 256-byte piece of a long exclusive one. On the drain thread;
    // the packet lives only during the call. Keep it short: the next message waits for it.
    virtual void rxMidiData(const MidiPacket& /*packet*/) {}

    // An endpoint came: first connectMidiSource, which carries nothing, then midiObjectAdded.
    // On the main thread.
    virtual void connectMidiSource() {}
    virtual void midiObjectAdded(const MidiNotification& /*notification*/) {}

    // An endpoint went: first disconnectMidiSource, then midiObjectRemoved. On the main thread.
    virtual void disconnectMidiSource() {}
    virtual void midiObjectRemoved(const MidiNotification& /*notification*/) {}

    // The MIDI service lost data or a device. On the main thread.
    virtual void midiMessageError(const MidiNotification& /*notification*/) {}

    // A transport step failed; `message` is the step's label ("Connect-MIDIPortConnectSource")
    // and `status` the service's code. On the main thread, posted without waiting.
    virtual void midiError(int /*status*/, const std::string& /*message*/) {}

    // Sending `bytes` failed with `status`; nothing is retried. On the sender's thread.
    virtual void sendErrorWithPacketList(std::span<const std::uint8_t> /*bytes*/, int /*status*/) {}
};

}  // namespace tavrel
