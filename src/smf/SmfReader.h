// The Standard MIDI File reader as a function of bytes: the note-ons of every track merged
// into one time-ordered list, quantised to 96 per quarter and closed by an end marker, and the
// file's tempo. Nothing outside the given bytes is read and nothing is kept between calls.
#pragma once

#include "model/StepRecord.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavrel::smf {

struct SmfHeader {
    // Declared track count of an accepted header; 0 for a refused one.
    int tracks = 0;
    // File ticks to 960 per quarter note: 960 / division.
    float tpqnCoef = 1.0f;
};

struct SmfResult {
    // What the header check gave: the declared track count, or 0 for a refused header.
    int check = 0;
    // The merged records, end marker last; null when the header was refused.
    SharedStepRecords records;
    // Whole beats per minute of the last Set Tempo in file order, 40..350; 0 when none.
    std::int32_t tempo = 0;
    float tpqnCoef = 1.0f;
    // Bytes before this offset were read; what lies after it (a cut track, chunks of another
    // type, tracks beyond the declared count) was not.
    std::size_t stoppedAt = 0;
};

// Accepts "MThd" with length 6 and format 0 or 1.
SmfHeader readHeader(std::span<const std::uint8_t> data);

SmfResult readSmf(std::span<const std::uint8_t> data);

}  // namespace tavrel::smf
