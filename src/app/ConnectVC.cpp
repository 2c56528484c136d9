#include "app/ConnectVC.h"

#include "app/AppDelegate.h"
#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"

#include <QAction>
#include <QLabel>

namespace tavrel::app {

namespace {
constexpr int kTickMs = 500;
constexpr int kWorkTick = 2;
constexpr int kCloseTick = 3;
}  // namespace

ConnectVC::ConnectVC(AppSession& session, CPtnEditViewController& window)
    : ConnectionDialog(session, window, "ConnectVC", {}) {
    setWindowFlag(Qt::WindowCloseButtonHint, false);
    addBusyBar();
}

void ConnectVC::showEvent(QShowEvent* event) {
    ConnectionDialog::showEvent(event);
    mUnmounting = link().getMount() != 0;
    label()->setText(mUnmounting ? "Now disconnecting..." : "Now connecting...");
    startTimer(kTickMs, [this] { checker(); });
}

void ConnectVC::checker() {
    if (mActive == kWorkTick) {
        // The tick count stands still while the step runs; its end moves it on.
        if (steps().busy()) return;
        const auto step = mUnmounting ? LinkRunner::Step::Unmount : LinkRunner::Step::Mount;
        if (!steps().start(step, [this](const LinkRunner::Outcome& o) { stepEnded(o); })) {
            return;
        }
        mActive = -1;  // waiting for the step
        return;
    }
    if (mActive == kCloseTick) {
        close();
        return;
    }
    if (mActive >= 0) ++mActive;
}

// The menu items follow the toggle only when its step worked; a failed step closes the dialog
// and leaves them as they were (the link showed its own alert, if it has one).
void ConnectVC::stepEnded(const LinkRunner::Outcome& outcome) {
    if (!outcome.ok) {
        mWindow.showNote(outcome.reason);
        close();
        return;
    }
    mAppDelegate.setMenusEnabled(
        AppDelegate::kSmfLoad | AppDelegate::kImport | AppDelegate::kExport | AppDelegate::kApply,
        !mUnmounting);
    mAppDelegate.getMenuOfMount()->setChecked(!mUnmounting);
    if (!mUnmounting) mWindow.loadSequenceEnded();
    mActive = kCloseTick;
}

}  // namespace tavrel::app
