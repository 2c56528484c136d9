// The unit's limits that the model, the file formats and the views all work to.
#pragma once

#include <cstddef>

namespace tavrel::limits {

// User patterns the unit holds, and so the slots of its pattern file.
inline constexpr int kMaxPatterns = 50;
// Memories of the unit's memory settings, numbered 0..49.
inline constexpr int kMemoryCount = 50;
// Whole quarter notes a minute.
inline constexpr int kMinTempo = 40;
inline constexpr int kMaxTempo = 350;
// Characters of a pattern name, space-padded.
inline constexpr std::size_t kPatternNameLength = 12;
// Step records of a variation, end marker included; a MIDI file gives at most one fewer notes.
inline constexpr int kMaxStepRecords = 10000;
inline constexpr int kMaxNotes = kMaxStepRecords - 1;

}  // namespace tavrel::limits
