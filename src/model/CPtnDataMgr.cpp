#include "model/CPtnDataMgr.h"

#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"

namespace tavrel {

CPtnDataMgr::CPtnDataMgr() {
    (void)mSortKey;
    for (int i = 0; i < kVariationCount; ++i) {
        mVariation[static_cast<std::size_t>(i)] = std::make_shared<CPhraseData>();
        mVariation[static_cast<std::size_t>(i)]->setVariNum(i);
        mVariation[static_cast<std::size_t>(i)]->setOwner(this);
    }
    setCurVariationNum(0);
}

CPtnDataMgr::~CPtnDataMgr() {
    // A player may hold a variation a little longer than its pattern lives.
    for (const auto& v : mVariation) v->setOwner(nullptr);
}

namespace {

void postFor(const CPtnDataMgr* pattern, std::string_view name, const void* object,
             PatternChange change) {
    CPatternMgr& patterns = Context::current().patterns();
    change.pattern = patterns.rowOf(pattern);
    patterns.post(name, object, change);
}

}  // namespace

void CPtnDataMgr::notify(PatternChange::Field field) {
    CEditNotify::set();
    postFor(this, NOTIFY_PATTERN_PARM_CHANGED, this, {PatternChange::Kind::Parameter, field});
}

void CPtnDataMgr::notify2() {
    postFor(this, NOTIFY_UPDATE_PARM, this,
            {PatternChange::Kind::Parameter, PatternChange::Field::Kit});
}

void CPtnDataMgr::postVariationChange(const void* variation, std::int32_t variNum,
                                      PatternChange::Field field) const {
    PatternChange change{PatternChange::Kind::Parameter, field};
    change.variation = variNum;
    postFor(this, NOTIFY_PATTERN_PARM_CHANGED, variation, change);
}

void CPtnDataMgr::setName(const std::string& name) {
    mName = name;
    notify(PatternChange::Field::Name);
}

void CPtnDataMgr::setTempo(std::int32_t tempo) {
    mTempo = tempo;
    notify(PatternChange::Field::Tempo);
}

void CPtnDataMgr::setNume(std::int32_t numerator) {
    if (numerator == mNumerator) return;
    mNumerator = numerator;
    notify(PatternChange::Field::Numerator);
}

void CPtnDataMgr::setDeno(std::int32_t denominator) {
    if (denominator == mDenominator) return;
    mDenominator = denominator;
    notify(PatternChange::Field::Denominator);
}

void CPtnDataMgr::setKitNum(std::int32_t kit) {
    mKitNum = kit;
    notify2();
}

void CPtnDataMgr::setCurVariationNum(std::int32_t n) {
    mCurVariationNum = n;
    mCurVariation = getPhraseAtVariation(n);
    notify(PatternChange::Field::CurrentVariation);
}

std::shared_ptr<CPhraseData> CPtnDataMgr::getPhraseAtVariation(std::int32_t n) const {
    if (n < 0 || n >= kVariationCount) return nullptr;
    return mVariation[static_cast<std::size_t>(n)];
}

void CPtnDataMgr::renewPhraseNumerator() {
    for (const auto& v : mVariation) v->renewPhraseNumerator(mNumerator, mDenominator);
    notify(PatternChange::Field::TimeSignature);
}

}  // namespace tavrel
