#include "device/MidiFifo.h"

namespace tavrel {

bool MidiFifo::pushFifo(std::uint8_t byte) {
    const std::uint32_t wr = m_wrPtr.load(std::memory_order_relaxed);
    const std::uint32_t next = (wr + 1) & kMask;
    // Acquire: the reader is done with the slot it has moved past.
    if (next == m_rdPtr.load(std::memory_order_acquire)) return false;
    m_fifo[wr] = byte;
    // Release: the byte is in place before the reader can see the new index.
    m_wrPtr.store(next, std::memory_order_release);
    return true;
}

bool MidiFifo::popFifo(std::uint8_t& byte) {
    const std::uint32_t rd = m_rdPtr.load(std::memory_order_relaxed);
    if (rd == m_wrPtr.load(std::memory_order_acquire)) return false;
    byte = m_fifo[rd];
    m_rdPtr.store((rd + 1) & kMask, std::memory_order_release);
    return true;
}

}  // namespace tavrel
