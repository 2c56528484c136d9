// The program-wide edited mark: raised by every model edit, cleared after a save; the
// change of the mark itself is announced.
#pragma once

namespace tavrel {

class CEditNotify {
public:
    static bool isEdited();
    static void set();
    static void clr();
    // The object that NOTIFY_PARAM_CHANGED_MARK carries.
    static const void* classObject();
};

}  // namespace tavrel
