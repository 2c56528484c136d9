// MIDI files from elsewhere (the corpus beside the checkout) and the project's own examples.
// Expectations were worked out from the files' bytes and the examples' musical content, not
// taken from the reader's output.
#include "files/CPhraseFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "SmfBuilder.h"

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Records = std::vector<StepRecord>;

const fs::path kCorpus{TAVREL_CORPUS_DIR};
const fs::path kExamples{TAVREL_EXAMPLES_DIR};

struct Loaded {
    bool ok = false;
    Records records;
    int tempo = 0;
};

Loaded load(const fs::path& path) {
    CPhraseFile reader;
    Loaded out;
    out.ok = reader.loadSmf(path);
    if (const StepRecord* p = reader.getSeqData()) {
        out.records.assign(p, p + reader.getSeqDataCount());
    }
    out.tempo = reader.getTemp();
    return out;
}

// A note with its absolute position on the 96-per-quarter grid.
struct Hit {
    int step;
    int note;
    int velocity;
};

std::vector<Hit> hits(const Records& records) {
    std::vector<Hit> out;
    int step = 0;
    for (const StepRecord& r : records) {
        step += r.delta;
        if (r.note != 0) out.push_back({step, r.note, r.velocity});
    }
    return out;
}

int totalSteps(const Records& records) {
    return std::accumulate(records.begin(), records.end(), 0,
                           [](int sum, const StepRecord& r) { return sum + r.delta; });
}

// The corpus is third-party data kept beside the checkout; the examples are generated files.
#define SKIP_WITHOUT(dir) \
    if (!fs::is_directory(dir)) GTEST_SKIP() << "no folder " << (dir) << " to read"

TEST(PhraseFileCorpus, EveryFileLoadsIntoAWellFormedPhrase) {
    SKIP_WITHOUT(kCorpus);
    // Not Standard MIDI Files the reader takes: empty, plain text, format 2, the notes.
    const std::set<std::string> refused = {"jazz-test-empty-file.mid",
                                           "jazz-test-not-a-midi-file.mid",
                                           "jazz-test-2-tracks-type-2.mid", "README.md"};
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(kCorpus)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());

    int loaded = 0;
    for (const fs::path& file : files) {
        const std::string name = file.filename().string();
        SCOPED_TRACE(name);
        const Loaded l = load(file);
        EXPECT_EQ(l.ok, refused.count(name) == 0);
        EXPECT_EQ(CPhraseFile().checkSmf(file) > 0, l.ok);
        if (!l.ok) continue;
        ++loaded;
        ASSERT_GE(l.records.size(), 1u);
        EXPECT_LE(l.records.size(), static_cast<std::size_t>(kMaxStepRecords));
        EXPECT_EQ(l.records.back().note, 0);
        EXPECT_EQ(l.records.back().velocity, 0);
        EXPECT_TRUE(std::all_of(l.records.begin(), l.records.end() - 1, [](const StepRecord& r) {
            return r.note != 0 && r.velocity != 0;
        }));
        EXPECT_TRUE(l.tempo == 0 || (l.tempo >= 40 && l.tempo <= 350)) << l.tempo;
    }
    EXPECT_EQ(loaded, static_cast<int>(files.size() - refused.size()));
}

TEST(PhraseFileCorpus, FactsCheckedByHand) {
    SKIP_WITHOUT(kCorpus);

    // 1920 per quarter: 16 note-ons a sixteenth (480 file ticks, 24 steps) apart, falling
    // from 60 to 50, End of Track at 7,680 = one 4/4 bar of 384 steps. No tempo event.
    const Loaded fine = load(kCorpus / "seq66-ppqn-1920.midi");
    ASSERT_TRUE(fine.ok);
    EXPECT_EQ(fine.tempo, 0);
    ASSERT_EQ(fine.records.size(), 17u);
    const int falling[] = {60, 59, 58, 57, 57, 56, 56, 55, 55, 54, 54, 53, 52, 52, 51, 50};
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(fine.records[i], (StepRecord{static_cast<std::uint16_t>(i == 0 ? 0 : 24),
                                               static_cast<std::uint8_t>(falling[i]), 100}))
            << i;
    }
    EXPECT_EQ(fine.records[16], (StepRecord{24, 0, 0}));

    // 24 per quarter: pairs of notes every 6 file ticks (24 steps), the pair at one tick in
    // note order (58 before 63, then 58 before 62); End of Track at 96 file ticks, one bar.
    // The second MTrk chunk is beyond the header's count of one and is not read.
    const Loaded coarse = load(kCorpus / "seq66-ppqn-24.midi");
    ASSERT_TRUE(coarse.ok);
    ASSERT_EQ(coarse.records.size(), 33u);
    EXPECT_EQ(coarse.records[0], (StepRecord{0, 58, 100}));
    EXPECT_EQ(coarse.records[1], (StepRecord{0, 63, 100}));
    EXPECT_EQ(coarse.records[2], (StepRecord{24, 58, 100}));
    EXPECT_EQ(coarse.records[3], (StepRecord{0, 62, 100}));
    for (std::size_t i = 2; i < 32; i += 2) {
        EXPECT_EQ(coarse.records[i].delta, 24) << i;
        EXPECT_EQ(coarse.records[i + 1].delta, 0) << i;
        EXPECT_LT(coarse.records[i].note, coarse.records[i + 1].note) << i;
    }
    EXPECT_EQ(coarse.records[32], (StepRecord{24, 0, 0}));
    EXPECT_EQ(totalSteps(coarse.records), 384);

    // A "Junk" chunk before the only track: the track is never reached.
    const Loaded junk = load(kCorpus / "jazz-test-non-midi-track.mid");
    ASSERT_TRUE(junk.ok);
    EXPECT_EQ(junk.records, (Records{StepRecord{0, 0, 0}}));

    // Set Tempo of 260,870 us (229.9996 BPM) sits in the second track; 434,783 us is 138.
    EXPECT_EQ(load(kCorpus / "tonejs-230_bpm_multitrack.mid").tempo, 230);
    EXPECT_EQ(load(kCorpus / "gmd-1_funk-groove1_138_beat_4-4.mid").tempo, 138);

    // Well over 9,999 sounding notes: the phrase is cut and ends on its last note.
    const Loaded big = load(kCorpus / "blupi-music009.mid");
    ASSERT_TRUE(big.ok);
    ASSERT_EQ(big.records.size(), static_cast<std::size_t>(kMaxStepRecords));
    EXPECT_EQ(big.records.back(), (StepRecord{0, 0, 0}));
}

