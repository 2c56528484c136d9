#include "playback/CSeqSim.h"

#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Notifications.h"
#include "playback/ClockThread.h"
#include "playback/MonotonicClockSource.h"
#include "playback/PlayStatus.h"

#include <utility>

namespace tavrel {

namespace {

// What checkChangedParam finds different between the model and the block being played.
enum ChangeBit : std::int32_t {
    kChgPhrase = 0x001,
    kChgPattern = 0x002,
    kChgSeqData = 0x004,
    kChgSeqCount = 0x008,
    kChgFrom = 0x010,
    kChgBars = 0x020,
    kChgNumerator = 0x040,
    kChgDenominator = 0x080,
    kChgTempo = 0x100,
    kChgKit = 0x200,
};
constexpr std::int32_t kNotesChanged = kChgPhrase | kChgSeqData | kChgSeqCount;
constexpr std::int32_t kBarChanges =
    kChgPattern | kChgFrom | kChgBars | kChgNumerator | kChgDenominator | kChgKit;

// Verse Fill, Chorus Fill, C Fill and D Fill: one-bar breaks, which come in at the next
// beat rather than after the bar.
bool isFill(std::int32_t variNum) {
    return variNum == 2 || variNum == 4 || variNum == 6 || variNum == 8;
}

// 32-bit results of products that a hostile pattern file could push past 2^31: they wrap,
// as the unit's own arithmetic does, rather than being undefined.
std::int32_t wrap32(std::int64_t v) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
}

}  // namespace

CSeqSim::CSeqSim(MidiLib* midiLib)
    : CSeqSim(midiLib, std::make_unique<MonotonicClockSource>(), nullptr) {}

CSeqSim::CSeqSim(MidiLib* midiLib, const ClockSource& source)
    : CSeqSim(midiLib, nullptr, &source) {}

CSeqSim::CSeqSim(MidiLib* midiLib, std::unique_ptr<ClockSource> own, const ClockSource* source)
    : mOwnSource(std::move(own)),
      mPatterns(Context::current().patterns()),
      mMidiOut(midiLib),
      mSeqThread([this] { comeTick(1); }),
      mClock(mOwnSource ? *mOwnSource : *source, [this] { tickSignal(); }) {
    publish();
    // The clock idles until play; its thread runs from now on, as a timer would.
    if (mOwnSource) mClockThread = std::make_unique<ClockThread>(mClock);
}

CSeqSim::~CSeqSim() = default;

CSeqSim* CSeqSim::sharedInstance() {
    return Context::exists() ? Context::current().find<CSeqSim>() : nullptr;
}

bool CSeqSim::realTimeClock() const {
    return mClockThread && mClockThread->realTime();
}

void CSeqSim::setup() {
    {
        std::lock_guard lock(lockPlay);
        storePrm(mCurPrm);
        publish();
    }
    mObserver = Context::current().notifications().addObserver(
        NOTIFY_PATTERN_PARM_CHANGED, [this](const Notification&) { chagePtnData(); });
    mSeqThread.start();
}

void CSeqSim::play() {
    {
        std::lock_guard lock(lockPlay);
        storePrm(mCurPrm);
        setStartBar(mCurPrm.from, mCurPrm);
        setTempoLocked(mCurPrm.tempo);
        mPlay.store(kPlaying);
        publish();
    }
    setPlayStatus(kPlayStatusPlaying);
    mClock.tickClockStart();
}

void CSeqSim::stop() {
    {
        // Under the lock, so that a tick applying a pending change cannot set it back to
        // playing behind our back.
        std::lock_guard lock(lockPlay);
        mPlay.store(kStopped);
    }
    setPlayStatus(kPlayStatusStopped);
    mClock.tickClockStop();
    // Ticks the clock raised before it stopped are still played; wait for them, so that
    // the notes they start are ended too.
    if (mSeqThread.started()) mSeqThread.waitIdle();
    mOutput.allOff();
}

void CSeqSim::setTempo(std::int32_t tempo) {
    std::lock_guard lock(lockPlay);
    setTempoLocked(tempo);
    publish();
}

void CSeqSim::setTempoLocked(std::int32_t tempo) {
    mCurPrm.tempo = tempo;
    mClock.tickClockSetTempo(static_cast<std::uint32_t>(tempo));
}

void CSeqSim::seek(std::int32_t bar) {
    std::lock_guard lock(lockPlay);
    seek(wrap32(std::int64_t{bar} * mCurPrm.numerator), mCurPrm);
    publish();
}

std::shared_ptr<CPtnDataMgr> CSeqSim::getPattern() const {
    std::lock_guard lock(lockPlay);
    return mCurPrm.pattern;
}

