// `tavrel-cli preview` played into a recording client of the kernel's sequencer: the notes
// that arrive are the pattern's, on channel 10, as many as the time allows, each ended; how
// closely they keep to the tick schedule is measured and reported, not judged, as emulated
// machines time too unevenly for a limit to mean anything.
#include "alsa/AlsaTestKit.h"
#include "alsa/SequencerTest.h"
#include "alsa/link/AlsaRecorder.h"
#include "alsa/link/PreviewSchedule.h"
#include "alsa/link/TavrelCli.h"
#include "playback/NoteTiming.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <string>

namespace tavrel::test {
namespace {

using Event = AlsaRecorder::Event;

constexpr int kDrumChannel = 9;  // channel 10, counted from 0
constexpr int kTempo = 240;      // four bars of 4/4 in 4 s, so the run crosses the loop point
constexpr int kSeconds = 6;
constexpr std::int64_t kRunMicros = std::int64_t{kSeconds} * 1'000'000;
// The preview's clock starts inside play() and it stops a timed wait of kSeconds later; the
// two ends may each be off by tens of milliseconds under emulation. Notes due this close to
// the end may or may not have been played.
constexpr std::int64_t kEndSlackMicros = 500'000;

bool isNoteOn(const Event& e) {
    return e.type == SND_SEQ_EVENT_NOTEON && e.velocity > 0;
}

bool isNoteOff(const Event& e) {
    return e.type == SND_SEQ_EVENT_NOTEOFF || (e.type == SND_SEQ_EVENT_NOTEON && e.velocity == 0);
}

// The keys started and not ended since.
std::set<int> sounding(const std::vector<Event>& events) {
    std::set<int> keys;
    for (const Event& e : events) {
        if (isNoteOn(e)) keys.insert(e.note);
        if (isNoteOff(e)) keys.erase(e.note);
    }
    return keys;
}

std::size_t notesDueBy(const std::vector<ScheduledNote>& notes, std::int64_t micros) {
    std::size_t count = 0;
    while (count < notes.size() && NoteTiming::dueMicros(notes[count].tick, kTempo) <= micros) {
        ++count;
    }
    return count;
}

// Each note's error against its tick's due time, both counted from the first note.
NoteTiming::Figures timing(const std::vector<Event>& noteOns,
                           const std::vector<ScheduledNote>& expected) {
    NoteTiming timing;
    const std::int64_t firstDue = NoteTiming::dueMicros(expected.front().tick, kTempo);
    for (std::size_t i = 0; i < noteOns.size(); ++i) {
        timing.add(NoteTiming::dueMicros(expected[i].tick, kTempo) - firstDue,
                   noteOns[i].atMicros - noteOns.front().atMicros);
    }
    return timing.figures();
}

std::string report(const NoteTiming::Figures& f, std::size_t low, std::size_t high) {
    char text[512];
    std::snprintf(text, sizeof text,
                  "preview through ALSA: rock-4-4.mid, tempo %d, %d s: %zu note-ons (due: %zu "
                  "to %zu)\n"
                  "error against the tick schedule, aligned at the first note, us: p50 %.0f, "
                  "p99 %.0f, p99.9 %.0f, max %.0f\n"
                  "drift %+.0f us/min; mean error of the first tenth %+.0f us, last tenth "
                  "%+.0f us\n",
                  kTempo, kSeconds, f.notes, low, high, f.p50, f.p99, f.p999, f.max,
                  f.driftPerMinute, f.firstTenth, f.lastTenth);
    return text;
}

class PreviewOverSequencerTest : public SequencerTest {};

TEST_F(PreviewOverSequencerTest, TheWindowsNotesArriveOnChannel10OnTheTickSchedule) {
    std::filesystem::remove(TAVREL_TIMING_REPORT);  // no figures of an earlier run pass for these
    const std::string file = std::string(TAVREL_EXAMPLES_DIR) + "/rock-4-4.mid";
    const auto expected = previewSchedule(file, kTempo, (kSeconds + 1) * kTempo * 96 / 60);
    ASSERT_FALSE(expected.empty());
    AlsaRecorder recorder("tavrel-test-recorder");
    ASSERT_TRUE(recorder.ok());

    const auto played =
        TavrelCli::run({"preview", file, "--port", recorder.portName(), "--seconds",
                        std::to_string(kSeconds), "--tempo", std::to_string(kTempo)});
    ASSERT_EQ(played.code, 0) << played;
    // The stop's note-offs may still be on their way to the recorder.
    eventually([&] { return sounding(recorder.events()).empty(); });
    const std::vector<Event> events = recorder.events();
    EXPECT_EQ(sounding(events), std::set<int>{}) << "keys never ended";

    std::vector<Event> noteOns;
    for (const Event& e : events) {
        EXPECT_EQ(e.channel, kDrumChannel) << "event type " << e.type << ", key " << e.note;
        if (isNoteOn(e)) noteOns.push_back(e);
    }

    const std::size_t low = notesDueBy(expected, kRunMicros - kEndSlackMicros);
    const std::size_t high = notesDueBy(expected, kRunMicros + kEndSlackMicros);
    ASSERT_GE(noteOns.size(), low) << played;
    ASSERT_LE(noteOns.size(), high) << played;
    for (std::size_t i = 0; i < noteOns.size(); ++i) {
        ASSERT_EQ(noteOns[i].note, expected[i].key) << "note-on " << i << " of " << noteOns.size();
    }

    const std::string figures = report(timing(noteOns, expected), low, high);
    std::ofstream(TAVREL_TIMING_REPORT) << figures;
    std::cout << figures;
}

}  // namespace
}  // namespace tavrel::test
