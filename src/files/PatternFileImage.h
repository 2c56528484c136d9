// The byte layout of the unit's user pattern file (RHYTHM.QL0, and the exported copies of it):
// a value holding one whole file, decoded into patterns or encoded from them.
//
// The file is always 2,009,212 bytes: "PTN_0000", the number of slot bytes in use, then 50
// slots of 40,184 bytes whatever the number of patterns. All numbers are little-endian.
#pragma once

#include "files/PatternSnapshot.h"
#include "model/Limits.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

class PatternFileImage {
public:
    static constexpr std::size_t kHeaderSize = 12;
    static constexpr std::size_t kSlotSize = 40184;
    static constexpr std::size_t kSlotCount = limits::kMaxPatterns;
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
    static constexpr ReadRules kUnitRules{limits::kMaxStepRecords - 1, true};
    // A backup comes back as it was written, up to what a slot's note area holds.
    static constexpr ReadRules kImportRules{limits::kMaxStepRecords, false};

    // The patterns of a file: every variation's stored record count as it stands, and the
    // slot's note area as far as any variation counts into it.
    struct Contents {
        std::vector<PatternSnapshot::Pattern> patterns;
        // Set when the header claims more patterns than the file holds.
        std::string warning;
    };

    // The magic and the full length; anything shorter cannot hold the 50 slots the header
    // promises.
    static bool isPatternFile(std::span<const std::uint8_t> file);

    // An image of zeros, or of the given bytes (cut or padded to the file's length).
    PatternFileImage();
    explicit PatternFileImage(std::vector<std::uint8_t> bytes);

    // Patterns of the image; call only on a pattern file.
    Contents read() const;
    // Encodes at most 50 patterns over what the image held. Only the first quarter of the
    // slot area is cleared first: bytes a write does not reach keep what the previous read
    // or write left there, and readers never look at them.
    void write(const std::vector<PatternSnapshot::Pattern>& patterns);

    const std::vector<std::uint8_t>& bytes() const { return mBytes; }

private:
    std::vector<std::uint8_t> mBytes;
};

}  // namespace tavrel
