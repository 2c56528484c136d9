#include "files/PatternFileImage.h"

#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/StepRecord.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace tavrel {

namespace {

using Bytes = std::span<std::uint8_t>;
using ConstBytes = std::span<const std::uint8_t>;

constexpr char kMagic[8] = {'P', 'T', 'N', '_', '0', '0', '0', '0'};
constexpr std::size_t kCountAt = 8;

// Offsets inside a slot.
constexpr std::size_t kNameLength = 12;  // followed by a zero byte
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
static_assert(kNotesAt + kMaxStepRecords * kRecordSize == PatternFileImage::kSlotSize);

// A write clears only the first quarter of the slot area; the rest keeps what the previous
// read or write left there. Readers go by the header count and each variation's record
// count and never look further.
constexpr std::size_t kClearedOnWrite = PatternFileImage::kSlotAreaSize / 4;

// Allocated once for the life of the process: the header and then the slot area, so that a
// write hands the file over in one piece.
std::array<std::uint8_t, PatternFileImage::kFileSize>& image() {
    static std::array<std::uint8_t, PatternFileImage::kFileSize> bytes{};
    return bytes;
}

Bytes slotArea() {
    return Bytes(image()).subspan(PatternFileImage::kHeaderSize);
}

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

bool isForcedFill(int variation) {
    return variation == 2 || variation == 4 || variation == 6;
}

void readVariation(ConstBytes slot, int v, CPhraseData& phrase, PatternFileImage::ReadRules rules,
                   StepRecords& scratch) {
    const auto entry =
        slot.subspan(kEntriesAt + kEntrySize * static_cast<std::size_t>(v), kEntrySize);
    const std::size_t n = std::min(get16(entry, kRecordCountAt), rules.maxRecords);
    scratch.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t at = kNotesAt + i * kRecordSize;
        scratch[i] = {get16(slot, at), slot[at + 2], slot[at + 3]};
    }
    // Notes first: they reset the window, against which from and bars are then clamped. The
    // stored total bars are not read; the notes give them again.
    phrase.setSeqData(scratch.data(), static_cast<std::int32_t>(n));
    phrase.setFrom(get16(entry, kFromAt));
    phrase.setBars(get16(entry, kBarsAt));
    // Marks the variation as coming from the unit rather than from a MIDI file.
    phrase.setFileName("USER");
    if (rules.fillsOneBar && isForcedFill(v)) phrase.setBars(1);
}

void readSlot(ConstBytes slot, CPtnDataMgr& pattern, PatternFileImage::ReadRules rules,
              StepRecords& scratch) {
    pattern.setName(nameOf(slot));
    pattern.setKitNum(get16(slot, kKitAt));
    pattern.setTempo(get16(slot, kTempoAt));
    pattern.setNume(slot[kNumeratorAt]);
    pattern.setDeno(slot[kDenominatorAt]);
    for (int v = 0; v < kVariationCount; ++v) {
        readVariation(slot, v, *pattern.getPhraseAtVariation(v), rules, scratch);
    }
}

void writeVariation(Bytes entry, const CPhraseData& phrase) {
    put16(entry, kFromAt, phrase.getFrom());
    put16(entry, kBarsAt, phrase.getBars());
    put16(entry, kTotalBarsAt, phrase.getTotalBars());
    put32(entry, kZeroAt, 0);
    put16(entry, kRecordCountAt, std::min(phrase.getSeqDataCount(), kMaxStepRecords));
}

void writeNotes(Bytes slot, const CPhraseData& intro) {
    const SharedStepRecords records = intro.getSeqData();
    if (!records) return;
    const std::size_t n = std::min(records->size(), std::size_t{kMaxStepRecords});
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t at = kNotesAt + i * kRecordSize;
        put16(slot, at, (*records)[i].delta);
        put8(slot, at + 2, (*records)[i].note);
        put8(slot, at + 3, (*records)[i].velocity);
    }
}

void writeSlot(Bytes slot, const CPtnDataMgr& pattern) {
    CPatternMgr::copyString(slot.first(kNameLength + 1), pattern.getName(), 0, kNameLength);
    put16(slot, kKitAt, pattern.getKitNum());
    put16(slot, kTempoAt, pattern.getTempo());
    put8(slot, kNumeratorAt, pattern.getNume());
    put8(slot, kDenominatorAt, pattern.getDeno());
    for (int v = 0; v < kVariationCount; ++v) {
        const auto at = kEntriesAt + kEntrySize * static_cast<std::size_t>(v);
        writeVariation(slot.subspan(at, kEntrySize), *pattern.getPhraseAtVariation(v));
    }
    writeNotes(slot, *pattern.getPhraseAtVariation(0));
}

}  // namespace

bool PatternFileImage::isPatternFile(std::span<const std::uint8_t> file) {
    return file.size() >= kFileSize && std::memcmp(file.data(), kMagic, sizeof kMagic) == 0;
}

bool PatternFileImage::read(std::span<const std::uint8_t> file, ReadRules rules) {
    if (!isPatternFile(file)) return false;
    CPatternMgr& patterns = Context::current().patterns();
    patterns.clearAllPtnData();
    const Bytes slots = slotArea();
    std::copy_n(file.begin() + kHeaderSize, kSlotAreaSize, slots.begin());
    // The header alone says how many slots are in use; a count beyond the 50 slots a file
    // holds is not believed.
    const std::size_t count = std::min(get32(file, kCountAt) / kSlotSize, kSlotCount);
    StepRecords scratch;
    scratch.reserve(kMaxStepRecords);
    for (std::size_t p = 0; p < count; ++p) {
        readSlot(slots.subspan(p * kSlotSize, kSlotSize), *patterns.addPatternData(), rules,
                 scratch);
    }
    patterns.setCurPatternNum(0);
    if (const auto current = patterns.getCurPattarn()) current->setCurVariationNum(0);
    patterns.setActive();
    return true;
}

std::span<const std::uint8_t> PatternFileImage::write() {
    const CPatternMgr::PatternList& list = Context::current().patterns().getPtnData();
    if (list.empty()) return {};
    const Bytes slots = slotArea();
    std::fill_n(slots.begin(), kClearedOnWrite, std::uint8_t{0});
    const std::size_t count = std::min(list.size(), kSlotCount);
    for (std::size_t p = 0; p < count; ++p) {
        writeSlot(slots.subspan(p * kSlotSize, kSlotSize), *list[p]);
    }
    const Bytes header = Bytes(image()).first(kHeaderSize);
    std::memcpy(header.data(), kMagic, sizeof kMagic);
    put32(header, kCountAt, static_cast<std::uint32_t>(count * kSlotSize));
    return image();
}

}  // namespace tavrel