std::shared_ptr<CPhraseData> CSeqSim::getPhase() const {
    std::lock_guard lock(lockPlay);
    return mCurPrm.phrase;
}

bool CSeqSim::storePrm(StorePrm& p) const {
    const std::shared_ptr<CPtnDataMgr> pattern = mPatterns.getCurPattarn();
    std::shared_ptr<CPhraseData> phrase = pattern ? pattern->getCurPhrase() : nullptr;
    if (!phrase) return false;
    // The editors keep the signature in range; a block that would divide by zero on the
    // sequencer thread is not taken.
    const std::int32_t numerator = pattern->getNume();
    const std::int32_t denominator = pattern->getDeno();
    if (numerator < 1 || denominator < 1 || denominator > 384) return false;
    p.pattern = pattern;
    p.phrase = phrase;
    p.variNum = pattern->getCurVairationNum();
    p.numerator = numerator;
    p.denominator = denominator;
    p.tempo = pattern->getTempo();
    p.kit = pattern->getKitNum();
    p.seqData = phrase->getSeqData();
    p.seqDataCount = phrase->getSeqDataCount();
    p.from = phrase->getFrom();
    p.bars = phrase->getBars();
    p.totalBars = phrase->getTotalBars();
    p.tickPerBeat = 384 / denominator;
    p.endTickNum = wrap32((std::int64_t{p.from} + p.bars) * p.tickPerBeat * p.numerator - 1);
    return true;
}

std::int32_t CSeqSim::checkChangedParam(const StorePrm& model) const {
    std::int32_t mask = 0;
    if (model.phrase != mCurPrm.phrase) mask |= kChgPhrase;
    if (model.pattern != mCurPrm.pattern) mask |= kChgPattern;
    if (model.seqData != mCurPrm.seqData) mask |= kChgSeqData;
    if (model.seqDataCount != mCurPrm.seqDataCount) mask |= kChgSeqCount;
    if (model.from != mCurPrm.from) mask |= kChgFrom;
    if (model.bars != mCurPrm.bars) mask |= kChgBars;
    if (model.numerator != mCurPrm.numerator) mask |= kChgNumerator;
    if (model.denominator != mCurPrm.denominator) mask |= kChgDenominator;
    if (model.tempo != mCurPrm.tempo) mask |= kChgTempo;
    if (model.kit != mCurPrm.kit) mask |= kChgKit;
    return mask;
}

std::int32_t CSeqSim::nextState(std::int32_t mask, std::int32_t variNum) const {
    if ((mask & kNotesChanged) != 0) return isFill(variNum) ? kPendingBeat : kPendingBar;
    if ((mask & kBarChanges) != 0) return kPendingBar;
    if ((mask & kChgTempo) != 0) return kPendingTempo;
    return mPlay.load();
}

void CSeqSim::chagePtnData() {
    if (mPlay.load() == kStopped) {
        // Stopped: the views show where the new window starts.
        std::lock_guard lock(lockPlay);
        storePrm(mCurPrm);
        setStartBar(mCurPrm.from, mCurPrm);
        publish();
        return;
    }
    // Read from the model here, on the main thread, before the lock: the sequencer thread
    // only ever sees the finished block.
    StorePrm next;
    // With no variation left to play (the pattern was deleted, the list emptied) the
    // preview goes on with what it holds.
    if (!storePrm(next)) return;
    std::lock_guard lock(lockPlay);
    mCurChgFlag = checkChangedParam(next);
    mNextPrm = std::move(next);
    // The variation now current decides: a fill chosen while a verse plays comes in at the
    // next beat, as a fill does, and the verse chosen after it waits for the bar.
    if (mPlay.load() != kStopped) mPlay.store(nextState(mCurChgFlag, mNextPrm.variNum));
}

// Takes the parameters of mNextPrm for the block being played, keeping its position. The
// references to what was played go over to mNextPrm rather than being dropped here, so a
// deleted pattern or replaced notes are freed on the main thread at the next edit, never on
// the sequencer thread in the middle of a tick.
void CSeqSim::adoptNextPrm() {
    StorePrm& cur = mCurPrm;
    StorePrm& next = mNextPrm;
    cur.pattern.swap(next.pattern);
    cur.phrase.swap(next.phrase);
    cur.seqData.swap(next.seqData);
    cur.numerator = next.numerator;
    cur.denominator = next.denominator;
    cur.variNum = next.variNum;
    cur.seqDataCount = next.seqDataCount;
    cur.tempo = next.tempo;
    cur.kit = next.kit;
    cur.from = next.from;
    cur.bars = next.bars;
    cur.tickPerBeat = next.tickPerBeat;
    cur.endTickNum = next.endTickNum;
    cur.totalBars = next.totalBars;
}

}  // namespace tavrel
