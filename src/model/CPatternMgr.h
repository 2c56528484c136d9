// The ordered collection of user patterns being edited, with the current pattern and
// variation that the editor shows. Patterns are known by their position in the list.
#pragma once

#include "model/PatternChange.h"
#include "model/RetainedBytes.h"

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

    // Holds back the collection's change notifications while it lives, for work that makes
    // thousands of edits at once (reading a pattern file, loading a MIDI file). When the
    // outermost batch ends, one NOTIFY_PATTERN_PARM_CHANGED (or, when kits alone changed,
    // one NOTIFY_UPDATE_PARM) carries its summary, by default a Reset. The edited mark is
    // raised as usual.
    class Batch {
    public:
        explicit Batch(CPatternMgr& patterns);
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;
        void setSummary(PatternChange summary);

    private:
        CPatternMgr& mPatterns;
    };

    CPatternMgr() = default;
    CPatternMgr(const CPatternMgr&) = delete;
    CPatternMgr& operator=(const CPatternMgr&) = delete;

    // Raises the edited mark and posts NOTIFY_PATTERN_PARM_CHANGED for the collection.
    void notify(const PatternChange& change = {});
    // Posts a change of the collection, of one of its patterns or of a variation on their
    // behalf, or keeps it for the end of the current batch.
    void post(std::string_view name, const void* object, const PatternChange& change);
    // Row of `pattern` in the list; -1 when it is not there.
    std::int32_t rowOf(const CPtnDataMgr* pattern) const;

    bool getActive() const { return mActive; }
    void setActive() { mActive = true; }

    const PatternList& getPtnData() const { return mPtnDataArray; }

    // The bytes of the last pattern file read or written, which the next write starts from.
    const std::shared_ptr<RetainedBytes>& fileImage() const { return mFileImage; }

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
    // Puts `pattern` (one taken out before) back at `row`, clamped to the list, as the current
    // pattern, with the same Inserted change as a new pattern.
    void insertPatternData(std::int32_t row, std::shared_ptr<CPtnDataMgr> pattern);
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
    void endBatch();

    std::int32_t mCurPatternNum = 0;
    std::int32_t mCurVariationNum = 0;
    std::shared_ptr<CPtnDataMgr> mCurPattern;
    PatternList mPtnDataArray;
    bool mActive = false;
    std::shared_ptr<RetainedBytes> mFileImage = std::make_shared<RetainedBytes>();
    int mBatchDepth = 0;
    bool mBatchChanged = false;
    bool mBatchKitChanged = false;
    PatternChange mBatchSummary;
};

}  // namespace tavrel
