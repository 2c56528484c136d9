// How long the desktop program's event loop goes without turning while it works with the unit:
// the program runs offscreen against the simulated unit, a 10 ms probe timer notes every gap
// between its firings, and the longest gap beyond 10 ms is a stall. Runs the load sequence, a
// mount toggle off and on, and Apply All with 50 patterns; prints each phase's longest stall
// and, last, the longest of all as "longest stall: N ms".
#include "SimulatedDesktop.h"
#include "model/CEditNotify.h"
#include "model/CPtnDataMgr.h"
#include "model/Log.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

constexpr int kProbeMs = 10;

class Probe {
public:
    Probe() {
        QObject::connect(&mTimer, &QTimer::timeout, [this] {
            const qint64 gap = mSince.restart();
            mLongest = std::max(mLongest, gap - kProbeMs);
        });
    }
    void start() {
        mLongest = 0;
        mSince.start();
        mTimer.start(kProbeMs);
    }
    qint64 stop() {
        mTimer.stop();
        return mLongest;
    }

private:
    QTimer mTimer;
    QElapsedTimer mSince;
    qint64 mLongest = 0;
};

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    tavrel::Log::setSink([](std::string_view, std::string_view) {});
    tavrel::bench::SimulatedDesktop desktop;
    auto& window = desktop.window;
    auto& delegate = desktop.delegate;
    auto& patterns = desktop.context.patterns();
    auto idle = [&] { return desktop.idle(); };
    auto loaded = [&] { return desktop.loaded(); };
    using tavrel::bench::runUntil;
    Probe probe;
    qint64 longest = 0;
    auto phase = [&](const char* name, const std::function<void()>& act,
                     const std::function<bool()>& done) {
        QElapsedTimer clock;
        clock.start();
        probe.start();
        act();
        const bool ended = runUntil(done);
        const qint64 stall = probe.stop();
        longest = std::max(longest, stall);
        std::printf("%-22s %6lld ms, longest stall %3lld ms%s\n", name,
                    static_cast<long long>(clock.elapsed()), static_cast<long long>(stall),
                    ended ? "" : " (did not end)");
        return ended;
    };

    bool ok = phase(
        "start to loaded window", [&] { window.show(); }, loaded);
    ok = ok && phase(
                   "mount toggle off", [&] { delegate.getMenuOfMount()->trigger(); },
                   [&] { return desktop.shown("ShowUnmountVC") != nullptr && idle(); });
    ok = ok &&
         phase(
             "mount toggle on",
             [&] {
                 desktop.shown("ShowUnmountVC")->findChild<QPushButton*>("mountButton")->click();
             },
             [&] { return desktop.shown("ShowUnmountVC") == nullptr && loaded(); });
    while (patterns.getPtnData().size() < 50) patterns.addPatternData()->setTempo(120);
    ok = ok && phase(
                   "Apply All, 50 patterns", [&] { delegate.getMenuOfApplyAll()->trigger(); },
                   [&] { return desktop.shown("CApplyAllVC") == nullptr; });
    tavrel::CEditNotify::clr();
    window.close();
    runUntil(idle);
    std::printf("longest stall: %lld ms\n", static_cast<long long>(longest));
    return ok ? 0 : 1;
}
