// A fresh folder under the system's temporary folder, removed with its contents at the end.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace tavrel::test {

class TempFolder {
public:
    TempFolder() {
        std::string name = std::filesystem::temp_directory_path() / "tavrel-device-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) ADD_FAILURE() << "cannot make " << name;
        mPath = name;
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(mPath, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return mPath; }

    // Makes the folder `relative`, with those above it.
    std::filesystem::path folder(const std::filesystem::path& relative) const {
        std::filesystem::create_directories(mPath / relative);
        return mPath / relative;
    }
    // Writes the file `relative`, making its folders.
    std::filesystem::path file(const std::filesystem::path& relative,
                               const std::string& bytes) const {
        std::filesystem::create_directories((mPath / relative).parent_path());
        std::ofstream(mPath / relative, std::ios::binary) << bytes;
        return mPath / relative;
    }

private:
    std::filesystem::path mPath;
};

}  // namespace tavrel::test
