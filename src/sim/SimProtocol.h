// The unit's system-exclusive messages, from the unit's side: reading what an editor sends
// and building what the unit answers.
//
// A message is the model's 8-byte header, a command (12 data set, 11 data request), a 4-byte
// address of 7-bit bytes, most significant first, then the data (data set) or a 4-byte size
// (data request), a checksum and F7. The checksum makes the address and data bytes sum to a
// multiple of 128.
//
// This is a second, independent rendering of the protocol, kept apart from the link's own
// (device/UnitMessages) on purpose: the simulated unit is the oracle the link is tested
// against, so it computes checksums and parses what arrives itself, and a mistake in the
// link's constants cannot be repeated here unnoticed.
#pragma once

#include "sim/UnitModel.h"
#include "sim/UnitStep.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrel::sim {

class SimProtocol {
public:
    using Bytes = std::vector<std::uint8_t>;

    static constexpr std::uint8_t kDataRequest = 0x11;
    static constexpr std::uint8_t kDataSet = 0x12;
    // Addresses as 28-bit values (b9 << 21 | b10 << 14 | b11 << 7 | b12).
    static constexpr std::uint32_t kEditorModeAddress = 0x0FFC0000;  // 7F 70 00 00
    static constexpr std::uint32_t kMountAddress = 0x0FFC0001;       // 7F 70 00 01
    static constexpr std::uint32_t kKitNameAddress = 0x0FFC0080;     // 7F 70 01 00
    static constexpr std::size_t kKitNameSize = 16;                  // bytes per kit slot

    // A message that passed every check: header, framing, 7-bit body, checksum.
    struct Message {
        std::uint8_t command = 0;
        std::uint32_t address = 0;
        Bytes data;  // data set: the data; data request: the four size bytes
    };

    static std::uint8_t checksum(std::span<const std::uint8_t> addressAndData);
    static std::array<std::uint8_t, 4> addressBytes(std::uint32_t address);

    // One whole message from F0 to F7 for `model`; none, with the reason in `why`, when it is
    // anything else.
    static std::optional<Message> parse(const UnitModel& model, std::span<const std::uint8_t> bytes,
                                        std::string& why);
    // Which request an accepted message is; None for an address or form the unit does not
    // answer.
    static UnitStep stepOf(const Message& message);

    static Bytes dataSet(const UnitModel& model, std::uint32_t address,
                         std::span<const std::uint8_t> data);
};

}  // namespace tavrel::sim
