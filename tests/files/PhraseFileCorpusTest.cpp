// MIDI files written elsewhere (the corpus beside the checkout) and the project's examples:
// each reads into a well-formed phrase, and into exactly the records, tempo and order it
// always gave (a hash of the records, taken when every file was sorted whole).
#include "smf/CPhraseFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <span>
#include <string>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

struct Known {
    bool ok;
    int count;
    int tempo;
    std::uint64_t hash;
};

// FNV-1a over every record's bytes as the unit stores them (delta little-endian).
std::uint64_t hashOf(const StepRecord* records, int count) {
    std::uint64_t h = 1469598103934665603ull;
    for (const StepRecord& r : std::span(records, static_cast<std::size_t>(count))) {
        for (const unsigned byte :
             {r.delta & 0xFFu, unsigned{r.delta} >> 8u, unsigned{r.note}, unsigned{r.velocity}}) {
            h = (h ^ byte) * 1099511628211ull;
        }
    }
    return h;
}

const std::map<std::string, Known> kKnown = {
    {"avgvst-PopPunk.mid", {true, 3916, 150, 0xcbddd76552539b03ull}},
    {"avgvst-RoadTrip.mid", {true, 5392, 130, 0x4dd3239af4b098c3ull}},
    {"blupi-music009.mid", {true, 10000, 119, 0xf3f4627691a1a7d5ull}},
    {"gmd-1_funk-groove1_138_beat_4-4.mid", {true, 411, 138, 0x4534fa5770b34eaeull}},
    {"jazz-test-2-tracks-type-0.mid", {true, 17, 0, 0xf02f742bb8e882ffull}},
    {"jazz-test-2-tracks-type-2.mid", {false, 0, 0, 0x14650fb0739d0383ull}},
    {"jazz-test-all-gm-percussion.mid", {true, 184, 0, 0x1014972167297a90ull}},
    {"jazz-test-corrupt-file-extra-byte.mid", {true, 9, 0, 0x7240968968ef8a1dull}},
    {"jazz-test-corrupt-file-missing-byte.mid", {true, 9, 0, 0xd2f069764c023b6cull}},
    {"jazz-test-empty-file.mid", {false, 0, 0, 0x14650fb0739d0383ull}},
    {"jazz-test-empty.mid", {true, 1, 0, 0x315446a086a23133ull}},
    {"jazz-test-illegal-message-all.mid", {true, 8, 0, 0x8690df291633b0deull}},
    {"jazz-test-karaoke-kar.mid", {true, 30, 90, 0xab428ef3ba18817full}},
    {"jazz-test-multichannel-chords-0.mid", {true, 25, 0, 0xea35bfa067b069e6ull}},
    {"jazz-test-non-midi-track.mid", {true, 1, 0, 0x315446a086a23133ull}},
    {"jazz-test-not-a-midi-file.mid", {false, 0, 0, 0x14650fb0739d0383ull}},
    {"jazz-test-running-status-metaevent.mid", {true, 9, 0, 0x7240968968ef8a1dull}},
    {"jazz-test-running-status-sysex.mid", {true, 9, 0, 0xfbfd26145140c5c4ull}},
    {"jazz-test-smpte-offset.mid", {true, 9, 0, 0x7240968968ef8a1dull}},
    {"jazz-test-sysex-gs-40-1x-15-drum-part-change.mid", {true, 9, 0, 0x11b34e718019bd89ull}},
    {"jazz-test-track-length.mid", {true, 2, 0, 0x22fab4e78a138159ull}},
    {"jazz-test-vlq-4-byte.mid", {true, 9, 0, 0x7240968968ef8a1dull}},
    {"magenta-example_complex.mid", {true, 6851, 120, 0x8cba5b3d9293f4e0ull}},
    {"magenta-example_is_drum.mid", {true, 41, 0, 0xbb084ac4f016a34aull}},
    {"mma-countme.mid", {true, 4455, 163, 0x4ab3a19786bc38feull}},
    {"mma-cresc.mid", {true, 1875, 120, 0xc3d9552672fdd78aull}},
    {"mma-fella2.mid", {true, 1088, 120, 0x2f3119ebdde3c447ull}},
    {"mma-pflib-16beat1.mid", {true, 1798, 110, 0x834ff62593731e30ull}},
    {"mma-pflib-8beat1.mid", {true, 1378, 120, 0x66407397b27be52eull}},
    {"mma-pflib-metal1.mid", {true, 2852, 120, 0xa61018f43e831f9dull}},
    {"mma-pflib-rock1.mid", {true, 3502, 120, 0x5a59e9052f02506cull}},
    {"mma-pflib-slowrock.mid", {true, 1992, 110, 0x9d01f9cba3c0f0d9ull}},
    {"mma-rndset-tempo.mid", {true, 734, 118, 0x70f10ed7259d1285ull}},
    {"openmsx-5432gone_redfarn.mid", {true, 1275, 120, 0xb15d38a1964c6ab3ull}},
    {"openmsx-the_fast_route.mid", {true, 3672, 128, 0xe72438498c8e232aull}},
    {"openmsx-the_hobo_redfarn.mid", {true, 2902, 126, 0x3f4563bca0f90611ull}},
    {"seq66-2rock.mid", {true, 433, 118, 0x5634a0d18ae9682full}},
    {"seq66-CountryStrum.mid", {true, 6345, 93, 0x68e471027893f2eeull}},
    {"seq66-Dixie04.mid", {true, 206, 181, 0x335890efd570b90cull}},
    {"seq66-dd-11-rock-sample-8.midi", {true, 337, 0, 0xf04082f879ee72edull}},
    {"seq66-hanging-note-on.midi", {true, 5, 0, 0xdc5a2932d4aa4251ull}},
    {"seq66-playtime.midi", {true, 97, 0, 0x08f87336c256de51ull}},
    {"seq66-ppqn-1920.midi", {true, 17, 0, 0xb9a298f334a81ebaull}},
    {"seq66-ppqn-19200.midi", {true, 33, 0, 0xbe6cde958d395cb4ull}},
    {"seq66-ppqn-24.midi", {true, 33, 0, 0x8f20c2fef212a9c1ull}},
    {"seq66-simpleblastbeat.midi", {true, 17, 0, 0x83089a97171fe5b3ull}},
    {"seq66-timesigs.midi", {true, 2, 0, 0xfb6608cb2a9a7048ull}},
    {"seq66-world7.midi", {true, 411, 0, 0xc36d273c897d0934ull}},
    {"tonejs-230_bpm_multitrack.mid", {true, 3204, 230, 0xf97ac538ad97ff39ull}},
    {"tonejs-bartok-concerto_for_orchestra_1.mid", {true, 10000, 132, 0x3662768f6bdf9b7cull}},
    {"tonejs-beat.mid", {true, 391, 100, 0x95160f15cc7b05faull}},
    {"yubatake-Temple.mid", {true, 101, 80, 0xa2984bdec4a6cf47ull}},
    {"fill-4-4.mid", {true, 15, 120, 0x0af4134b5caf932eull}},
    {"multitrack-funk.mid", {true, 99, 96, 0xa86eae0a20fbcc73ull}},
    {"rock-4-4.mid", {true, 51, 120, 0x5f71948a3b4a29f2ull}},
    {"shuffle-6-8.mid", {true, 37, 100, 0xf3d1322cb14696c7ull}},
};

