#include "sim/SimProtocol.h"

#include <algorithm>

namespace tavrel::sim {

namespace {

constexpr std::uint8_t kEndOfExclusive = 0xF7;
constexpr std::size_t kCommandAt = UnitModel::kHeaderSize;
constexpr std::size_t kAddressAt = kCommandAt + 1;
constexpr std::size_t kDataAt = kAddressAt + 4;
constexpr std::size_t kSizeBytes = 4;
// Header, command, address, one data byte, checksum, F7.
constexpr std::size_t kShortest = kDataAt + 3;

bool isSevenBit(std::uint8_t byte) {
    return byte < 0x80;
}

}  // namespace

std::uint8_t SimProtocol::checksum(std::span<const std::uint8_t> addressAndData) {
    unsigned sum = 0;
    for (const std::uint8_t byte : addressAndData) sum += byte;
    return static_cast<std::uint8_t>((128 - sum % 128) & 0x7F);
}

std::array<std::uint8_t, 4> SimProtocol::addressBytes(std::uint32_t address) {
    return {static_cast<std::uint8_t>((address >> 21) & 0x7F),
            static_cast<std::uint8_t>((address >> 14) & 0x7F),
            static_cast<std::uint8_t>((address >> 7) & 0x7F),
            static_cast<std::uint8_t>(address & 0x7F)};
}

std::optional<SimProtocol::Message> SimProtocol::parse(const UnitModel& model,
                                                       std::span<const std::uint8_t> bytes,
                                                       std::string& why) {
    if (bytes.size() < kShortest || bytes.back() != kEndOfExclusive) {
        why = "not a whole message of the unit's form";
        return std::nullopt;
    }
    const UnitModel::Header header = model.header();
    if (!std::equal(header.begin(), header.end(), bytes.begin())) {
        why = "header of another device or model";
        return std::nullopt;
    }
    const auto body = bytes.subspan(kAddressAt, bytes.size() - kAddressAt - 1);
    if (!std::all_of(body.begin(), body.end(), isSevenBit)) {
        why = "a status byte inside the message";
        return std::nullopt;
    }
    const auto summed = body.first(body.size() - 1);
    if (checksum(summed) != body.back()) {
        why = "bad checksum";
        return std::nullopt;
    }
    Message message;
    message.command = bytes[kCommandAt];
    if (message.command != kDataSet && message.command != kDataRequest) {
        why = "unknown command";
        return std::nullopt;
    }
    for (std::size_t i = 0; i < 4; ++i) message.address = (message.address << 7) | summed[i];
    message.data.assign(summed.begin() + 4, summed.end());
    if (message.command == kDataRequest && message.data.size() != kSizeBytes) {
        why = "data request without a four-byte size";
        return std::nullopt;
    }
    return message;
}

UnitStep SimProtocol::stepOf(const Message& message) {
    if (message.command == kDataRequest) {
        switch (message.address) {
            case kEditorModeAddress:
                return UnitStep::EditorRequest;
            case kMountAddress:
                return UnitStep::MountRequest;
            case kKitNameAddress:
                return UnitStep::KitRequest;
            default:
                return UnitStep::None;
        }
    }
    if (message.data.size() != 1) return UnitStep::None;
    const bool on = message.data[0] != 0;
    switch (message.address) {
        case kEditorModeAddress:
            return on ? UnitStep::EditorOn : UnitStep::EditorOff;
        case kMountAddress:
            return on ? UnitStep::Mount : UnitStep::Unmount;
        default:
            return UnitStep::None;
    }
}

SimProtocol::Bytes SimProtocol::dataSet(const UnitModel& model, std::uint32_t address,
                                        std::span<const std::uint8_t> data) {
    const UnitModel::Header header = model.header();
    Bytes message(header.begin(), header.end());
    message.push_back(kDataSet);
    const auto addressed = addressBytes(address);
    message.insert(message.end(), addressed.begin(), addressed.end());
    message.insert(message.end(), data.begin(), data.end());
    message.push_back(checksum(std::span(message).subspan(kAddressAt)));
    message.push_back(kEndOfExclusive);
    return message;
}

}  // namespace tavrel::sim
