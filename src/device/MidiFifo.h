// The receive ring between the MIDI service's thread and the drain: one writer, one reader,
// no lock and no allocation, so a burst from the unit never waits on the drain. Each side
// owns its index; the other only reads it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace tavrel {

class MidiFifo {
public:
    static constexpr std::uint32_t kSize = 4096;  // one slot stays free: 4095 bytes fit

    // Writer side. False when the ring is full; the byte is not taken, and the writer decides
    // whether to wait for the reader or let it go.
    bool pushFifo(std::uint8_t byte);
    // Reader side. False when the ring is empty.
    bool popFifo(std::uint8_t& byte);

private:
    static constexpr std::uint32_t kMask = kSize - 1;
    static_assert((kSize & kMask) == 0, "the indices wrap by masking");

    std::array<std::uint8_t, kSize> m_fifo{};
    std::atomic<std::uint32_t> m_rdPtr{0};  // written by the reader only
    std::atomic<std::uint32_t> m_wrPtr{0};  // written by the writer only
};

}  // namespace tavrel
