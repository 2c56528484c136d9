// One user pattern: name, kit, tempo, time signature and its ten variations (Intro, Verse,
// Verse Fill, Chorus, Chorus Fill, C, C Fill, D, D Fill, Ending).
#pragma once

#include "model/PatternChange.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace tavrel {

class CPhraseData;

inline constexpr int kVariationCount = 10;

class CPtnDataMgr {
public:
    CPtnDataMgr();
    ~CPtnDataMgr();
    CPtnDataMgr(const CPtnDataMgr&) = delete;
    CPtnDataMgr& operator=(const CPtnDataMgr&) = delete;

    const std::string& getName() const { return mName; }
    void setName(const std::string& name);
    std::int32_t getTempo() const { return mTempo; }
    void setTempo(std::int32_t tempo);
    std::int32_t getNume() const { return mNumerator; }
    void setNume(std::int32_t numerator);
    std::int32_t getDeno() const { return mDenominator; }
    void setDeno(std::int32_t denominator);
    std::int32_t getKitNum() const { return mKitNum; }
    void setKitNum(std::int32_t kit);

    std::int32_t getCurVairationNum() const { return mCurVariationNum; }
    // A number outside 0..9 leaves no current variation.
    void setCurVariationNum(std::int32_t n);
    std::shared_ptr<CPhraseData> getCurPhrase() const { return mCurVariation; }
    // Null for a number outside 0..9.
    std::shared_ptr<CPhraseData> getPhraseAtVariation(std::int32_t n) const;

    // Brings every variation's own time signature in line with the pattern's.
    void renewPhraseNumerator();

    // Raises the edited mark and posts NOTIFY_PATTERN_PARM_CHANGED for this pattern.
    void notify(PatternChange::Field field = PatternChange::Field::None);
    // Posts NOTIFY_UPDATE_PARM (the kit changed); not an edit.
    void notify2();
    // Posts a change of one of this pattern's variations; the mark is raised by the caller.
    void postVariationChange(const void* variation, std::int32_t variNum,
                             PatternChange::Field field) const;

private:
    std::string mName = "NO NAME";
    std::int32_t mTempo = 120;
    std::int32_t mNumerator = 4;
    std::int32_t mDenominator = 4;
    std::int32_t mKitNum = 0;
    std::int32_t mSortKey = 0;  // carried by every pattern, never used
    std::int32_t mCurVariationNum = 0;
    std::shared_ptr<CPhraseData> mCurVariation;
    std::array<std::shared_ptr<CPhraseData>, kVariationCount> mVariation;
};

}  // namespace tavrel
