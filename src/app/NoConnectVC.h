// No unit is connected, or it is not held yet. Offers export (while there are patterns) and
// quit; once the unit is there, it asks whether another editor holds it and goes on to the
// occupied dialog or to loading.
#pragma once

#include "app/ConnectionDialog.h"

namespace tavrel::app {

class NoConnectVC : public ConnectionDialog {
    Q_OBJECT
public:
    NoConnectVC(AppSession& session, CPtnEditViewController& window);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void checkQL27T();
    void answered(bool held);

    QPushButton* exportButton;
    bool mOccupitViewFlag = false;
    bool mAsked = false;  // asked the unit since it came
};

}  // namespace tavrel::app
