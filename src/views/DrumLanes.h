// The drum lanes of a pattern's picture: one lane per drum key that any of its variations
// plays, named after the General MIDI percussion keys and stacked like a drum score (cymbals
// and hand percussion on top, hi-hats, toms from high to low, snares, kicks at the bottom),
// with the hits of the variation shown. Made once per change of the notes, not per paint.
#pragma once

#include "model/StepRecord.h"

#include <QString>

#include <array>
#include <cstdint>
#include <vector>

namespace tavrel {
class CPtnDataMgr;
}

namespace tavrel::views {

class DrumLanes {
public:
    struct Lane {
        int note = 0;
        QString name;
        int hits = 0;  // in the variation shown
    };
    struct Hit {
        std::int32_t tick = 0;  // from the phrase's start, 96 a quarter note
        int lane = 0;
        int velocity = 0;
    };

    DrumLanes() { mLaneOf.fill(-1); }
    // Lanes for every key played by any variation of `pattern`; hits of `shown` (may be null).
    DrumLanes(const CPtnDataMgr& pattern, const StepRecords* shown);

    // Top to bottom.
    const std::vector<Lane>& lanes() const { return mLanes; }
    // In time order.
    const std::vector<Hit>& hits() const { return mHits; }
    // The lane of `note`, or -1.
    int laneOf(int note) const;

private:
    std::vector<Lane> mLanes;
    std::vector<Hit> mHits;
    std::array<int, 128> mLaneOf{};
};

}  // namespace tavrel::views
