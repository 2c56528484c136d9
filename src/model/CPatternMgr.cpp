#include "model/CPatternMgr.h"

#include "model/CEditNotify.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace tavrel {

namespace {

// "/a/b/beat.mid" -> "beat": the last path component without its extension.
std::string baseName(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return std::filesystem::path(path).stem().string();
}

bool isBeyond(std::int32_t index, std::size_t count) {
    // Negative indices count as beyond the end, as an unsigned comparison makes them.
    return static_cast<std::uint32_t>(index) >= count;
}

PatternChange currentChanged() {
    return {PatternChange::Kind::Current};
}

PatternChange inserted(std::int32_t row) {
    PatternChange change{PatternChange::Kind::Inserted};
    change.pattern = row;
    return change;
}

}  // namespace

CPatternMgr::Batch::Batch(CPatternMgr& patterns) : mPatterns(patterns) {
    if (mPatterns.mBatchDepth++ == 0) {
        mPatterns.mBatchChanged = false;
        mPatterns.mBatchKitChanged = false;
        mPatterns.mBatchSummary = {};
    }
}

CPatternMgr::Batch::~Batch() {
    if (--mPatterns.mBatchDepth == 0) mPatterns.endBatch();
}

void CPatternMgr::Batch::setSummary(PatternChange summary) {
    mPatterns.mBatchSummary = std::move(summary);
}

void CPatternMgr::endBatch() {
    NotificationCenter& centre = Context::current().notifications();
    if (mBatchChanged) {
        centre.post(NOTIFY_PATTERN_PARM_CHANGED, this, &mBatchSummary);
    } else if (mBatchKitChanged) {
        centre.post(NOTIFY_UPDATE_PARM, this, &mBatchSummary);
    }
}

void CPatternMgr::notify(const PatternChange& change) {
    CEditNotify::set();
    post(NOTIFY_PATTERN_PARM_CHANGED, this, change);
}

void CPatternMgr::post(std::string_view name, const void* object, const PatternChange& change) {
    if (mBatchDepth > 0) {
        (name == NOTIFY_UPDATE_PARM ? mBatchKitChanged : mBatchChanged) = true;
        return;
    }
    Context::current().notifications().post(name, object, &change);
}

std::int32_t CPatternMgr::rowOf(const CPtnDataMgr* pattern) const {
    for (std::size_t i = 0; i < mPtnDataArray.size(); ++i) {
        if (mPtnDataArray[i].get() == pattern) return static_cast<std::int32_t>(i);
    }
    return -1;
}

void CPatternMgr::setCurPatternNum(std::int32_t n) {
    mCurPatternNum = n;
    if (isBeyond(n, mPtnDataArray.size())) {
        mCurPattern.reset();
    } else {
        mCurPattern = mPtnDataArray[static_cast<std::size_t>(n)];
        // The newly current pattern shows the variation the editor was on.
        setCurVariationNum(mCurVariationNum);
    }
    notify(currentChanged());
}

void CPatternMgr::setCurVariationNum(std::int32_t n) {
    mCurVariationNum = n;
    if (mCurPattern) mCurPattern->setCurVariationNum(n);
    notify(currentChanged());
}

std::shared_ptr<CPhraseData> CPatternMgr::getCurPhrase() const {
    return mCurPattern ? mCurPattern->getCurPhrase() : nullptr;
}

void CPatternMgr::clearAllPtnData() {
    mPtnDataArray.clear();
    mActive = false;
}

std::shared_ptr<CPtnDataMgr> CPatternMgr::addPatternData() {
    auto pattern = std::make_shared<CPtnDataMgr>();
    mPtnDataArray.push_back(pattern);
    mCurPattern = pattern;
    mCurPatternNum = static_cast<std::int32_t>(mPtnDataArray.size() - 1);
    notify(inserted(mCurPatternNum));
    return pattern;
}

std::shared_ptr<CPtnDataMgr> CPatternMgr::insertPatternData() {
    auto pattern = std::make_shared<CPtnDataMgr>();
    insertPatternData(mCurPatternNum, pattern);
    return pattern;
}

void CPatternMgr::insertPatternData(std::int32_t row, std::shared_ptr<CPtnDataMgr> pattern) {
    const auto at = std::min(static_cast<std::size_t>(std::max(row, 0)), mPtnDataArray.size());
    mPtnDataArray.insert(mPtnDataArray.begin() + static_cast<std::ptrdiff_t>(at), pattern);
    mCurPattern = std::move(pattern);
    mCurPatternNum = static_cast<std::int32_t>(at);
    notify(inserted(mCurPatternNum));
}

