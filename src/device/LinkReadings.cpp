#include "device/LinkReadings.h"

#include "files/CFileDataMgr.h"
#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"

namespace tavrel {

bool LinkReadings::apply() {
    Context& context = Context::current();
    if (kitNames) {
        CKitMgr& kits = context.kits();
        kits.reset();
        for (std::string& name : *kitNames) kits.addName(std::move(name));
        kitNames.reset();
    }
    if (patternFile && !CFileDataMgr::loadDataFrom(*patternFile)) return false;
    if (firstPatternCurrent) context.patterns().setCurPatternNum(0);
    return true;
}

}  // namespace tavrel
