// Phrases written as notes at absolute ticks, and what a looping window of them should play
// tick by tick, worked out on their own terms for the tests to compare with.
#pragma once

#include "model/StepRecord.h"

#include <cstdint>
#include <vector>

namespace tavrel::test {

struct Note {
    int tick;
    int note;
    int velocity = 100;
};

// Step records of `notes` (in time order) and the end marker at `endTick`.
inline StepRecords stepRecords(const std::vector<Note>& notes, int endTick) {
    StepRecords records;
    int last = 0;
    for (const Note& n : notes) {
        records.push_back({static_cast<std::uint16_t>(n.tick - last),
                           static_cast<std::uint8_t>(n.note),
                           static_cast<std::uint8_t>(n.velocity)});
        last = n.tick;
    }
    records.push_back({static_cast<std::uint16_t>(endTick - last), 0, 0});
    return records;
}

// Tick by tick, the notes (in list order) of a window that starts at `start` and plays `loop`
// ticks before it jumps back, for `count` ticks from `firstPosition`.
inline std::vector<std::vector<int>> windowNotes(const std::vector<Note>& notes, int start,
                                                 int loop, int firstPosition, int count) {
    std::vector<std::vector<int>> ticks(static_cast<std::size_t>(count));
    for (int i = 0, position = firstPosition; i < count; ++i) {
        for (const Note& n : notes) {
            if (n.tick == position) ticks[static_cast<std::size_t>(i)].push_back(n.note);
        }
        position = position + 1 < start + loop ? position + 1 : start;
    }
    return ticks;
}

}  // namespace tavrel::test
