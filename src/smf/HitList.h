// The note-ons of a MIDI file while it is read, reduced on the way to the ones a variation can
// hold: the first 9,999 in the order of time, note and velocity. Tracks arrive in time order,
// so each track is a run that is already in order but for notes of one time; a track is put
// in order when it closes and the runs are merged once, the last merge writing the records.
#pragma once

#include "model/StepRecord.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace tavrel::smf {

class HitList {
public:
    void add(std::int32_t time, std::uint8_t note, std::uint8_t velocity) {
        ++mSeen;
        const std::uint64_t key = keyOf(time, note, velocity);
        if (key >= mBound) return;
        mDisordered |= key < mLast;
        mLast = key;
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

    // One unsigned number that orders as the hits do: time in the top bits, then note and
    // velocity. All three are signed: a stray data byte of 0x80 or more is a negative note or
    // velocity, ordered before 0 (and a negative velocity still sounds). Flipping each sign
    // bit makes the unsigned order the signed one.
    static std::uint64_t keyOf(std::int32_t time, std::uint8_t note, std::uint8_t velocity) {
        const std::uint64_t t = static_cast<std::uint32_t>(time) ^ 0x8000'0000u;
        return ((t << 16) | (std::uint64_t{note} << 8) | velocity) ^ 0x8080u;
    }

    // Puts the current track's hits in order.
    void sortTrack();
    // Merges every ordered run into one and keeps its first 9,999.
    void collapse();

    // Ends every run in the hits and in the scratch space; no key reaches it.
    static constexpr std::uint64_t kSentinel = UINT64_MAX;
    struct Run {
        const std::uint64_t* begin;
        std::size_t size;
    };
    // Merges the runs into two or fewer, smallest first; the caller merges what is left.
    std::vector<Run> mergeToTwo();
    // The last two runs (a lone sentinel for a missing one) and how many of them are kept.
    struct Pair {
        const std::uint64_t* a;
        const std::uint64_t* b;
        std::size_t count;
    };
    Pair finalPair(const std::vector<Run>& runs) const;

    // Hits as one ordered number each, every closed run followed by a sentinel; mRuns holds
    // where each closed run begins, and the hits from mOpen on belong to the track being read.
    std::vector<std::uint64_t> mHits;
    std::vector<std::size_t> mRuns;
    std::size_t mOpen = 0;
    std::unique_ptr<std::uint64_t[]> mScratch;
    std::size_t mScratchSize = 0;
    // The current track's last hit, and whether any hit came below the one before it.
    std::uint64_t mLast = 0;
    bool mDisordered = false;
    // Once 9,999 are kept, a hit at or above the last of them can never be among them.
    std::uint64_t mBound = UINT64_MAX;
    std::uint64_t mSeen = 0;
    bool mSawEnd = false;
    std::int32_t mLatestEnd = INT32_MIN;
};

}  // namespace tavrel::smf
