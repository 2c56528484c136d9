#include "app/CApplyAllVC.h"

#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace tavrel::app {

CApplyAllVC::CApplyAllVC(AppSession& session, CPtnEditViewController& window)
    : ApplyDialog(session, window, "CApplyAllVC",
                  "Write the patterns to the unit, with each pattern's kit and tempo in all "
                  "50 memories?",
                  "Apply All") {
    mLabel->setWordWrap(true);
    window.stopPreview();
    connect(mGoButton, &QPushButton::clicked, this, &CApplyAllVC::onApplyAll);
}

void CApplyAllVC::onApplyAll() {
    begin(true);
}

void CApplyAllVC::showProgress(int execCnt) {
    mLabel->setText(QString("Now Working... (%1%)").arg(execCnt * 2));
    mProgressBar->setValue(execCnt * 100 / ApplyJob::kMemories);
}

// The memories were written behind the copy read at loading.
void CApplyAllVC::ended() {
    mSession.rereadSettings();
    mWindow.changePtnData();
}

}  // namespace tavrel::app
