// The changes of the collection's list that a user can undo: a MIDI file loaded as a new
// pattern, patterns deleted, patterns moved. The list, the load button, the menu and the
// delete button all go through here, so each becomes one step of the edit history. Undo and
// redo change the collection through its own list operations, which post the usual change
// records and raise the edited mark; an undone step makes current again the pattern that was
// current before it.
#pragma once

#include "model/CPatternMgr.h"

#include <cstdint>
#include <string>

namespace tavrel::views {

class EditHistory;

namespace PatternEdits {

// Loads the file as a new pattern; false when it could not be read (the collection is
// unchanged and nothing is recorded).
bool loadMidiFile(EditHistory& history, const std::string& path);
void removePatterns(EditHistory& history, const CPatternMgr::IndexSet& rows);
// Moves `rows` to stand together before `row`, with the collection's rule for the current row.
void movePatterns(EditHistory& history, std::int32_t row, const CPatternMgr::IndexSet& rows);

}  // namespace PatternEdits
}  // namespace tavrel::views
