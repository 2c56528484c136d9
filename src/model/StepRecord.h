// One packed note of a variation: the layout the unit stores in its pattern file.
#pragma once

#include "model/Limits.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tavrel {

#pragma pack(push, 1)
struct StepRecord {
    std::uint16_t delta = 0;    // ticks at 96 per quarter note since the previous record
    std::uint8_t note = 0;      // 0 only in the end marker
    std::uint8_t velocity = 0;  // 0 only in the end marker

    friend bool operator==(const StepRecord&, const StepRecord&) = default;
};
#pragma pack(pop)
static_assert(sizeof(StepRecord) == 4, "a step record is four bytes on disk");

// Notes never change in place: a new array replaces the old one, so a player holding the old
// one can keep reading it on another thread.
using StepRecords = std::vector<StepRecord>;
using SharedStepRecords = std::shared_ptr<const StepRecords>;

// The most records a variation holds, end marker included.
inline constexpr int kMaxStepRecords = limits::kMaxStepRecords;

}  // namespace tavrel
