// Every failing ALSA call is named in the log the same way: what was being done and ALSA's
// reason ("connect source 20:0: No such device or address").
#pragma once

#include "device/platform/MidiService.h"

#include <string_view>

namespace tavrel {

// `rc` is an ALSA result: negative for an error code, else success (a port number, a count).
// Logs a failure and returns it as a Status; a success comes back as an ok Status.
MidiService::Status check(int rc, std::string_view what);

}  // namespace tavrel
