// What a change notification of the collection is about, so that a table of patterns can
// update the rows concerned instead of everything. It rides along with
// NOTIFY_PATTERN_PARM_CHANGED and NOTIFY_UPDATE_PARM; observers that only need "something
// changed" can ignore it.
#pragma once

#include <cstdint>
#include <vector>

namespace tavrel {

struct PatternChange {
    enum class Kind : std::uint8_t {
        // A field of one pattern or one variation: `field`, `pattern` and `variation` say which.
        Parameter,
        // The collection's current pattern or current variation number.
        Current,
        // A pattern was added at row `pattern`.
        Inserted,
        // The patterns at `rows` (numbered as before the removal) are gone.
        Removed,
        // The patterns at `rows` (numbered as before the move) now stand together from the
        // drop row `pattern` on (or at the end, for a drop past the last row).
        Moved,
        // Anything may have changed: a whole file was read, or many edits were made at once.
        Reset,
    };
    enum class Field : std::uint8_t {
        None,
        Name,
        Tempo,
        Numerator,
        Denominator,
        TimeSignature,  // every variation's window, re-expressed in a new time signature
        Kit,
        CurrentVariation,
        Notes,
        FileName,
        From,
        Bars,
    };

    PatternChange() = default;
    PatternChange(Kind k, Field f = Field::None) : kind(k), field(f) {}  // NOLINT: implicit

    Kind kind = Kind::Reset;
    Field field = Field::None;
    // Row of the pattern concerned; -1 when none, or for a pattern not in the collection.
    std::int32_t pattern = -1;
    // Variation number 0..9 for a change of one variation, else -1.
    std::int32_t variation = -1;
    std::vector<std::int32_t> rows;
};

}  // namespace tavrel
