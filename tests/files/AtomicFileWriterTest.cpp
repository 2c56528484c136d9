#include "files/AtomicFileWriter.h"
#include "files/BackupStore.h"
#include "files/WriteInChild.h"
#include "support/ScratchFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <algorithm>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::namesIn;
using test::readBytes;

class AtomicFileWriterTest : public ::testing::Test {
protected:
    ~AtomicFileWriterTest() override { AtomicFileWriter::setFaultsForTesting({}); }
    static fs::path backupsOf(const fs::path& file) { return BackupStore().folderFor(file, {}); }
    static WriteReport write(const fs::path& file, const Bytes& bytes) {
        return AtomicFileWriter::write(file, bytes);
    }

    test::ScratchFolder dir;
    fs::path target = dir / "RHYTHM.QL0";
};

TEST_F(AtomicFileWriterTest, ReplacesTheFileBehindALinkAndKeepsOneBackupFolderPerTarget) {
    const WriteReport created = write(target, {1, 2, 3});
    ASSERT_TRUE(created.ok) << created.error;
    EXPECT_FALSE(created.replaced);
    EXPECT_EQ(created.backupNote(), "");
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0644));

    fs::permissions(target, fs::perms(0600));
    const fs::path link = dir / "link.QL0";
    fs::create_symlink("RHYTHM.QL0", link);
    const WriteReport replaced = write(link, {4, 5});
    ASSERT_TRUE(replaced.ok) << replaced.error;
    EXPECT_TRUE(fs::is_symlink(link)) << "the link stays a link";
    EXPECT_EQ(readBytes(target), (Bytes{4, 5}));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0600)) << "the old file's mode stays";
    EXPECT_EQ(replaced.backup.parent_path(), backupsOf(target));
    EXPECT_EQ(readBytes(replaced.backup), (Bytes{1, 2, 3}));
    EXPECT_NE(replaced.backupNote().find(replaced.backup.string()), std::string::npos);
    EXPECT_EQ(namesIn(dir.path()), (std::vector<std::string>{"RHYTHM.QL0", "data", "link.QL0"}))
        << "no temporary is left";

    // The same name in another folder, and the unit's file, never share a backup folder.
    fs::create_directory(dir / "other");
    const fs::path elsewhere = dir / "other" / "RHYTHM.QL0";
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(write(elsewhere, {9}).ok);
    test::writeBytes(dir / "unit.QL0", {7});
    const WriteReport unit = AtomicFileWriter::write(dir / "unit.QL0", Bytes{8}, "QL-900");
    EXPECT_EQ(unit.backup.parent_path(), dir.backups() / "QL-900" / "unit.QL0");
    EXPECT_NE(backupsOf(elsewhere), backupsOf(target));
    EXPECT_EQ(namesIn(backupsOf(elsewhere)).size(), 1u);
    EXPECT_EQ(namesIn(backupsOf(target)).size(), 1u);
}

TEST_F(AtomicFileWriterTest, PruningKeepsTheNewestTwentyAndTheNewestOfEachOfThirtyDays) {
    const fs::path folder = backupsOf(target);
    fs::create_directories(folder);
    std::tm noon{};
    noon.tm_year = 126, noon.tm_mon = 10, noon.tm_mday = 24, noon.tm_hour = 12;
    const std::time_t now = std::mktime(&noon);
    const auto put = [&](int daysAgo, int second, int seq) {
        const std::time_t when = now - std::time_t{daysAgo} * 86400;
        char name[64];
        std::strftime(name, sizeof name, "RHYTHM-%Y%m%d-%H%M", std::localtime(&when));
        std::string file = name + std::to_string(10 + second);
        if (seq > 0) file += "-" + std::to_string(seq);
        test::writeBytes(folder / (file + ".QL0"), {1});
    };
    for (int seq = 0; seq < 25; ++seq) put(0, 0, seq);  // 25 today, in one second
    for (int day = 1; day <= 40; ++day) {
        put(day, 1, 0);
        put(day, 2, 0);  // the newer of the day
    }
    BackupStore::prune(folder, now);
    const auto kept = BackupStore::entriesIn(folder);
    ASSERT_EQ(kept.size(), 20u + 29u) << "today's newest 20, then days 1 to 29";
    EXPECT_EQ(kept.front().sequence, 24);
    EXPECT_TRUE(kept[19].sequence == 5 && kept[20].stamp.ends_with("0012"));
    EXPECT_TRUE(std::all_of(kept.begin() + 20, kept.end(), [](const auto& e) {
        return e.stamp.ends_with("12");
    })) << "the newest of each day";
}

