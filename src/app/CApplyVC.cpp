#include "app/CApplyVC.h"

#include "app/CPtnEditViewController.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QProgressBar>
#include <QPushButton>

namespace tavrel::app {

CApplyVC::CApplyVC(AppSession& session, CPtnEditViewController& window)
    : ApplyDialog(session, window, "CApplyVC",
                  "Write the patterns to the unit for memory:", "Apply"),
      mComboBox(new QComboBox(this)) {
    mComboBox->setObjectName("mComboBox");
    for (int m = 1; m <= ApplyJob::kMemories; ++m) mComboBox->addItem(QString("Memory %1").arg(m));
    body()->addWidget(mComboBox);
    window.stopPreview();
    connect(mGoButton, &QPushButton::clicked, this, &CApplyVC::onApply);
}

void CApplyVC::onApply() {
    memNum = mComboBox->currentIndex();
    mComboBox->hide();
    begin(false);
}

// Apply does not count, so the bar stays where it starts until the dialog closes.
void CApplyVC::showProgress(int execCnt) {
    const auto count = Context::current().patterns().getPtnData().size();
    mProgressBar->setValue(count == 0 ? 0
                                      : static_cast<int>(100 * execCnt / static_cast<int>(count)));
}

void CApplyVC::ended() {
    mWindow.setWindowTitle(QString("Tavrel [%1]").arg(memNum + 1));
}

}  // namespace tavrel::app
