// The unit's system-exclusive messages as the link speaks them: the requests it sends, byte
// for byte, and the replies it understands. A message is the model's 8-byte header (F0,
// maker 41, device 10, the five-byte model id), a command (12 data set, 11 data request), a
// four-byte address of 7-bit bytes, most significant first, then the data (data set) or a
// four-byte size (data request), a checksum and F7. Every request is a stored constant with
// its checksum in place; nothing here computes one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tavrel {

class UnitMessages {
public:
    // Model indexes. The unit's MIDI endpoints carry the model's name.
    static constexpr int kModelQL900 = 0;
    static constexpr int kModelQL414XE3 = 1;
    static constexpr int kModels = 2;
    static constexpr std::size_t kHeaderBytes = 8;
    static constexpr std::uint8_t kDataSet = 0x12;
    static constexpr std::uint8_t kDataRequest = 0x11;

    // What the link asks of the unit.
    enum class Request {
        EditorOn,
        EditorOff,
        Mount,
        Unmount,
        AskEditorMode,
        AskMount,
        AskKitNames
    };
    struct Message {
        const char* label;                   // the log line of the step that sends it
        std::uint8_t command;                // kDataSet or kDataRequest
        std::span<const std::uint8_t> body;  // address, data or size, checksum, F7
    };
    static Message message(Request request);

    // "QL-900" or "QL-414XE3"; `model` must be below kModels.
    static const char* modelName(int model);
    static std::span<const std::uint8_t, kHeaderBytes> header(int model);
    // Writes header, command and body into `out`, cut to its size; returns the length.
    static std::size_t encode(int model, const Message& message, std::span<std::uint8_t> out);

    // A reply the link acts on.
    struct Reply {
        enum class Kind { Mount, EditorMode, KitName } kind;
        int value = 0;                        // Mount, EditorMode: the reported byte
        std::uint32_t offset = 0;             // KitName: byte offset into the kit name table
        std::span<const std::uint8_t> names;  // KitName: the name bytes it carries
    };
    // Kit replies at offsets up to three slots past the table are still counted; their bytes
    // past the table are dropped by whoever stores them.
    static constexpr std::uint32_t kKitOffsetLimit = 1648;
    // Nothing for a message in another model's header, one too short for what its address
    // needs, or one at an address the link does not listen to. The command is not checked.
    static std::optional<Reply> decode(int model, std::span<const std::uint8_t> message);
};

}  // namespace tavrel
