// Switches that make the simulated unit misbehave the ways a real one does, so that the
// link's time-outs, retries and alerts can be seen to work. They may be flipped at any time,
// from any thread; each message reads them as it arrives.
#pragma once

#include "sim/UnitStep.h"

#include <atomic>

namespace tavrel::sim {

struct UnitFaults {
    // Hears everything and answers nothing, its endpoints still there: a hung unit.
    std::atomic<bool> silent{false};
    // Each request is acted on and answered this many milliseconds late, on the Timeline.
    std::atomic<int> replyDelayMs{0};
    // Another editor holds the unit: its editor-mode report is non-zero whatever we send.
    std::atomic<bool> heldByOtherEditor{false};
    // The reply for kit slot n (0-based; the closing empty slot counts too) is lost; -1 none.
    std::atomic<int> dropKitReply{-1};
    // How many more kit lists lose it, counting down with each one that does; negative: every
    // list.
    std::atomic<int> dropKitLists{1};
    // Mount requests go unanswered and the storage never shows as a volume.
    std::atomic<bool> neverMount{false};
    // The cable is pulled on receiving the n-th message (1-based, counting every message,
    // good or bad); 0 never.
    std::atomic<int> unplugAtMessage{0};
    // The cable is pulled on receiving this request instead of acting on it.
    std::atomic<UnitStep> unplugAtStep{UnitStep::None};
    // The storage drops off the computer on receiving this request, which is still acted on
    // and answered: the volume vanishes while the unit stays in editor mode.
    std::atomic<UnitStep> loseStorageAtStep{UnitStep::None};
};

}  // namespace tavrel::sim