void CPatternMgr::removePatternData() {
    PatternChange change{PatternChange::Kind::Removed};
    for (std::size_t i = 0; i < mPtnDataArray.size(); ++i) {
        if (mPtnDataArray[i] == mCurPattern) change.rows.push_back(static_cast<std::int32_t>(i));
    }
    std::erase(mPtnDataArray, mCurPattern);
    const auto count = mPtnDataArray.size();
    if (isBeyond(mCurPatternNum, count)) mCurPatternNum = static_cast<std::int32_t>(count) - 1;
    if (mCurPatternNum >= 0) {
        mCurPattern = mPtnDataArray[static_cast<std::size_t>(mCurPatternNum)];
    } else {
        mCurPattern.reset();
    }
    notify(change);
}

void CPatternMgr::removePatternData(const IndexSet& rows) {
    IndexSet doomed = rows;
    // Removing every row keeps the first pattern: the list is never emptied from the UI.
    if (mPtnDataArray.size() <= rows.size()) doomed.erase(0);
    PatternList kept;
    PatternChange change{PatternChange::Kind::Removed};
    for (std::size_t i = 0; i < mPtnDataArray.size(); ++i) {
        const auto row = static_cast<std::int32_t>(i);
        if (doomed.count(row) == 0) {
            kept.push_back(mPtnDataArray[i]);
        } else {
            change.rows.push_back(row);
        }
    }
    mPtnDataArray = std::move(kept);
    setCurPatternNum(mPtnDataArray.empty() ? -1 : 0);
    notify(change);
}

void CPatternMgr::movePatternData(std::int32_t row, const IndexSet& rows) {
    const auto count = mPtnDataArray.size();
    auto moved = [&](std::size_t i) { return rows.count(static_cast<std::int32_t>(i)) != 0; };
    PatternList order;
    order.reserve(count);
    const std::size_t split = isBeyond(row, count) ? count : static_cast<std::size_t>(row);
    for (std::size_t i = 0; i < split; ++i) {
        if (!moved(i)) order.push_back(mPtnDataArray[i]);
    }
    for (std::int32_t i : rows) {
        if (!isBeyond(i, count)) order.push_back(mPtnDataArray[static_cast<std::size_t>(i)]);
    }
    for (std::size_t i = split; i < count; ++i) {
        if (!moved(i)) order.push_back(mPtnDataArray[i]);
    }
    // The current row is the drop row itself, not where the first moved pattern ended up;
    // after a drop past the end it is the last row.
    const std::int32_t current =
        isBeyond(row, count) ? static_cast<std::int32_t>(order.size()) - 1 : row;
    mPtnDataArray = std::move(order);
    setCurPatternNum(current);
    PatternChange change{PatternChange::Kind::Moved};
    change.pattern = row;
    for (std::int32_t i : rows) {
        if (!isBeyond(i, count)) change.rows.push_back(i);
    }
    notify(change);
}

std::shared_ptr<CPtnDataMgr> CPatternMgr::getPatternDataByName(const std::string& name) const {
    for (const auto& p : mPtnDataArray) {
        if (p->getName() == name) return p;
    }
    return nullptr;
}

std::shared_ptr<CPtnDataMgr> CPatternMgr::getPatternDataByFileName(const std::string& path) const {
    const std::string key = baseName(path);
    for (const auto& p : mPtnDataArray) {
        // Only the Intro's file names a pattern.
        if (baseName(p->getPhraseAtVariation(0)->getFileName()) == key) return p;
    }
    return nullptr;
}

void CPatternMgr::copyString(std::span<std::uint8_t> dst, const std::string& src,
                             std::int32_t start, std::int32_t length) {
    if (length < 0 || dst.empty()) return;
    const std::size_t len = std::min(static_cast<std::size_t>(length), dst.size() - 1);
    std::fill_n(dst.begin(), len, std::uint8_t{' '});
    dst[len] = 0;
    const std::size_t srcLen = std::strlen(src.c_str());
    std::size_t count = len;
    if (srcLen - static_cast<std::size_t>(start) < len) count = srcLen;
    // Past the string's terminator there is nothing to copy; a start beyond the string
    // copies nothing at all.
    const std::size_t from = std::min(static_cast<std::size_t>(std::max(start, 0)), srcLen);
    count = std::min({count, len, srcLen + 1 - from});
    std::memcpy(dst.data(), src.c_str() + from, count);
}

}  // namespace tavrel
