// The note-ons of a MIDI file while it is read, reduced on the way to the ones a variation can
// hold: the first 9,999 in the order of time, note and velocity. Tracks arrive in time order,
// so each is put in order with little work, and the ordered tracks are merged.
#pragma once

#include "model/StepRecord.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tavrel::smf {

class HitList {
public:
    void add(std::int32_t time, std::int32_t note, std::int32_t velocity) {
        ++mSeen;
        const std::uint64_t key = keyOf(time, note, velocity);
        if (key >= mBound) return;
        mHits.push_back(key);
        if (mHits.size() >= kCollapseAt) collapse();
    }
    // End of Track, and a note-on for key 0, which is not told apart from it.
    void addEnd(std::int32_t time) {
        mSawEnd = true;
        if (time > mLatestEnd) mLatestEnd = time;
    }
    // Closes the current track; the next hits belong to another.
    void endTrack();
    void reserve(std::size_t hits) { mHits.reserve(std::min(hits, kCollapseAt)); }

    // The kept notes as step records, end marker last.
    StepRecords toRecords();

private:
    // A long file is merged and cut in parts so that memory stays bounded whatever its size.
    static constexpr std::size_t kCollapseAt = std::size_t{4} * limits::kMaxNotes;

    // Signed fields become unsigned ones that order the same way: time in the top bits, then
    // note and velocity, each a data byte read as signed (-128..127).
    static std::uint64_t keyOf(std::int32_t time, std::int32_t note, std::int32_t velocity) {
        const std::uint64_t t = static_cast<std::uint32_t>(time) ^ 0x8000'0000u;
        const std::uint64_t n = static_cast<std::uint8_t>(note + 128);
        const std::uint64_t v = static_cast<std::uint8_t>(velocity + 128);
        return (t << 16) | (n << 8) | v;
    }

    // Merges every ordered run into one and keeps its first 9,999.
    void collapse();

    // Hits as one ordered number each; mRuns holds where each ordered run after the first
    // begins, the last one (from mOpen on) still being read.
    std::vector<std::uint64_t> mHits;
    std::vector<std::size_t> mRuns;
    std::size_t mOpen = 0;
    std::vector<std::uint64_t> mScratch;
    // Once 9,999 are kept, a hit at or above the last of them can never be among them.
    std::uint64_t mBound = UINT64_MAX;
    std::uint64_t mSeen = 0;
    bool mSawEnd = false;
    std::int32_t mLatestEnd = INT32_MIN;
};

}  // namespace tavrel::smf
