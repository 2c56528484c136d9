// How long the desktop program takes to repaint while the user drags a variation's window:
// it runs offscreen against the simulated unit with 50 patterns loaded from MIDI files made
// here, the current one at the 9,999-record cap, with the preview playing. Each step of the
// drag changes the window as the variation pane does (through setFrom and setBars, and with
// the mouse on the pane when the window has one), then times a synchronous repaint of the
// main window and of the pattern picture. Prints percentiles and, last, the worse of the two
// 99th percentiles as "paint p99: N ms"; the goal is one frame, 16 ms.
//
//   paint_times [--steps N] [--grab DIR]   (DIR: PNGs of the window and the picture)
#include "SimulatedDesktop.h"
#include "SmfBytes.h"
#include "app/DarkPalette.h"
#include "files/CFileDataMgr.h"
#include "model/CEditNotify.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Log.h"
#include "playback/CSeqSim.h"
#include "views/CPhraseDrawView.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <vector>

#include <sys/resource.h>

namespace {

using tavrel::bench::Bytes;
using tavrel::bench::putVlq;
constexpr int kPatterns = 50;
constexpr int kLargest = 17;  // row of the pattern at the record cap

// A format-0 file at 480 a quarter note: `steps` sixteenths of a groove over `keys` drum keys,
// two or three hits a step, note-offs as velocity-0 note-ons under running status.
Bytes groove(int steps, int keys, int seed) {
    static const std::uint8_t kKeys[] = {36, 42, 38, 46, 44, 49, 51, 45, 48, 50, 39, 56, 54, 37};
    Bytes track = {0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20};
    bool status = false;
    auto event = [&](std::uint32_t delta, std::uint8_t key, std::uint8_t velocity) {
        putVlq(track, delta);
        if (!status) track.push_back(0x99);  // then running status
        status = true;
        track.insert(track.end(), {key, velocity});
    };
    auto key = [&](int step, int h) { return kKeys[(step * 5 + h * 3 + seed) % keys]; };
    std::uint32_t wait = 0;
    for (int step = 0; step < steps; ++step) {
        const int hits = 2 + (step + seed) % 2;
        for (int h = 0; h < hits; ++h)
            event(h == 0 ? wait : 0, key(step, h),
                  static_cast<std::uint8_t>(40 + (step * 13 + h * 29) % 88));
        for (int h = 0; h < hits; ++h) event(h == 0 ? 60 : 0, key(step, h), 0);
        wait = 60;
    }
    putVlq(track, wait);
    track.insert(track.end(), {0xFF, 0x2F, 0x00});
    return tavrel::bench::format0File(track);
}

// User and system time of the calling thread (microsecond resolution is enough for paints of
// a millisecond and more).
double threadCpuMs() {
    rusage usage{};
    ::getrusage(RUSAGE_THREAD, &usage);
    const auto ms = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

double percentile(std::vector<double> ms, double p) {
    if (ms.empty()) return 0;
    std::sort(ms.begin(), ms.end());
    const auto i =
        static_cast<std::size_t>(std::lround(p / 100.0 * static_cast<double>(ms.size() - 1)));
    return ms[std::min(i, ms.size() - 1)];
}

// Repaint times by the clock on the wall, and by the CPU time of the main thread, which a
// machine busy with other work changes less.
struct Times {
    std::vector<double> wall;
    std::vector<double> cpu;

    // A synchronous repaint of `widget`, after `change` (untimed) and the pending events.
    void time(QWidget& widget, const std::function<void()>& change = {}) {
        QCoreApplication::processEvents();
        if (change) change();
        const double cpuStart = threadCpuMs();
        const auto start = std::chrono::steady_clock::now();
        widget.repaint();
        wall.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
        cpu.push_back(threadCpuMs() - cpuStart);
    }
    void print(const char* name) const {
        std::printf(
            "%-24s %4zu paints  p50 %6.2f  p90 %6.2f  p99 %6.2f  max %6.2f ms"
            "  (CPU p50 %5.2f  p99 %5.2f)\n",
            name, wall.size(), percentile(wall, 50), percentile(wall, 90), percentile(wall, 99),
            percentile(wall, 100), percentile(cpu, 50), percentile(cpu, 99));
    }
};

// The strip a variation pane lets the user drag, when the window has panes.
QWidget* dragStrip(QWidget& window, int vari) {
    auto* pane = window.findChild<QWidget*>(QString("variation%1").arg(vari));
    if (pane == nullptr) return nullptr;
    for (auto* child : pane->findChildren<QWidget*>()) {
        if (QString(child->metaObject()->className()).endsWith("CVariationDrawView")) return child;
    }
    return nullptr;
}

void mouse(QWidget& strip, QEvent::Type type, QPointF at) {
    const Qt::MouseButtons held =
        type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, strip.mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
    QCoreApplication::sendEvent(&strip, &event);
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    tavrel::app::DarkPalette::applyIfAsked(application);
    tavrel::Log::setSink([](std::string_view, std::string_view) {});
    int steps = 300;
    QString grabDir;
    const QStringList args = QApplication::arguments();
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == "--steps") steps = std::max(args[i + 1].toInt(), 10);
        if (args[i] == "--grab") grabDir = args[i + 1];
    }

