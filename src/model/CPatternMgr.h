// The ordered collection of user patterns being edited, with the current pattern and
// variation that the editor shows. Patterns are known by their position in the list.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

class CPtnDataMgr;
class CPhraseData;

class CPatternMgr {
public:
    using PatternList = std::vector<std::shared_ptr<CPtnDataMgr>>;
    // Rows of the pattern list, ascending and unique.
    using IndexSet = std::set<std::int32_t>;

    CPatternMgr() = default;
    CPatternMgr(const CPatternMgr&) = delete;
    CPatternMgr& operator=(const CPatternMgr&) = delete;

    void notify();

    bool getActive() const { return mActive; }
    void setActive() { mActive = true; }

    PatternList& getPtnData() { return mPtnDataArray; }

    std::int32_t getCurPattarnNum() const { return mCurPatternNum; }
    void setCurPatternNum(std::int32_t n);
    std::shared_ptr<CPtnDataMgr> getCurPattarn() const { return mCurPattern; }
    std::int32_t getCurVairationNum() const { return mCurVariationNum; }
    void setCurVariationNum(std::int32_t n);
    std::shared_ptr<CPhraseData> getCurPhrase() const;

    // Empties the list; the current pattern and numbers stay as they were until the next
    // setCurPatternNum.
    void clearAllPtnData();
    std::shared_ptr<CPtnDataMgr> addPatternData();
    std::shared_ptr<CPtnDataMgr> insertPatternData();
    void removePatternData();
    void removePatternData(const IndexSet& rows);
    void movePatternData(std::int32_t row, const IndexSet& rows);

    std::shared_ptr<CPtnDataMgr> getPatternDataByName(const std::string& name) const;
    std::shared_ptr<CPtnDataMgr> getPatternDataByFileName(const std::string& path) const;

    // Writes src into a space-padded field of `length` bytes followed by a zero byte, so dst
    // must hold length + 1 bytes; a longer string is cut.
    static void copyString(std::span<std::uint8_t> dst, const std::string& src, std::int32_t start,
                           std::int32_t length);

private:
    std::int32_t mCurPatternNum = 0;
    std::int32_t mCurVariationNum = 0;
    std::shared_ptr<CPtnDataMgr> mCurPattern;
    PatternList mPtnDataArray;
    bool mActive = false;
};

}  // namespace tavrel
