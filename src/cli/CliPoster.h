// The command-line tool's main thread, as MIDI and the device thread need one: the transport's
// main-thread work (the link's rescan when an endpoint comes or goes, transport errors) and
// the ends of the link's steps wait here until the tool drains the queue, between two steps
// or while it waits for one to end. An endpoint change during a step therefore takes effect
// on the tool's thread, as it does on the desktop's.
#pragma once

#include "device/CallerQueue.h"

namespace tavrel::cli {

class CliPoster : public CallerQueue {};

}  // namespace tavrel::cli
