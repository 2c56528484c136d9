// libFuzzer target for the MIDI receive path, ring and message assembly, as the service's
// thread and the drain use it. The input is a script of blocks: a size byte, a control byte
// (bit 0: drain after the block; bits 1-4: how many times the block arrives), then the block.
// Repeats let a script fill the ring without a drain. Every message handed on must fit its
// record, hold no real-time or system-common byte, and all of them together cannot hold more
// bytes than were offered.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "device/MidiReceiver.h"

namespace {

struct Totals {
    std::size_t offered = 0;    // bytes below F8 given to the ring, taken or not
    std::size_t delivered = 0;  // bytes of all messages handed on
};

void checkMessage(const tavrel::MidiPacket& message, Totals& totals) {
    if (message.length < 1 || message.length > tavrel::MidiPacket::kCapacity) std::abort();
    // Copied into a buffer of exactly `length` bytes, so that a length past the record would
    // make the sanitizer see a read beyond it.
    std::vector<std::uint8_t> bytes(message.length);
    std::memcpy(bytes.data(), message.data.data(), message.length);
    for (const std::uint8_t byte : bytes) {
        if (byte >= 0xF8 || (byte > 0xF0 && byte < 0xF7)) std::abort();
    }
    totals.delivered += message.length;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tavrel::MidiReceiver receiver;
    Totals totals;
    const auto drain = [&] {
        receiver.drain([&](const tavrel::MidiPacket& m) { checkMessage(m, totals); });
    };
    std::size_t at = 0;
    while (at + 2 <= size) {
        const std::size_t length = data[at];
        const std::uint8_t control = data[at + 1];
        at += 2;
        const std::span<const std::uint8_t> block(data + at, std::min(length, size - at));
        at += block.size();
        const int repeats = 1 + ((control >> 1) & 0x0F);
        for (int i = 0; i < repeats; ++i) {
            receiver.receive(block);
            for (const std::uint8_t byte : block) totals.offered += byte < 0xF8 ? 1 : 0;
        }
        if ((control & 1) != 0) drain();
    }
    drain();
    if (totals.delivered > totals.offered) std::abort();
    return 0;
}
