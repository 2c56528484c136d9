// One note event while a MIDI file is read: absolute time at 960 per quarter, note, velocity.
// A plain value so that a file's notes sit in one vector without an allocation per note.
#pragma once

#include <cstdint>

namespace tavrel {

class CSeqData {
public:
    CSeqData() = default;
    CSeqData(std::int32_t time, std::int32_t note, std::int32_t velo)
        : mTime(time), mNote(note), mVelo(velo) {}

    std::int32_t time() const { return mTime; }
    std::int32_t note() const { return mNote; }
    std::int32_t velo() const { return mVelo; }
    void setTime(std::int32_t t) { mTime = t; }
    void setNote(std::int32_t n) { mNote = n; }
    void setVelo(std::int32_t v) { mVelo = v; }

    // 1 when other sorts before this event (by time, then note, then velocity), else 0; never
    // -1. Sorting with "a before b when b.comparWithSortKey(a)" gives ascending order.
    int comparWithSortKey(const CSeqData& other) const {
        if (other.mTime != mTime) return other.mTime < mTime ? 1 : 0;
        if (other.mNote != mNote) return other.mNote < mNote ? 1 : 0;
        return other.mVelo < mVelo ? 1 : 0;
    }

private:
    std::int32_t mTime = 0;
    std::int32_t mNote = -1;
    std::int32_t mVelo = -1;
};

}  // namespace tavrel
