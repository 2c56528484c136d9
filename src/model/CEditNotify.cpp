#include "model/CEditNotify.h"

#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"

namespace tavrel {

namespace {
void change(bool to) {
    bool& mark = Context::current().editedMark();
    if (mark == to) return;
    mark = to;
    Context::current().notifications().post(NOTIFY_PARAM_CHANGED_MARK, CEditNotify::classObject());
}
}  // namespace

bool CEditNotify::isEdited() {
    return Context::current().editedMark();
}
void CEditNotify::set() {
    change(true);
}
void CEditNotify::clr() {
    change(false);
}

const void* CEditNotify::classObject() {
    static const char tag = 0;
    return &tag;
}

}  // namespace tavrel
