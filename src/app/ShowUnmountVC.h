// The unit's storage is not mounted. Offers export (while there are patterns), mounting and
// quit, and closes once the unit is connected, mounted and held again.
#pragma once

#include "app/ConnectionDialog.h"

namespace tavrel::app {

class ShowUnmountVC : public ConnectionDialog {
    Q_OBJECT
public:
    ShowUnmountVC(AppSession& session, CPtnEditViewController& window);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void onMount();
    void checkQL27T();

    QPushButton* mExportButton;
};

}  // namespace tavrel::app
