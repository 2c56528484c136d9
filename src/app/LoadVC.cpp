#include "app/LoadVC.h"

#include "app/CPtnEditViewController.h"
#include "device/LinkRunner.h"

#include <QTimer>

namespace tavrel::app {

LoadVC::LoadVC(AppSession& session, CPtnEditViewController& window)
    : ConnectionDialog(session, window, "LoadVC", "Now loading the unit's kits and patterns...") {
    addBusyBar();
}

void LoadVC::showEvent(QShowEvent* event) {
    ConnectionDialog::showEvent(event);
    if (!mStarted) QTimer::singleShot(0, this, &LoadVC::startLoading);
}

void LoadVC::startLoading() {
    if (mStarted) return;
    mStarted = true;
    const bool started =
        steps().start(LinkRunner::Step::LoadSequence, [this](const LinkRunner::Outcome& o) {
            close();
            mWindow.loadSequenceEnded(o.reason);
        });
    if (!started) {
        close();
        mWindow.loadSequenceEnded();
    }
}

}  // namespace tavrel::app
