// Apply: writes the user pattern file to the unit. The memory chosen names the window's title
// afterwards ("Tavrel [3]"); the memory settings themselves are left alone.
#pragma once

#include "app/ApplyDialog.h"

class QComboBox;

namespace tavrel::app {

class CApplyVC : public ApplyDialog {
    Q_OBJECT
public:
    CApplyVC(AppSession& session, CPtnEditViewController& window);

    void onApply();

protected:
    void showProgress(int execCnt) override;
    void ended() override;

private:
    QComboBox* mComboBox;
    int memNum = 0;
};

}  // namespace tavrel::app
