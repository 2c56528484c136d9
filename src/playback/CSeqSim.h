// The preview sequencer: loops the from/bars window of the current variation of the current
// pattern through the note output, follows edits made while it plays at musically sensible
// moments (a fill's new notes at the next beat, other changes at the next bar or the loop
// point, a new tempo at once), and publishes its position for the views' play cursor.
//
// Threads. The clock thread polls the tick clock every millisecond and counts ticks for the
// sequencer thread, which plays them (comeTick). Everything else runs on the main thread,
// the one that edits the model: play, stop, setTempo, the edit observer and the getters.
// lockPlay guards both parameter blocks and the position; comeTick holds it for one tick, so
// a main-thread change lands between two ticks, never inside one. The model itself is only
// read on the main thread: what the sequencer thread needs is copied into the blocks.
#pragma once

#include "model/NotificationCenter.h"
#include "playback/CMidiOutMgr.h"
#include "playback/PreviewOutputSelector.h"
#include "playback/SeqThread.h"
#include "playback/SeqView.h"
#include "playback/StorePrm.h"
#include "playback/TickClock.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace tavrel {

class ClockSource;
class ClockThread;
class CPatternMgr;
class MidiLib;

class CSeqSim {
public:
    // The program's sequencer: its clock follows CLOCK_MONOTONIC, polled by a clock thread
    // of its own. Notes go to `midiLib` (none: nowhere). Made on the main thread of the
    // current Context, whose patterns it plays.
    explicit CSeqSim(MidiLib* midiLib);
    // A sequencer without a clock thread: its clock follows `source` when the caller polls
    // tickClock(). `source` must outlive it.
    CSeqSim(MidiLib* midiLib, const ClockSource& source);
    ~CSeqSim();
    CSeqSim(const CSeqSim&) = delete;
    CSeqSim& operator=(const CSeqSim&) = delete;

    // The sequencer installed in the current Context, or null.
    static CSeqSim* sharedInstance();

    // Once, when the editor is up: takes the current variation, follows edits from now on
    // and starts the sequencer thread.
    void setup();
    // Reads the model afresh and plays the window from its first bar.
    void play();
    // Returns once the ticks already counted are played and every started note is ended.
    // A pending change is dropped.
    void stop();
    void setTempo(std::int32_t tempo);
    // Moves the position to the start of `bar`, counted from the phrase's start.
    void seek(std::int32_t bar);

    // Observer of NOTIFY_PATTERN_PARM_CHANGED, on the main thread.
    void chagePtnData();
    // One tick from the clock, on the clock's thread.
    void tickSignal() { mSeqThread.tickSignal(); }
    // Plays `n` ticks, on the sequencer thread.
    void comeTick(std::int32_t n);

    // For drawing, on any thread, without locks.
    std::int32_t getVariNum() const { return mView.variNum(); }
    std::int32_t getBeatPerBar() const { return mView.numerator(); }
    std::int32_t getTickPerBeat() const { return mView.tickPerBeat(); }
    std::int32_t getTick() const { return mView.tick(); }
    std::int32_t getStartTick() const { return mView.startTick(); }
    std::int32_t getFrom() const { return mView.from(); }
    std::int32_t getBars() const { return mView.bars(); }
    std::int32_t getBar() const { return mView.bar(); }
    std::int32_t getBeat() const { return mView.beat(); }
    std::int32_t getTempo() const { return mView.tempo(); }
    // True while an edit waits for its change point.
    bool getBook() const { return mPlay.load() >= kPendingTempo; }
    std::shared_ptr<CPtnDataMgr> getPattern() const;
    std::shared_ptr<CPhraseData> getPhase() const;

    CMidiOutMgr& getMidiOutMgr() { return mMidiOut; }
    // Where the notes go: the MIDI output unless another output is chosen.
    PreviewOutputSelector& previewOutput() { return mOutput; }
    TickClock& tickClock() { return mClock; }
    // Whether the clock thread runs under SCHED_FIFO; false without a clock thread.
    bool realTimeClock() const;
    // Returns once every tick raised so far has been played; after setup only.
    void waitIdle() { mSeqThread.waitIdle(); }

private:
    // mPlay: stopped, playing, or playing with a change pending until its change point.
    static constexpr std::int32_t kStopped = 0;
    static constexpr std::int32_t kPlaying = 1;
    static constexpr std::int32_t kPendingTempo = 2;  // the next tick
    static constexpr std::int32_t kPendingBeat = 3;   // the next beat
    static constexpr std::int32_t kPendingBar = 4;    // the next bar or the loop point

    CSeqSim(MidiLib* midiLib, std::unique_ptr<ClockSource> own, const ClockSource* source);

    bool storePrm(StorePrm& p) const;
    std::int32_t checkChangedParam(const StorePrm& model) const;
    std::int32_t nextState(std::int32_t mask, std::int32_t variNum) const;
    void adoptNextPrm();
    void seek(std::int32_t beat, StorePrm& p);
    void setStartBar(std::int32_t bar, StorePrm& p);
    void setStartBeat(std::int32_t beat, StorePrm& p);
    void startWindow(std::int32_t bar, StorePrm& p);
    void markBarAndBeat(const StorePrm& p);
    std::int32_t cnvBarAndBeatFromTick();
    void applyPending(std::int32_t change);
    void playDueNotes();
    void loopBack();
    void setTempoLocked(std::int32_t tempo);
    void publish() { mView.publish(mCurPrm, mCurBar, mCurBeat); }

    const std::unique_ptr<ClockSource> mOwnSource;
    CPatternMgr& mPatterns;
    CMidiOutMgr mMidiOut;
    PreviewOutputSelector mOutput{mMidiOut};
    SeqView mView;

    mutable std::mutex lockPlay;
    StorePrm mCurPrm;
    StorePrm mNextPrm;
    std::atomic<std::int32_t> mPlay{kStopped};
    std::int32_t mCurBar = 0;  // from the phrase's start
    std::int32_t mCurBeat = 0;
    std::int32_t mCurBarBack = 0;  // as seen at the previous position check
    std::int32_t mCurBeatBack = 0;
    std::int32_t mCurChgFlag = 0;  // change mask of the last edit while playing

    // Last: the threads stop before what they use goes.
    SeqThread mSeqThread;
    TickClock mClock;
    std::unique_ptr<ClockThread> mClockThread;
    NotificationCenter::Token mObserver;
};

}  // namespace tavrel
