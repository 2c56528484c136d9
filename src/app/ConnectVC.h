// Connecting or disconnecting the unit's storage, for the mount toggle: says "Now
// connecting..." or "Now disconnecting...", starts the step on its third half-second tick
// (after the label has been drawn) and closes on the tick after it worked.
#pragma once

#include "app/ConnectionDialog.h"
#include "device/LinkRunner.h"

namespace tavrel::app {

class ConnectVC : public ConnectionDialog {
    Q_OBJECT
public:
    ConnectVC(AppSession& session, CPtnEditViewController& window);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void checker();
    void stepEnded(const LinkRunner::Outcome& outcome);

    int mActive = 0;
    bool mUnmounting = false;
};

}  // namespace tavrel::app
