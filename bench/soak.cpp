// A long session in one process, watched for creeping memory and threads: load/save/apply
// cycles of the desktop program's session against the simulated unit (its waits on a manual
// clock, its storage in a scratch folder), then an hour of preview with the sequencer's wall
// clock moved by hand. VmRSS, VmHWM and the thread count are sampled as it goes; it prints the
// peak, the growth from the first tenth of each phase to its end, and the thread counts.
//
//   soak [--cycles N] [--preview-minutes M]     (defaults: 1000 cycles, 60 minutes)
#include "app/AppOptions.h"
#include "app/AppSession.h"
#include "app/ApplyJob.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"
#include "device/MidiLib.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "files/CFileDataMgr.h"
#include "model/Alerts.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Log.h"
#include "playback/CSeqSim.h"
#include "playback/ClockSource.h"
#include "playback/TickClock.h"

#include <QApplication>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace tavrel;
using Clock = std::chrono::steady_clock;

struct Sample {
    long rssKb = 0;
    long hwmKb = 0;
    long threads = 0;
    long heapKb = 0;  // allocated and not freed: tells a leak from a heap that is only fragmented
};

Sample sample() {
    Sample s;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) s.rssKb = std::atol(line.c_str() + 6);
        if (line.rfind("VmHWM:", 0) == 0) s.hwmKb = std::atol(line.c_str() + 6);
    }
    s.heapKb = static_cast<long>(::mallinfo2().uordblks / 1024);
    std::error_code ec;
    for (auto it = fs::directory_iterator("/proc/self/task", ec); !ec && it != fs::end(it);
         it.increment(ec)) {
        ++s.threads;
    }
    return s;
}

// The samples of one phase and what they say.
class Phase {
public:
    explicit Phase(const char* name) : mName(name) {}
    void take() { mSamples.push_back(sample()); }
    void print() const {
        if (mSamples.empty()) return;
        const Sample& tenth = mSamples[mSamples.size() / 10];
        const Sample& half = mSamples[mSamples.size() / 2];
        const Sample& last = mSamples.back();
        long peakThreads = 0;
        for (const Sample& s : mSamples) peakThreads = std::max(peakThreads, s.threads);
        std::printf(
            "%-8s %zu samples: VmHWM %ld kB, VmRSS %ld kB at a tenth, %ld kB at half, %ld kB "
            "at the end (%+ld kB); heap in use %ld, %ld, %ld kB (%+ld kB); threads %ld at a "
            "tenth, %ld at the end, %ld at most\n",
            mName, mSamples.size(), last.hwmKb, tenth.rssKb, half.rssKb, last.rssKb,
            last.rssKb - tenth.rssKb, tenth.heapKb, half.heapKb, last.heapKb,
            last.heapKb - tenth.heapKb, tenth.threads, last.threads, peakThreads);
    }

private:
    const char* mName;
    std::vector<Sample> mSamples;
};

// Spins the event loop until `done`; false after a minute of real time.
template <class Done>
bool spinUntil(Done done) {
    const auto giveUp = Clock::now() + std::chrono::minutes(1);
    while (!done()) {
        if (Clock::now() > giveUp) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

bool runStep(app::AppSession& session, LinkRunner::Step step) {
    bool ended = false;
    bool ok = false;
    if (!session.steps()->start(step, [&](const LinkRunner::Outcome& o) {
            ended = true;
            ok = o.ok && !o.cancelled;
        })) {
        return false;
    }
    return spinUntil([&] { return ended; }) && ok;
}

// Alerts of the apply worker, counted rather than shown: any is a failure of the soak.
class CountedAlerts : public Alerts {
public:
    void alert(const std::string& message, const std::string&) override {
        std::fprintf(stderr, "soak: alert \"%s\"\n", message.c_str());
        ++count;
    }
    bool ask(const std::string&, const std::string&, const std::string&) override { return false; }
    std::atomic<int> count{0};
};

// One cycle as a user's session has it: the load sequence, an edit, Save, Apply All, and the
// unit let go.
bool cycle(app::AppSession& session, int n) {
    // As the window connects: is the unit free (AskOccupied is ok when it is held)?
    if (runStep(session, LinkRunner::Step::AskOccupied)) return false;
    if (!runStep(session, LinkRunner::Step::LoadSequence)) return false;
    auto& patterns = Context::current().patterns();
    if (patterns.getPtnData().empty()) {
        for (const char* f : {"/rock-4-4.mid", "/fill-4-4.mid"}) {
            if (!CFileDataMgr::loadSmf(std::string(TAVREL_EXAMPLES_DIR) + f)) return false;
        }
    }
    patterns.getPtnData()[0]->setTempo(60 + n % 200);
    patterns.getPtnData().back()->setKitNum(n % 40);
    if (!CFileDataMgr::saveData()) return false;
    CountedAlerts alerts;
    {
        app::ApplyJob job(alerts);
        job.start(true);
        if (!spinUntil([&] { return job.execCnt() < 0; })) return false;
        if (job.execCnt() != app::ApplyJob::kDone) return false;
    }
    return alerts.count == 0 && runStep(session, LinkRunner::Step::EditorOff);
}

int cycles(int count, Phase& phase, const fs::path& storage) {
    Context context;
    app::AppOptions options;
    options.simulate = sim::UnitModel::ql900();
    options.simStorage = storage;
    options.manualClock = true;
    app::AppSession session(options);
    // An alert of the link would wait for an answer; answer it, and count the cycle failed.
    QTimer dismiss;
    QObject::connect(&dismiss, &QTimer::timeout, [] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(w); box != nullptr && box->isVisible()) {
                std::fprintf(stderr, "soak: alert \"%s\"\n", qPrintable(box->text()));
                box->reject();
            }
        }
    });
    dismiss.start(50);
    if (!spinUntil([&] { return session.link()->getConnected(); })) return 1;
    const int every = std::max(1, count / 100);
    for (int n = 0; n < count; ++n) {
        if (!cycle(session, n)) {
            std::fprintf(stderr, "soak: cycle %d failed\n", n);
            return 1;
        }
        if (n % every == 0 || n + 1 == count) phase.take();
    }
    return 0;
}

