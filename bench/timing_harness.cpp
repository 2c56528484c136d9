// How closely the preview's notes keep to the tick schedule. Plays a pattern with the real
// clock thread into a recording destination of the virtual MIDI service and compares each
// note-on's send time with the time the tick clock's schedule gives its tick: p50, p99,
// p99.9 and the largest error, and the drift (the error's trend over the run), at tempos 40,
// 120 and 350, with the other core idle and with it kept busy.
//
// Goals with SCHED_FIFO and the other core loaded: p99 < 250 us, p99.9 < 1 ms, no drift
// over 60 s (--seconds 60). Run as root, or with an rtprio limit, for real-time scheduling.
//
// --synth plays through the built-in synthesizer instead (with its audio driver if one
// opens) and measures when each note is handed to it.
#include "device/MidiLib.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Log.h"
#include "playback/CSeqSim.h"
#include "playback/DrumSynth.h"
#include "playback/LiveSynth.h"
#include "playback/NoteTiming.h"
#include "playback/PreviewNoteOutput.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <chrono>
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

// Notes the sequencer hands to the synthesizer, timed as they are handed over. The sequencer
// thread only writes into room set aside beforehand.
class TimedSynth : public PreviewNoteOutput {
public:
    TimedSynth(DrumSynth& synth, std::size_t room) : mSynth(synth), mNotes(room) {}
    void noteOn(std::int32_t note, std::int32_t velo) override {
        const std::int64_t at = micros(Clock::now());
        mSynth.noteOn(note, velo);
        const std::size_t i = mCount.load(std::memory_order_relaxed);
        if (i == mNotes.size()) return;
        mNotes[i] = {at, note};
        mCount.store(i + 1, std::memory_order_release);
    }
    void programChange(std::int32_t program) override { mSynth.programChange(program); }
    void allOff() override { mSynth.allOff(); }
    std::vector<NoteOn> notes() const {
        return {mNotes.begin(), mNotes.begin() + static_cast<std::ptrdiff_t>(
                                                     mCount.load(std::memory_order_acquire))};
    }

private:
    DrumSynth& mSynth;
    std::vector<NoteOn> mNotes;
    std::atomic<std::size_t> mCount{0};
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

// The notes played by `seq`, as the synthesizer or the MIDI destination received them.
Run playFor(CSeqSim& seq, int seconds) {
    Run run;
    run.realTime = seq.realTimeClock();
    run.startedAt = micros(Clock::now());
    seq.play();
    run.playCallUs = micros(Clock::now()) - run.startedAt;
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    seq.stop();
    return run;
}

Run playSynth(DrumSynth& synth, int tempo, int seconds) {
    Context context;
    CSeqSim& seq = context.install(std::make_unique<CSeqSim>(nullptr));
    // A note every other tick at 350 is about 1,700 notes a second.
    TimedSynth timed(synth, static_cast<std::size_t>(seconds) * 2000);
    seq.previewOutput().useOutput(timed);
    auto pattern = context.patterns().addPatternData();
    pattern->setTempo(tempo);
    giveNotes(*pattern->getCurPhrase());
    seq.setup();
    Run run = playFor(seq, seconds);
    run.notes = timed.notes();
    return run;
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
    Run run = playFor(seq, seconds);
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

// The error of each note against its tick's due time, and whether it was the right note.
struct Measured {
    NoteTiming::Figures figures;
    std::size_t wrongNotes = 0;
};

// play() takes the clock's start just after startedAt.
Measured measure(const Run& run, int tempo) {
    Measured m;
    NoteTiming timing;
    const auto ticks = noteTicks(run.notes.size());
    for (std::size_t i = 0; i < run.notes.size(); ++i) {
        const std::int64_t k = ticks[i];
        const auto position = static_cast<int>(k % kLoopTicks);
        if (run.notes[i].note != kFirstNote + position / kStep % kNoteNumbers) ++m.wrongNotes;
        timing.add(run.startedAt + NoteTiming::dueMicros(k, tempo), run.notes[i].at);
    }
    m.figures = timing.figures();
    return m;
}

struct Options {
    int seconds = 10;
    bool synth = false;
};

std::optional<Options> parseOptions(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--seconds") == 0 && i + 1 < argc) {
            o.seconds = std::atoi(argv[++i]);
        } else if (std::strcmp(argv[i], "--synth") == 0) {
            o.synth = true;
        } else {
            return std::nullopt;
        }
    }
    if (o.seconds < 1) return std::nullopt;
    return o;
}

// The synthesizer at the live rate; null, with the reason on stderr, without a SoundFont.
std::unique_ptr<DrumSynth> openSynth() {
    const auto font = DrumSynth::defaultSoundFont();
    std::string error = "no General MIDI SoundFont installed";
    auto synth = font ? DrumSynth::open(*font, LiveSynth::kSampleRate, error) : nullptr;
    if (!synth) std::fprintf(stderr, "timing_harness: %s\n", error.c_str());
    return synth;
}

void printRow(int tempo, const char* load, const Run& run, const Measured& m) {
    const NoteTiming::Figures& f = m.figures;
    std::printf("%5d  %-6s  %5zu  %8.0f  %8.0f  %8.0f  %8.0f  %+10.2f  %+8.1f %+8.1f  %s%s\n",
                tempo, load, f.notes, f.p50, f.p99, f.p999, f.max, f.driftPerMinute, f.firstTenth,
                f.lastTenth, run.realTime ? "FIFO" : "normal", m.wrongNotes ? "  WRONG NOTES" : "");
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = parseOptions(argc, argv);
    if (!options) {
        std::fprintf(stderr,
                     "usage: timing_harness [--seconds S] [--synth]   (default 10 per case)\n");
        return 2;
    }
    Log::setSink([](std::string_view, std::string_view) {});
    // Plays through an audio driver if one opens.
    std::optional<LiveSynth> synth;
    if (options->synth) {
        auto voice = openSynth();
        if (!voice) return 1;
        synth.emplace(std::move(voice));
        std::printf("%s\n", synth->driver().describe().c_str());
    }
    const unsigned cores = std::thread::hardware_concurrency();
    // The preview's threads inherit this thread's core; the load goes to the other one.
    const bool pinned = cores >= 2 && pinTo(0);
    std::printf("timing_harness: %d s per case, %u cores, preview %s\n", options->seconds, cores,
                pinned ? "pinned to core 0, load on core 1" : "not pinned");
    std::printf(
        "error = note-on %s time - tick schedule time, in us; drift in us/min; "
        "first/last = mean error of the first and last tenth\n",
        synth ? "hand-over to the synthesizer" : "send");
    std::printf(
        "tempo  load    notes       p50       p99     p99.9       max  drift/min"
        "    first     last  sched\n");
    std::int64_t worstPlayCall = 0;
    for (const bool loaded : {false, true}) {
        for (const int tempo : {40, 120, 350}) {
            std::unique_ptr<BusyCore> busy;
            if (loaded) busy = std::make_unique<BusyCore>(cores >= 2 ? 1 : 0);
            const Run run = synth ? playSynth(synth->synth(), tempo, options->seconds)
                                  : play(tempo, options->seconds);
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
