#include "app/ShowUnmountVC.h"

#include "app/AppDelegate.h"
#include "app/CPtnEditViewController.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"

#include <QAction>
#include <QPushButton>

namespace tavrel::app {

ShowUnmountVC::ShowUnmountVC(AppSession& session, CPtnEditViewController& window)
    : ConnectionDialog(session, window, "ShowUnmountVC",
                       "The QL unit's storage is not mounted.\n\nMount it to load and save "
                       "the unit's patterns.") {
    mExportButton = addButton("Export...", "exportButton", [this] { mAppDelegate.dataExport(); });
    addButton("Quit", "quitButton", [this] { onQuit(); });
    addButton("Mount", "mountButton", [this] { onMount(); });
}

void ShowUnmountVC::showEvent(QShowEvent* event) {
    ConnectionDialog::showEvent(event);
    startTimer(100, [this] { checkQL27T(); });
    mAppDelegate.setMenusEnabled(AppDelegate::kUnitWork, false);
    mAppDelegate.getMenuOfMount()->setChecked(false);
    mExportButton->setVisible(anyPattern());
    mAppDelegate.getMenuOfExport()->setEnabled(anyPattern());
}

void ShowUnmountVC::hideEvent(QHideEvent* event) {
    mAppDelegate.setMenusEnabled(AppDelegate::kUnitWork, true);
    mAppDelegate.getMenuOfMount()->setChecked(true);
    ConnectionDialog::hideEvent(event);
}

// A unit we do not hold yet is asked first and loaded whole. One we still hold, whose storage
// did not come or went away, is only asked to mount it again, with the kits and patterns read.
void ShowUnmountVC::onMount() {
    if (!link().getConnected()) return;
    if (link().getEditorMode() != 0) {
        steps().start(LinkRunner::Step::Mount, [this](const LinkRunner::Outcome& o) {
            mWindow.loadSequenceEnded(o.reason);
        });
        return;
    }
    steps().start(LinkRunner::Step::AskOccupied, [this](const LinkRunner::Outcome& o) {
        if (!isVisible() || o.cancelled || link().getEditorMode() != 0) return;
        if (o.ok) {
            mAppDelegate.getMenuOfMount()->setChecked(false);
            mWindow.performSegue("ShowOccupited");
        } else {
            mWindow.performSegue("ShowLoading");
        }
    });
}

void ShowUnmountVC::checkQL27T() {
    if (link().getConnected() && link().getMount() != 0 && link().getEditorMode() != 0) close();
}

}  // namespace tavrel::app
