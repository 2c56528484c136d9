#include "smf/CPhraseFile.h"
#include "smf/FileContents.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "SmfBuilder.h"

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::chunk;
using test::operator+;
using test::smfFile;
using test::smfHeader;
using test::TrackBuilder;
using Records = std::vector<StepRecord>;

StepRecord rec(int delta, int note, int velocity) {
    return {static_cast<std::uint16_t>(delta), static_cast<std::uint8_t>(note),
            static_cast<std::uint8_t>(velocity)};
}

struct Loaded {
    bool ok = false;
    Records records;
    int tempo = 0;
};

Loaded load(const Bytes& bytes) {
    CPhraseFile reader;
    const bool ok = reader.loadSmfBytes(bytes);
    const StepRecord* p = reader.getSeqData();
    return {ok, p ? Records(p, p + reader.getSeqDataCount()) : Records{}, reader.getTemp()};
}

Records loadRecords(const Bytes& bytes) {
    const Loaded l = load(bytes);
    EXPECT_TRUE(l.ok);
    return l.records;
}

Bytes single(std::uint16_t division, const TrackBuilder& track) {
    return smfFile(0, division, {track.chunk()});
}

// Raw event bytes, delta times included.
Bytes track(const Bytes& events) {
    return chunk("MTrk", events);
}
Bytes one(const Bytes& events) {
    return smfFile(0, 96, {track(events)});
}

struct Case {
    const char* what;
    Bytes file;
    Records want;
};

void expectRecords(const std::vector<Case>& cases) {
    for (const Case& c : cases) EXPECT_EQ(loadRecords(c.file), c.want) << c.what;
}

TEST(PhraseFileHeader, AcceptsFormatsZeroAndOneAndRefusesTheRest) {
    const Bytes track = TrackBuilder().noteOn(0, 36, 100).endOfTrack(96).chunk();
    EXPECT_EQ(CPhraseFile().checkSmfBytes(smfFile(0, 96, {track})), 1);
    EXPECT_EQ(CPhraseFile().checkSmfBytes(smfFile(1, 96, {track, track, track})), 3);

    const Bytes good = smfFile(0, 96, {track});
    auto with = [&](std::size_t at, std::uint8_t byte) {
        Bytes b = good;
        b[at] = byte;
        return b;
    };
    const std::vector<std::pair<std::string, Bytes>> refused = {
        {"format 2", smfFile(2, 96, {track})},
        {"format 256", with(8, 1)},
        {"header length 7", with(7, 7)},
        {"header length 5", with(7, 5)},
        {"no tracks", smfHeader(0, 0, 96) + track},
        {"MThD", with(3, 'D')},
        {"13 bytes", Bytes(good.begin(), good.begin() + 13)},
    };
    for (const auto& [name, bytes] : refused) {
        CPhraseFile reader;
        EXPECT_EQ(reader.checkSmfBytes(bytes), 0) << name;
        EXPECT_FALSE(reader.loadSmfBytes(bytes)) << name;
        EXPECT_EQ(reader.getSeqData(), nullptr) << name;
    }
}

TEST(PhraseFileTiming, TicksAreScaledToTheGridOneDeltaAtATime) {
    // At 7 per quarter a file tick is 137.14 ticks of 960 per quarter. Seven deltas of one
    // lose the fraction seven times and land on 959; one delta of seven lands on 960. The
    // steps follow the truncated times (137, 274, ... 959) and add up to 95 without drifting.
    TrackBuilder sevenSteps;
    for (int i = 0; i < 7; ++i) sevenSteps.noteOn(1, 36, 100);
    const Records seven = {rec(13, 36, 100), rec(14, 36, 100), rec(14, 36, 100),
                           rec(13, 36, 100), rec(14, 36, 100), rec(14, 36, 100),
                           rec(13, 36, 100), rec(1, 38, 100),  rec(1, 0, 0)};
    expectRecords({
        {"7 per quarter",
         smfFile(1, 7, {sevenSteps.chunk(), TrackBuilder().noteOn(7, 38, 100).chunk()}), seven},
        // Times 15, 25, 35, 44 of 960 per quarter sit on steps 1, 2, 3, 4.
        {"steps follow times, not gaps",
         single(960, TrackBuilder()
                         .noteOn(15, 36, 100)
                         .noteOn(10, 37, 100)
                         .noteOn(10, 38, 100)
                         .noteOn(9, 39, 100)),
         {rec(1, 36, 100), rec(1, 37, 100), rec(1, 38, 100), rec(1, 39, 100), rec(1, 0, 0)}},
        {"a gap of 65,536 steps wraps to 0",
         single(96, TrackBuilder().noteOn(65536, 36, 100).noteOn(65537, 38, 100)),
         {rec(0, 36, 100), rec(1, 38, 100), rec(1, 0, 0)}},
    });
}