TEST_F(AtomicFileWriterTest, FailedWritesLeaveTheOldFileAndTheBackupHistoryAsTheyWere) {
    ASSERT_TRUE(write(target, {1}).ok);
    ASSERT_TRUE(write(target, {2, 2, 2, 2}).ok);
    const auto history = namesIn(backupsOf(target));
    ASSERT_EQ(history.size(), 1u);

    const fs::path folder = dir / "DIR.QL0";  // a folder cannot be renamed over
    fs::create_directory(folder);
    struct Case {
        const char* what;
        AtomicFileWriter::Faults faults;
        fs::path file;
    };
    const Case cases[] = {
        {"a bad disk half way", {.failAfterBytes = 3}, target},
        {"no room beside it, and too little to grow it in place", {.roomBeside = 1}, target},
        {"no room beside it, and the backup device full half way",
         {.roomBeside = 0, .roomForBackup = 2},
         target},
        {"the backup is full half way and the target cannot be renamed over",
         {.roomForBackup = 0},
         folder},
    };
    for (const Case& c : cases) {
        AtomicFileWriter::setFaultsForTesting(c.faults);
        for (int i = 0; i < 21; ++i) {
            const WriteReport r = write(c.file, {9, 9, 9, 9, 9, 9});
            ASSERT_FALSE(r.ok) << c.what;
            EXPECT_FALSE(r.error.empty()) << c.what;
        }
        EXPECT_EQ(readBytes(target), (Bytes{2, 2, 2, 2})) << c.what;
        EXPECT_EQ(namesIn(backupsOf(target)), history) << c.what;
        EXPECT_EQ(namesIn(dir.path()).size(), 3u) << c.what << ": no temporary";
    }
    AtomicFileWriter::setFaultsForTesting({});
    ASSERT_TRUE(write(target, {3}).ok);
    EXPECT_EQ(namesIn(backupsOf(target)).size(), 2u);
}

TEST_F(AtomicFileWriterTest, WithoutRoomBesideItTheFileIsWrittenInPlaceOnlyOverAVerifiedBackup) {
    test::writeBytes(target, Bytes(10, 1));
    AtomicFileWriter::setFaultsForTesting({.roomBeside = 0});
    const WriteReport inPlace = write(target, Bytes(8, 2));
    ASSERT_TRUE(inPlace.ok) << inPlace.error;
    EXPECT_TRUE(inPlace.inPlace);
    EXPECT_EQ(readBytes(target), Bytes(8, 2));
    EXPECT_EQ(readBytes(inPlace.backup), Bytes(10, 1));
    EXPECT_NE(inPlace.backupNote().find("in place"), std::string::npos);

    // Growing by more than the room left fails half way; the old bytes are put back.
    AtomicFileWriter::setFaultsForTesting({.roomBeside = 4});
    const WriteReport grown = write(target, Bytes(20, 3));
    EXPECT_FALSE(grown.ok);
    EXPECT_EQ(readBytes(target), Bytes(8, 2));
    EXPECT_NE(grown.error.find("put back"), std::string::npos) << grown.error;
    EXPECT_EQ(namesIn(backupsOf(target)).size(), 1u) << "the attempt's backup went with it";

    // No backup, no overwrite.
    ::setenv("XDG_DATA_HOME", (dir / "RHYTHM.QL0").c_str(), 1);
    const WriteReport refused = write(target, Bytes(8, 4));
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(readBytes(target), Bytes(8, 2));
}

