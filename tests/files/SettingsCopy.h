// A settings file as the unit keeps it: the XML text, a line feed, then the generation number
// (4 bytes, signed, little-endian).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace tavrel::test {

inline std::vector<std::uint8_t> settingsCopy(std::string_view xml, std::int32_t generation) {
    std::vector<std::uint8_t> bytes(xml.begin(), xml.end());
    bytes.push_back('\n');
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(generation) >> shift));
    }
    return bytes;
}

}  // namespace tavrel::test
