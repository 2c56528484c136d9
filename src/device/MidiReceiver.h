// The receive path from the MIDI service's thread to whole messages: bytes go through the
// ring on the service's thread, and the drain parses them on its own thread. Neither side
// locks or allocates.
#pragma once

#include "device/MidiFifo.h"
#include "device/MidiPacket.h"
#include "device/MidiParser.h"

#include <cstdint>
#include <span>

namespace tavrel {

class MidiReceiver {
public:
    // Service thread. System real-time bytes (F8..FF) are dropped here so that a clock stream
    // cannot fill the ring; the rest is pushed. A byte that finds the ring full is offered once
    // more after `makeRoom` has run, and dropped if the ring is still full. True when any byte
    // was offered to the ring, taken or not: a drain is then due.
    template <class MakeRoom>
    bool receive(std::span<const std::uint8_t> bytes, MakeRoom&& makeRoom) {
        bool offered = false;
        for (const std::uint8_t byte : bytes) {
            if (byte >= 0xF8) continue;
            if (!mFifo.pushFifo(byte)) {
                makeRoom();
                mFifo.pushFifo(byte);
            }
            offered = true;
        }
        return offered;
    }
    bool receive(std::span<const std::uint8_t> bytes) {
        return receive(bytes, [] {});
    }

    // Drain thread, never two at once. Empties the ring through the parser and hands each
    // complete message to `deliver` as a copy, so that the parser may go on while the copy
    // is read; the copy lives only during the call.
    template <class Deliver>
    void drain(Deliver&& deliver) {
        std::uint8_t byte = 0;
        while (mFifo.popFifo(byte)) {
            if (!mParser.parseMidi(byte)) continue;
            const MidiPacket message = mParser.packet();
            deliver(message);
        }
    }

private:
    MidiFifo mFifo;
    MidiParser mParser;
};

}  // namespace tavrel
