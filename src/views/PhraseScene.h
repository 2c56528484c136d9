// What the picture of a pattern shows that changes only when the pattern's notes, lengths or
// time signatures do: the drum lanes with the hits of the current variation, each variation's
// length, and the time axis with its bars and beats. Made once per such change; each paint
// asks showsSameAs first, which costs a few comparisons.
#pragma once

#include "model/StepRecord.h"
#include "views/DrumLanes.h"

#include <array>
#include <cstdint>
#include <memory>

namespace tavrel {
class CPhraseData;
class CPtnDataMgr;
}  // namespace tavrel

namespace tavrel::views {

class PhraseScene {
public:
    static constexpr int kVariations = 10;

    // No pattern.
    PhraseScene() = default;
    explicit PhraseScene(const std::shared_ptr<const CPtnDataMgr>& pattern);

    bool empty() const { return mPattern.expired(); }
    // Whether this scene still pictures `pattern` as it is now.
    bool showsSameAs(const std::shared_ptr<const CPtnDataMgr>& pattern) const;

    const DrumLanes& lanes() const { return mLanes; }
    // Ticks (96 a quarter note) from the phrase's start to the end of the longest variation.
    std::int32_t axisTicks() const { return mAxisTicks; }
    // The ruler's bar and beat in the pattern's time signature.
    std::int32_t barTicks() const { return mBarTicks; }
    std::int32_t beatTicks() const { return mBeatTicks; }
    // Ticks of variation `vari`'s whole phrase.
    std::int32_t length(int vari) const;

    // The played window of `phrase` in ticks: first and one past the last.
    static std::pair<std::int32_t, std::int32_t> window(const CPhraseData& phrase);
    // Ticks of one bar in a time signature; never less than 1.
    static std::int32_t ticksPerBar(std::int32_t numerator, std::int32_t denominator);

private:
    // What the scene was made from; the arrays are held so their addresses stay unique.
    struct Source {
        SharedStepRecords notes;
        std::int32_t numerator = 0;
        std::int32_t denominator = 0;
        std::int32_t totalBars = 0;
        bool operator==(const Source&) const = default;
    };
    static Source sourceOf(const CPhraseData& phrase);

    std::weak_ptr<const CPtnDataMgr> mPattern;
    std::int32_t mNumerator = 0;
    std::int32_t mDenominator = 0;
    std::array<Source, kVariations> mSources;
    const StepRecords* mShown = nullptr;
    DrumLanes mLanes;
    std::array<std::int32_t, kVariations> mLengths{};
    std::int32_t mAxisTicks = 1;
    std::int32_t mBarTicks = 384;
    std::int32_t mBeatTicks = 96;
};

}  // namespace tavrel::views