TEST_F(AtomicFileWriterTest, SweepsAbandonedTemporariesAndCountsAReplaceWithAnUnsyncedFolderDone) {
    ASSERT_TRUE(write(target, {1}).ok);
    const fs::path abandoned = test::writeBytes(dir / ".RHYTHM.QL0.tavrel-Ab12Cd", {0});
    const fs::path live = test::writeBytes(dir / ".RHYTHM.QL0.tavrel-Ef34Gh", {0});
    const int liveFd = ::open(live.c_str(), O_RDONLY);
    ASSERT_EQ(::flock(liveFd, LOCK_EX), 0);

    AtomicFileWriter::setFaultsForTesting({.folderSyncFails = true});
    const WriteReport r = write(target, {2});
    EXPECT_TRUE(r.ok);
    EXPECT_FALSE(r.warning.empty());
    EXPECT_EQ(readBytes(target), Bytes{2});
    EXPECT_FALSE(fs::exists(abandoned));
    EXPECT_TRUE(fs::exists(live)) << "a write still holding its temporary keeps it";
    ::close(liveFd);
}

// Permissions and a small device, for real, in a child process.
TEST_F(AtomicFileWriterTest, ABackupThatCannotBeKeptNeverStopsTheSave) {
    test::writeBytes(target, {0});
    ::setenv("XDG_DATA_HOME", target.c_str(), 1);  // no folder can be made under a file
    const WriteReport noFolder = write(target, {1});
    EXPECT_TRUE(noFolder.ok) << noFolder.error;
    EXPECT_EQ(noFolder.backupNote(),
              "no backup of the RHYTHM.QL0 it replaced was kept: " + noFolder.noBackup);
    EXPECT_NE(noFolder.noBackup.find("cannot make the backup folder"), std::string::npos);

    fs::permissions(dir.path(), fs::perms::all);
    fs::permissions(target, fs::perms(0));  // nobody may read it
    fs::create_directories(dir / "home");
    fs::permissions(dir / "home", fs::perms(0555));  // nor make a backup folder
    ::setenv("XDG_DATA_HOME", (dir / "home").c_str(), 1);
    const test::ChildReport unreadable =
        test::writeInChild(test::dropToNobody, [&] { return write(target, {2}); });
    if (!unreadable.skipped.empty()) GTEST_SKIP() << unreadable.skipped;
    EXPECT_TRUE(unreadable.report.ok) << unreadable.report.error;
    EXPECT_NE(unreadable.report.noBackup.find("Permission denied"), std::string::npos);
    EXPECT_EQ(readBytes(target), Bytes{2});

    fs::permissions(dir.path(), fs::perms(0555));
    const test::ChildReport readOnly =
        test::writeInChild(test::dropToNobody, [&] { return write(target, {3}); });
    EXPECT_FALSE(readOnly.report.ok);
    EXPECT_NE(readOnly.report.error.find("Permission denied"), std::string::npos)
        << readOnly.report.error;
    fs::permissions(dir.path(), fs::perms::all);
}

TEST_F(AtomicFileWriterTest, APatternFileIsReplacedOnADeviceWithoutRoomForASecondCopy) {
    const fs::path volume = dir / "volume";
    fs::create_directory(volume);
    const Bytes full(2'009'212, 0x55);
    const test::ChildReport child = test::writeInChild(
        [&] { return test::mountTmpfs(volume.string(), "3m"); },
        [&] {
            AtomicFileWriter::write(volume / "RHYTHM.QL0", full);
            return AtomicFileWriter::write(volume / "RHYTHM.QL0", Bytes(full.size(), 0xAA));
        });
    if (!child.skipped.empty()) GTEST_SKIP() << child.skipped;
    EXPECT_TRUE(child.report.ok) << child.report.error;
    EXPECT_TRUE(child.report.inPlace);
    EXPECT_EQ(readBytes(child.report.backup), full);
}

}  // namespace
}  // namespace tavrel
