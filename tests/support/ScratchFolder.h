// A fresh temporary folder for one test, removed after it, and whole-file reads and writes.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace tavrel::test {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

inline Bytes readBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline fs::path writeBytes(const fs::path& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return path;
}

// The names in `folder`, sorted; none when it cannot be read.
inline std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        names.push_back(it->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Backups of replaced files go to a folder inside it, never to the real home.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string name = (fs::temp_directory_path() / "tavrel-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) ADD_FAILURE() << "cannot make " << name;
        mPath = name;
        ::setenv("XDG_DATA_HOME", (mPath / "data").c_str(), 1);
    }
    ~ScratchFolder() {
        std::error_code ec;
        fs::remove_all(mPath, ec);
    }

    const fs::path& path() const { return mPath; }
    fs::path operator/(const fs::path& name) const { return mPath / name; }
    fs::path backups() const { return mPath / "data" / "tavrel" / "backups"; }

private:
    fs::path mPath;
};

}  // namespace tavrel::test
