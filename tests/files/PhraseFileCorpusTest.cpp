// MIDI files written elsewhere (the corpus beside the checkout) and the project's examples.
#include "smf/CPhraseFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

TEST(PhraseFileCorpus, EveryFileLoadsIntoAWellFormedPhrase) {
    const fs::path corpus = TAVREL_CORPUS_DIR;
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no folder " << corpus << " to read";
    // Not files the reader takes: empty, plain text, format 2.
    const std::set<std::string> refused = {"jazz-test-empty-file.mid",
                                           "jazz-test-not-a-midi-file.mid",
                                           "jazz-test-2-tracks-type-2.mid"};
    std::vector<fs::path> files;
    for (const fs::path& folder : {corpus, fs::path(TAVREL_EXAMPLES_DIR)}) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().extension().string().starts_with(".mid")) {
                files.push_back(entry.path());
            }
        }
    }
    int loaded = 0;
    for (const fs::path& file : files) {
        const std::string name = file.filename().string();
        CPhraseFile reader;
        const bool ok = reader.loadSmf(file);
        EXPECT_EQ(ok, refused.count(name) == 0) << name;
        EXPECT_EQ(CPhraseFile().checkSmf(file) > 0, ok) << name;
        if (!ok) continue;
        ++loaded;
        const StepRecord* records = reader.getSeqData();
        const int count = reader.getSeqDataCount();
        ASSERT_TRUE(count >= 1 && count <= kMaxStepRecords) << name;
        EXPECT_EQ(records[count - 1].note, 0) << name;
        EXPECT_EQ(records[count - 1].velocity, 0) << name;
        EXPECT_TRUE(std::all_of(records, records + count - 1, [](const StepRecord& r) {
            return r.note != 0 && r.velocity != 0;
        })) << name;
        const int tempo = reader.getTemp();
        EXPECT_TRUE(tempo == 0 || (tempo >= 40 && tempo <= 350)) << name << ": " << tempo;
    }
    EXPECT_EQ(loaded, static_cast<int>(files.size() - refused.size()));

    // Set Tempo of 260,870 us (229.9996 BPM) in the second track; 434,783 us is 138. Far more
    // than 9,999 notes: the phrase is cut and ends on its last note.
    CPhraseFile reader;
    ASSERT_TRUE(reader.loadSmf(corpus / "tonejs-230_bpm_multitrack.mid"));
    EXPECT_EQ(reader.getTemp(), 230);
    ASSERT_TRUE(reader.loadSmf(corpus / "gmd-1_funk-groove1_138_beat_4-4.mid"));
    EXPECT_EQ(reader.getTemp(), 138);
    ASSERT_TRUE(reader.loadSmf(corpus / "blupi-music009.mid"));
    ASSERT_EQ(reader.getSeqDataCount(), kMaxStepRecords);
    EXPECT_EQ(reader.getSeqData()[kMaxStepRecords - 1], (StepRecord{0, 0, 0}));
}

}  // namespace
}  // namespace tavrel
