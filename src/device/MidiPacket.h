// One assembled MIDI message, or one 256-byte piece of a long system-exclusive message.
#pragma once

#include <array>
#include <cstdint>

namespace tavrel {

struct MidiPacket {
    static constexpr std::size_t kCapacity = 256;

    // Never set on receive: the transport keeps no arrival times. Ignored on send.
    std::uint64_t timeStamp = 0;
    // While a message is being assembled, the length it will have; once complete, the
    // number of bytes of `data` that belong to it (never more than kCapacity).
    std::uint16_t length = 0;
    std::array<std::uint8_t, kCapacity> data{};
};

}  // namespace tavrel
