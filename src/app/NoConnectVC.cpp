#include "app/NoConnectVC.h"

#include "app/AppDelegate.h"
#include "app/CPtnEditViewController.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"

#include <QAction>
#include <QPushButton>

namespace tavrel::app {

NoConnectVC::NoConnectVC(AppSession& session, CPtnEditViewController& window)
    : ConnectionDialog(session, window, "NoConnectVC",
                       "No QL unit is connected.\n\nConnect the unit to this computer with its "
                       "USB cable and switch it on; Tavrel goes on by itself.") {
    exportButton = addButton("Export...", "exportButton", [this] { mAppDelegate.dataExport(); });
    addButton("Quit", "quitButton", [this] { onQuit(); });
}

void NoConnectVC::showEvent(QShowEvent* event) {
    ConnectionDialog::showEvent(event);
    mAppDelegate.setMenusEnabled(AppDelegate::kUnitWork | AppDelegate::kMount, false);
    exportButton->setVisible(anyPattern());
    mAppDelegate.getMenuOfExport()->setEnabled(anyPattern());
    startTimer(100, [this] { checkQL27T(); });
}

void NoConnectVC::checkQL27T() {
    if (!link().getConnected()) {
        mAsked = false;
        return;
    }
    if (steps().busy()) return;
    if (!mAsked) {
        mAsked = true;
        steps().start(LinkRunner::Step::AskOccupied,
                      [this](const LinkRunner::Outcome& o) { answered(o.ok && !o.cancelled); });
    }
}

void NoConnectVC::answered(bool held) {
    if (!isVisible() || !link().getConnected()) {
        mAsked = false;
        return;
    }
    if (held) {
        if (mOccupitViewFlag) return;
        mOccupitViewFlag = true;
        close();
        mWindow.performSegue("ShowOccupited");
    } else if (link().getEditorMode() == 0) {
        close();
        mWindow.performSegue("ShowLoading");
    }
}

}  // namespace tavrel::app
