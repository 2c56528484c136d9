#include "device/UnitMessages.h"

#include <algorithm>

namespace tavrel {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr const char* kModelNames[UnitMessages::kModels] = {"QL-900", "QL-414XE3"};

constexpr std::uint8_t kHeaders[UnitMessages::kModels][UnitMessages::kHeaderBytes] = {
    {0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04},
    {0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x05},
};
constexpr std::size_t kCommandAt = 8;
constexpr std::size_t kAddressAt = 9;
constexpr std::size_t kDataAt = 13;
// Header, command, address, checksum and F7 around a data-set message's data.
constexpr std::size_t kDataSetFrame = 15;

constexpr std::uint32_t kEditorModeAddress = 0x0FFC0000;  // 7F 70 00 00
constexpr std::uint32_t kMountAddress = 0x0FFC0001;       // 7F 70 00 01
constexpr std::uint32_t kKitNameAddress = 0x0FFC0080;     // 7F 70 01 00: kit 0's name

constexpr std::uint8_t kEditorOnBody[] = {0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7};
constexpr std::uint8_t kEditorOffBody[] = {0x7F, 0x70, 0x00, 0x00, 0x00, 0x11, 0xF7};
constexpr std::uint8_t kMountBody[] = {0x7F, 0x70, 0x00, 0x01, 0x01, 0x0F, 0xF7};
constexpr std::uint8_t kUnmountBody[] = {0x7F, 0x70, 0x00, 0x01, 0x00, 0x10, 0xF7};
constexpr std::uint8_t kReqEditorModeBody[] = {0x7F, 0x70, 0x00, 0x00, 0x00,
                                               0x00, 0x00, 0x01, 0x10, 0xF7};
constexpr std::uint8_t kReqMountBody[] = {0x7F, 0x70, 0x00, 0x01, 0x00,
                                          0x00, 0x00, 0x01, 0x0F, 0xF7};
// Asks for 99 slots' worth; the unit answers with one data-set message per kit.
constexpr std::uint8_t kReqKitNameBody[] = {0x7F, 0x70, 0x01, 0x00, 0x00,
                                            0x00, 0x00, 0x63, 0x2D, 0xF7};

std::uint32_t addressOf(Bytes message) {
    return static_cast<std::uint32_t>(message[kAddressAt]) << 21 |
           static_cast<std::uint32_t>(message[kAddressAt + 1]) << 14 |
           static_cast<std::uint32_t>(message[kAddressAt + 2]) << 7 |
           static_cast<std::uint32_t>(message[kAddressAt + 3]);
}

}  // namespace

UnitMessages::Message UnitMessages::message(Request request) {
    switch (request) {
        case Request::EditorOn:
            return {"TX Editor ON", kDataSet, kEditorOnBody};
        case Request::EditorOff:
            return {"TX Editor OFF", kDataSet, kEditorOffBody};
        case Request::Mount:
            return {"TX MOUNT", kDataSet, kMountBody};
        case Request::Unmount:
            return {"TX UNMOUNT", kDataSet, kUnmountBody};
        case Request::AskEditorMode:
            return {"RQ Editor Mode", kDataRequest, kReqEditorModeBody};
        case Request::AskMount:
            return {"RQ MOUNT", kDataRequest, kReqMountBody};
        case Request::AskKitNames:
            break;
    }
    return {"RQ KIT", kDataRequest, kReqKitNameBody};
}

const char* UnitMessages::modelName(int model) {
    return kModelNames[model];
}

std::span<const std::uint8_t, UnitMessages::kHeaderBytes> UnitMessages::header(int model) {
    return std::span<const std::uint8_t, kHeaderBytes>(kHeaders[model], kHeaderBytes);
}

std::size_t UnitMessages::encode(int model, const Message& message, std::span<std::uint8_t> out) {
    if (out.size() < kAddressAt) return 0;
    const auto head = header(model);
    std::copy(head.begin(), head.end(), out.begin());
    out[kCommandAt] = message.command;
    const std::size_t kept = std::min(message.body.size(), out.size() - kAddressAt);
    std::copy_n(message.body.begin(), kept, out.begin() + kAddressAt);
    return kAddressAt + kept;
}

std::optional<UnitMessages::Reply> UnitMessages::decode(int model, Bytes message) {
    // Bytes past the message are never looked at: one too short for its address is no reply.
    if (message.size() < kDataAt) return std::nullopt;
    const auto head = header(model);
    if (!std::equal(head.begin(), head.end(), message.begin())) return std::nullopt;
    const std::uint32_t address = addressOf(message);
    if (address == kMountAddress || address == kEditorModeAddress) {
        if (message.size() <= kDataAt) return std::nullopt;
        const auto kind = address == kMountAddress ? Reply::Kind::Mount : Reply::Kind::EditorMode;
        return Reply{kind, message[kDataAt], 0, {}};
    }
    const std::uint32_t offset = address - kKitNameAddress;
    if (offset > kKitOffsetLimit) return std::nullopt;
    // Every kit reply counts, a short one without data too.
    const std::size_t dataBytes =
        message.size() > kDataSetFrame ? message.size() - kDataSetFrame : 0;
    return Reply{Reply::Kind::KitName, 0, offset, message.subspan(kDataAt, dataBytes)};
}

}  // namespace tavrel
