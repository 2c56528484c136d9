// The desktop program for the benchmarks: a Context, the session with an in-process simulated
// unit on a fresh storage folder, the menus and the main window (not yet shown). Needs a
// QApplication, best on the offscreen platform.
#pragma once

#include "app/AppDelegate.h"
#include "app/AppOptions.h"
#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"
#include "device/LinkRunner.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"

#include <QCoreApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <functional>

namespace tavrel::bench {

// Turns the event loop until `done` holds; false when that takes more than 30 s.
inline bool runUntil(const std::function<bool()>& done) {
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > 30000) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    return true;
}

class SimulatedDesktop {
public:
    SimulatedDesktop()
        : mOptions(
              *app::AppOptions::parse({"--simulate", "--sim-storage", mStorage.path()}, mError)),
          session(mOptions),
          delegate(session),
          window(session, delegate) {}

    bool idle() { return !session.steps()->busy(); }
    // The dialog named `name` while it is shown, else null.
    QDialog* shown(const char* name) const {
        auto* d = window.findChild<QDialog*>(name);
        return d != nullptr && d->isVisible() ? d : nullptr;
    }
    // The unit's patterns are in and no connection dialog is up.
    bool loaded() {
        return context.patterns().getActive() && idle() && shown("LoadVC") == nullptr &&
               shown("ConnectVC") == nullptr && window.windowTitle() != "Tavrel";
    }

private:
    QTemporaryDir mStorage;
    QString mError;
    app::AppOptions mOptions;

public:
    Context context;
    app::AppSession session;
    app::AppDelegate delegate;
    app::CPtnEditViewController window;
};

}  // namespace tavrel::bench
