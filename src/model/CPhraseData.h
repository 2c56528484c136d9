// One variation of a pattern: the notes of one MIDI file as step records, and the window of
// bars (from, bars) that the variation plays out of them.
#pragma once

#include "model/PatternChange.h"
#include "model/StepRecord.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace tavrel {

class CPhraseFile;
class CPtnDataMgr;

class CPhraseData {
public:
    CPhraseData();
    ~CPhraseData();
    CPhraseData(const CPhraseData&) = delete;
    CPhraseData& operator=(const CPhraseData&) = delete;

    const std::string& getFileName() const { return mFileName; }
    // Reads the file with this variation's own reader the first time; later calls keep the
    // notes of that first reader and only store the new path.
    void setFileName(const std::string& path);
    // The same with a reader that has already read the file (or loaded nothing, for a name
    // that is no file), so that nothing is opened here; one reader may serve many variations.
    void setFileName(const std::string& path, std::shared_ptr<const CPhraseFile> reader);

    std::int32_t getFrom() const { return mFrom; }
    void setFrom(std::int32_t from);
    std::int32_t getBars() const { return mBars; }
    void setBars(std::int32_t bars);
    std::int32_t getTempo() const { return mTempo; }
    void setTempo(std::int32_t tempo);
    std::int32_t getNume() const { return mNumerator; }
    std::int32_t getDeno() const { return mDenominator; }
    std::int32_t getTotalBars() const { return mTotalBars; }
    std::int32_t getTotalTicks() const { return mTotalTicks; }

    // The notes; null for a variation that never had any. The array never changes once
    // published, so a player may keep it while new notes replace it here.
    SharedStepRecords getSeqData() const { return mSeqData; }
    std::int32_t getSeqDataCount() const { return mSeqDataCount; }
    // Copies `count` records and resets the window to the whole phrase.
    void setSeqData(const StepRecord* records, std::int32_t count);
    // The same, sharing an array that never changes instead of copying it.
    void setSeqData(SharedStepRecords records);

    // Re-expresses the window in the pattern's new time signature; posts nothing.
    void renewPhraseNumerator(std::int32_t numerator, std::int32_t denominator);

    std::int32_t variNum() const { return mVariNum; }
    void setVariNum(std::int32_t n) { mVariNum = n; }
    // The pattern this variation belongs to, which names it in change notifications.
    void setOwner(CPtnDataMgr* owner) { mOwner = owner; }

    void notify(PatternChange::Field field = PatternChange::Field::None);

private:
    std::string mFileName;
    std::int32_t mFrom = 0;
    std::int32_t mBars = 0;
    std::int32_t mTotalBars = 16;  // only a drawing default until notes arrive
    std::int32_t mTempo = 120;
    std::int32_t mNumerator = 4;
    std::int32_t mDenominator = 4;
    SharedStepRecords mSeqData;
    std::int32_t mSeqDataCount = 0;
    std::int32_t mTotalTicks = 0;
    std::shared_ptr<const CPhraseFile> mFile;
    std::int32_t mVariNum = 0;
    CPtnDataMgr* mOwner = nullptr;
};

}  // namespace tavrel
