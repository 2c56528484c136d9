// The preview's note output: note on, note off and program change on MIDI channel 10, the
// drum channel, through the MIDI transport. It remembers the notes it started in a ring of
// 256, so that stopping can end them; the unit's drum sounds need no note off, the stop
// sends them all at once.
//
// Threads: notes start on the sequencer thread, allOff runs on the main thread when the
// preview stops, program changes come from either. The ring has its own lock, held while
// its messages are sent, so an allOff never interleaves with a note being recorded.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>

namespace tavrel {

class MidiLib;

class CMidiOutMgr {
public:
    static constexpr int kNoteOffSlots = 256;
    // Ticks a started note lasts when tickCome counts it down.
    static constexpr std::int32_t kNoteLength = 50;

    // Sends through `midiLib`, which must outlive this object; with none it sends nothing.
    explicit CMidiOutMgr(MidiLib* midiLib);
    CMidiOutMgr(const CMidiOutMgr&) = delete;
    CMidiOutMgr& operator=(const CMidiOutMgr&) = delete;

    // Note and velocity go out as their low bytes, unchecked.
    void noteOn(std::int32_t note, std::int32_t velo);
    void programChange(std::int32_t program);
    // Ends every note still in the ring, oldest slot first, and empties it. With more than
    // 256 notes started since the last allOff, the oldest ones were overwritten and are not
    // ended.
    void allOff();
    // Counts every started note down by a tick and ends those whose length is up. Nothing
    // calls it: the preview's notes end only at allOff.
    void tickCome();

private:
    struct NoteOffEntry {
        std::int32_t time = -1;  // ticks left; -1 marks a free slot
        std::int32_t note = 0;
    };

    void send(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, int length);
    void noteOff(std::int32_t note);

    MidiLib* const midiLib;
    std::mutex mLock;
    std::array<NoteOffEntry, kNoteOffSlots> mNoteOffTbl{};
    std::int32_t mWrPtr = 0;  // next slot to write
    std::int32_t mRdPtr = 0;  // oldest slot tickCome has not ended
};

}  // namespace tavrel
