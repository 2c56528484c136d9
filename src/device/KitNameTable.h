// The unit's drum kit names as they arrive: 100 slots of 16 bytes, slot i holding kit i's
// name, space-padded, with a slot whose first byte is 0 after the last kit.
//
// The receive thread writes it while a kit list comes in; the main thread reads it only
// after the receive thread has published the end of the list (CConnectionMgr's
// mGetKitName, stored with release ordering and read with acquire ordering).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

class KitNameTable {
public:
    static constexpr std::size_t kSlotBytes = 16;
    static constexpr std::size_t kSlots = 100;
    static constexpr std::size_t kBytes = kSlots * kSlotBytes;
    // Names are read and logged from slots 0..98 only.
    static constexpr std::size_t kNameSlots = kSlots - 1;

    KitNameTable();

    // Marks every byte as not received, so that no name from an earlier list survives.
    void clear();
    // Copies `bytes` in from `offset` on. Bytes that would fall past the table are dropped.
    void store(std::size_t offset, std::span<const std::uint8_t> bytes);
    // Whether `slot` marks the end of the list. A slot past the table never does: what the
    // unit sent there was dropped.
    bool endsList(std::size_t slot) const;
    // Cuts each name to 15 characters, so every slot read below is a terminated string.
    void terminateNames();
    // The slot as received up to its terminator, leading spaces included. Only after
    // terminateNames, for slots below kNameSlots.
    std::string slotText(std::size_t slot) const;
    // The kit names: slots from 0 up to the end marker, leading spaces skipped, slots of
    // spaces left out. Only after terminateNames.
    std::vector<std::string> names() const;

private:
    // On the heap on its own, so that the address sanitizer sees any write past its end.
    std::unique_ptr<std::uint8_t[]> mBytes;
};

}  // namespace tavrel
