// The main window: the pattern list beside the pattern editor, the delete button and a status
// bar saying which unit is connected. It runs the first connection step when it appears,
// watches the link every 0.1 s and opens each connection dialog once per episode (no unit,
// unit held by another editor, storage not mounted), keeps views and menus in step with the
// collection, handles the variation and play keys, deletes patterns, and asks before closing
// with unsaved edits.
#pragma once

#include "model/NotificationCenter.h"

#include <QMainWindow>
#include <QMap>
#include <QPointer>
#include <QStringList>

#include <string>

class QLabel;
class QPushButton;
class QSplitter;
class QTimer;

namespace tavrel::views {
class CPatternEditView;
class CPtnEditTableView;
class EditHistory;
}  // namespace tavrel::views

namespace tavrel::app {

class AppDelegate;
class AppSession;

class CPtnEditViewController : public QMainWindow {
    Q_OBJECT
public:
    CPtnEditViewController(AppSession& session, AppDelegate& delegate);
    ~CPtnEditViewController() override;

    AppDelegate& appDelegate() { return mAppDelegate; }
    views::CPtnEditTableView* mPtnEditTableView() const { return mTableView; }
    views::CPatternEditView* mPtnEditVeiw() const { return mEditView; }
    // The user's edits of the list and the editors, for Undo and Redo.
    views::EditHistory& editHistory() const { return *mHistory; }

    // Opens the dialog named by a segue identifier: "ShowConnect" (no unit), "ShowOccupited",
    // "ShowUnmount" or "ShowLoading" (the load sequence). A dialog already open is not opened
    // twice.
    void performSegue(const QString& identifier);
    // The dialog of `identifier` while it is open, else null.
    QDialog* openDialog(const QString& identifier) const;

    // The first connection step, when the window appears.
    void connect();
    bool checkMidiConnect();
    bool checkOccupited();
    bool checkDiskMount();
    // The 0.1 s watch.
    void changeBeat();
    // After a change of the patterns: views, menus, kit of the preview, title.
    void changePtnData();
    void onRemoveSw();
    void stopPreview();

    // MIDI files to load as new patterns once the unit's patterns are in.
    void setPendingMidiFiles(const QStringList& paths) { mPendingMidiFiles = paths; }
    // The load sequence ran: the unit's settings are read again and the pending MIDI files
    // loaded. `failure` is why it failed where the link showed no alert of its own; it is shown
    // in the status bar, as the watch's dialog says what to do next.
    void loadSequenceEnded(const std::string& failure = {});
    // A passing note in the status bar (a step's reason for failing); nothing for empty text.
    void showNote(const std::string& text);

signals:
    // The window shows what it will show until the user acts: loaded, or a connection dialog up.
    void settled();
    // The 0.1 s watch has run once.
    void watchTicked();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Clears the flag of each condition that has ended, without opening any dialog.
    void endEpisodesSeenOver();
    // True when the key was one of the window's own.
    bool keyDown(QKeyEvent* event);
    bool episode(bool state, bool& flag, const char* segue);
    void viewDidAppear();
    void continueConnect();
    void showStatus();
    bool windowShouldClose();
    void quitNow();

    AppSession& mSession;
    AppDelegate& mAppDelegate;
    views::EditHistory* mHistory;
    QSplitter* mSplitView;
    views::CPtnEditTableView* mTableView;
    views::CPatternEditView* mEditView;
    QPushButton* mDelButton;
    QLabel* mProblem;
    QLabel* mStatus;
    QTimer* mTimer;
    bool mNoConnectViewFlag = false;
    bool mUnmountViewFlag = false;
    bool mOccupitViewFlag = false;
    bool mAppeared = false;
    bool mQuitting = false;
    int curNumber = 0;
    QStringList mPendingMidiFiles;
    QMap<QString, QPointer<QDialog>> mDialogs;
    NotificationCenter::Token mChangeObserver;
};

}  // namespace tavrel::app
