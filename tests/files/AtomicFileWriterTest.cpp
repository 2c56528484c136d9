#include "files/AtomicFileWriter.h"

#include <algorithm>
#include <iterator>

#include "PatternFileFixture.h"

namespace tavrel {
namespace {

namespace fs = std::filesystem;

using test::FileBytes;
using test::readBytes;
using test::writeBytes;

class AtomicFileWriterTest : public test::PatternFileFixture {
protected:
    fs::path target() const { return dir / "unit" / "RHYTHM.QL0"; }
    std::vector<fs::path> filesIn(const fs::path& folder) const {
        std::vector<fs::path> files;
        for (const auto& e : fs::directory_iterator(folder)) files.push_back(e.path());
        return files;
    }
};

TEST_F(AtomicFileWriterTest, ReplacesTheFileAndKeepsTheOldOneAsABackup) {
    const FileBytes first = {1, 2, 3};
    const FileBytes second = {4, 5};
    const auto created = AtomicFileWriter::write(target(), first);
    ASSERT_TRUE(created.ok) << created.error;
    EXPECT_TRUE(created.backup.empty()) << "nothing to back up yet";
    EXPECT_EQ(readBytes(target()), first);
    EXPECT_EQ(fs::status(target()).permissions(), fs::perms(0644));

    fs::permissions(target(), fs::perms(0600));
    const auto replaced = AtomicFileWriter::write(target(), second);
    ASSERT_TRUE(replaced.ok) << replaced.error;
    EXPECT_EQ(readBytes(target()), second);
    EXPECT_EQ(fs::status(target()).permissions(), fs::perms(0600)) << "the old file's mode stays";
    EXPECT_EQ(replaced.backup.parent_path(), backups());
    EXPECT_EQ(replaced.backup.extension(), ".QL0");
    EXPECT_EQ(readBytes(replaced.backup), first);
    EXPECT_EQ(filesIn(target().parent_path()), std::vector<fs::path>{target()});
}

TEST_F(AtomicFileWriterTest, AFailedWriteLeavesTheOldFileAndNoTemporary) {
    const FileBytes old(5000, 7);
    writeBytes(target(), old);
    AtomicFileWriter::failAfterBytesForTesting(100);
    const auto r = AtomicFileWriter::write(target(), FileBytes(5000, 9));
    AtomicFileWriter::failAfterBytesForTesting(-1);
    EXPECT_FALSE(r.ok);
    EXPECT_FALSE(r.error.empty());
    EXPECT_EQ(readBytes(target()), old);
    EXPECT_EQ(filesIn(target().parent_path()), std::vector<fs::path>{target()});
    ASSERT_FALSE(r.backup.empty());
    EXPECT_EQ(readBytes(r.backup), old);

    EXPECT_FALSE(AtomicFileWriter::write(dir / "no" / "such" / "folder.QL0", old).ok);
}

TEST_F(AtomicFileWriterTest, KeepsALimitedNumberOfBackupsPerFile) {
    const fs::path other = dir / "unit" / "OTHER.QL0";
    writeBytes(other, {1});
    ASSERT_TRUE(AtomicFileWriter::write(other, FileBytes{2}).ok);
    for (int i = 0; i < AtomicFileWriter::kBackupsKept + 3; ++i) {
        ASSERT_TRUE(AtomicFileWriter::write(target(), FileBytes{static_cast<std::uint8_t>(i)}).ok);
    }
    const auto kept = filesIn(backups());
    const auto mine = std::count_if(kept.begin(), kept.end(), [](const fs::path& p) {
        return p.filename().string().starts_with("RHYTHM-");
    });
    EXPECT_EQ(mine, AtomicFileWriter::kBackupsKept);
    EXPECT_EQ(kept.size() - static_cast<std::size_t>(mine), 1u) << "another file's backup stays";
}

}  // namespace
}  // namespace tavrel
