// What the connection and loading dialogs share: a window-modal box over the main window with a
// message and a row of buttons, an optional repeating timer, and closing when the program
// quits (NOTIFY_QUIT). The dialog deletes itself once closed.
#pragma once

#include "model/NotificationCenter.h"

#include <QDialog>

#include <functional>

class QBoxLayout;
class QLabel;
class QPushButton;
class QTimer;

namespace tavrel {
class CConnectionMgr;
class LinkRunner;
}  // namespace tavrel

namespace tavrel::app {

class AppDelegate;
class AppSession;
class CPtnEditViewController;

class ConnectionDialog : public QDialog {
    Q_OBJECT
public:
    ConnectionDialog(AppSession& session, CPtnEditViewController& window, const QString& name,
                     const QString& message);

protected:
    QPushButton* addButton(const QString& text, const QString& name, std::function<void()> action);
    // Repeats `tick` every `ms` from now until the dialog hides.
    void startTimer(int ms, std::function<void()> tick);
    QLabel* label() const { return mLabel; }
    // A bar that moves for work of no known length.
    void addBusyBar();

    void hideEvent(QHideEvent* event) override;
    // Escape does not close a dialog that stands for the link's state.
    void keyPressEvent(QKeyEvent* event) override;

    CConnectionMgr& link();
    LinkRunner& steps();
    bool anyPattern() const;
    // The dialog's own quit: the application's quit command.
    void onQuit();

    AppSession& mSession;
    CPtnEditViewController& mWindow;
    AppDelegate& mAppDelegate;

private:
    QLabel* mLabel;
    QBoxLayout* mBody;
    QBoxLayout* mButtons;
    QTimer* mTimer = nullptr;
    NotificationCenter::Token mQuitObserver;
};

}  // namespace tavrel::app
