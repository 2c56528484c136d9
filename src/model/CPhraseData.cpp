#include "model/CPhraseData.h"

#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"
#include "model/TimeMath.h"
#include "smf/CPhraseFile.h"

namespace tavrel {

using Field = PatternChange::Field;
using timemath::ticksPerBeat;
using timemath::truncToInt;

CPhraseData::CPhraseData() = default;
CPhraseData::~CPhraseData() = default;

void CPhraseData::notify(Field field) {
    CEditNotify::set();
    if (mOwner != nullptr) {
        mOwner->postVariationChange(this, mVariNum, field);
        return;
    }
    PatternChange change{PatternChange::Kind::Parameter, field};
    change.variation = mVariNum;
    Context::current().patterns().post(NOTIFY_PATTERN_PARM_CHANGED, this, change);
}

void CPhraseData::setFileName(const std::string& path) {
    if (mFile) {
        setFileName(path, mFile);
        return;
    }
    auto reader = std::make_shared<CPhraseFile>();
    reader->loadSmf(path);
    setFileName(path, std::move(reader));
}

void CPhraseData::setFileName(const std::string& path, std::shared_ptr<const CPhraseFile> reader) {
    mFileName = path;
    if (!mFile) {
        // The first reader stays, whatever it loaded; a failed read changes nothing else.
        mFile = std::move(reader);
        if (!mFile || mFile->getSeqData() == nullptr) {
            if (!mFile) mFile = std::make_shared<const CPhraseFile>();
            notify(Field::FileName);
            return;
        }
    }
    mNumerator = 4;
    mDenominator = 4;
    setSeqData(mFile->records());
    mTempo = mFile->getTemp();
    notify(Field::FileName);
}

void CPhraseData::setSeqData(const StepRecord* records, std::int32_t count) {
    const std::int32_t n = (records != nullptr && count > 0) ? count : 0;
    setSeqData(std::make_shared<const StepRecords>(records, records + n));
}

void CPhraseData::setSeqData(SharedStepRecords records) {
    if (!records) records = std::make_shared<const StepRecords>();
    mSeqData = std::move(records);
    std::uint32_t ticks = 0;  // a sum past 2^31 wraps as the 32-bit field does
    for (const StepRecord& r : *mSeqData) ticks += r.delta;
    mTotalTicks = static_cast<std::int32_t>(ticks);
    mTotalBars = timemath::totalBars(mTotalTicks, mNumerator, mDenominator);
    mFrom = 0;
    mBars = mTotalBars;
    mSeqDataCount = static_cast<std::int32_t>(mSeqData->size());
    // Notes loaded while nothing is being edited (a file read into an empty collection) do
    // not count as an edit.
    if (Context::current().patterns().getCurPhrase() != nullptr) notify(Field::Notes);
}

void CPhraseData::setFrom(std::int32_t from) {
    if (from >= mTotalBars) return;
    mFrom = from;
    setBars(mBars);
    notify(Field::From);
}

void CPhraseData::setBars(std::int32_t bars) {
    if (std::int64_t{mFrom} + bars < mTotalBars) {
        mBars = bars;
    } else {
        mBars = static_cast<std::int32_t>(std::int64_t{mTotalBars} - mFrom);
    }
    notify(Field::Bars);
}

void CPhraseData::setTempo(std::int32_t tempo) {
    mTempo = tempo;
    notify(Field::Tempo);
}
void CPhraseData::renewPhraseNumerator(std::int32_t numerator, std::int32_t denominator) {
    if (mTotalTicks == 0) return;  // an empty variation keeps its own signature and window
    const double oldTPB = ticksPerBeat(mDenominator);
    const double newTPB = ticksPerBeat(denominator);
    // Products are 32-bit integers, as they always were; wrap rather than overflow.
    const auto fromBeats = static_cast<std::int32_t>(std::int64_t{mFrom} * mNumerator);
    mFrom = truncToInt(truncToInt(fromBeats * oldTPB) / newTPB / numerator);
    const auto barBeats = static_cast<std::int32_t>(std::int64_t{mNumerator} * mBars);
    const std::int32_t b = truncToInt(truncToInt(barBeats * oldTPB) / newTPB / numerator);
    mBars = b >= 2 ? b : 1;
    // Fills (Verse, Chorus, C and D Fill) always fall back to one bar.
    if (static_cast<std::uint32_t>(mVariNum) <= 8 && ((0x154u >> mVariNum) & 1u) != 0) mBars = 1;
    mNumerator = numerator;
    mDenominator = denominator;
    mTotalBars = timemath::totalBars(mTotalTicks, numerator, denominator);
}

}  // namespace tavrel
