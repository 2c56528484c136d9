#include "files/PatternFileImage.h"

#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"

#include <algorithm>
#include <cstring>

namespace tavrel {

namespace {

using Bytes = std::span<std::uint8_t>;
using ConstBytes = std::span<const std::uint8_t>;
using Pattern = PatternSnapshot::Pattern;

constexpr char kMagic[8] = {'P', 'T', 'N', '_', '0', '0', '0', '0'};
constexpr std::size_t kCountAt = 8;

// Offsets inside a slot.
constexpr std::size_t kNameLength = limits::kPatternNameLength;  // then a zero byte
constexpr std::size_t kKitAt = 16;
constexpr std::size_t kTempoAt = 18;
constexpr std::size_t kNumeratorAt = 20;
constexpr std::size_t kDenominatorAt = 21;
constexpr std::size_t kEntriesAt = 24;
constexpr std::size_t kEntrySize = 16;
constexpr std::size_t kNotesAt = kEntriesAt + kEntrySize * kVariationCount;

// Offsets inside a variation entry.
constexpr std::size_t kFromAt = 0;
constexpr std::size_t kBarsAt = 2;
constexpr std::size_t kTotalBarsAt = 4;
constexpr std::size_t kZeroAt = 8;
constexpr std::size_t kRecordCountAt = 12;

// One note area serves all ten variations: only the Intro's notes are stored.
constexpr std::size_t kRecordSize = sizeof(StepRecord);
constexpr std::size_t kAreaRecords = limits::kMaxStepRecords;
static_assert(kNotesAt + kAreaRecords * kRecordSize == PatternFileImage::kSlotSize);

// A write clears only the first quarter of the slot area.
constexpr std::size_t kClearedOnWrite = PatternFileImage::kSlotAreaSize / 4;

std::uint16_t get16(ConstBytes b, std::size_t at) {
    return static_cast<std::uint16_t>(b[at] | (b[at + 1] << 8));
}

std::uint32_t get32(ConstBytes b, std::size_t at) {
    return std::uint32_t{get16(b, at)} | (std::uint32_t{get16(b, at + 2)} << 16);
}

// Values wider than the field keep their low bits.
void put8(Bytes b, std::size_t at, std::int32_t v) {
    b[at] = static_cast<std::uint8_t>(v & 0xFF);
}

void put16(Bytes b, std::size_t at, std::int32_t v) {
    put8(b, at, v);
    put8(b, at + 1, v >> 8);
}

void put32(Bytes b, std::size_t at, std::uint32_t v) {
    put16(b, at, static_cast<std::int32_t>(v & 0xFFFF));
    put16(b, at + 2, static_cast<std::int32_t>(v >> 16));
}

// The name up to its zero byte. A file whose terminator is missing gives the 12 bytes of the
// field rather than whatever follows it.
std::string nameOf(ConstBytes slot) {
    const auto field = slot.first(kNameLength);
    const auto end = std::find(field.begin(), field.end(), std::uint8_t{0});
    return std::string(field.begin(), end);
}

Pattern readSlot(ConstBytes slot) {
    Pattern p;
    p.name = nameOf(slot);
    p.kit = get16(slot, kKitAt);
    p.tempo = get16(slot, kTempoAt);
    p.numerator = slot[kNumeratorAt];
    p.denominator = slot[kDenominatorAt];
    std::size_t used = 0;
    for (std::size_t v = 0; v < kVariationCount; ++v) {
        const auto entry = slot.subspan(kEntriesAt + kEntrySize * v, kEntrySize);
        p.variations[v] = {get16(entry, kFromAt), get16(entry, kBarsAt), get16(entry, kTotalBarsAt),
                           get16(entry, kRecordCountAt)};
        used = std::max<std::size_t>(used, get16(entry, kRecordCountAt));
    }
    StepRecords notes(std::min(used, kAreaRecords));
    for (std::size_t i = 0; i < notes.size(); ++i) {
        const std::size_t at = kNotesAt + i * kRecordSize;
        notes[i] = {get16(slot, at), slot[at + 2], slot[at + 3]};
    }
    p.notes = std::make_shared<const StepRecords>(std::move(notes));
    return p;
}

void writeSlot(Bytes slot, const Pattern& p) {
    CPatternMgr::copyString(slot.first(kNameLength + 1), p.name, 0, kNameLength);
    put16(slot, kKitAt, p.kit);
    put16(slot, kTempoAt, p.tempo);
    put8(slot, kNumeratorAt, p.numerator);
    put8(slot, kDenominatorAt, p.denominator);
    for (std::size_t v = 0; v < kVariationCount; ++v) {
        const Bytes entry = slot.subspan(kEntriesAt + kEntrySize * v, kEntrySize);
        const PatternSnapshot::Variation& var = p.variations[v];
        put16(entry, kFromAt, var.from);
        put16(entry, kBarsAt, var.bars);
        put16(entry, kTotalBarsAt, var.totalBars);
        put32(entry, kZeroAt, 0);
        put16(entry, kRecordCountAt, std::min(var.recordCount, limits::kMaxStepRecords));
    }
    if (!p.notes) return;
    const std::size_t n = std::min(p.notes->size(), kAreaRecords);
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t at = kNotesAt + i * kRecordSize;
        const StepRecord& r = (*p.notes)[i];
        put16(slot, at, r.delta);
        put8(slot, at + 2, r.note);
        put8(slot, at + 3, r.velocity);
    }
}

}  // namespace

bool PatternFileImage::isPatternFile(std::span<const std::uint8_t> file) {
    return file.size() >= kFileSize && std::memcmp(file.data(), kMagic, sizeof kMagic) == 0;
}

PatternFileImage::PatternFileImage() : mBytes(kFileSize, 0) {}

PatternFileImage::PatternFileImage(std::vector<std::uint8_t> bytes) : mBytes(std::move(bytes)) {
    mBytes.resize(kFileSize, 0);
}

PatternFileImage::Contents PatternFileImage::read() const {
    Contents contents;
    const ConstBytes file(mBytes);
    // The header alone says how many slots are in use; a count beyond the 50 slots a file
    // holds is not believed.
    const std::size_t claimed = get32(file, kCountAt) / kSlotSize;
    if (claimed > kSlotCount) {
        contents.warning = "the header claims " + std::to_string(claimed) +
                           " patterns, but a pattern file holds " + std::to_string(kSlotCount) +
                           "; reading " + std::to_string(kSlotCount);
    }
    const std::size_t count = std::min(claimed, kSlotCount);
    contents.patterns.reserve(count);
    for (std::size_t p = 0; p < count; ++p) {
        contents.patterns.push_back(readSlot(file.subspan(kHeaderSize + p * kSlotSize, kSlotSize)));
    }
    return contents;
}

void PatternFileImage::write(const std::vector<Pattern>& patterns) {
    const Bytes file(mBytes);
    const Bytes slots = file.subspan(kHeaderSize);
    std::fill_n(slots.begin(), kClearedOnWrite, std::uint8_t{0});
    const std::size_t count = std::min(patterns.size(), kSlotCount);
    for (std::size_t p = 0; p < count; ++p) {
        writeSlot(slots.subspan(p * kSlotSize, kSlotSize), patterns[p]);
    }
    std::memcpy(file.data(), kMagic, sizeof kMagic);
    put32(file, kCountAt, static_cast<std::uint32_t>(count * kSlotSize));
}

}  // namespace tavrel
