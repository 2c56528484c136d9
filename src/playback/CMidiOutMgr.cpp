#include "playback/CMidiOutMgr.h"

#include "device/MidiLib.h"

namespace tavrel {

namespace {
constexpr std::uint8_t kNoteOn = 0x99;  // channel 10
constexpr std::uint8_t kNoteOff = 0x89;
constexpr std::uint8_t kProgramChange = 0xC9;
constexpr std::uint8_t kReleaseVelocity = 0x40;

std::int32_t nextSlot(std::int32_t slot) {
    return (slot + 1) % CMidiOutMgr::kNoteOffSlots;
}

std::uint8_t lowByte(std::int32_t v) {
    return static_cast<std::uint8_t>(v & 0xFF);
}
}  // namespace

CMidiOutMgr::CMidiOutMgr(MidiLib* lib) : midiLib(lib) {}

void CMidiOutMgr::send(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, int length) {
    if (midiLib == nullptr) return;
    const std::uint8_t bytes[3] = {status, data1, data2};
    midiLib->sendMidiWithData(bytes, length);
}

void CMidiOutMgr::noteOn(std::int32_t note, std::int32_t velo) {
    std::lock_guard lock(mLock);
    send(kNoteOn, lowByte(note), lowByte(velo), 3);
    mNoteOffTbl[static_cast<std::size_t>(mWrPtr)] = {kNoteLength, note};
    mWrPtr = nextSlot(mWrPtr);
}

void CMidiOutMgr::noteOff(std::int32_t note) {
    send(kNoteOff, lowByte(note), kReleaseVelocity, 3);
}

void CMidiOutMgr::programChange(std::int32_t program) {
    send(kProgramChange, lowByte(program), 0, 2);
}

void CMidiOutMgr::allOff() {
    std::lock_guard lock(mLock);
    for (NoteOffEntry& entry : mNoteOffTbl) {
        if (entry.time < 0) continue;
        noteOff(entry.note);
        entry.time = -1;
    }
    mWrPtr = 0;
    mRdPtr = 0;
}

void CMidiOutMgr::tickCome() {
    std::lock_guard lock(mLock);
    for (std::int32_t i = mRdPtr; i != mWrPtr; i = nextSlot(i)) {
        NoteOffEntry& entry = mNoteOffTbl[static_cast<std::size_t>(i)];
        if (entry.time < 0) continue;  // ended already; there is nothing to end
        const std::int32_t left = entry.time--;
        if (left < 2) {
            noteOff(entry.note);
            entry.time = -1;
            mRdPtr = nextSlot(i);
        }
    }
}

}  // namespace tavrel
