// The sequencer's numbers as the editor views read them while it plays: each one an atomic,
// written by whichever thread moved the sequencer and read without a lock. A view drawing
// in the middle of a tick may see the tick before and the bar after; it draws again within
// a frame.
#pragma once

#include "playback/StorePrm.h"

#include <atomic>
#include <cstdint>

namespace tavrel {

class SeqView {
public:
    void publish(const StorePrm& prm, std::int32_t bar, std::int32_t beat) {
        mVariNum.store(prm.variNum);
        mTempo.store(prm.tempo);
        mNumerator.store(prm.numerator);
        mTickPerBeat.store(prm.tickPerBeat);
        mFrom.store(prm.from);
        mBars.store(prm.bars);
        mStartTick.store(prm.startTick);
        mBar.store(bar);
        mBeat.store(beat);
        mTick.store(prm.curTick);
    }

    std::int32_t variNum() const { return mVariNum.load(); }
    std::int32_t tempo() const { return mTempo.load(); }
    std::int32_t numerator() const { return mNumerator.load(); }
    std::int32_t tickPerBeat() const { return mTickPerBeat.load(); }
    std::int32_t from() const { return mFrom.load(); }
    std::int32_t bars() const { return mBars.load(); }
    std::int32_t startTick() const { return mStartTick.load(); }
    std::int32_t bar() const { return mBar.load(); }
    std::int32_t beat() const { return mBeat.load(); }
    std::int32_t tick() const { return mTick.load(); }

private:
    std::atomic<std::int32_t> mVariNum{-1};
    std::atomic<std::int32_t> mTempo{120};
    std::atomic<std::int32_t> mNumerator{4};
    std::atomic<std::int32_t> mTickPerBeat{96};
    std::atomic<std::int32_t> mFrom{0};
    std::atomic<std::int32_t> mBars{1};
    std::atomic<std::int32_t> mStartTick{0};
    std::atomic<std::int32_t> mBar{0};
    std::atomic<std::int32_t> mBeat{0};
    std::atomic<std::int32_t> mTick{0};
};

}  // namespace tavrel
