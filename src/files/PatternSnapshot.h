// The collection as the pattern file holds it, copied on the main thread so that a worker
// thread can encode and write it while the model goes on changing. Copyable and safe to hand
// to another thread: plain values, and note arrays that never change once published.
#pragma once

#include "model/RetainedBytes.h"
#include "model/StepRecord.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tavrel {

class CPatternMgr;

class PatternSnapshot {
public:
    struct Variation {
        std::int32_t from = 0;
        std::int32_t bars = 0;
        std::int32_t totalBars = 0;
        std::int32_t recordCount = 0;

        friend bool operator==(const Variation&, const Variation&) = default;
    };
    struct Pattern {
        std::string name;
        std::int32_t kit = 0;
        std::int32_t tempo = 0;
        std::int32_t numerator = 4;
        std::int32_t denominator = 4;
        std::array<Variation, 10> variations{};
        // The Intro's notes: a pattern file keeps one note area, which every variation plays
        // the first recordCount records of. Null for none.
        SharedStepRecords notes;
    };

    PatternSnapshot() = default;
    PatternSnapshot(std::vector<Pattern> patterns, std::shared_ptr<RetainedBytes> retained)
        : mPatterns(std::move(patterns)), mRetained(std::move(retained)) {}

    // Main thread: every pattern of `collection`, in list order.
    static PatternSnapshot of(const CPatternMgr& collection);

    const std::vector<Pattern>& patterns() const { return mPatterns; }
    bool empty() const { return mPatterns.empty(); }
    // The bytes of the collection's last pattern file, which a write starts from; may be null.
    const std::shared_ptr<RetainedBytes>& retained() const { return mRetained; }

private:
    std::vector<Pattern> mPatterns;
    std::shared_ptr<RetainedBytes> mRetained;
};

}  // namespace tavrel
