// How closely the preview's notes keep to the tick schedule. Plays a pattern with the real
// clock thread into a recording destination of the virtual MIDI service and compares each
// note-on's send time with the time the tick clock's schedule gives its tick: p50, p99,
// p99.9 and the largest error, and the drift (the error's trend over the run), at tempos 40,
// 120 and 350, with the other core idle and with it kept busy.
//
// Goals with SCHED_FIFO and the other core loaded: p99 < 250 us, p99.9 < 1 ms, no drift
// over 60 s (--seconds 60). Run as root, or with an rtprio limit, for real-time scheduling.
#include "device/MidiLib.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Log.h"
#include "playback/CSeqSim.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace tavrel;
using Clock = std::chrono::steady_clock;

constexpr int kStep = 2;            // a note every other tick, for many samples at 40
constexpr int kWindowTicks = 1536;  // four bars of 4/4
constexpr int kLoopTicks = kWindowTicks - 1;
constexpr int kFirstNote = 30;
constexpr int kNoteNumbers = 64;

std::int64_t micros(Clock::time_point t) {
    return std::chrono::duration_cast<std::chrono::microseconds>(t.time_since_epoch()).count();
}

bool pinTo(int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    return pthread_setaffinity_np(pthread_self(), sizeof(set), &set) == 0;
}

// Keeps one core busy at normal priority until destroyed.
class BusyCore {
public:
    explicit BusyCore(int cpu)
        : mThread([this, cpu] {
              pinTo(cpu);
              volatile std::uint64_t x = 1;  // work the optimiser may not drop
              while (!mStop.load(std::memory_order_relaxed)) x = x * 6364136223846793005ULL + 1;
          }) {}
    ~BusyCore() {
        mStop.store(true);
        mThread.join();
    }
    BusyCore(const BusyCore&) = delete;
    BusyCore& operator=(const BusyCore&) = delete;

private:
    std::atomic<bool> mStop{false};
    std::thread mThread;
};

struct NoteOn {
    std::int64_t at;  // us, steady clock
    int note;
};

struct Run {
    std::vector<NoteOn> notes;
    std::int64_t startedAt = 0;  // just before play()
    std::int64_t playCallUs = 0;
    bool realTime = false;
};

void giveNotes(CPhraseData& phrase) {
    StepRecords records;
    for (int t = 0; t < kWindowTicks; t += kStep) {
        const auto note = static_cast<std::uint8_t>(kFirstNote + t / kStep % kNoteNumbers);
        records.push_back({static_cast<std::uint16_t>(t == 0 ? 0 : kStep), note, 100});
    }
    records.push_back({static_cast<std::uint16_t>(kStep), 0, 0});
    phrase.setSeqData(records.data(), static_cast<std::int32_t>(records.size()));
}

Run play(int tempo, int seconds) {
    VirtualMidiService service;
    const std::int64_t dest = service.addDestination("Timing");
    Context context;
    MidiLib& midi = context.install(std::make_unique<MidiLib>(service));
    midi.searchDevice();
    midi.selectOutputDevice(0);
    CSeqSim& seq = context.install(std::make_unique<CSeqSim>(&midi));
    auto pattern = context.patterns().addPatternData();
    pattern->setTempo(tempo);
    giveNotes(*pattern->getCurPhrase());
    seq.setup();

    Run run;
    run.realTime = seq.realTimeClock();
    run.startedAt = micros(Clock::now());
    seq.play();
    run.playCallUs = micros(Clock::now()) - run.startedAt;
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    seq.stop();
    for (const auto& m : service.backlog(dest)) {
        if (m.bytes.size() == 3 && m.bytes[0] == 0x99)
            run.notes.push_back({micros(m.time), m.bytes[1]});
    }
    return run;
}

// The ticks that play a note, in order, as the window loops one tick short.
std::vector<std::int64_t> noteTicks(std::size_t count) {
    std::vector<std::int64_t> ticks;
    for (std::int64_t k = 0; ticks.size() < count; ++k) {
        if ((k % kLoopTicks) % kStep == 0) ticks.push_back(k);
    }
    return ticks;
}

struct Figures {
    double p50 = 0, p99 = 0, p999 = 0, max = 0;
    double driftPerMinute = 0;  // slope of the error over the run, us per minute
    double firstTenth = 0, lastTenth = 0;
    std::size_t notes = 0, wrongNotes = 0;
};

double percentile(const std::vector<double>& sorted, double p) {
    const auto i = static_cast<std::size_t>(std::ceil(p * static_cast<double>(sorted.size()))) - 1;
    return sorted[std::min(i, sorted.size() - 1)];
}

