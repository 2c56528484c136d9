#include "smf/HitList.h"

#include <algorithm>

namespace tavrel::smf {

namespace {

constexpr std::size_t kMaxNotes = limits::kMaxNotes;
// A long track is merged in parts so that memory stays bounded whatever the file's size.
constexpr std::size_t kMergeEvery = 4 * kMaxNotes;

// Signed fields become unsigned ones that order the same way: time in the top 32 bits, then
// note and velocity, each a data byte read as signed (-128..127).
std::uint64_t keyOf(std::int32_t time, std::int32_t note, std::int32_t velocity) {
    const std::uint64_t t = static_cast<std::uint32_t>(time) ^ 0x8000'0000u;
    const std::uint64_t n = static_cast<std::uint8_t>(note + 128);
    const std::uint64_t v = static_cast<std::uint8_t>(velocity + 128);
    return (t << 16) | (n << 8) | v;
}

std::int32_t timeOf(std::uint64_t key) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(key >> 16) ^ 0x8000'0000u);
}

std::uint8_t byteOf(std::uint64_t key, int shift) {
    return static_cast<std::uint8_t>(((key >> shift) & 0xFF) - 128);
}

std::int32_t addWrapping(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

// A track's hits come in time order unless its running time wrapped; only hits of one time
// need ordering then, and those runs are short.
void putInOrder(std::vector<std::uint64_t>& hits) {
    auto run = hits.begin();
    while (run != hits.end()) {
        const std::uint64_t time = *run >> 16;
        auto next = run + 1;
        while (next != hits.end() && (*next >> 16) == time) ++next;
        if (next != hits.end() && (*next >> 16) < time) {
            std::sort(hits.begin(), hits.end());
            return;
        }
        if (next - run > 1) std::sort(run, next);
        run = next;
    }
}

}  // namespace

void HitList::add(std::int32_t time, std::int32_t note, std::int32_t velocity) {
    ++mSeen;
    const std::uint64_t key = keyOf(time, note, velocity);
    if (key >= mBound) return;
    mTrack.push_back(key);
    if (mTrack.size() >= kMergeEvery) mergeTrack();
}

void HitList::addEnd(std::int32_t time) {
    mSawEnd = true;
    mLatestEnd = std::max(mLatestEnd, time);
}

void HitList::endTrack() {
    if (!mTrack.empty()) mergeTrack();
}

void HitList::mergeTrack() {
    putInOrder(mTrack);
    if (mKept.empty()) {
        mKept.swap(mTrack);
    } else {
        mScratch.resize(mKept.size() + mTrack.size());
        std::merge(mKept.begin(), mKept.end(), mTrack.begin(), mTrack.end(), mScratch.begin());
        mKept.swap(mScratch);
    }
    mTrack.clear();
    if (mKept.size() >= kMaxNotes) {
        mKept.resize(kMaxNotes);
        mBound = mKept.back();
    }
}

StepRecords HitList::toRecords() {
    endTrack();
    // The phrase ends at the latest End of Track; a phrase cut at 9,999 notes ends on its last
    // note whatever End of Track said, and one with no end at all a step after its last note.
    std::int32_t endTime = mSawEnd ? mLatestEnd : -1;
    if (mSeen >= kMaxNotes) endTime = timeOf(mKept.back());
    if (endTime == -1) endTime = mKept.empty() ? 0 : addWrapping(timeOf(mKept.back()), 10);

    // q is the previous record's time cut down to the grid, so the deltas always add up to
    // t / 10 and quantising never drifts. A gap of 655,360 ticks or more wraps the 16 bits;
    // an end before the last note gives a "negative" delta, wrapped the same way.
    StepRecords records(mKept.size() + 1);
    std::int64_t q = 0;
    auto put = [&q](StepRecord& r, std::int64_t t, std::uint8_t note, std::uint8_t velocity) {
        r = {static_cast<std::uint16_t>((t - q) / 10), note, velocity};
        q = (t / 10) * 10;
    };
    for (std::size_t i = 0; i < mKept.size(); ++i) {
        put(records[i], timeOf(mKept[i]), byteOf(mKept[i], 8), byteOf(mKept[i], 0));
    }
    put(records.back(), endTime, 0, 0);
    return records;
}

}  // namespace tavrel::smf
