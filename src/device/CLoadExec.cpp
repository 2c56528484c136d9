#include "device/CLoadExec.h"

#include "device/CConnectionMgr.h"
#include "device/LinkReadings.h"
#include "model/Context.h"
#include "model/Log.h"

#include <chrono>

namespace tavrel {

namespace {
// The unit was given a second between mounting and the kit request. Waiting for the mount
// report and the volume, with the same limit, gives a responsive unit that second back.
constexpr std::chrono::seconds kSettleAfterMount{1};
}  // namespace

bool CLoadExec::exec() {
    CConnectionMgr* link = Context::current().find<CConnectionMgr>();
    if (link == nullptr) return false;
    LinkReadings readings;
    const bool ok = run(*link, readings);
    return readings.apply() && ok;
}

bool CLoadExec::run(CConnectionMgr& link, LinkReadings& into) {
    Log::line("device", "set editor mode");
    if (!link.setEditorMode()) return false;
    Log::line("device", "mount check");
    if (!link.mountQl()) return false;
    link.waitForVolume(kSettleAfterMount);
    Log::line("device", "Get Kit name");
    into.kitNames = link.readKitNames();
    if (!into.kitNames) return false;
    Log::line("device", "Load Pattern");
    into.patternFile = link.readPatternFile();
    if (!into.patternFile) return false;
    into.firstPatternCurrent = true;
    return true;
}

}  // namespace tavrel