TEST(PhraseFileTempo, SetTempoIsRoundedHalfAwayFromZeroAndClamped) {
    const std::vector<std::pair<std::uint32_t, int>> cases = {
        {500000, 120}, {600000, 100}, {960000, 63},  // 62.5
        {2000000, 40}, {100000, 350}, {0, 350},
    };
    for (const auto& [micros, bpm] : cases) {
        EXPECT_EQ(load(single(96, TrackBuilder().tempo(0, micros))).tempo, bpm) << micros;
    }
    EXPECT_EQ(load(single(96, TrackBuilder().noteOn(0, 36, 100))).tempo, 0);
    // A reader keeps the tempo of its earlier file when the next one has none.
    CPhraseFile used;
    ASSERT_TRUE(used.loadSmfBytes(single(96, TrackBuilder().tempo(0, 300000))));
    ASSERT_TRUE(used.loadSmfBytes(single(96, TrackBuilder().noteOn(0, 36, 100))));
    EXPECT_EQ(used.getTemp(), 200);

    // The last one in file order wins, whatever its time.
    EXPECT_EQ(load(smfFile(1, 96,
                           {TrackBuilder().tempo(0, 500000).tempo(1000, 400000).chunk(),
                            TrackBuilder().tempo(0, 600000).chunk()}))
                  .tempo,
              100);
}

TEST(PhraseFileNotes, SoundingNoteOnsAreKeptSortedByTimeThenNoteThenVelocity) {
    expectRecords({
        {"two tracks",
         smfFile(1, 96,
                 {track({96, 0x99, 42, 127, 0, 0x99, 38, 100, 0, 0x99, 36, 90, 0, 0x99, 36, 50}),
                  track({48, 0x99, 49, 20, 48, 0x99, 35, 127})}),
         {rec(48, 49, 20), rec(48, 35, 127), rec(0, 36, 50), rec(0, 36, 90), rec(0, 38, 100),
          rec(0, 42, 127), rec(1, 0, 0)}},
        // Data bytes are signed: note 0x81 is -127 and sorts first; velocity 0x90 is -112,
        // which is not zero, so that note is kept, and sorts before velocity 0x40.
        {"signed data bytes",
         one({0, 0x99, 0x23, 0x40, 0, 0x99, 0x23, 0x90, 0, 0x99, 0x81, 0x40}),
         {rec(0, 0x81, 0x40), rec(0, 0x23, 0x90), rec(0, 0x23, 0x40), rec(1, 0, 0)}},
        {"running status across notes and a meta event",
         one({0, 0x99, 36, 100, 16, 38, 80, 0, 0xFF, 0x01, 3, 'a', 'b', 'c', 16, 42, 60}),
         {rec(0, 36, 100), rec(16, 38, 80), rec(16, 42, 60), rec(1, 0, 0)}},
        {"a program change has one data byte, a controller two",
         one({0, 0xC9, 5, 0, 6, 0, 0xB9, 7, 100, 0, 10, 64, 2, 0x99, 36, 100}),
         {rec(2, 36, 100), rec(1, 0, 0)}},
        {"every channel",
         one({0, 0x90, 36, 100, 0, 0x9F, 37, 100, 0, 38, 1}),
         {rec(0, 36, 100), rec(0, 37, 100), rec(0, 38, 1), rec(1, 0, 0)}},
        // "24" is a lone data byte, "10" a delta of 16; carrying the note-on status over from
        // the first track would make a note of 36.
        {"a track starts without a status",
         smfFile(1, 96,
                 {track({0, 0x99, 36, 100}), track({0, 0x24, 0x10, 0x26, 0, 0xFF, 0x2F, 0})}),
         {rec(0, 36, 100), rec(16, 0, 0)}},
        // Velocity 0, note-off, key and channel pressure, bend; 0xF8 takes one byte, and so
        // does its running status.
        {"only sounding note-ons",
         one({0, 0x99, 36, 0,  0, 38,   0, 0, 0x89, 36, 64,   0,  0xA9, 36, 20,   0,    0xD9, 30,
              0, 0xE9, 0,  64, 0, 0xF8, 0, 0, 1,    4,  0x99, 42, 80,   4,  0xFF, 0x2F, 0}),
         {rec(4, 42, 80), rec(4, 0, 0)}},
        // System exclusive runs to its F7, which starts the next delta: F7 00 is 0x77 x 128 =
        // 15,232 file ticks. The last message before it stays in place.
        {"F7 glued to the delta",
         one({0, 0xF0, 3, 0x7E, 0x7F, 0xF7, 0, 0x99, 36, 100}),
         {rec(15232, 36, 100), rec(1, 0, 0)}},
        {"after a kept note-on the note is repeated at the event's time",
         one({0, 0x99, 36, 100, 16, 0xF0, 1, 0xF7, 0, 0x99, 38, 80}),
         {rec(0, 36, 100), rec(16, 36, 100), rec(15232, 38, 80), rec(1, 0, 0)}},
        {"no F7 before the data ends: the track ends there",
         one({4, 0x99, 36, 100, 0, 0x89, 36, 64, 0, 0xF0, 1, 2, 3}),
         {rec(4, 36, 100), rec(1, 0, 0)}},
    });
}

