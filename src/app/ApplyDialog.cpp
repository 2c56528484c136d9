#include "app/ApplyDialog.h"

#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"
#include "app/QtAlerts.h"
#include "app/WriteNote.h"
#include "model/CEditNotify.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace tavrel::app {

namespace {
constexpr int kPollMs = 1000;
}

ApplyDialog::ApplyDialog(AppSession& session, CPtnEditViewController& window, const QString& name,
                         const QString& message, const QString& goText)
    : QDialog(&window),
      mLabel(new QLabel(message, this)),
      mProgressBar(new QProgressBar(this)),
      mCancelButton(new QPushButton("Cancel", this)),
      mGoButton(new QPushButton(goText, this)),
      mSession(session),
      mWindow(window),
      mBody(new QVBoxLayout),
      mPoll(new QTimer(this)),
      mJob(session.alerts()) {
    setObjectName(name);
    setWindowTitle("Tavrel");
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    // Its size is its content's.
    setSizeGripEnabled(false);
    mLabel->setObjectName("Label");
    mLabel->setMinimumWidth(340);
    mProgressBar->setObjectName("ProgressBar");
    mProgressBar->setRange(0, 100);
    mProgressBar->hide();
    mCancelButton->setObjectName("cancelButton");
    mGoButton->setObjectName("execButton");
    mGoButton->setDefault(true);
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(mLabel);
    layout->addLayout(mBody);
    layout->addWidget(mProgressBar);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mCancelButton);
    buttons->addWidget(mGoButton);
    layout->addLayout(buttons);
    connect(mCancelButton, &QPushButton::clicked, this, &ApplyDialog::reject);
    connect(mPoll, &QTimer::timeout, this, &ApplyDialog::poll);
}

void ApplyDialog::begin(bool allMemories) {
    if (mWorking) return;
    mWorking = true;
    const bool visible = isVisible();
    setWindowFlag(Qt::WindowCloseButtonHint, false);
    if (visible) show();  // a changed window flag hides the window
    mLabel->setText("Now Working...");
    mCancelButton->hide();
    mGoButton->hide();
    mProgressBar->setValue(0);
    mProgressBar->show();
    mJob.start(allMemories);
    mPoll->start(kPollMs);
    poll();
}

void ApplyDialog::poll() {
    const int n = mJob.execCnt();
    if (n >= 0) {
        showProgress(n);
        return;
    }
    mPoll->stop();
    mWorking = false;
    // The edited mark is the model's, so it goes down here rather than on the worker.
    if (mJob.saved()) CEditNotify::clr();
    close();
    ended();
    mWindow.showNote(WriteNote::describe(mJob.reports()).toStdString());
}

// There is no way back once the worker has started.
void ApplyDialog::reject() {
    if (!mWorking) QDialog::reject();
}

}  // namespace tavrel::app
