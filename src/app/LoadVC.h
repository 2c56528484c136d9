// The loading sheet: runs the load sequence (editor mode, mount, kit names, the user pattern
// file) on the device thread as soon as it is shown, and closes when it ends, whatever the
// result; the window's watch shows what a failure left behind.
#pragma once

#include "app/ConnectionDialog.h"

namespace tavrel::app {

class LoadVC : public ConnectionDialog {
    Q_OBJECT
public:
    LoadVC(AppSession& session, CPtnEditViewController& window);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void startLoading();
    bool mStarted = false;
};

}  // namespace tavrel::app