TEST(PhraseFileTracks, AChunkThatIsNotATrackLosesEveryLaterTrack) {
    const Bytes notes = TrackBuilder().noteOn(0, 36, 100).endOfTrack(96).chunk();
    const Bytes others = TrackBuilder().noteOn(0, 38, 80).endOfTrack(192).chunk();
    const Bytes junk = chunk("Junk", {'M', 'T', 'r', 'k', 0, 0, 0, 0});
    auto header = [](std::uint16_t tracks) { return smfHeader(1, tracks, 96); };
    // The first chunk says 3 bytes but its note-on takes 4: the next chunk moves along.
    Bytes overrun = TrackBuilder().noteOn(0, 36, 100).chunk();
    overrun[7] = 3;
    Bytes negative = TrackBuilder().noteOn(0, 36, 100).endOfTrack(96).chunk();
    negative[4] = 0x80;
    const Records first = {rec(0, 36, 100), rec(96, 0, 0)};
    expectRecords({
        {"unknown chunk in the middle", header(3) + notes + junk + others, first},
        {"tracks beyond the declared count", header(1) + notes + others, first},
        {"an event past the chunk's end",
         header(2) + overrun + others,
         {rec(0, 36, 100), rec(0, 38, 80), rec(192, 0, 0)}},
        {"an empty chunk", header(2) + chunk("MTrk", {}) + notes, first},
        {"a negative length", header(1) + negative, {rec(0, 0, 0)}},
    });
}

TEST(PhraseFileTracks, TheEndMarkerSitsAtTheLatestEndOfTrack) {
    expectRecords({
        {"the latest of all tracks",
         smfFile(1, 96,
                 {TrackBuilder().noteOn(0, 36, 100).endOfTrack(192).chunk(),
                  TrackBuilder().noteOn(96, 38, 100).endOfTrack(288).chunk(),
                  TrackBuilder().endOfTrack(200).chunk()}),
         {rec(0, 36, 100), rec(96, 38, 100), rec(288, 0, 0)}},
        // 95 ticks at 960 per quarter is step 9; ten ticks later is step 10.
        {"none: one step after the last note",
         single(960, TrackBuilder().noteOn(95, 36, 100)),
         {rec(9, 36, 100), rec(1, 0, 0)}},
        {"no notes",
         smfFile(1, 96,
                 {TrackBuilder().endOfTrack(384).chunk(), TrackBuilder().endOfTrack(100).chunk()}),
         {rec(384, 0, 0)}},
        {"no notes and no end",
         single(96, TrackBuilder().event(10, {0xB9, 7, 100})),
         {rec(0, 0, 0)}},
    });
}

// Note-ons on the grid one step apart, from step `first`.
TrackBuilder stepNotes(int first, int count) {
    TrackBuilder t;
    t.event(static_cast<std::uint32_t>(first), {0x99, 36, 100});
    for (int i = 1; i < count; ++i) t.event(1, {36, 100});
    return t;
}

