// What the pattern file tests share: a fresh process context, a temporary folder that plays
// the unit's data folder (backups go to a folder inside it, never to the real home), a
// storage over that folder, and scripted alerts.
#pragma once

#include "files/UnitStorage.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "support/ScriptedAlerts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace tavrel::test {

namespace fs = std::filesystem;
using FileBytes = std::vector<std::uint8_t>;

inline FileBytes readBytes(const fs::path& path) {
    std::error_code ec;
    FileBytes bytes(fs::file_size(path, ec));
    if (ec) return {};
    std::ifstream(path, std::ios::binary)
        .read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

inline void writeBytes(const fs::path& path, const FileBytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

// The unit's data folder as a plain folder; `mounted` false makes the volume go away.
class FakeStorage : public UnitStorage {
public:
    explicit FakeStorage(fs::path folder) : mFolder(std::move(folder)) {}

    bool mounted = true;

    fs::path pathOf(const std::string& name) const { return mFolder / name.substr(1); }

    bool isVolumeExist() override { return mounted; }
    bool isDataFileExist(const std::string& name) override {
        return mounted && fs::exists(pathOf(name));
    }
    std::optional<fs::path> getFileURL(const std::string& name) override {
        if (!mounted) return std::nullopt;
        return pathOf(name);
    }
    std::optional<FileBytes> getFileData(const std::string& name) override {
        if (!mounted || !fs::is_regular_file(pathOf(name))) return std::nullopt;
        return readBytes(pathOf(name));
    }

private:
    fs::path mFolder;
};

class PatternFileFixture : public ::testing::Test {
protected:
    PatternFileFixture() {
        std::string pattern = (fs::temp_directory_path() / "tavrel-patternfile-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "cannot make " << pattern;
        dir = pattern;
        fs::create_directories(dir / "unit");
        ::setenv("XDG_DATA_HOME", (dir / "data").c_str(), 1);
        unit = &ctx.install<FakeStorage, UnitStorage>(std::make_unique<FakeStorage>(dir / "unit"));
        alerts = &ctx.install<ScriptedAlerts, Alerts>(std::make_unique<ScriptedAlerts>());
    }
    ~PatternFileFixture() override {
        std::error_code ec;
        fs::permissions(dir / "locked", fs::perms::owner_all, ec);
        fs::remove_all(dir, ec);
    }

    CPatternMgr& patterns() { return Context::current().patterns(); }
    std::size_t patternCount() { return patterns().getPtnData().size(); }
    fs::path unitFile() const { return unit->pathOf("/RHYTHM.QL0"); }
    fs::path backups() const { return dir / "data" / "tavrel" / "backups"; }

    Context ctx;
    fs::path dir;
    FakeStorage* unit = nullptr;
    ScriptedAlerts* alerts = nullptr;
};

}  // namespace tavrel::test