double slope(const std::vector<double>& x, const std::vector<double>& y) {
    double mx = 0, my = 0;
    for (std::size_t i = 0; i < x.size(); ++i) mx += x[i], my += y[i];
    mx /= static_cast<double>(x.size());
    my /= static_cast<double>(y.size());
    double sxy = 0, sxx = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sxy += (x[i] - mx) * (y[i] - my);
        sxx += (x[i] - mx) * (x[i] - mx);
    }
    return sxx > 0 ? sxy / sxx : 0;
}

double mean(const std::vector<double>& v, std::size_t from, std::size_t to) {
    double s = 0;
    for (std::size_t i = from; i < to; ++i) s += v[i];
    return to > from ? s / static_cast<double>(to - from) : 0;
}

// Tick k is raised on the clock's step 1 + floor(625 k / tempo), steps being whole
// milliseconds from the clock's start, which play() takes just after startedAt.
Figures measure(const Run& run, int tempo) {
    Figures f;
    f.notes = run.notes.size();
    if (run.notes.empty()) return f;
    const auto ticks = noteTicks(run.notes.size());
    std::vector<double> errors, times;
    for (std::size_t i = 0; i < run.notes.size(); ++i) {
        const std::int64_t k = ticks[i];
        const std::int64_t due = run.startedAt + (1 + 625 * k / tempo) * 1000;
        const auto position = static_cast<int>(k % kLoopTicks);
        if (run.notes[i].note != kFirstNote + position / kStep % kNoteNumbers) ++f.wrongNotes;
        errors.push_back(static_cast<double>(run.notes[i].at - due));
        times.push_back(static_cast<double>(due - run.startedAt) / 60e6);
    }
    f.driftPerMinute = slope(times, errors);
    const std::size_t tenth = std::max<std::size_t>(1, errors.size() / 10);
    f.firstTenth = mean(errors, 0, tenth);
    f.lastTenth = mean(errors, errors.size() - tenth, errors.size());
    std::vector<double> sorted = errors;
    std::sort(sorted.begin(), sorted.end());
    f.p50 = percentile(sorted, 0.50);
    f.p99 = percentile(sorted, 0.99);
    f.p999 = percentile(sorted, 0.999);
    f.max = std::max(std::abs(sorted.front()), std::abs(sorted.back()));
    return f;
}

std::optional<int> parseSeconds(int argc, char** argv) {
    int seconds = 10;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--seconds") == 0 && i + 1 < argc) {
            seconds = std::atoi(argv[++i]);
        } else {
            return std::nullopt;
        }
    }
    if (seconds < 1) return std::nullopt;
    return seconds;
}

void printRow(int tempo, const char* load, const Run& run, const Figures& f) {
    std::printf("%5d  %-6s  %5zu  %8.0f  %8.0f  %8.0f  %8.0f  %+10.2f  %+8.1f %+8.1f  %s%s\n",
                tempo, load, f.notes, f.p50, f.p99, f.p999, f.max, f.driftPerMinute, f.firstTenth,
                f.lastTenth, run.realTime ? "FIFO" : "normal", f.wrongNotes ? "  WRONG NOTES" : "");
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<int> seconds = parseSeconds(argc, argv);
    if (!seconds) {
        std::fprintf(stderr, "usage: timing_harness [--seconds S]   (default 10 per case)\n");
        return 2;
    }
    Log::setSink([](std::string_view, std::string_view) {});
    const unsigned cores = std::thread::hardware_concurrency();
    // The preview's threads inherit this thread's core; the load goes to the other one.
    const bool pinned = cores >= 2 && pinTo(0);
    std::printf("timing_harness: %d s per case, %u cores, preview %s\n", *seconds, cores,
                pinned ? "pinned to core 0, load on core 1" : "not pinned");
    std::printf(
        "error = note-on send time - tick schedule time, in us; drift in us/min; "
        "first/last = mean error of the first and last tenth\n");
    std::printf(
        "tempo  load    notes       p50       p99     p99.9       max  drift/min"
        "    first     last  sched\n");
    std::int64_t worstPlayCall = 0;
    for (const bool loaded : {false, true}) {
        for (const int tempo : {40, 120, 350}) {
            std::unique_ptr<BusyCore> busy;
            if (loaded) busy = std::make_unique<BusyCore>(cores >= 2 ? 1 : 0);
            const Run run = play(tempo, *seconds);
            worstPlayCall = std::max(worstPlayCall, run.playCallUs);
            printRow(tempo, loaded ? "loaded" : "idle", run, measure(run, tempo));
        }
    }
    std::printf(
        "the clock starts inside play(), at most %lld us after the time errors are "
        "counted from\n",
        static_cast<long long>(worstPlayCall));
    return 0;
}
