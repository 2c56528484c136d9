// Apply All: writes the user pattern file, then every pattern's kit and tempo into all 50 of
// the unit's memories, showing how many memories are done.
#pragma once

#include "app/ApplyDialog.h"

namespace tavrel::app {

class CApplyAllVC : public ApplyDialog {
    Q_OBJECT
public:
    CApplyAllVC(AppSession& session, CPtnEditViewController& window);

    void onApplyAll();

protected:
    void showProgress(int execCnt) override;
    void ended() override;
};

}  // namespace tavrel::app
