// libFuzzer target for the link's decoding of the unit's replies, for a unit of either model.
// The input's first byte picks the model; then each message is a control byte (bit 0: start
// with the connected model's header; bit 1: then a data set to the unit's address block;
// bit 2: claim the record's whole capacity as the length), a length byte and that many
// bytes, handed to rxMidiData as one received message.
// The kit table lives on the heap on its own, so the address sanitizer stops any write past
// it; every kit name logged must fit the 15 characters a slot holds.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "device/CConnectionMgr.h"
#include "device/ManualTimeline.h"
#include "device/MidiLib.h"
#include "device/ThreadWaiter.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "model/Alerts.h"
#include "model/Context.h"
#include "model/Log.h"

namespace {

using tavrel::MidiPacket;

class NoAlerts : public tavrel::Alerts {
public:
    void alert(const std::string&, const std::string&) override {}
    bool ask(const std::string&, const std::string&, const std::string&) override { return false; }
};

// A unit's endpoints and what the link needs around them, made once per model.
struct World {
    explicit World(const char* endpoint) {
        service.addSource(endpoint);
        service.addDestination(endpoint);
        midi = std::make_unique<tavrel::MidiLib>(service);
    }
    tavrel::VirtualMidiService service;
    std::unique_ptr<tavrel::MidiLib> midi;
    tavrel::VirtualVolumeService volumes;
    tavrel::ManualTimeline timeline;
    tavrel::ThreadWaiter waiter{timeline, {}};
    NoAlerts alerts;
};

// "NN:" and at most a slot's 15 characters.
void checkLogLine(std::string_view, std::string_view text) {
    const bool kitLine = text.size() >= 3 && std::isdigit(static_cast<unsigned char>(text[0])) &&
                         std::isdigit(static_cast<unsigned char>(text[1])) && text[2] == ':';
    if (kitLine && text.size() > 3 + 15) std::abort();
}

constexpr std::uint8_t kHeader[] = {0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04};
// A data set to the unit's own address block; the two low address bytes come from the input.
constexpr std::uint8_t kUnitBlock[] = {0x12, 0x7F, 0x70};

MidiPacket nextMessage(const std::uint8_t*& at, const std::uint8_t* end, int model) {
    MidiPacket packet;
    const std::uint8_t control = *at++;
    std::size_t used = 0;
    const auto put = [&](std::uint8_t byte) {
        if (used < packet.data.size()) packet.data[used++] = byte;
    };
    if ((control & 1) != 0) {
        for (const std::uint8_t byte : kHeader) put(byte);
        packet.data[7] = static_cast<std::uint8_t>(0x04 + model);
    }
    if ((control & 2) != 0) {
        for (const std::uint8_t byte : kUnitBlock) put(byte);
    }
    const std::size_t length = at < end ? *at++ : 0;
    for (std::size_t i = 0; i < length && at < end; ++i) put(*at++);
    // The receive path never hands on more than the record holds, but a short record may
    // claim a length up to its capacity.
    packet.length = static_cast<std::uint16_t>((control & 4) != 0 ? packet.data.size() : used);
    return packet;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static tavrel::Context context;
    static World worlds[] = {World("QL-900 MIDI 1"), World("QL-414XE3 MIDI 1")};
    static const bool quiet = [] {
        tavrel::Log::setSink(checkLogLine);
        return true;
    }();
    (void)quiet;
    if (size == 0) return 0;
    const int model = data[0] & 1;
    World& world = worlds[model];
    tavrel::CConnectionMgr link(*world.midi, world.volumes, world.waiter, world.alerts);
    if (!link.getConnected() || link.getConnectedModel() != (model == 1)) std::abort();

    const std::uint8_t* at = data + 1;
    const std::uint8_t* const end = data + size;
    while (at < end) link.rxMidiData(nextMessage(at, end, model));
    return 0;
}
