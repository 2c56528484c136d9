#include "device/KitNameTable.h"

#include <algorithm>
#include <cstring>

namespace tavrel {

namespace {
constexpr std::uint8_t kNotReceived = 0xFF;
}  // namespace

KitNameTable::KitNameTable() : mBytes(std::make_unique<std::uint8_t[]>(kBytes)) {}

void KitNameTable::clear() {
    std::fill_n(mBytes.get(), kBytes, kNotReceived);
}

void KitNameTable::store(std::size_t offset, std::span<const std::uint8_t> bytes) {
    if (offset >= kBytes) return;
    const std::size_t kept = std::min(bytes.size(), kBytes - offset);
    std::copy_n(bytes.begin(), kept, mBytes.get() + offset);
}

bool KitNameTable::endsList(std::size_t slot) const {
    return slot < kSlots && mBytes[slot * kSlotBytes] == 0;
}

void KitNameTable::terminateNames() {
    for (std::size_t slot = 0; slot < kNameSlots; ++slot) {
        mBytes[slot * kSlotBytes + kSlotBytes - 1] = 0;
    }
}

std::string KitNameTable::slotText(std::size_t slot) const {
    const char* text = reinterpret_cast<const char*>(mBytes.get() + slot * kSlotBytes);
    return std::string(text, ::strnlen(text, kSlotBytes));
}

std::vector<std::string> KitNameTable::names() const {
    std::vector<std::string> result;
    for (std::size_t slot = 0; slot < kNameSlots && !endsList(slot); ++slot) {
        const std::string text = slotText(slot);
        const std::size_t first = text.find_first_not_of(' ');
        if (first != std::string::npos) result.push_back(text.substr(first));
    }
    return result;
}

}  // namespace tavrel
