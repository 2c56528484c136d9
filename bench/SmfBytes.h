// Standard MIDI File bytes for the benchmarks, made in memory.
#pragma once

#include <cstdint>
#include <iterator>
#include <vector>

namespace tavrel::bench {

using Bytes = std::vector<std::uint8_t>;

// A variable-length quantity: seven bits a byte, most significant first.
inline void putVlq(Bytes& out, std::uint32_t v) {
    Bytes groups{static_cast<std::uint8_t>(v & 0x7F)};
    while ((v >>= 7) != 0)
        groups.insert(groups.begin(), static_cast<std::uint8_t>(0x80 | (v & 0x7F)));
    out.insert(out.end(), groups.begin(), groups.end());
}

// A format-0 file at 480 ticks a quarter note holding `track` (its end-of-track included).
inline Bytes format0File(const Bytes& track) {
    static constexpr std::uint8_t kHeader[] = {'M', 'T', 'h', 'd',  0,    0,   0,   6,   0,
                                               0,   0,   1,   0x01, 0xE0, 'M', 'T', 'r', 'k'};
    Bytes file;
    file.reserve(sizeof kHeader + 4 + track.size());
    file.assign(std::begin(kHeader), std::end(kHeader));
    const auto n = static_cast<std::uint32_t>(track.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        file.push_back(static_cast<std::uint8_t>(n >> shift));
    file.insert(file.end(), track.begin(), track.end());
    return file;
}

}  // namespace tavrel::bench
