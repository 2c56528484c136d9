#include "device/CLoadExec.h"

#include "device/CConnectionMgr.h"
#include "model/CPatternMgr.h"
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
    Log::line("device", "set editor mode");
    if (!link->setEditorMode()) return false;
    Log::line("device", "mount check");
    if (!link->mountQl()) return false;
    link->waitForVolume(kSettleAfterMount);
    Log::line("device", "Get Kit name");
    if (!link->getKitName()) return false;
    Log::line("device", "Load Pattern");
    if (!link->loadPattern()) return false;
    Context::current().patterns().setCurPatternNum(0);
    return true;
}

}  // namespace tavrel
