// The load sequence that connecting to the unit runs: editor mode on, the unit's storage
// mounted and its volume found, the kit names read, the user pattern file read, pattern 0
// made current. Works on the connection manager and the pattern collection of the current
// Context.
#pragma once

namespace tavrel {

class CConnectionMgr;
struct LinkReadings;

class CLoadExec {
public:
    // Blocks for up to about 46 s with a silent unit: run and apply on the calling thread.
    // True when every step worked; the first failing step ends the sequence and leaves the
    // link as that step left it (in editor mode after a failed mount, for instance), having
    // shown its own alert if it has one. False without a connection manager.
    static bool exec();
    // The waiting part, on the device thread: the unit's kit names and pattern file into
    // `into`, to be applied on the model's thread. A cancelled sequence stops at the step it
    // was in.
    static bool run(CConnectionMgr& link, LinkReadings& into);
    // Kept for the loading sheet's button; does nothing.
    static void load() {}
};

}  // namespace tavrel