TEST(PhraseFileCorpus, TheExampleGroovesReadAsWritten) {
    SKIP_WITHOUT(kExamples);
    constexpr int kBar44 = 4 * 96;

    // Four bars at 120: 31 hats, a crash, 10 kicks, 8 snares, all snares on beats 2 and 4.
    const Loaded rock = load(kExamples / "rock-4-4.mid");
    ASSERT_TRUE(rock.ok);
    EXPECT_EQ(rock.tempo, 120);
    EXPECT_EQ(rock.records.size(), 51u);
    EXPECT_EQ(totalSteps(rock.records), 4 * kBar44);
    int snares = 0;
    for (const Hit& h : hits(rock.records)) {
        if (h.note != 38) continue;
        ++snares;
        EXPECT_TRUE(h.step % kBar44 == 96 || h.step % kBar44 == 288) << h.step;
    }
    EXPECT_EQ(snares, 8);

    // Four bars of 6/8 at 100 (an eighth is 48 steps, a bar 288): snare on the fourth eighth.
    const Loaded shuffle = load(kExamples / "shuffle-6-8.mid");
    ASSERT_TRUE(shuffle.ok);
    EXPECT_EQ(shuffle.tempo, 100);
    EXPECT_EQ(shuffle.records.size(), 37u);
    EXPECT_EQ(totalSteps(shuffle.records), 4 * 288);
    for (const Hit& h : hits(shuffle.records)) {
        if (h.note == 38) {
            EXPECT_EQ(h.step % 288, 144) << h.step;
        }
        EXPECT_EQ(h.step % 48, 0) << h.step;
    }

    // Three tracks merged: 64 hats, 14 kicks, 8 backbeats and 12 ghost notes (velocity 34).
    const Loaded funk = load(kExamples / "multitrack-funk.mid");
    ASSERT_TRUE(funk.ok);
    EXPECT_EQ(funk.tempo, 96);
    EXPECT_EQ(funk.records.size(), 99u);
    EXPECT_EQ(totalSteps(funk.records), 4 * kBar44);
    const std::vector<Hit> funkHits = hits(funk.records);
    EXPECT_EQ(std::count_if(funkHits.begin(), funkHits.end(),
                            [](const Hit& h) { return h.note == 38 && h.velocity == 34; }),
              12);
    EXPECT_TRUE(std::is_sorted(funkHits.begin(), funkHits.end(),
                               [](const Hit& a, const Hit& b) { return a.step < b.step; }));

    // One bar: the toms fall from high to floor on sixteenths 8 to 13 (steps 192 to 312).
    const Loaded fill = load(kExamples / "fill-4-4.mid");
    ASSERT_TRUE(fill.ok);
    EXPECT_EQ(fill.tempo, 120);
    EXPECT_EQ(fill.records.size(), 15u);
    EXPECT_EQ(totalSteps(fill.records), kBar44);
    std::vector<Hit> toms;
    for (const Hit& h : hits(fill.records)) {
        if (h.note >= 41 && h.note <= 50 && h.note != 42 && h.note != 44 && h.note != 46 &&
            h.note != 49) {
            toms.push_back(h);
        }
    }
    ASSERT_EQ(toms.size(), 6u);
    const int run[] = {50, 50, 48, 47, 45, 43};
    for (std::size_t i = 0; i < toms.size(); ++i) {
        EXPECT_EQ(toms[i].step, 192 + 24 * static_cast<int>(i));
        EXPECT_EQ(toms[i].note, run[i]);
    }
}

}  // namespace
}  // namespace tavrel
