// The byte layout of the unit's user pattern file (RHYTHM.QL0, and the exported copies of it)
// and the one process-wide buffer that every read and write of such a file goes through.
//
// The file is always 2,009,212 bytes: "PTN_0000", the number of slot bytes in use, then 50
// slots of 40,184 bytes whatever the number of patterns. All numbers are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavrel {

class PatternFileImage {
public:
    static constexpr std::size_t kHeaderSize = 12;
    static constexpr std::size_t kSlotSize = 40184;
    static constexpr std::size_t kSlotCount = 50;
    static constexpr std::size_t kSlotAreaSize = kSlotSize * kSlotCount;
    static constexpr std::size_t kFileSize = kHeaderSize + kSlotAreaSize;

    // The unit's own reader and the import of a backup treat a few fields differently.
    struct ReadRules {
        // Records a variation may take; the stored count is cut to this.
        std::uint16_t maxRecords;
        // Verse Fill, Chorus Fill and C Fill play one bar whatever was stored.
        bool fillsOneBar;
    };
    // The unit never gives a variation its 10,000th record, and always plays those fills as
    // one bar (D Fill keeps its stored window).
    static constexpr ReadRules kUnitRules{9999, true};
    // A backup comes back as it was written, up to what a slot's note area holds.
    static constexpr ReadRules kImportRules{10000, false};

    // The magic and the full length; anything shorter cannot hold the 50 slots the header
    // promises.
    static bool isPatternFile(std::span<const std::uint8_t> file);

    // Replaces the process's pattern collection by the patterns of `file`. False, with the
    // collection untouched, when `file` is not a pattern file.
    static bool read(std::span<const std::uint8_t> file, ReadRules rules);

    // Encodes the collection, at most 50 patterns, into the shared buffer and returns the
    // whole file image; valid until the next read or write. Empty when the collection holds
    // no pattern, so that nothing gets written.
    static std::span<const std::uint8_t> write();
};

}  // namespace tavrel
