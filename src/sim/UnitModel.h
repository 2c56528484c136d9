// The QL models the simulated unit can be. A model is known by two things: the name its MIDI
// endpoints carry, which is how the device link recognises it, and the model ID in the header
// of every system-exclusive message it sends or accepts.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tavrel::sim {

class UnitModel {
public:
    static constexpr std::size_t kHeaderSize = 8;
    using Header = std::array<std::uint8_t, kHeaderSize>;

    static UnitModel ql900() { return UnitModel("QL-900", 0x04); }
    static UnitModel ql414xe3() { return UnitModel("QL-414XE3", 0x05); }
    // The model whose name is exactly `name`; none for another name.
    static std::optional<UnitModel> named(std::string_view name);

    const std::string& name() const { return mName; }
    // F0 (exclusive), 41 (maker), 10 (device ID), then the five-byte model ID.
    Header header() const { return {0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, mModelId}; }

    bool operator==(const UnitModel& other) const = default;

private:
    UnitModel(std::string name, std::uint8_t modelId) : mName(std::move(name)), mModelId(modelId) {}

    std::string mName;
    std::uint8_t mModelId;
};

}  // namespace tavrel::sim
