// The note-ons of a MIDI file while it is read, reduced on the way to the ones a variation can
// hold: the first 9,999 in the order of time, note and velocity. Tracks arrive in time order,
// so each is put in order with little work and merged with what the earlier tracks left.
#pragma once

#include "model/StepRecord.h"

#include <cstdint>
#include <vector>

namespace tavrel::smf {

class HitList {
public:
    void add(std::int32_t time, std::int32_t note, std::int32_t velocity);
    // End of Track, and a note-on for key 0, which is not told apart from it.
    void addEnd(std::int32_t time);
    // Closes the current track; the next hits belong to another.
    void endTrack();

    // The kept notes as step records, end marker last.
    StepRecords toRecords();

private:
    void mergeTrack();

    // Hits as one ordered number each: time, then note, then velocity.
    std::vector<std::uint64_t> mTrack;
    std::vector<std::uint64_t> mKept;  // ascending, at most 9,999
    std::vector<std::uint64_t> mScratch;
    // Once 9,999 are kept, a hit at or above the last of them can never be among them.
    std::uint64_t mBound = UINT64_MAX;
    std::uint64_t mSeen = 0;
    bool mSawEnd = false;
    std::int32_t mLatestEnd = INT32_MIN;
};

}  // namespace tavrel::smf
