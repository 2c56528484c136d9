#include "files/CPhraseFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "SmfBuilder.h"

namespace tavrel {

namespace {

using test::Bytes;
using test::chunk;
using test::operator+;
using test::smfFile;
using test::smfHeader;
using test::TrackBuilder;
using Records = std::vector<StepRecord>;

StepRecord rec(std::uint16_t delta, std::uint8_t note, std::uint8_t velocity) {
    return StepRecord{delta, note, velocity};
}

struct Loaded {
    bool ok = false;
    Records records;
    int tempo = 0;
};

Loaded load(const Bytes& bytes) {
    CPhraseFile reader;
    Loaded out;
    out.ok = reader.loadSmfBytes(bytes);
    if (const StepRecord* p = reader.getSeqData()) {
        out.records.assign(p, p + reader.getSeqDataCount());
    }
    out.tempo = reader.getTemp();
    return out;
}

Records loadRecords(const Bytes& bytes) {
    const Loaded l = load(bytes);
    EXPECT_TRUE(l.ok);
    return l.records;
}

// One format-0 file holding one track.
Bytes single(std::uint16_t division, const TrackBuilder& track) {
    return smfFile(0, division, {track.chunk()});
}

TEST(PhraseFileHeader, AcceptsFormatsZeroAndOneAndRefusesTheRest) {
    const Bytes track = TrackBuilder().noteOn(0, 36, 100).endOfTrack(96).chunk();
    {
        CPhraseFile reader;
        EXPECT_EQ(reader.checkSmfBytes(smfFile(0, 96, {track})), 1);
        EXPECT_EQ(reader.checkSmfBytes(smfFile(1, 96, {track, track, track})), 3);
    }

    Bytes badLength = smfFile(0, 96, {track});
    badLength[7] = 7;
    Bytes shortLength = smfFile(0, 96, {track});
    shortLength[7] = 5;
    Bytes badMagic = smfFile(0, 96, {track});
    badMagic[3] = 'D';
    const Bytes full = smfFile(0, 96, {track});

    const std::vector<std::pair<std::string, Bytes>> refused = {
        {"format 2", smfFile(2, 96, {track})},
        {"format 256", smfFile(0x100, 96, {track})},
        {"header length 7", badLength},
        {"header length 5", shortLength},
        {"no tracks", smfHeader(0, 0, 96) + track},
        {"MThD", badMagic},
        {"RIFF", Bytes{'R', 'I', 'F', 'F', 0, 0, 0, 6, 0, 0, 0, 1, 0, 96} + track},
        {"empty", Bytes{}},
        {"13 bytes", Bytes(full.begin(), full.begin() + 13)},
    };
    for (const auto& [name, bytes] : refused) {
        SCOPED_TRACE(name);
        CPhraseFile reader;
        EXPECT_EQ(reader.checkSmfBytes(bytes), 0);
        EXPECT_FALSE(reader.loadSmfBytes(bytes));
        EXPECT_EQ(reader.getSeqData(), nullptr);
        EXPECT_EQ(reader.getSeqDataCount(), 0);
    }
}

TEST(PhraseFileHeader, ReadsFilesFromDisk) {
    const auto dir = std::filesystem::path(::testing::TempDir()) / "tavrel-phrase-file-test";
    std::filesystem::create_directories(dir);
    const auto write = [&](const std::string& name, const Bytes& bytes) {
        std::ofstream out(dir / name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        return dir / name;
    };
    const auto good = write("good.mid", smfFile(1, 480,
                                                {TrackBuilder().tempo(0, 600000).chunk(),
                                                 TrackBuilder().noteOn(480, 36, 100).chunk()}));
    const auto empty = write("empty.mid", {});

    CPhraseFile reader;
    EXPECT_EQ(reader.checkSmf(good), 2);
    ASSERT_TRUE(reader.loadSmf(good));
    EXPECT_EQ(reader.getTemp(), 100);
    ASSERT_EQ(reader.getSeqDataCount(), 2);
    EXPECT_EQ(reader.getSeqData()[0], rec(96, 36, 100));

    CPhraseFile other;
    EXPECT_EQ(other.checkSmf(empty), 0);
    EXPECT_FALSE(other.loadSmf(empty));
    EXPECT_EQ(other.checkSmf(dir / "missing.mid"), -1);
    EXPECT_FALSE(other.loadSmf(dir / "missing.mid"));
    EXPECT_EQ(other.checkSmf(dir), -1);
    EXPECT_FALSE(other.loadSmf(dir));
    std::filesystem::remove_all(dir);
}

TEST(PhraseFileTiming, FileTicksAreScaledToTheGrid) {
    // 480 per quarter: a quarter note in is 960 ticks, 96 grid steps.
    EXPECT_EQ(loadRecords(single(480, TrackBuilder().noteOn(480, 36, 100).endOfTrack(480))),
              (Records{rec(96, 36, 100), rec(96, 0, 0)}));
    // 96 per quarter is the grid itself.
    EXPECT_EQ(
        loadRecords(single(
            96,
            TrackBuilder().noteOn(1, 36, 100).noteOn(1, 38, 100).noteOn(1, 42, 100).endOfTrack(5))),
        (Records{rec(1, 36, 100), rec(1, 38, 100), rec(1, 42, 100), rec(5, 0, 0)}));
    // 24 per quarter: one file tick is four grid steps.
    EXPECT_EQ(loadRecords(single(24, TrackBuilder().noteOn(3, 36, 100).endOfTrack(3))),
              (Records{rec(12, 36, 100), rec(12, 0, 0)}));
}

TEST(PhraseFileTiming, EachDeltaIsTruncatedOnItsOwn) {
    // 960/7 is 137.14 ticks a file tick. Seven deltas of one lose the fraction seven times and
    // land on 959; one delta of seven lands on 960. The grid steps follow the truncated times
    // (137, 274, ... 959) without drifting: they add up to 95 = 959 / 10.
    TrackBuilder sevenSteps;
    for (int i = 0; i < 7; ++i) sevenSteps.noteOn(1, 36, 100);
    const Bytes file =
        smfFile(1, 7, {sevenSteps.chunk(), TrackBuilder().noteOn(7, 38, 100).chunk()});
    EXPECT_EQ(loadRecords(file), (Records{rec(13, 36, 100), rec(14, 36, 100), rec(14, 36, 100),
                                          rec(13, 36, 100), rec(14, 36, 100), rec(14, 36, 100),
                                          rec(13, 36, 100), rec(1, 38, 100), rec(1, 0, 0)}));

    // The product is taken in single precision: 1,000,000 x 137.142853 is 137,142,848 as a
    // float (137,142,852 in double), 13,714,284 steps, 17,260 after the 16-bit wrap.
    EXPECT_EQ(loadRecords(single(7, TrackBuilder().noteOn(1000000, 36, 100)))[0],
              rec(17260, 36, 100));

    // 1920 per quarter: a delta of one file tick is half a tick and vanishes every time.
    TrackBuilder halfTicks;
    for (int i = 0; i < 40; ++i) halfTicks.noteOn(1, 36, 100);
    const Records half = loadRecords(single(1920, halfTicks));
    ASSERT_EQ(half.size(), 41u);
    EXPECT_TRUE(std::all_of(half.begin(), half.end() - 1,
                            [](const StepRecord& r) { return r.delta == 0; }));

    // At 960 per quarter the grid step is ten file ticks. Times 15, 25, 35, 44 sit on steps
    // 1, 2, 3, 4, so every delta is 1, although 44 - 35 is less than a step.
    EXPECT_EQ(loadRecords(single(960, TrackBuilder()
                                          .noteOn(15, 36, 100)
                                          .noteOn(10, 37, 100)
                                          .noteOn(10, 38, 100)
                                          .noteOn(9, 39, 100))),
              (Records{rec(1, 36, 100), rec(1, 37, 100), rec(1, 38, 100), rec(1, 39, 100),
                       rec(1, 0, 0)}));
}

TEST(PhraseFileTiming, DeltasAndRunningTimeWrapInsteadOfOverflowing) {
    // A gap of 65,536 grid steps is stored as 0, one more as 1.
    EXPECT_EQ(
        loadRecords(single(
            96,
            TrackBuilder().noteOn(65536, 36, 100).noteOn(65537, 38, 100).noteOn(65535, 42, 100))),
        (Records{rec(0, 36, 100), rec(1, 38, 100), rec(65535, 42, 100), rec(1, 0, 0)}));

    // One tick per quarter: 2,236,962 x 960 is 2,147,483,520, just under 2^31; 960 more
    // wraps the running time to -2,147,482,816, which sorts first. Steps: -214,748,281 for
    // the first (13,191 wrapped), then 429,496,633 (39,225 wrapped) across the whole range.
    EXPECT_EQ(loadRecords(single(1, TrackBuilder().noteOn(2236962, 36, 100).noteOn(1, 38, 100))),
              (Records{rec(13191, 38, 100), rec(39225, 36, 100), rec(1, 0, 0)}));

    // A product beyond 32 bits becomes INT32_MIN, as does the NaN of 0 x the infinite scale
    // of division 0: -214,748,364 steps, 13,108 wrapped; the end 10 ticks later is step 0.
    EXPECT_EQ(loadRecords(single(1, TrackBuilder().noteOn(0x0FFFFFFF, 36, 100))),
              (Records{rec(13108, 36, 100), rec(0, 0, 0)}));
    EXPECT_EQ(loadRecords(single(0, TrackBuilder().noteOn(0, 36, 100))),
              (Records{rec(13108, 36, 100), rec(0, 0, 0)}));
}

TEST(PhraseFileTempo, SetTempoIsRoundedHalfAwayFromZeroAndClamped) {
    const std::vector<std::pair<std::uint32_t, int>> cases = {
        {500000, 120},  {600000, 100}, {2000000, 40}, {100000, 350},
        {16777215, 40}, {1, 350},      {0, 350},      {960000, 63},  // 62.5
        {192000, 313},                                               // 312.5
        {320000, 188},                                               // 187.5
    };
    for (const auto& [micros, bpm] : cases) {
        SCOPED_TRACE(micros);
        EXPECT_EQ(load(single(96, TrackBuilder().tempo(0, micros))).tempo, bpm);
    }

    EXPECT_EQ(load(single(96, TrackBuilder().noteOn(0, 36, 100))).tempo, 0);

    // The last one in file order wins, whatever its time.
    EXPECT_EQ(load(smfFile(1, 96,
                           {TrackBuilder().tempo(0, 500000).tempo(1000, 400000).chunk(),
                            TrackBuilder().tempo(0, 600000).chunk()}))
                  .tempo,
              100);

    // The length byte is not looked at: three bytes of microseconds follow it regardless.
    const Loaded l = load(single(
        96, TrackBuilder().event(0, {0xFF, 0x51, 0x00, 0x07, 0xA1, 0x20}).noteOn(4, 36, 100)));
    EXPECT_EQ(l.tempo, 120);
    EXPECT_EQ(l.records, (Records{rec(4, 36, 100), rec(1, 0, 0)}));
}

TEST(PhraseFileNotes, NotesSortByTimeThenNoteThenVelocityAcrossTracks) {
    const Bytes file = smfFile(1, 96,
                               {TrackBuilder()
                                    .noteOn(96, 42, 127)
                                    .noteOn(0, 38, 100)
                                    .noteOn(0, 36, 90)
                                    .noteOn(0, 36, 50)
                                    .chunk(),
                                TrackBuilder().noteOn(48, 49, 20).noteOn(48, 35, 127).chunk()});
    EXPECT_EQ(loadRecords(file),
              (Records{rec(48, 49, 20), rec(48, 35, 127), rec(0, 36, 50), rec(0, 36, 90),
                       rec(0, 38, 100), rec(0, 42, 127), rec(1, 0, 0)}));

    // Data bytes are signed: note 0x81 is -127 and sorts before 0x23; velocity 0x90 is -112,
    // not zero, so that note is kept, and sorts before velocity 0x40.
    const Bytes signedBytes = single(96, TrackBuilder()
                                             .event(0, {0x99, 0x23, 0x40})
                                             .event(0, {0x99, 0x23, 0x90})
                                             .event(0, {0x99, 0x81, 0x40}));
    EXPECT_EQ(loadRecords(signedBytes),
              (Records{rec(0, 0x81, 0x40), rec(0, 0x23, 0x90), rec(0, 0x23, 0x40), rec(1, 0, 0)}));
}

TEST(PhraseFileNotes, RunningStatusCarriesWithinATrackOnly) {
    // Across notes and across a meta event.
    EXPECT_EQ(loadRecords(single(96, TrackBuilder()
                                         .event(0, {0x99, 36, 100})
                                         .event(16, {38, 80})
                                         .event(0, {0xFF, 0x01, 0x03, 'a', 'b', 'c'})
                                         .event(16, {42, 60}))),
              (Records{rec(0, 36, 100), rec(16, 38, 80), rec(16, 42, 60), rec(1, 0, 0)}));

    // A program change carries one data byte, a controller two; the note after them is only
    // found if both were measured right.
    EXPECT_EQ(loadRecords(single(96, TrackBuilder()
                                         .event(0, {0xC9, 5})
                                         .event(0, {6})
                                         .event(0, {0xB9, 7, 100})
                                         .event(0, {10, 64})
                                         .event(2, {0x99, 36, 100}))),
              (Records{rec(2, 36, 100), rec(1, 0, 0)}));

    // Every channel is imported.
    EXPECT_EQ(
        loadRecords(single(
            96, TrackBuilder().noteOn(0, 36, 100, 0).noteOn(0, 37, 100, 15).event(0, {38, 100}))),
        (Records{rec(0, 36, 100), rec(0, 37, 100), rec(0, 38, 100), rec(1, 0, 0)}));

    // The second track starts without a status: "24" is a lone data byte, "10" a delta of 16,
    // "26" another lone byte. Carrying the note-on status over would make a note of 36/16.
    const Bytes fresh =
        smfFile(1, 96,
                {TrackBuilder().event(0, {0x99, 36, 100}).endOfTrack().chunk(),
                 TrackBuilder().raw({0x00, 0x24, 0x10, 0x26}).endOfTrack().chunk()});
    EXPECT_EQ(loadRecords(fresh), (Records{rec(0, 36, 100), rec(16, 0, 0)}));
}

TEST(PhraseFileNotes, OnlySoundingNoteOnsAreKept) {
    const Bytes file = single(96, TrackBuilder()
                                      .noteOn(0, 36, 0)  // note-on with velocity 0
                                      .event(0, {38, 0})
                                      .noteOff(0, 36)
                                      .event(0, {0xA9, 36, 20})  // key pressure
                                      .event(0, {0xD9, 30})      // channel pressure
                                      .event(0, {0xE9, 0, 64})   // pitch bend
                                      .event(0, {0xC9, 5})
                                      .event(0, {0xF8, 0})  // 0xF1..0xFE take one byte
                                      .event(0, {1})        // and so does their running status
                                      .event(0, {0xF7, 2})
                                      .noteOn(4, 42, 80)
                                      .endOfTrack(4));
    EXPECT_EQ(loadRecords(file), (Records{rec(4, 42, 80), rec(4, 0, 0)}));
}

TEST(PhraseFileNotes, SystemExclusiveRunsToItsF7AndLeavesTheLastMessageInPlace) {
    // The F7 starts the next delta: F7 00 is 0x77 x 128 = 15,232 file ticks.
    EXPECT_EQ(
        loadRecords(single(
            96, TrackBuilder().event(0, {0xF0, 0x03, 0x7E, 0x7F, 0xF7}).event(0, {0x99, 36, 100}))),
        (Records{rec(15232, 36, 100), rec(1, 0, 0)}));

    // After a kept note-on the system-exclusive event repeats that note at its own time.
    EXPECT_EQ(loadRecords(single(96, TrackBuilder()
                                         .event(0, {0x99, 36, 100})
                                         .event(16, {0xF0, 0x01, 0xF7})
                                         .event(0, {0x99, 38, 80}))),
              (Records{rec(0, 36, 100), rec(16, 36, 100), rec(15232, 38, 80), rec(1, 0, 0)}));

    // After a note-off nothing is repeated; F0 F7 is the shortest event.
    EXPECT_EQ(loadRecords(single(96, TrackBuilder()
                                         .event(0, {0x99, 36, 100})
                                         .noteOff(8, 36)
                                         .event(8, {0xF0, 0xF7})
                                         .event(0, {0x99, 38, 80}))),
              (Records{rec(0, 36, 100), rec(15248, 38, 80), rec(1, 0, 0)}));

    // No F7 before the data ends: the track ends there and keeps the note read before.
    EXPECT_EQ(loadRecords(single(96, TrackBuilder()
                                         .event(0, {0x89, 36, 64})
                                         .event(4, {0x99, 36, 100})
                                         .event(0, {0xF0, 0x01, 0x02, 0x03}))),
              (Records{rec(4, 36, 100), rec(1, 0, 0)}));
}

TEST(PhraseFileTracks, AChunkThatIsNotATrackLosesEveryLaterTrack) {
    const Bytes notes = TrackBuilder().noteOn(0, 36, 100).endOfTrack(96).chunk();
    const Bytes others = TrackBuilder().noteOn(0, 38, 80).endOfTrack(192).chunk();
    const Bytes junk = chunk("Junk", {'M', 'T', 'r', 'k', 0, 0, 0, 0});

    auto header = [](std::uint16_t tracks) { return smfHeader(1, tracks, 96); };
    // First chunk unknown: nothing is read, the phrase is a lone end marker at 0.
    EXPECT_EQ(loadRecords(header(2) + junk + notes), (Records{rec(0, 0, 0)}));
    // Unknown chunk in the middle: the tracks before it count.
    EXPECT_EQ(loadRecords(header(3) + notes + junk + others),
              (Records{rec(0, 36, 100), rec(96, 0, 0)}));
    // Tracks beyond the declared count are not read.
    EXPECT_EQ(loadRecords(header(1) + notes + others), (Records{rec(0, 36, 100), rec(96, 0, 0)}));

    // An event running past its chunk's length moves the next chunk along: the first chunk
    // says 3 bytes but its note-on takes 4.
    Bytes overrun = TrackBuilder().noteOn(0, 36, 100).chunk();
    overrun[7] = 3;
    EXPECT_EQ(loadRecords(header(2) + overrun + others),
              (Records{rec(0, 36, 100), rec(0, 38, 80), rec(192, 0, 0)}));

    // A chunk of length 0 is stepped over; so is one whose length is negative as a signed
    // number, whose events are then never read.
    const Bytes empty = chunk("MTrk", {});
    EXPECT_EQ(loadRecords(header(2) + empty + notes), (Records{rec(0, 36, 100), rec(96, 0, 0)}));
    Bytes negative = chunk("MTrk", TrackBuilder().noteOn(0, 36, 100).endOfTrack(96).body());
    negative[4] = 0x80;
    EXPECT_EQ(loadRecords(header(1) + negative), (Records{rec(0, 0, 0)}));
}

TEST(PhraseFileTracks, TheEndMarkerSitsAtTheLatestEndOfTrack) {
    // The latest End of Track of all tracks.
    EXPECT_EQ(loadRecords(smfFile(1, 96,
                                  {TrackBuilder().noteOn(0, 36, 100).endOfTrack(192).chunk(),
                                   TrackBuilder().noteOn(96, 38, 100).endOfTrack(288).chunk(),
                                   TrackBuilder().endOfTrack(200).chunk()})),
              (Records{rec(0, 36, 100), rec(96, 38, 100), rec(288, 0, 0)}));

    // Without one: ten ticks past the last note, one step on the grid, even from a time
    // between steps (95 ticks at 960 per quarter is step 9; 105 is step 10).
    EXPECT_EQ(loadRecords(single(96, TrackBuilder().noteOn(96, 36, 100))),
              (Records{rec(96, 36, 100), rec(1, 0, 0)}));
    EXPECT_EQ(loadRecords(single(960, TrackBuilder().noteOn(95, 36, 100))),
              (Records{rec(9, 36, 100), rec(1, 0, 0)}));

    // No notes: the end marker alone, at the End of Track, or at 0 without one.
    EXPECT_EQ(loadRecords(smfFile(1, 96,
                                  {TrackBuilder().endOfTrack(384).chunk(),
                                   TrackBuilder().endOfTrack(100).chunk()})),
              (Records{rec(384, 0, 0)}));
    EXPECT_EQ(loadRecords(single(96, TrackBuilder().event(10, {0xB9, 7, 100}))),
              (Records{rec(0, 0, 0)}));

    // End of Track does not stop the track, and an end before the last note stays where it
    // is: 0 after a note at step 96 is a delta of -96, 65,440 in 16 bits.
    EXPECT_EQ(loadRecords(single(96, TrackBuilder().endOfTrack(0).noteOn(96, 36, 100))),
              (Records{rec(96, 36, 100), rec(65440, 0, 0)}));

    // A note-on for key 0 is taken for an end marker; FF 2F with a length other than 0 is
    // just another meta event.
    EXPECT_EQ(loadRecords(
                  single(96, TrackBuilder().noteOn(0, 36, 100).endOfTrack(96).noteOn(96, 0, 100))),
              (Records{rec(0, 36, 100), rec(192, 0, 0)}));
    EXPECT_EQ(loadRecords(single(
                  96, TrackBuilder().noteOn(0, 36, 100).event(96, {0xFF, 0x2F, 0x01, 0x00}))),
              (Records{rec(0, 36, 100), rec(1, 0, 0)}));
}

// Note-ons on the grid, one step apart from `first`, written in the given order of steps.
TrackBuilder stepNotes(int first, int count) {
    TrackBuilder t;
    t.event(static_cast<std::uint32_t>(first), {0x99, 36, 100});
    for (int i = 1; i < count; ++i) t.event(1, {36, 100});
    return t;
}

TEST(PhraseFileTracks, AtMostNineThousandNineHundredNinetyNineNotesAreKept) {
    // 12,000 notes at steps 0..11,999, the later half in the first track: the first 9,999 in
    // time are kept and the end marker falls on the last of them, whatever End of Track says.
    const Records capped = loadRecords(smfFile(1, 96,
                                               {stepNotes(6000, 6000).endOfTrack(20000).chunk(),
                                                stepNotes(0, 6000).endOfTrack(20000).chunk()}));
    ASSERT_EQ(capped.size(), 10000u);
    EXPECT_EQ(capped.front(), rec(0, 36, 100));
    EXPECT_TRUE(std::all_of(capped.begin() + 1, capped.end() - 1,
                            [](const StepRecord& r) { return r == rec(1, 36, 100); }));
    EXPECT_EQ(capped.back(), rec(0, 0, 0));

    // The cap starts at exactly 9,999 notes; one fewer keeps the End of Track.
    const Records atCap = loadRecords(single(96, stepNotes(0, 9999).endOfTrack(20000)));
    ASSERT_EQ(atCap.size(), 10000u);
    EXPECT_EQ(atCap.back(), rec(0, 0, 0));
    const Records belowCap = loadRecords(single(96, stepNotes(0, 9998).endOfTrack(20000)));
    ASSERT_EQ(belowCap.size(), 9999u);
    EXPECT_EQ(belowCap.back(), rec(20000, 0, 0));

    // 12,000 notes on one tick, each (note, velocity) pair once, written largest first: the
    // kept ones are the 9,999 smallest pairs, in order. Pair k is note 1 + k / 127,
    // velocity 1 + k % 127, so the last kept (k = 9,998) is note 79, velocity 93.
    TrackBuilder oneTick;
    for (int k = 11999; k >= 0; --k) {
        oneTick.noteOn(0, static_cast<std::uint8_t>(1 + k / 127),
                       static_cast<std::uint8_t>(1 + k % 127));
    }
    const Records pairs = loadRecords(single(96, oneTick));
    ASSERT_EQ(pairs.size(), 10000u);
    for (int k = 0; k < 9999; ++k) {
        const StepRecord want =
            rec(0, static_cast<std::uint8_t>(1 + k / 127), static_cast<std::uint8_t>(1 + k % 127));
        ASSERT_EQ(pairs[static_cast<std::size_t>(k)], want) << "pair " << k;
    }
    EXPECT_EQ(pairs[9998], rec(0, 79, 93));
    EXPECT_EQ(pairs.back(), rec(0, 0, 0));
}

// What a cut-off file must still yield: each note or End of Track counts once the last byte
// it needs is inside the cut.
struct Expected {
    std::size_t needs;  // offset of the last byte the event needs
    int step;           // time on the 96-per-quarter grid
    std::uint8_t note;  // 0 for End of Track
    std::uint8_t velocity;
};

TEST(PhraseFileTracks, ACutFileKeepsEverythingBeforeTheCut) {
    // Two tracks at 96 per quarter, so file ticks are grid steps. Offsets are recorded as the
    // tracks are written; track 1's body starts at 22.
    std::vector<Expected> events;
    TrackBuilder t1;
    const auto mark = [&](TrackBuilder& t, std::size_t bodyStart, int step, std::uint8_t note,
                          std::uint8_t velocity) {
        events.push_back({bodyStart + t.body().size() - 1, step, note, velocity});
    };
    std::size_t tempoNeeds = 0;
    t1.tempo(0, 500000);
    tempoNeeds = 22 + t1.body().size() - 1;
    t1.event(0, {0xFF, 0x03, 0x04, 'K', 'i', 'c', 'k'});
    t1.event(0, {0xFF, 0x58, 0x04, 0x04, 0x02, 0x18, 0x08});
    t1.event(0, {0x99, 36, 100});
    mark(t1, 22, 0, 36, 100);
    t1.event(48, {38, 90});
    mark(t1, 22, 48, 38, 90);
    t1.event(48, {36, 0}).event(0, {38, 0}).event(0, {0xB9, 7, 100});
    t1.event(96, {0x99, 42, 80});
    mark(t1, 22, 192, 42, 80);
    t1.event(0, {0xF0, 0x02, 0x7E, 0x7F, 0xF7});
    events.push_back({22 + t1.body().size() - 1, 192, 42, 80});  // repeated once F7 is seen
    t1.endOfTrack(0);                                            // after F7 00: 15,232 later
    mark(t1, 22, 192 + 15232, 0, 0);

    TrackBuilder t2;
    const std::size_t body2 = 22 + t1.body().size() + 8;
    t2.noteOn(0, 49, 110);
    mark(t2, body2, 0, 49, 110);
    t2.noteOn(24, 46, 70);
    mark(t2, body2, 24, 46, 70);
    t2.event(24, {0xE9, 0, 64}).event(0, {0xC9, 5});
    t2.event(0, {0x99, 44, 60});
    mark(t2, body2, 48, 44, 60);
    t2.event(0x200000, {0x99, 45, 61});  // a four-byte delta
    mark(t2, body2, 48 + 0x200000, 45, 61);
    t2.endOfTrack(312);
    mark(t2, body2, 48 + 0x200000 + 312, 0, 0);

    const Bytes file = smfFile(1, 96, {t1.chunk(), t2.chunk()});

    // The whole file, worked out by hand: 42 at 192 twice (the second from the system-
    // exclusive event); 45 at 2,097,200, a gap of 2,097,008 that is 65,392 in 16 bits; the
    // end marker at 2,097,512, the later of the two ends.
    EXPECT_EQ(
        loadRecords(file),
        (Records{rec(0, 36, 100), rec(0, 49, 110), rec(24, 46, 70), rec(24, 38, 90), rec(0, 44, 60),
                 rec(144, 42, 80), rec(0, 42, 80),
                 rec(static_cast<std::uint16_t>(0x200000 + 48 - 192), 45, 61), rec(312, 0, 0)}));

    for (std::size_t cut = 0; cut <= file.size(); ++cut) {
        SCOPED_TRACE(cut);
        const Loaded got = load(Bytes(file.begin(), file.begin() + static_cast<long>(cut)));
        if (cut < 14) {
            EXPECT_FALSE(got.ok);
            continue;
        }
        ASSERT_TRUE(got.ok);
        EXPECT_EQ(got.tempo, tempoNeeds < cut ? 120 : 0);

        std::vector<std::pair<int, std::pair<int, int>>> notes;  // step, note, velocity
        int end = -1;
        for (const Expected& e : events) {
            if (e.needs >= cut) continue;
            if (e.note == 0) {
                end = std::max(end, e.step);
            } else {
                notes.push_back({e.step, {e.note, e.velocity}});
            }
        }
        std::sort(notes.begin(), notes.end());
        if (end < 0) end = notes.empty() ? 0 : notes.back().first + 1;
        Records want;
        int previous = 0;
        for (const auto& [step, nv] : notes) {
            want.push_back(rec(static_cast<std::uint16_t>(step - previous),
                               static_cast<std::uint8_t>(nv.first),
                               static_cast<std::uint8_t>(nv.second)));
            previous = step;
        }
        want.push_back(rec(static_cast<std::uint16_t>(end - previous), 0, 0));
        EXPECT_EQ(got.records, want);
    }
}

TEST(PhraseFileTracks, TrailingAndOversizedLengthsStayInsideTheData) {
    // A track claiming more bytes than the file holds reads what is there.
    Bytes longTrack = TrackBuilder().noteOn(0, 36, 100).noteOn(4, 38, 80).chunk();
    longTrack[4] = 0x7F;
    EXPECT_EQ(loadRecords(smfHeader(0, 1, 96) + longTrack),
              (Records{rec(0, 36, 100), rec(4, 38, 80), rec(1, 0, 0)}));

    // A meta event whose length runs past the data, a VLQ that never ends, and a header
    // declaring 65,535 tracks: each ends quietly with what came before.
    EXPECT_EQ(loadRecords(single(
                  96, TrackBuilder().noteOn(0, 36, 100).raw({0x00, 0xFF, 0x01, 0x8F, 0xFF, 0x7F}))),
              (Records{rec(0, 36, 100), rec(1, 0, 0)}));
    EXPECT_EQ(loadRecords(single(96, TrackBuilder().noteOn(0, 36, 100).raw({0x80, 0x80, 0x80}))),
              (Records{rec(0, 36, 100), rec(1, 0, 0)}));
    EXPECT_EQ(loadRecords(smfHeader(1, 65535, 96) +
                          TrackBuilder().noteOn(0, 36, 100).endOfTrack(4).chunk()),
              (Records{rec(0, 36, 100), rec(4, 0, 0)}));
}

TEST(PhraseFileTracks, ALaterLoadReplacesTheNotes) {
    CPhraseFile reader;
    ASSERT_TRUE(
        reader.loadSmfBytes(single(96, TrackBuilder().noteOn(0, 36, 100).noteOn(1, 38, 1))));
    ASSERT_EQ(reader.getSeqDataCount(), 3);
    ASSERT_TRUE(reader.loadSmfBytes(single(96, TrackBuilder().endOfTrack(8))));
    ASSERT_EQ(reader.getSeqDataCount(), 1);
    EXPECT_EQ(reader.getSeqData()[0], rec(8, 0, 0));
    // A refused file leaves the last result in place.
    EXPECT_FALSE(reader.loadSmfBytes(Bytes{'M', 'T', 'h', 'd'}));
    EXPECT_EQ(reader.getSeqDataCount(), 1);
}

}  // namespace
}  // namespace tavrel
