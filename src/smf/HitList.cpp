#include "smf/HitList.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <queue>
#include <utility>

namespace tavrel::smf {

namespace {

std::int32_t timeOf(std::uint64_t key) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(key >> 16) ^ 0x8000'0000u);
}

std::int32_t addWrapping(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

// The first `count` hits of two ordered runs, in order, handed to `put`, which is returned
// with what it holds after them (a copy, so that its state stays in registers). Each run ends
// in a sentinel above every hit, so neither needs an end test; `count` is at most the two
// runs' hits together. Tracks interleave note by note, which a branch cannot predict; the
// choice is made with arithmetic.
template <class Put>
Put mergeInto(const std::uint64_t* a, const std::uint64_t* b, std::size_t count, Put put) {
    for (; count != 0; --count) {
        const bool takeB = *b < *a;
        put(takeB ? *b : *a);
        b += takeB ? 1 : 0;
        a += takeB ? 0 : 1;
    }
    return put;
}

// Turns ordered hits into step records. The step is the previous record's time cut down to
// the grid, so the deltas always add up to t / 10 and quantising never drifts. A gap of
// 655,360 ticks or more wraps the 16 bits; an end before the last note gives a "negative"
// delta, wrapped the same way. With kFromZero every hit lies at time 0 or later, the usual
// case: ordered times then make each delta the plain difference of the steps.
template <bool kFromZero>
class RecordWriter {
public:
    explicit RecordWriter(StepRecord* out) : mOut(out) {}

    void operator()(std::uint64_t key) {
        mLast = key;
        const auto note = static_cast<std::uint8_t>((key >> 8) ^ 0x80);
        const auto velocity = static_cast<std::uint8_t>(key ^ 0x80);
        if constexpr (kFromZero) {
            const std::uint32_t step = (static_cast<std::uint32_t>(key >> 16) ^ 0x8000'0000u) / 10;
            *mOut++ = {static_cast<std::uint16_t>(step - static_cast<std::uint32_t>(mStep)), note,
                       velocity};
            mStep = static_cast<std::int32_t>(step);
        } else {
            put(timeOf(key), note, velocity);
        }
    }
    void put(std::int32_t t, std::uint8_t note, std::uint8_t velocity) {
        const std::int32_t previous = mStep;
        // The previous time cut down to the grid; a tenth of an int32 times ten fits one.
        const std::int32_t grid = previous * 10;
        mStep = t / 10;
        // Both on the grid's positive side, the usual case: the difference of the steps is
        // the quotient.
        std::int64_t delta = mStep - previous;
        if (grid < 0 || t < grid) [[unlikely]]
            delta = (std::int64_t{t} - grid) / 10;
        *mOut++ = {static_cast<std::uint16_t>(delta), note, velocity};
    }
    std::uint64_t last() const { return mLast; }

private:
    StepRecord* mOut;
    std::int32_t mStep = 0;
    std::uint64_t mLast = 0;
};

}  // namespace

void HitList::sortTrack() {
    // Notes of one time come in any order, a few at a time, and an insertion sort puts them
    // in place in about one pass. A time that goes back (a running time that wrapped) or a
    // long chord in reverse would make it quadratic: past a budget of moves the track is
    // sorted whole instead.
    std::uint64_t* const first = mHits.data() + mOpen;
    std::uint64_t* const end = mHits.data() + mHits.size();
    std::size_t budget = 4 * static_cast<std::size_t>(end - first);
    for (std::uint64_t* i = first + 1; i < end; ++i) {
        const std::uint64_t key = *i;
        if (key >= *(i - 1)) continue;
        std::uint64_t* j = i;
        do {
            *j = *(j - 1);
            --j;
        } while (j != first && key < *(j - 1));
        *j = key;
        const auto moves = static_cast<std::size_t>(i - j);
        if (moves > budget) {
            std::sort(first, end);
            return;
        }
        budget -= moves;
    }
}

void HitList::endTrack() {
    if (mDisordered) sortTrack();
    mDisordered = false;
    mLast = 0;
    if (mOpen == mHits.size()) return;
    mRuns.push_back(mOpen);
    mHits.push_back(kSentinel);
    mOpen = mHits.size();
}

std::vector<HitList::Run> HitList::mergeToTwo() {
    endTrack();
    std::vector<Run> runs;
    for (std::size_t i = 0; i < mRuns.size(); ++i) {
        const std::size_t end = i + 1 < mRuns.size() ? mRuns[i + 1] - 1 : mHits.size() - 1;
        runs.push_back({mHits.data() + mRuns[i], end - mRuns[i]});
    }
    if (runs.size() <= 2) return runs;

    // The two smallest runs merge first, so a long track is copied once or twice instead of
    // once per level of a balanced merge. Only the first 9,999 of a merge can ever be kept.
    // The plan is made on the sizes alone, to size the scratch space once.
    using Entry = std::pair<std::size_t, std::size_t>;  // size, index into runs
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> smallest;
    for (std::size_t i = 0; i < runs.size(); ++i) smallest.emplace(runs[i].size, i);
    std::vector<std::pair<std::size_t, std::size_t>> plan;
    std::size_t scratch = 0;
    for (std::size_t next = runs.size(); smallest.size() > 2; ++next) {
        const Entry a = smallest.top();
        smallest.pop();
        const Entry b = smallest.top();
        smallest.pop();
        const std::size_t size =
            std::min(a.first + b.first, static_cast<std::size_t>(limits::kMaxNotes));
        plan.emplace_back(a.second, b.second);
        smallest.emplace(size, next);
        scratch += size + 1;
    }
    if (mScratchSize < scratch) {
        mScratch = std::make_unique_for_overwrite<std::uint64_t[]>(scratch);
        mScratchSize = scratch;
    }

    std::uint64_t* out = mScratch.get();
    const auto write = [&out](std::uint64_t key) { *out++ = key; };
    for (const auto& [a, b] : plan) {
        const std::size_t size =
            std::min(runs[a].size + runs[b].size, static_cast<std::size_t>(limits::kMaxNotes));
        runs.push_back({out, size});
        mergeInto(runs[a].begin, runs[b].begin, size, write);
        *out++ = kSentinel;
    }
    const Run last = runs[smallest.top().second];
    smallest.pop();
    return {runs[smallest.top().second], last};
}

void HitList::collapse() {
    const std::vector<Run> runs = mergeToTwo();
    std::vector<std::uint64_t> merged;
    merged.reserve(limits::kMaxNotes);
    const auto [a, b, count] = finalPair(runs);
    mergeInto(a, b, count, [&merged](std::uint64_t key) { merged.push_back(key); });
    mHits.assign(merged.begin(), merged.end());
    mRuns.clear();
    if (mHits.size() >= limits::kMaxNotes) mBound = mHits.back();
    mOpen = 0;
    // The kept hits are one ordered run, followed by whatever the current track adds.
    endTrack();
}

HitList::Pair HitList::finalPair(const std::vector<Run>& runs) const {
    static constexpr std::uint64_t kNone = kSentinel;
    Pair pair{&kNone, &kNone, 0};
    if (!runs.empty()) pair.a = runs[0].begin;
    if (runs.size() > 1) pair.b = runs[1].begin;
    for (const Run& run : runs) pair.count += run.size;
    pair.count = std::min(pair.count, static_cast<std::size_t>(limits::kMaxNotes));
    return pair;
}

StepRecords HitList::toRecords() {
    const std::vector<Run> runs = mergeToTwo();
    const auto [a, b, kept] = finalPair(runs);
    StepRecords records(kept + 1);
    const auto write = [&, a = a, b = b, kept = kept](auto writer) {
        if (runs.size() > 1) {
            writer = mergeInto(a, b, kept, writer);
        } else {
            // One track, the usual groove: nothing to merge.
            for (const std::uint64_t* key = a; key != a + kept; ++key) writer(*key);
        }
        // The phrase ends at the latest End of Track; a phrase cut at 9,999 notes ends on its
        // last note whatever End of Track said, and one with no end at all a step after its
        // last note.
        std::int32_t endTime = mSawEnd ? mLatestEnd : -1;
        if (mSeen >= limits::kMaxNotes) endTime = timeOf(writer.last());
        if (endTime == -1) endTime = kept == 0 ? 0 : addWrapping(timeOf(writer.last()), 10);
        writer.put(endTime, 0, 0);
    };
    // The first kept hit is the lower of the two runs' first (a sentinel for a missing one).
    if (kept == 0 || timeOf(std::min(*a, *b)) >= 0) {
        write(RecordWriter<true>(records.data()));
    } else {
        write(RecordWriter<false>(records.data()));
    }
    return records;
}

}  // namespace tavrel::smf
