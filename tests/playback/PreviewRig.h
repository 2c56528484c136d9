// A sequencer on a manual clock, sending through the MIDI transport to a recording
// destination of the virtual MIDI service. Time moves only when the test plays ticks, and a
// tick is over only once the sequencer thread has played it, so every message is known to
// belong to the tick that sent it.
#pragma once

#include "device/MidiLib.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "playback/ManualClockSource.h"
#include "playback/PhraseNotes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tavrel::test {

using Bytes = std::vector<std::uint8_t>;

// What one tick sent.
struct TickOut {
    std::int64_t ms = 0;  // milliseconds of clock time since the rig was made
    std::vector<int> noteOns;
    std::vector<int> programs;
    std::vector<Bytes> all;  // everything, in the order sent
};

class PreviewRig {
public:
    PreviewRig() {
        mOut = service.addDestination("Preview Synth");
        midi = &context.install(std::make_unique<MidiLib>(service));
        midi->searchDevice();
        midi->selectOutputDevice(0);
        seq = &context.install(std::make_unique<CSeqSim>(midi, clock));
        seq->setup();
    }

    // A new current pattern whose current variation `variation` holds `notes`, ending at
    // `endTick`, in 4/4 at `tempo`.
    std::shared_ptr<CPtnDataMgr> pattern(const std::vector<Note>& notes, int endTick,
                                         int tempo = 120, int variation = 0) {
        auto p = context.patterns().addPatternData();
        p->setTempo(tempo);
        context.patterns().setCurVariationNum(variation);
        give(*p->getCurPhrase(), notes, endTick);
        return p;
    }
    static void give(CPhraseData& phrase, const std::vector<Note>& notes, int endTick) {
        const StepRecords r = stepRecords(notes, endTick);
        phrase.setSeqData(r.data(), static_cast<std::int32_t>(r.size()));
    }

    // Moves the clock on a millisecond at a time until the tick clock raises a tick, and
    // returns what the sequencer sent for it.
    TickOut tick() {
        for (int ms = 0; ms < 2000; ++ms) {
            clock.advance(1000);
            ++mMs;
            seq->tickClock().tickClockPoll();
            if (seq->tickClock().tickClockTakePending() > 0) break;
        }
        seq->waitIdle();
        TickOut out = sentSince();
        out.ms = mMs;
        return out;
    }
    // The clock thread wakes `ms` late: the clock raises every tick due by then at once,
    // and this returns without waiting for the sequencer to play them.
    void lateWake(int ms) {
        clock.advance(std::int64_t{ms} * 1000);
        mMs += ms;
        seq->tickClock().tickClockPoll();
    }
    std::vector<TickOut> ticks(int n) {
        std::vector<TickOut> out;
        for (int i = 0; i < n; ++i) out.push_back(tick());
        return out;
    }
    // Messages sent since the last look (by a tick, or by stop).
    TickOut sentSince() {
        const auto all = service.backlog(mOut);
        TickOut out;
        for (std::size_t i = mSeen; i < all.size(); ++i) {
            const Bytes& b = all[i].bytes;
            out.all.push_back(b);
            if (b.size() == 3 && b[0] == 0x99) out.noteOns.push_back(b[1]);
            if (b.size() == 2 && b[0] == 0xC9) out.programs.push_back(b[1]);
        }
        mSeen = all.size();
        return out;
    }

    ManualClockSource clock;
    VirtualMidiService service;
    Context context;
    MidiLib* midi = nullptr;
    CSeqSim* seq = nullptr;

private:
    std::int64_t mOut = 0;
    std::size_t mSeen = 0;
    std::int64_t mMs = 0;
};

// The note-ons of each tick, for comparing with windowNotes.
inline std::vector<std::vector<int>> noteOns(const std::vector<TickOut>& ticks) {
    std::vector<std::vector<int>> notes;
    for (const TickOut& t : ticks) notes.push_back(t.noteOns);
    return notes;
}

}  // namespace tavrel::test
