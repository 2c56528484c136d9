#include "views/PatternEdits.h"

#include "files/CFileDataMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "views/EditHistory.h"

#include <map>
#include <utility>

namespace tavrel::views::PatternEdits {

namespace {

using Pattern = std::shared_ptr<CPtnDataMgr>;
using Made = EditHistory::Made;

CPatternMgr& patterns() {
    return Context::current().patterns();
}

// Steps find their patterns by identity, not by row: a row number recorded for one list would
// name another pattern once the list changed in a way the history does not know of.
CPatternMgr::IndexSet rowsOf(const std::vector<Pattern>& list) {
    CPatternMgr::IndexSet rows;
    for (const Pattern& p : list) {
        if (const std::int32_t row = patterns().rowOf(p.get()); row >= 0) rows.insert(row);
    }
    return rows;
}

void makeCurrent(const Pattern& pattern) {
    const std::int32_t row = patterns().rowOf(pattern.get());
    if (row >= 0) patterns().setCurPatternNum(row);
}

void takeOut(const Pattern& pattern) {
    const std::int32_t row = patterns().rowOf(pattern.get());
    if (row < 0) return;
    patterns().setCurPatternNum(row);
    patterns().removePatternData();
}

// Brings the list back to `order` one pattern at a time, each a move of the collection's own,
// so that the list sees moves and the current row follows the collection's rule on the way.
void restoreOrder(const CPatternMgr::PatternList& order) {
    CPatternMgr& list = patterns();
    for (std::size_t i = 0; i < order.size() && i < list.getPtnData().size(); ++i) {
        const auto at = static_cast<std::int32_t>(i);
        const std::int32_t from = list.rowOf(order[i].get());
        if (from > at) list.movePatternData(at, {from});
    }
}

}  // namespace

bool loadMidiFile(EditHistory& history, const std::string& path) {
    const Pattern before = patterns().getCurPattarn();
    if (!CFileDataMgr::loadSmf(path)) return false;
    const Pattern loaded = patterns().getCurPattarn();
    const std::int32_t row = patterns().rowOf(loaded.get());
    history.record(
        "Load MIDI File", [loaded, row] { patterns().insertPatternData(row, loaded); },
        [loaded, before] {
            takeOut(loaded);
            makeCurrent(before);
        },
        Made::Already);
    return true;
}

void removePatterns(EditHistory& history, const CPatternMgr::IndexSet& rows) {
    const CPatternMgr::PatternList before = patterns().getPtnData();
    const Pattern current = patterns().getCurPattarn();
    patterns().removePatternData(rows);
    // By their rows before the removal, ascending, so that putting them back in this order
    // gives every one its old row.
    std::map<std::int32_t, Pattern> gone;
    std::vector<Pattern> goneList;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (patterns().rowOf(before[i].get()) >= 0) continue;
        gone.emplace(static_cast<std::int32_t>(i), before[i]);
        goneList.push_back(before[i]);
    }
    if (gone.empty()) return;
    history.record(
        "Delete Patterns", [goneList] { patterns().removePatternData(rowsOf(goneList)); },
        [gone, current] {
            for (const auto& [row, pattern] : gone) patterns().insertPatternData(row, pattern);
            makeCurrent(current);
        },
        Made::Already);
}

void movePatterns(EditHistory& history, std::int32_t row, const CPatternMgr::IndexSet& rows) {
    const CPatternMgr::PatternList before = patterns().getPtnData();
    const Pattern current = patterns().getCurPattarn();
    patterns().movePatternData(row, rows);
    if (patterns().getPtnData() == before) return;  // dropped where they stood
    std::vector<Pattern> moved;
    for (std::int32_t i : rows) {
        if (i >= 0 && static_cast<std::size_t>(i) < before.size()) {
            moved.push_back(before[static_cast<std::size_t>(i)]);
        }
    }
    history.record(
        "Move Patterns", [row, moved] { patterns().movePatternData(row, rowsOf(moved)); },
        [before, current] {
            restoreOrder(before);
            makeCurrent(current);
        },
        Made::Already);
}

}  // namespace tavrel::views::PatternEdits