TEST(PhraseFileTracks, AtMostNineThousandNineHundredNinetyNineNotesAreKept) {
    const Records atCap = loadRecords(single(96, stepNotes(0, 9999).endOfTrack(20000)));
    ASSERT_EQ(atCap.size(), 10000u);
    EXPECT_EQ(atCap.back(), rec(0, 0, 0));
    const Records belowCap = loadRecords(single(96, stepNotes(0, 9998).endOfTrack(20000)));
    ASSERT_EQ(belowCap.size(), 9999u);
    EXPECT_EQ(belowCap.back(), rec(20000, 0, 0));

    // 12,000 notes on one tick, every (note, velocity) pair once, largest first: the kept ones
    // are the 9,999 smallest. Pair k is note 1 + k / 127, velocity 1 + k % 127.
    TrackBuilder oneTick;
    for (int k = 11999; k >= 0; --k) oneTick.noteOn(0, 1 + k / 127, 1 + k % 127);
    const Records pairs = loadRecords(single(96, oneTick));
    ASSERT_EQ(pairs.size(), 10000u);
    EXPECT_EQ(pairs.front(), rec(0, 1, 1));
    EXPECT_EQ(pairs[9998], rec(0, 79, 93));
}

// Long tracks are merged and cut in parts while they are read; the result must be the first
// 9,999 notes of all tracks sorted together, the end marker on the last of them whatever End of
// Track says.
TEST(PhraseFileTracks, LongTracksGiveTheFirstNotesOfAllTracksSortedTogether) {
    std::mt19937 random(7);
    std::vector<std::tuple<int, int, int>> all;  // step, note, velocity
    std::vector<Bytes> chunks;
    for (const int count : {50000, 7000, 7000}) {
        Bytes events;
        int step = 0;
        for (int i = 0; i < count; ++i) {
            const int gap = static_cast<int>(random() % 3);  // 0: with the note before
            const int note = 1 + static_cast<int>(random() % 127);
            const int velocity = 1 + static_cast<int>(random() % 127);
            events.insert(events.end(),
                          {static_cast<std::uint8_t>(gap), 0x99, static_cast<std::uint8_t>(note),
                           static_cast<std::uint8_t>(velocity)});
            step += gap;
            all.emplace_back(step, note, velocity);
        }
        events.insert(events.end(), {0x81, 0x00, 0xFF, 0x2F, 0x00});  // 128 steps on
        chunks.push_back(track(events));
    }
    std::sort(all.begin(), all.end());
    Records want;
    int before = 0;
    for (std::size_t i = 0; i < 9999; ++i) {
        const auto [step, note, velocity] = all[i];
        want.push_back(rec(step - before, note, velocity));
        before = step;
    }
    want.push_back(rec(0, 0, 0));
    EXPECT_EQ(loadRecords(smfFile(1, 96, {chunks[0], chunks[1], chunks[2]})), want);
}

TEST(PhraseFileReading, OnlyARegularFileWithinTheCapIsReadAndAFailureSaysWhy) {
    test::ScratchFolder dir;
    const Bytes groove = single(96, TrackBuilder().noteOn(0, 36, 100).endOfTrack(96));
    const auto path = test::writeBytes(dir / "groove.mid", groove);
    ASSERT_EQ(::mkfifo((dir / "pipe.mid").c_str(), 0600), 0);  // no writer: opening could block
    struct Read {
        fs::path path;
        std::size_t cap;
        std::string error;
    };
    const std::vector<Read> cases = {
        {path, groove.size(), ""},
        {path, groove.size() - 1,
         "is larger than " + std::to_string(groove.size() - 1) +
             " bytes, the most a MIDI file may be"},
        {dir / "pipe.mid", 1 << 20, "is not a regular file"},
        {"/dev/zero", 1 << 20, "is not a regular file"},  // would never end
        {dir / "missing.mid", 1 << 20, "cannot be read: No such file or directory"},
    };
    for (const Read& c : cases) {
        const auto file = smf::FileContents::read(c.path, c.cap);
        EXPECT_EQ(file.error(), c.error) << c.path;
        EXPECT_EQ(Bytes(file.bytes().begin(), file.bytes().end()),
                  c.error.empty() ? groove : Bytes{})
            << c.path;
    }
}

}  // namespace
}  // namespace tavrel