// The sequencer's wall clock, moved by hand.
class HandClock : public ClockSource {
public:
    std::int64_t nowMicros() const override { return mNow.load(); }
    void advanceMs() { mNow += 1000; }

private:
    std::atomic<std::int64_t> mNow{5'000'000};
};

int preview(int minutes, Phase& phase) {
    VirtualMidiService service;  // outlives the transport the context owns
    HandClock clock;
    Context context;
    const std::int64_t synth = service.addDestination("Preview Synth");
    auto& midi = context.install(std::make_unique<MidiLib>(service));
    midi.searchDevice();
    midi.selectOutputDevice(0);
    auto& seq = context.install(std::make_unique<CSeqSim>(&midi, clock));
    seq.setup();
    if (!CFileDataMgr::loadSmf(std::string(TAVREL_EXAMPLES_DIR) + "/rock-4-4.mid")) return 1;
    seq.play();
    const long totalMs = long{minutes} * 60'000;
    const long every = std::max(1L, totalMs / 100);
    long ticks = 0;
    std::size_t keptAtATenth = 0;
    for (long ms = 0; ms < totalMs; ++ms) {
        if (ms == totalMs / 10) keptAtATenth = service.backlog(synth).size();
        clock.advanceMs();
        seq.tickClock().tickClockPoll();
        if (seq.tickClock().tickClockTakePending() > 0) {
            seq.waitIdle();  // a tick is over once the sequencer has played it
            ++ticks;
        }
        if (ms % every == 0 || ms + 1 == totalMs) phase.take();
    }
    seq.stop();
    // The virtual service records what was sent (up to its cap), which is not the program's.
    std::printf(
        "preview: %ld ticks in %d minutes of clock; the virtual MIDI service's record "
        "of what was sent grew from %zu to %zu messages\n",
        ticks, minutes, keptAtATenth, service.backlog(synth).size());
    return ticks > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    int cycleCount = 1000;
    int minutes = 60;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--cycles") {
            cycleCount = std::atoi(argv[i + 1]);
        } else if (option == "--preview-minutes") {
            minutes = std::atoi(argv[i + 1]);
        } else {
            std::fprintf(stderr, "usage: soak [--cycles N] [--preview-minutes M]\n");
            return 2;
        }
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    Log::setSink([](std::string_view, std::string_view) {});
    const QTemporaryDir scratch;  // the unit's storage and the user's data folder
    if (!scratch.isValid()) return 1;
    const fs::path folder = scratch.path().toStdString();
    ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);

    const Sample start = sample();
    Phase cyclePhase("cycles");
    const auto t0 = Clock::now();
    if (cycles(cycleCount, cyclePhase, folder / "unit") != 0) return 1;
    const double cycleSeconds = std::chrono::duration<double>(Clock::now() - t0).count();
    Phase previewPhase("preview");
    const auto t1 = Clock::now();
    if (preview(minutes, previewPhase) != 0) return 1;
    const double previewSeconds = std::chrono::duration<double>(Clock::now() - t1).count();

    std::printf("%d load/save/apply cycles in %.1f s; %d minutes of preview in %.1f s\n",
                cycleCount, cycleSeconds, minutes, previewSeconds);
    std::printf("start    VmRSS %ld kB, threads %ld\n", start.rssKb, start.threads);
    cyclePhase.print();
    previewPhase.print();
    return 0;
}
