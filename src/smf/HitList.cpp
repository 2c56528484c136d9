#include "smf/HitList.h"

#include <algorithm>

namespace tavrel::smf {

namespace {

std::int32_t timeOf(std::uint64_t key) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(key >> 16) ^ 0x8000'0000u);
}

std::uint8_t byteOf(std::uint64_t key, int shift) {
    return static_cast<std::uint8_t>(((key >> shift) & 0xFF) - 128);
}

std::int32_t addWrapping(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

using Iter = std::vector<std::uint64_t>::iterator;

// A track's hits come in time order unless its running time wrapped, so only hits of one
// time need ordering, and those runs are short: an insertion sort does it in one pass. A time
// that goes back sends the whole track to a full sort.
void putInOrder(Iter first, Iter last) {
    if (first == last) return;
    for (Iter i = first + 1; i != last; ++i) {
        const std::uint64_t hit = *i;
        if (!(hit < *(i - 1))) continue;
        if ((*(i - 1) >> 16) != (hit >> 16)) {
            std::sort(first, last);
            return;
        }
        Iter j = i;
        do {
            *j = *(j - 1);
            --j;
        } while (j != first && hit < *(j - 1));
        *j = hit;
    }
}

// Tracks interleave note by note, which a branch cannot predict; the choice is made with
// arithmetic instead.
void mergeRuns(const std::uint64_t* a, const std::uint64_t* aEnd, const std::uint64_t* b,
               const std::uint64_t* bEnd, std::uint64_t* out) {
    while (a != aEnd && b != bEnd) {
        const bool takeB = *b < *a;
        *out++ = takeB ? *b : *a;
        b += takeB ? 1 : 0;
        a += takeB ? 0 : 1;
    }
    out = std::copy(a, aEnd, out);
    std::copy(b, bEnd, out);
}

}  // namespace

void HitList::endTrack() {
    if (mOpen == mHits.size()) return;
    putInOrder(mHits.begin() + static_cast<std::ptrdiff_t>(mOpen), mHits.end());
    if (mOpen != 0) mRuns.push_back(mOpen);
    mOpen = mHits.size();
}

void HitList::collapse() {
    endTrack();
    // Neighbouring runs merge pairwise, level by level, until one is left.
    while (!mRuns.empty()) {
        mScratch.resize(mHits.size());
        std::vector<std::size_t> merged;
        std::size_t begin = 0;
        for (std::size_t i = 0; i < mRuns.size(); i += 2) {
            const std::size_t middle = mRuns[i];
            const std::size_t end = i + 1 < mRuns.size() ? mRuns[i + 1] : mHits.size();
            mergeRuns(&mHits[begin], &mHits[middle], &mHits[middle], mHits.data() + end,
                      &mScratch[begin]);
            if (begin != 0) merged.push_back(begin);
            begin = end;
        }
        std::copy(mHits.begin() + static_cast<std::ptrdiff_t>(begin), mHits.end(),
                  mScratch.begin() + static_cast<std::ptrdiff_t>(begin));
        if (begin != mHits.size() && begin != 0) merged.push_back(begin);
        mHits.swap(mScratch);
        mRuns.swap(merged);
    }
    if (mHits.size() >= limits::kMaxNotes) {
        mHits.resize(limits::kMaxNotes);
        mBound = mHits.back();
    }
    mOpen = mHits.size();
}

StepRecords HitList::toRecords() {
    collapse();
    // The phrase ends at the latest End of Track; a phrase cut at 9,999 notes ends on its last
    // note whatever End of Track said, and one with no end at all a step after its last note.
    std::int32_t endTime = mSawEnd ? mLatestEnd : -1;
    if (mSeen >= limits::kMaxNotes) endTime = timeOf(mHits.back());
    if (endTime == -1) endTime = mHits.empty() ? 0 : addWrapping(timeOf(mHits.back()), 10);

    // q is the previous record's time cut down to the grid, so the deltas always add up to
    // t / 10 and quantising never drifts. A gap of 655,360 ticks or more wraps the 16 bits;
    // an end before the last note gives a "negative" delta, wrapped the same way.
    StepRecords records(mHits.size() + 1);
    std::int32_t step = 0;  // q / 10
    const auto put = [&step](StepRecord& r, std::int32_t t, std::uint8_t note, std::uint8_t velo) {
        const std::int32_t q = step * 10;
        step = t / 10;
        // Both on the grid's positive side: the difference of the steps is the quotient.
        const std::int64_t delta = (q >= 0 && t >= q) ? step - q / 10 : (std::int64_t{t} - q) / 10;
        r = {static_cast<std::uint16_t>(delta), note, velo};
    };
    for (std::size_t i = 0; i < mHits.size(); ++i) {
        put(records[i], timeOf(mHits[i]), byteOf(mHits[i], 8), byteOf(mHits[i], 0));
    }
    put(records.back(), endTime, 0, 0);
    return records;
}

}  // namespace tavrel::smf
