// Assembles received MIDI bytes into whole messages for the device link.
//
// Two habits of this assembler are relied on and kept: running status is not rebuilt (after a
// complete channel message a further data byte lands where the status byte was, so the next
// "message" starts with a data byte), and a system-exclusive message longer than 256 bytes is
// handed on in 256-byte pieces, the last one ending with F7. The unit's replies are short
// whole messages, so neither habit reaches the protocol.
#pragma once

#include "device/MidiPacket.h"

#include <cstdint>

namespace tavrel {

class MidiParser {
public:
    // True when `byte` has just completed a message (or a 256-byte piece of one) in packet().
    // System real-time bytes (F8..FF) are expected to have been filtered out; they change
    // nothing here either way.
    bool parseMidi(std::uint8_t byte);

    // The message being assembled; complete and `length` bytes long right after parseMidi
    // returned true, until the next byte.
    const MidiPacket& packet() const { return m_midipacket; }

private:
    static constexpr std::uint8_t kSysEx = 0xF0;
    static constexpr std::uint8_t kEndOfSysEx = 0xF7;

    bool endOfExclusive();
    void channelStatus(std::uint8_t byte);
    bool dataByte(std::uint8_t byte);

    MidiPacket m_midipacket;
    // Bytes stored after data[0]; -1 right after a complete message or piece, so the next
    // data byte goes to data[0]. Never above 254 while a byte is stored, which keeps every
    // index inside the packet.
    int m_count = 0;
    // 0xF0 inside an exclusive message, the channel status after one, 0 when none.
    std::uint8_t m_status = 0;
};

}  // namespace tavrel
