#include "views/PhraseScene.h"

#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"

#include <algorithm>

namespace tavrel::views {

namespace {

// 96 ticks a quarter note: a beat of denominator d has 384 / d ticks.
std::int32_t ticksPerBeat(std::int32_t denominator) {
    return denominator > 0 ? std::max(384 / denominator, 1) : 96;
}

const StepRecords* shownNotes(const CPtnDataMgr& pattern) {
    const auto phrase = pattern.getCurPhrase();
    return phrase ? phrase->getSeqData().get() : nullptr;
}

}  // namespace

std::int32_t PhraseScene::ticksPerBar(std::int32_t numerator, std::int32_t denominator) {
    return std::max(numerator, 1) * ticksPerBeat(denominator);
}

PhraseScene::Source PhraseScene::sourceOf(const CPhraseData& phrase) {
    return {phrase.getSeqData(), phrase.getNume(), phrase.getDeno(), phrase.getTotalBars()};
}

PhraseScene::PhraseScene(const std::shared_ptr<const CPtnDataMgr>& pattern)
    : mPattern(pattern),
      mNumerator(pattern->getNume()),
      mDenominator(pattern->getDeno()),
      mShown(shownNotes(*pattern)),
      mLanes(*pattern, mShown),
      mBarTicks(ticksPerBar(mNumerator, mDenominator)),
      mBeatTicks(ticksPerBeat(mDenominator)) {
    std::int32_t longest = 0;
    for (int v = 0; v < kVariations; ++v) {
        const auto phrase = pattern->getPhraseAtVariation(v);
        if (!phrase) continue;
        auto& source = mSources[static_cast<std::size_t>(v)];
        source = sourceOf(*phrase);
        // Beats are counted whole, so the last notes may lie a little past the last bar.
        const std::int64_t bars = std::int64_t{std::max(source.totalBars, 0)} *
                                  ticksPerBar(source.numerator, source.denominator);
        const auto length = static_cast<std::int32_t>(std::min<std::int64_t>(
            std::max<std::int64_t>(bars, phrase->getTotalTicks()), INT32_MAX / 2));
        mLengths[static_cast<std::size_t>(v)] = length;
        if (source.notes) longest = std::max(longest, length);
    }
    // A pattern without notes shows the sixteen bars its empty variations count.
    if (longest == 0) longest = *std::max_element(mLengths.begin(), mLengths.end());
    mAxisTicks = std::max(longest, 1);
}

bool PhraseScene::showsSameAs(const std::shared_ptr<const CPtnDataMgr>& pattern) const {
    if (pattern == nullptr || mPattern.lock() != pattern) return pattern == nullptr && empty();
    if (pattern->getNume() != mNumerator || pattern->getDeno() != mDenominator ||
        shownNotes(*pattern) != mShown)
        return false;
    for (int v = 0; v < kVariations; ++v) {
        const auto phrase = pattern->getPhraseAtVariation(v);
        if (phrase && !(sourceOf(*phrase) == mSources[static_cast<std::size_t>(v)])) return false;
    }
    return true;
}

std::int32_t PhraseScene::length(int vari) const {
    return vari >= 0 && vari < kVariations ? mLengths[static_cast<std::size_t>(vari)] : 0;
}

std::pair<std::int32_t, std::int32_t> PhraseScene::window(const CPhraseData& phrase) {
    const std::int64_t bar = ticksPerBar(phrase.getNume(), phrase.getDeno());
    const std::int64_t from = std::clamp<std::int64_t>(phrase.getFrom(), 0, INT32_MAX / bar / 2);
    const std::int64_t bars = std::clamp<std::int64_t>(phrase.getBars(), 0, INT32_MAX / bar / 2);
    return {static_cast<std::int32_t>(from * bar), static_cast<std::int32_t>((from + bars) * bar)};
}

}  // namespace tavrel::views
