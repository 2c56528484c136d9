// `tavrel-cli preview --port NAME` played into another client of the kernel's sequencer: the
// notes that arrive there are the pattern's, in the order the program's sequencer plays them,
// on channel 10, as many as the time allows, and every one is ended. How closely they keep to
// the tick schedule is bench/timing_harness's to measure: an emulated machine times too
// unevenly for it to mean anything here.
#include "alsa/RawClient.h"
#include "alsa/SequencerTest.h"
#include "alsa/link/TavrelCli.h"
#include "files/CFileDataMgr.h"
#include "playback/NoteTiming.h"
#include "playback/PreviewRig.h"

#include <filesystem>
#include <set>
#include <string>

namespace tavrel::test {
namespace {

constexpr int kDrumChannel = 9;  // channel 10, counted from 0
constexpr int kTempo = 240;      // four bars of 4/4 in 4 s, so the run crosses the loop point
constexpr int kSeconds = 6;
constexpr std::int64_t kRunMicros = std::int64_t{kSeconds} * 1'000'000;
// The preview's clock starts inside play() and it stops a timed wait of kSeconds later; the
// two ends may each be off by tens of milliseconds under emulation. Notes due this close to
// the end may or may not have been played.
constexpr std::int64_t kEndSlackMicros = 500'000;

struct ScheduledNote {
    std::int64_t tick;
    int key;
};

// The notes of the first `ticks` ticks of variation 0 of `file` at kTempo, as the program's
// sequencer plays them on a manual clock; empty when the file makes no pattern.
std::vector<ScheduledNote> previewSchedule(const std::filesystem::path& file, int ticks) {
    PreviewRig rig;
    if (!CFileDataMgr::loadSmf(file)) return {};
    rig.context.patterns().getCurPattarn()->setTempo(kTempo);
    rig.seq->play();
    std::vector<ScheduledNote> notes;
    // Each call moves the clock on to the next tick, so the calls count the ticks.
    for (std::int64_t tick = 0; tick < ticks; ++tick) {
        for (const int key : rig.tick().noteOns) notes.push_back({tick, key});
    }
    rig.seq->stop();
    return notes;
}

std::size_t notesDueBy(const std::vector<ScheduledNote>& notes, std::int64_t micros) {
    std::size_t count = 0;
    while (count < notes.size() && NoteTiming::dueMicros(notes[count].tick, kTempo) <= micros) {
        ++count;
    }
    return count;
}

class PreviewOverSequencerTest : public SequencerTest {};

TEST_F(PreviewOverSequencerTest, TheWindowsNotesArriveInOrderOnChannel10AndAllEnd) {
    const std::string file = std::string(TAVREL_EXAMPLES_DIR) + "/rock-4-4.mid";
    const auto expected = previewSchedule(file, (kSeconds + 1) * kTempo * 96 / 60);
    ASSERT_FALSE(expected.empty());
    RawClient recorder("tavrel-test-recorder");
    ASSERT_TRUE(recorder.isOpen());
    ASSERT_GE(recorder.addPort("in", RawClient::kWritable), 0);

    const auto played =
        TavrelCli::run({"preview", file, "--port", "tavrel-test-recorder:in", "--seconds",
                        std::to_string(kSeconds), "--tempo", std::to_string(kTempo)});
    ASSERT_EQ(played.code, 0) << played;

    std::set<int> sounding;
    std::vector<int> noteOns;
    for (const snd_seq_event_t& e : recorder.received()) {
        if (snd_seq_ev_is_note_type(&e)) {
            EXPECT_EQ(e.data.note.channel, kDrumChannel) << "key " << int{e.data.note.note};
        } else if (snd_seq_ev_is_control_type(&e)) {
            EXPECT_EQ(e.data.control.channel, kDrumChannel) << "event type " << int{e.type};
        } else {
            EXPECT_NE(e.type, SND_SEQ_EVENT_SYSEX) << "a preview sends channel messages only";
        }
        if (e.type == SND_SEQ_EVENT_NOTEON && e.data.note.velocity > 0) {
            noteOns.push_back(e.data.note.note);
            sounding.insert(e.data.note.note);
        } else if (e.type == SND_SEQ_EVENT_NOTEOFF || e.type == SND_SEQ_EVENT_NOTEON) {
            sounding.erase(e.data.note.note);  // a note-off, or a note-on at velocity 0
        }
    }
    EXPECT_EQ(sounding, std::set<int>{}) << "keys never ended";

    const std::size_t low = notesDueBy(expected, kRunMicros - kEndSlackMicros);
    const std::size_t high = notesDueBy(expected, kRunMicros + kEndSlackMicros);
    ASSERT_GE(noteOns.size(), low) << played;
    ASSERT_LE(noteOns.size(), high) << played;
    for (std::size_t i = 0; i < noteOns.size(); ++i) {
        ASSERT_EQ(noteOns[i], expected[i].key) << "note-on " << i << " of " << noteOns.size();
    }
}

}  // namespace
}  // namespace tavrel::test
