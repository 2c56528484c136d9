// Names of the notifications posted on the process's notification centre.
#pragma once

#include <string_view>

namespace tavrel {

// A pattern, variation or the collection changed; the edited mark was raised first.
inline constexpr std::string_view NOTIFY_PATTERN_PARM_CHANGED = "NOTIFY_PATTERN_PARM_CHANGED";
// A pattern's kit changed; this alone does not count as an unsaved edit.
inline constexpr std::string_view NOTIFY_UPDATE_PARM = "NOTIFY_UPDATE_PARM";
// The edited mark went up or down.
inline constexpr std::string_view NOTIFY_PARAM_CHANGED_MARK = "NOTIFY_PARAM_CHANGED_MARK";
// MIDI endpoints came or went; listeners re-read the connection state.
inline constexpr std::string_view NOTIFY_MIDI_CONNECT = "NOTIFY_MIDI_CONNECT";
// The program is quitting; open dialogs close.
inline constexpr std::string_view NOTIFY_QUIT = "NOTIFY_QUIT";

}  // namespace tavrel
