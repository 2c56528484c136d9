#include "model/CPtnDataMgr.h"

#include "model/CEditNotify.h"
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
    }
    setCurVariationNum(0);
}

CPtnDataMgr::~CPtnDataMgr() = default;

void CPtnDataMgr::notify() {
    CEditNotify::set();
    Context::current().notifications().post(NOTIFY_PATTERN_PARM_CHANGED, this);
}

void CPtnDataMgr::notify2() {
    Context::current().notifications().post(NOTIFY_UPDATE_PARM, this);
}

void CPtnDataMgr::setName(const std::string& name) {
    mName = name;
    notify();
}

void CPtnDataMgr::setTempo(std::int32_t tempo) {
    mTempo = tempo;
    notify();
}

void CPtnDataMgr::setNume(std::int32_t numerator) {
    if (numerator == mNumerator) return;
    mNumerator = numerator;
    notify();
}

void CPtnDataMgr::setDeno(std::int32_t denominator) {
    if (denominator == mDenominator) return;
    mDenominator = denominator;
    notify();
}

void CPtnDataMgr::setKitNum(std::int32_t kit) {
    mKitNum = kit;
    notify2();
}

void CPtnDataMgr::setCurVariationNum(std::int32_t n) {
    mCurVariationNum = n;
    mCurVariation = getPhraseAtVariation(n);
    notify();
}

std::shared_ptr<CPhraseData> CPtnDataMgr::getPhraseAtVariation(std::int32_t n) const {
    if (n < 0 || n >= kVariationCount) return nullptr;
    return mVariation[static_cast<std::size_t>(n)];
}

void CPtnDataMgr::renewPhraseNumerator() {
    for (const auto& v : mVariation) v->renewPhraseNumerator(mNumerator, mDenominator);
    notify();
}

}  // namespace tavrel
