#include "files/AtomicFileWriter.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::readBytes;

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& e : fs::directory_iterator(folder)) files.push_back(e.path());
    return files;
}

TEST(AtomicFileWriter, ReplacesTheFileAndKeepsALimitedNumberOfBackups) {
    test::ScratchFolder dir;
    const fs::path target = dir / "RHYTHM.QL0";
    const auto created = AtomicFileWriter::write(target, Bytes{1, 2, 3});
    ASSERT_TRUE(created.ok) << created.error;
    EXPECT_TRUE(created.backup.empty()) << "nothing to back up yet";
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0644));

    fs::permissions(target, fs::perms(0600));
    const auto replaced = AtomicFileWriter::write(target, Bytes{4, 5});
    ASSERT_TRUE(replaced.ok) << replaced.error;
    EXPECT_EQ(readBytes(target), (Bytes{4, 5}));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0600)) << "the old file's mode stays";
    EXPECT_EQ(replaced.backup.parent_path(), dir.backups());
    EXPECT_EQ(replaced.backup.extension(), ".QL0");
    EXPECT_EQ(readBytes(replaced.backup), (Bytes{1, 2, 3}));
    EXPECT_EQ(filesIn(dir.path()).size(), 2u) << "the target and the backup folder, no temporary";
    EXPECT_FALSE(AtomicFileWriter::write(dir / "no" / "such" / "folder.QL0", Bytes{1}).ok);

    ASSERT_TRUE(AtomicFileWriter::write(dir / "OTHER.QL0", Bytes{1}).ok);
    ASSERT_TRUE(AtomicFileWriter::write(dir / "OTHER.QL0", Bytes{2}).ok);
    for (int i = 0; i < AtomicFileWriter::kBackupsKept + 3; ++i) {
        ASSERT_TRUE(AtomicFileWriter::write(target, Bytes{std::uint8_t(i)}).ok);
    }
    const auto kept = filesIn(dir.backups());
    const auto mine = std::count_if(kept.begin(), kept.end(), [](const fs::path& p) {
        return p.filename().string().starts_with("RHYTHM-");
    });
    EXPECT_EQ(mine, AtomicFileWriter::kBackupsKept);
    EXPECT_EQ(kept.size() - static_cast<std::size_t>(mine), 1u) << "another file's backup stays";
}

}  // namespace
}  // namespace tavrel