    QTemporaryDir midiFolder;
    tavrel::bench::SimulatedDesktop desktop;
    auto& window = desktop.window;
    auto& session = desktop.session;
    auto& patterns = desktop.context.patterns();
    using tavrel::bench::runUntil;
    window.resize(1280, 800);
    window.show();
    if (!runUntil([&] { return desktop.loaded(); })) {
        std::fprintf(stderr, "paint_times: the simulated unit's patterns never loaded\n");
        return 1;
    }

    for (int i = static_cast<int>(patterns.getPtnData().size()); i < kPatterns; ++i) {
        // The largest holds more notes than a variation keeps: the reader stops at the cap.
        const Bytes bytes =
            i == kLargest ? groove(5200, 14, i) : groove(16 + (i * 37) % 240, 4 + i % 10, i);
        const auto path = std::filesystem::path(midiFolder.path().toStdString()) /
                          ("groove" + std::to_string(i) + ".mid");
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (!tavrel::CFileDataMgr::loadSmf(path)) {
            std::fprintf(stderr, "paint_times: could not load %s\n", path.c_str());
            return 1;
        }
    }
    patterns.setCurPatternNum(kLargest);
    patterns.setCurVariationNum(1);
    const auto phrase = patterns.getCurPhrase();
    std::printf("%zu patterns; the current one holds %d records in %d bars\n",
                patterns.getPtnData().size(), phrase->getSeqDataCount(), phrase->getTotalBars());

    // The picture in the window, or on its own before the window holds one.
    auto* picture = window.findChild<tavrel::views::CPhraseDrawView*>();
    std::unique_ptr<tavrel::views::CPhraseDrawView> own;
    if (picture == nullptr) {
        own = std::make_unique<tavrel::views::CPhraseDrawView>(session.sequencer());
        own->resize(1000, 420);
        own->show();
        picture = own.get();
        std::printf("(the window holds no pattern picture: timing one of its own)\n");
    }
    runUntil([&] {
        return picture->window()->windowHandle() != nullptr &&
               picture->window()->windowHandle()->isExposed();
    });
    // The user picks the largest pattern in the list, coming from another one: its lanes,
    // hits and grid are made anew.
    Times cold;
    for (int i = 0; i < 20; ++i) {
        patterns.setCurPatternNum(kLargest - 1);
        cold.time(*picture, [&] { patterns.setCurPatternNum(kLargest); });
    }
    if (auto* seq = session.sequencer()) seq->play();

    Times windowTimes;
    Times pictureTimes;
    auto measure = [&] {
        windowTimes.time(window);
        pictureTimes.time(*picture);
        if (own) own->setNeedsDisplay();
    };
    // The middle of the window moves right bar by bar and back, then its right edge.
    const int total = phrase->getTotalBars();
    phrase->setFrom(0);
    phrase->setBars(std::max(total / 4, 1));
    for (int i = 0; i < steps; ++i) {
        const int span = std::max(total - phrase->getBars(), 1);
        const int at = i % (2 * span);
        if (i < steps / 2) {
            phrase->setFrom(at < span ? at : 2 * span - at);
        } else {
            phrase->setBars(1 + i % total);
        }
        measure();
    }
    if (QWidget* strip = dragStrip(window, 1)) {
        const double y = strip->height() / 2.0;
        auto barX = [&](double bar) {
            return bar * strip->width() / std::max(phrase->getTotalBars(), 1);
        };
        phrase->setFrom(0);
        phrase->setBars(std::max(total / 4, 1));
        mouse(*strip, QEvent::MouseButtonPress, {barX(phrase->getBars() / 2.0), y});
        for (int i = 0; i < steps; ++i) {
            const double bar = phrase->getBars() / 2.0 + (i % 40) * total / 60.0;
            mouse(*strip, QEvent::MouseMove, {barX(bar), y});
            measure();
        }
        mouse(*strip, QEvent::MouseButtonRelease, {barX(phrase->getBars() / 2.0), y});
    } else {
        std::printf("(no variation pane to drag with the mouse)\n");
    }
    // While the preview plays, so that the play line shows.
    if (!grabDir.isEmpty()) {
        QDir().mkpath(grabDir);
        window.grab().save(grabDir + "/window.png");
        picture->grab().save(grabDir + "/picture.png");
    }
    if (auto* seq = session.sequencer()) seq->stop();

    cold.print("picture, pattern chosen");
    windowTimes.print("main window, dragging");
    pictureTimes.print("picture, dragging");
    tavrel::CEditNotify::clr();
    window.close();
    runUntil([&] { return desktop.idle(); });
    std::printf("paint p99: %.1f ms\n",
                std::max(percentile(windowTimes.wall, 99), percentile(pictureTimes.wall, 99)));
    return 0;
}
