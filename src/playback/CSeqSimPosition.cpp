// CSeqSim's position arithmetic and the tick itself: where a bar or beat starts in the step
// records, when the window loops, and which pending change a tick applies.
#include "playback/CSeqSim.h"

#include <limits>

namespace tavrel {

namespace {

constexpr std::int32_t kPastThePhrase = std::numeric_limits<std::int32_t>::max();
// Ticks the end marker sets to wait: the list is not read again until the window loops back.
constexpr std::int32_t kAfterTheEnd = 32767;

std::int32_t wrap32(std::int64_t v) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
}

// The record at `index`, or an end marker where the block's notes stop (a variation that
// never had notes, a list without its end marker).
StepRecord recordAt(const StorePrm& p, std::int32_t index) {
    if (!p.seqData || index < 0) return {};
    const auto size = static_cast<std::int64_t>(p.seqData->size());
    if (index >= p.seqDataCount || index >= size) return {};
    return (*p.seqData)[static_cast<std::size_t>(index)];
}

}  // namespace

void CSeqSim::seek(std::int32_t beat, StorePrm& p) {
    const std::int32_t target = wrap32(std::int64_t{beat} * p.tickPerBeat);
    p.curTick = target;
    if (std::int64_t{p.totalBars} * p.numerator <= beat) {
        p.lapseTick = kPastThePhrase;
        p.count = 0;
        p.endTickNum = kPastThePhrase;
    } else {
        std::int64_t time = 0;
        bool reached = false;
        for (std::int32_t i = 0; i < p.seqDataCount; ++i) {
            const StepRecord r = recordAt(p, i);
            time += r.delta;
            if (time >= target) {
                p.lapseTick = wrap32(time - target);
                p.count = i;
                reached = true;
                break;
            }
        }
        // Past the last note: the wait comes out negative, and the next tick plays from the
        // first record on.
        if (!reached) {
            p.lapseTick = wrap32(target - time);
            p.count = 0;
        }
    }
    cnvBarAndBeatFromTick();
}

void CSeqSim::startWindow(std::int32_t bar, StorePrm& p) {
    seek(wrap32(std::int64_t{bar} * p.numerator), p);
    p.startTick = p.curTick;
    p.startLapseTick = p.lapseTick;
    p.startCount = p.count;
    // A window reaching past the phrase (a change of time signature re-counts the bars) loops
    // at the phrase's end.
    std::int64_t endBar = std::int64_t{p.from} + p.bars;
    if (p.totalBars < endBar) endBar = p.totalBars;
    p.endTickNum = wrap32(endBar * p.numerator * p.tickPerBeat - 1);
}

void CSeqSim::markBarAndBeat(const StorePrm& p) {
    const std::int32_t beats = p.curTick / p.tickPerBeat;
    mCurBar = mCurBarBack = beats / p.numerator;
    mCurBeat = mCurBeatBack = beats % p.numerator;
}

void CSeqSim::setStartBar(std::int32_t bar, StorePrm& p) {
    startWindow(bar, p);
    markBarAndBeat(p);
}

void CSeqSim::setStartBeat(std::int32_t beat, StorePrm& p) {
    // The loop still starts at the window's first bar; only the position moves on.
    startWindow(p.from, p);
    seek(wrap32(std::int64_t{p.from} * p.numerator + beat), p);
    markBarAndBeat(p);
}

// Bar and beat of the tick after the one being played. 0: the same as at the last check;
// 1: a new beat in the same bar; 3: a new bar (or the bar's first beat again).
std::int32_t CSeqSim::cnvBarAndBeatFromTick() {
    const StorePrm& p = mCurPrm;
    const std::int32_t beats = wrap32(std::int64_t{p.curTick} + 1) / p.tickPerBeat;
    mCurBar = beats / p.numerator;
    mCurBeat = beats % p.numerator;
    if (mCurBar == mCurBarBack && mCurBeat == mCurBeatBack) return 0;
    if (mCurBar == mCurBarBack && mCurBeat != 0) {
        mCurBeatBack = mCurBeat;
        return 1;
    }
    mCurBarBack = mCurBar;
    mCurBeatBack = mCurBeat;
    return 3;
}

void CSeqSim::comeTick(std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) {
        std::lock_guard lock(lockPlay);
        applyPending(cnvBarAndBeatFromTick());
        playDueNotes();
        mCurPrm.curTick = wrap32(std::int64_t{mCurPrm.curTick} + 1);
        mCurPrm.lapseTick = wrap32(std::int64_t{mCurPrm.lapseTick} - 1);
        // The test follows the increment and endTickNum is the window's last tick, so that
        // tick itself is never played: the loop is one tick short of the window.
        if (mCurPrm.endTickNum <= mCurPrm.curTick) loopBack();
        publish();
    }
}

void CSeqSim::applyPending(std::int32_t change) {
    switch (mPlay.load()) {
        case kPendingBar:
            if ((change & 2) == 0) return;
            adoptNextPrm();
            setStartBar(mCurPrm.from, mCurPrm);
            setTempoLocked(mCurPrm.tempo);
            mOutput.programChange(mCurPrm.kit);
            break;
        case kPendingTempo:
            adoptNextPrm();
            setTempoLocked(mCurPrm.tempo);
            break;
        case kPendingBeat: {
            if ((change & 1) == 0) return;
            const std::int32_t bar = mCurBar;
            const std::int32_t beat = mCurBeat;
            adoptNextPrm();
            // The same beat of the new window, so a fill goes on where it was.
            const std::int64_t beats = std::int64_t{mCurPrm.numerator} * mCurPrm.bars;
            const std::int64_t at = std::int64_t{bar} * mCurPrm.numerator + beat;
            setStartBeat(beats > 0 ? wrap32(at % beats) : 0, mCurPrm);
            setTempoLocked(mCurPrm.tempo);
            break;
        }
        default:
            return;
    }
    mPlay.store(kPlaying);
}

void CSeqSim::playDueNotes() {
    StorePrm& p = mCurPrm;
    if (p.lapseTick >= 1) return;
    // Every record due by now goes out in this tick, in list order.
    for (;;) {
        const StepRecord r = recordAt(p, p.count);
        if (r.note == 0 && r.velocity == 0) {
            p.lapseTick = kAfterTheEnd;
            return;
        }
        mOutput.noteOn(static_cast<std::int8_t>(r.note), static_cast<std::int8_t>(r.velocity));
        ++p.count;
        p.lapseTick = wrap32(std::int64_t{p.lapseTick} + recordAt(p, p.count).delta);
        if (p.lapseTick > 0) return;
    }
}

void CSeqSim::loopBack() {
    StorePrm& p = mCurPrm;
    p.count = p.startCount;
    p.curTick = p.startTick;
    p.lapseTick = p.startLapseTick;
    // The back values stay: the next tick's check sees the jump as a new bar.
    const std::int32_t beats = p.curTick / p.tickPerBeat;
    mCurBar = beats / p.numerator;
    mCurBeat = beats % p.numerator;
    if (mPlay.load() != kPendingBar) return;
    // A change waiting for the next bar is taken at the loop point too, but without the
    // program change that a bar change sends.
    adoptNextPrm();
    setStartBar(mCurPrm.from, mCurPrm);
    setTempoLocked(mCurPrm.tempo);
    mPlay.store(kPlaying);
}

}  // namespace tavrel
