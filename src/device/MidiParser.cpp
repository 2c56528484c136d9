#include "device/MidiParser.h"

namespace tavrel {

bool MidiParser::parseMidi(std::uint8_t byte) {
    if (byte > kEndOfSysEx) return false;
    if (byte == kEndOfSysEx) return endOfExclusive();
    if (byte > kSysEx) return false;  // system common: an open exclusive message stays open
    if (byte == kSysEx) {
        m_count = 0;
        m_status = kSysEx;
        m_midipacket.data[0] = kSysEx;
        m_midipacket.length = MidiPacket::kCapacity;  // a piece ends when the packet is full
        return false;
    }
    if (byte >= 0x80) {
        channelStatus(byte);
        return false;
    }
    return dataByte(byte);
}

bool MidiParser::endOfExclusive() {
    if (m_status != kSysEx) return false;
    m_midipacket.data[1 + m_count] = kEndOfSysEx;
    m_count += 1;
    m_midipacket.length = static_cast<std::uint16_t>(m_count + 1);
    m_status = 0;
    return true;
}

void MidiParser::channelStatus(std::uint8_t byte) {
    m_count = 0;
    m_status = byte;
    m_midipacket.data[0] = byte;
    // Program change (Cn) and channel pressure (Dn) carry one data byte, the others two.
    m_midipacket.length = (byte & 0xE0) == 0xC0 ? 2 : 3;
}

bool MidiParser::dataByte(std::uint8_t byte) {
    // No status open: a data byte after F7 or before any status belongs to nothing.
    if ((m_status & 0x80) == 0) return false;
    m_midipacket.data[1 + m_count] = byte;
    m_count += 1;
    if (m_count + 1 != m_midipacket.length) return false;
    m_count = -1;
    return true;
}

}  // namespace tavrel
