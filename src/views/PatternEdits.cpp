#include "views/PatternEdits.h"

#include "files/CFileDataMgr.h"
#include "model/Context.h"
#include "views/EditHistory.h"

namespace tavrel::views::PatternEdits {

// Not yet recorded in the history: these make the change only.
bool loadMidiFile(EditHistory& /*history*/, const std::string& path) {
    return CFileDataMgr::loadSmf(path);
}

void removePatterns(EditHistory& /*history*/, const CPatternMgr::IndexSet& rows) {
    Context::current().patterns().removePatternData(rows);
}

void movePatterns(EditHistory& /*history*/, std::int32_t row, const CPatternMgr::IndexSet& rows) {
    Context::current().patterns().movePatternData(row, rows);
}

}  // namespace tavrel::views::PatternEdits
