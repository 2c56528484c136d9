// What the Apply and Apply All dialogs share: a status line, a progress bar, "Cancel" and the
// dialog's own go button; once started, the buttons go, the close control goes, the worker runs
// and the dialog reads its progress about once a second, closing when it has ended.
#pragma once

#include "app/ApplyJob.h"

#include <QDialog>

class QBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;

namespace tavrel::app {

class AppSession;
class CPtnEditViewController;

class ApplyDialog : public QDialog {
    Q_OBJECT
public:
    int execCnt() const { return mJob.execCnt(); }

protected:
    ApplyDialog(AppSession& session, CPtnEditViewController& window, const QString& name,
                const QString& message, const QString& goText);

    // Hides the buttons, starts the worker and the progress readings.
    void begin(bool allMemories);
    // One reading while the worker runs.
    virtual void showProgress(int execCnt) = 0;
    // After the worker has ended and the dialog has closed.
    virtual void ended() {}
    void reject() override;

    QBoxLayout* body() const { return mBody; }
    QLabel* mLabel;
    QProgressBar* mProgressBar;
    QPushButton* mCancelButton;
    QPushButton* mGoButton;
    AppSession& mSession;
    CPtnEditViewController& mWindow;

private:
    void poll();

    QBoxLayout* mBody;
    QTimer* mPoll;
    ApplyJob mJob;
    bool mWorking = false;
};

}  // namespace tavrel::app
