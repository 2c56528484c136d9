// The edits of a pattern's header that a user can undo: name, kit, tempo and time signature.
// Each is one step of the edit history and goes through the pattern's own setters both ways.
// A step holds the pattern it was made on, so it reaches that pattern even after the list
// has been reordered. An edit that changes nothing records nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tavrel {
class CPtnDataMgr;
class CSeqSim;
}  // namespace tavrel

namespace tavrel::views {
class EditHistory;
}  // namespace tavrel::views

namespace tavrel::views::HeaderEdits {

using Pattern = std::shared_ptr<CPtnDataMgr>;

void rename(EditHistory& history, const Pattern& pattern, const std::string& name);
// Also selects the kit on the preview's output (`seq` may be null) while the pattern is the
// current one, so that the sound follows at once.
void setKit(EditHistory& history, const Pattern& pattern, std::int32_t kit, CSeqSim* seq);
// Also sets the preview's tempo while the pattern is the current one.
void setTempo(EditHistory& history, const Pattern& pattern, std::int32_t tempo, CSeqSim* seq);
// Sets the signature and re-fits every variation's window to the new bar length. Undoing
// puts back the signature and every variation's window as they were, which re-fitting back
// could not: it rounds down and cuts the fills to one bar.
void setTimeSignature(EditHistory& history, const Pattern& pattern, std::int32_t nume,
                      std::int32_t deno);

}  // namespace tavrel::views::HeaderEdits
