#include "views/DrumLanes.h"

#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "views/GmDrumNames.h"

#include <algorithm>
#include <bitset>

namespace tavrel::views {

namespace {

// Height of a key's family on the score: kicks lowest, then snares, toms, hi-hats, cymbals,
// the rest of the General MIDI percussion, and keys outside it on top.
int familyRank(int note) {
    switch (note) {
        case 35:
        case 36:
            return 0;
        case 37:
        case 38:
        case 39:
        case 40:
            return 1;
        case 41:
        case 43:
        case 45:
        case 47:
        case 48:
        case 50:
            return 2;
        case 42:
        case 44:
        case 46:
            return 3;
        case 49:
        case 51:
        case 52:
        case 53:
        case 55:
        case 57:
        case 59:
            return 4;
        default:
            return note >= 35 && note <= 81 ? 5 : 6;
    }
}

// A record that sounds: the end marker and silent notes do not.
bool isHit(const StepRecord& r) {
    return r.note != 0 && r.note < 128 && r.velocity != 0;
}

}  // namespace

DrumLanes::DrumLanes(const CPtnDataMgr& pattern, const StepRecords* shown) : DrumLanes() {
    std::bitset<128> played;
    const StepRecords* seen[kVariationCount] = {};
    for (int v = 0; v < kVariationCount; ++v) {
        const auto phrase = pattern.getPhraseAtVariation(v);
        const StepRecords* records = phrase ? phrase->getSeqData().get() : nullptr;
        // The variations of a pattern loaded from one MIDI file share one array.
        if (records == nullptr || std::find(seen, seen + v, records) != seen + v) continue;
        seen[v] = records;
        for (const StepRecord& r : *records) {
            if (isHit(r)) played.set(r.note);
        }
    }
    for (int note = 0; note < 128; ++note) {
        if (played.test(static_cast<std::size_t>(note)))
            mLanes.push_back({note, GmDrumNames::name(note), 0});
    }
    std::sort(mLanes.begin(), mLanes.end(), [](const Lane& a, const Lane& b) {
        const int ra = familyRank(a.note);
        const int rb = familyRank(b.note);
        return ra != rb ? ra > rb : a.note > b.note;
    });
    for (std::size_t i = 0; i < mLanes.size(); ++i)
        mLaneOf[static_cast<std::size_t>(mLanes[i].note)] = static_cast<int>(i);
    if (shown == nullptr) return;
    std::int32_t tick = 0;
    mHits.reserve(shown->size());
    for (const StepRecord& r : *shown) {
        tick += r.delta;
        const int lane = isHit(r) ? laneOf(r.note) : -1;
        if (lane < 0) continue;
        mHits.push_back({tick, lane, r.velocity});
        ++mLanes[static_cast<std::size_t>(lane)].hits;
    }
}

int DrumLanes::laneOf(int note) const {
    return note >= 0 && note < 128 ? mLaneOf[static_cast<std::size_t>(note)] : -1;
}

}  // namespace tavrel::views
