// The whole desktop program against a unit simulated in the test, on Qt's offscreen platform:
// a Context, the session, the menus and the main window, shown. Modal message boxes are
// answered by a helper that waits for them on the event loop, never by sleeping.
#pragma once

#include "app/AppDelegate.h"
#include "app/AppOptions.h"
#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"
#include "device/LinkRunner.h"
#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "sim/SimulatedUnit.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

namespace tavrel::test {

// The visible top-level widget of type T (a message box, a file dialog), if there is one.
template <class T>
T* shownTopLevel() {
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (auto* t = qobject_cast<T*>(w); t != nullptr && t->isVisible()) return t;
    }
    return nullptr;
}

// Waits on the event loop until `done` holds; false after `ms`.
inline bool waitUntil(const std::function<bool()>& done, int ms = 10000) {
    return QTest::qWaitFor(done, ms);
}

inline CPatternMgr& patterns() {
    return Context::current().patterns();
}

// Replaces the field's text as a user does, and confirms it with Return.
inline void type(QLineEdit* field, const QString& text) {
    field->setFocus();
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Return);
}

// Acts on the next modal widget of type T (a message box, a file dialog) from the event loop,
// as soon as it is up, then stops looking; with `every`, on each one for as long as it lives.
template <class T>
class WhenModal {
public:
    explicit WhenModal(std::function<void(T&)> act, bool every = false) : mAct(std::move(act)) {
        QObject::connect(&mTimer, &QTimer::timeout, [this, every] {
            T* widget = shownTopLevel<T>();
            if (widget == nullptr) return;
            if (!every) mTimer.stop();
            mAct(*widget);
        });
        mTimer.start(5);
    }

private:
    std::function<void(T&)> mAct;
    QTimer mTimer;
};

// The text of the message box (an alert or a question) that `act` raises, answered with the
// button named `button`.
inline QString alertOf(const std::function<void()>& act, const QString& button = "OK") {
    QString text;
    const WhenModal<QMessageBox> answer([&](QMessageBox& box) {
        text = box.text();
        for (QAbstractButton* b : box.buttons()) {
            if (b->text().remove('&') == button) {
                b->click();
                return;
            }
        }
        ADD_FAILURE() << "no button " << button.toStdString() << " on " << text.toStdString();
        box.reject();
    });
    act();
    return text;
}

// Answers every message box with its first button as soon as it is up, and keeps the last one's
// informative text.
struct EveryAlertAnswered {
    QString informative;
    WhenModal<QMessageBox> answer{[this](QMessageBox& box) {
                                      informative = box.informativeText();
                                      box.buttons().constFirst()->click();
                                  },
                                  true};
};

// Chooses `path` in the next file dialog.
inline WhenModal<QFileDialog> fileChoice(const QString& path) {
    return WhenModal<QFileDialog>([path](QFileDialog& dialog) {
        dialog.selectFile(path);
        static_cast<QDialog&>(dialog).accept();  // QFileDialog's own, as its button does
    });
}

class AppRig {
public:
    using OptionsEdit = std::function<void(app::AppOptions&)>;

    // `args` as on the command line, --simulate and a fresh storage folder added; what the
    // command line cannot say (a manual clock) is set by `edit`.
    explicit AppRig(QStringList args = {}, bool show = true, const OptionsEdit& edit = {}) {
        QString error;
        args << "--simulate"
             << "--sim-storage" << mStorage.path();
        auto options = app::AppOptions::parse(args, error);
        EXPECT_TRUE(options) << error.toStdString();
        if (options && edit) edit(*options);
        mSession = std::make_unique<app::AppSession>(*options);
        mDelegate = std::make_unique<app::AppDelegate>(*mSession);
        mWindow = std::make_unique<app::CPtnEditViewController>(*mSession, *mDelegate);
        mWindow->setPendingMidiFiles(options->midiFiles);
        // A question nobody answers fails the test instead of hanging it.
        QObject::connect(&mWatchdog, &QTimer::timeout, [this] {
            QMessageBox* box = shownTopLevel<QMessageBox>();
            if (box != mUnanswered) {
                mUnanswered = box;
                mUnansweredFor.start();
            } else if (box != nullptr && mUnansweredFor.elapsed() > kUnansweredMs) {
                ADD_FAILURE() << "unanswered: " << box->text().toStdString();
                box->reject();
            }
        });
        mWatchdog.start(100);
        if (show) this->show();
    }
    // Shows the window and makes it the active one, where shortcuts and keys go.
    void show() {
        mWindow->show();
        mWindow->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(mWindow.get()));
    }
    ~AppRig() {
        CEditNotify::clr();
        mWindow->close();  // lets the unit go, as quitting does
        waitUntil([this] { return !mSession->steps()->busy(); });
    }

    app::CPtnEditViewController& window() { return *mWindow; }
    app::AppDelegate& menus() { return *mDelegate; }
    app::AppSession& session() { return *mSession; }
    sim::SimulatedUnit& unit() { return *mSession->simulatedUnit(); }
    std::filesystem::path dataFolder() const {
        return std::filesystem::path(mStorage.path().toStdString()) / "VANTIK" / "DATA";
    }

    // The dialog named `name` while it is shown, else null.
    QDialog* dialog(const char* name) const {
        auto* d = mWindow->findChild<QDialog*>(name);
        return d != nullptr && d->isVisible() ? d : nullptr;
    }
    bool loaded() {
        return patterns().getActive() && !mSession->steps()->busy() &&
               dialog("LoadVC") == nullptr && mWindow->windowTitle().startsWith("Tavrel [");
    }
    // Waits for the load sequence to end with `count` patterns, and gives the window back the
    // keyboard, which its loading sheet took.
    bool waitLoaded(std::size_t count = 0) {
        const bool done =
            waitUntil([&] { return loaded() && patterns().getPtnData().size() == count; });
        show();
        return done;
    }
    void click(const char* dialogName, const char* button) {
        QDialog* d = dialog(dialogName);
        ASSERT_NE(d, nullptr) << dialogName;
        auto* b = d->findChild<QPushButton*>(button);
        ASSERT_NE(b, nullptr) << button;
        QTest::mouseClick(b, Qt::LeftButton);
    }
    // Lets the watch run `n` more times.
    void watchTicks(int n) {
        QSignalSpy ticks(mWindow.get(), &app::CPtnEditViewController::watchTicked);
        ASSERT_TRUE(waitUntil([&] { return ticks.count() >= n; }));
    }

private:
    static constexpr int kUnansweredMs = 5000;
    Context mContext;  // first made, last gone
    QTimer mWatchdog;
    QPointer<QMessageBox> mUnanswered;
    QElapsedTimer mUnansweredFor;
    QTemporaryDir mStorage;
    std::unique_ptr<app::AppSession> mSession;
    std::unique_ptr<app::AppDelegate> mDelegate;
    std::unique_ptr<app::CPtnEditViewController> mWindow;
};

}  // namespace tavrel::test
