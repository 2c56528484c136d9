#include "app/OccupitedVC.h"

#include "app/AppDelegate.h"
#include "app/CPtnEditViewController.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"

#include <QAction>

namespace tavrel::app {

OccupitedVC::OccupitedVC(AppSession& session, CPtnEditViewController& window)
    : ConnectionDialog(session, window, "OccupitedVC",
                       "Another editor holds the QL unit.\n\nClose the other editor, then "
                       "connect again.") {
    addButton("Quit", "quitButton", [this] { onQuit(); });
    addButton("Connect", "connectButton", [this] { onConnect(); });
}

void OccupitedVC::showEvent(QShowEvent* event) {
    ConnectionDialog::showEvent(event);
    mAppDelegate.setMenusEnabled(AppDelegate::kUnitWork | AppDelegate::kExport, false);
    mAppDelegate.getMenuOfMount()->setChecked(false);
}

void OccupitedVC::hideEvent(QHideEvent* event) {
    mAppDelegate.setMenusEnabled(AppDelegate::kUnitWork, true);
    mAppDelegate.getMenuOfMount()->setChecked(true);
    ConnectionDialog::hideEvent(event);
}

// The unit is asked again; only a free unit, not yet held by us, goes on to loading.
void OccupitedVC::onConnect() {
    if (!link().getConnected() ||
        !steps().start(LinkRunner::Step::AskOccupied, [this](const LinkRunner::Outcome& o) {
            if (!isVisible() || o.ok || o.cancelled || link().getEditorMode() != 0) return;
            close();
            mWindow.performSegue("ShowLoading");
        })) {
        return;
    }
}

}  // namespace tavrel::app