TEST(PhraseFileCorpus, EveryFileReadsAsItAlwaysHas) {
    const fs::path corpus = TAVREL_CORPUS_DIR;
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no folder " << corpus << " to read";
    int seen = 0;
    for (const fs::path& folder : {corpus, fs::path(TAVREL_EXAMPLES_DIR)}) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string name = entry.path().filename().string();
            if (!entry.path().extension().string().starts_with(".mid")) continue;
            ++seen;
            const auto known = kKnown.find(name);
            ASSERT_NE(known, kKnown.end()) << name << " is new: add it to the table";
            CPhraseFile reader;
            const bool ok = reader.loadSmf(entry.path());
            EXPECT_EQ(ok, known->second.ok) << name;
            EXPECT_EQ(CPhraseFile().checkSmf(entry.path()) > 0, ok) << name;
            if (!ok) continue;
            const StepRecord* records = reader.getSeqData();
            const int count = reader.getSeqDataCount();
            ASSERT_TRUE(count >= 1 && count <= kMaxStepRecords) << name;
            EXPECT_EQ(records[count - 1], (StepRecord{records[count - 1].delta, 0, 0})) << name;
            EXPECT_TRUE(std::all_of(records, records + count - 1, [](const StepRecord& r) {
                return r.note != 0 && r.velocity != 0;
            })) << name;
            EXPECT_EQ(count, known->second.count) << name;
            EXPECT_EQ(reader.getTemp(), known->second.tempo) << name;
            EXPECT_EQ(hashOf(records, count), known->second.hash) << name;
        }
    }
    EXPECT_EQ(seen, static_cast<int>(kKnown.size()));
}

}  // namespace
}  // namespace tavrel
