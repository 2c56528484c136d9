// Points XDG_DATA_HOME at a folder of the test's while it lives, so that backups and the
// simulator's default storage never land in the user's own data folder.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace tavrel::test {

class ScopedDataHome {
public:
    explicit ScopedDataHome(const std::filesystem::path& folder) {
        if (const char* old = std::getenv("XDG_DATA_HOME")) mOld = old;
        ::setenv("XDG_DATA_HOME", folder.c_str(), 1);
    }
    ~ScopedDataHome() {
        if (mOld) {
            ::setenv("XDG_DATA_HOME", mOld->c_str(), 1);
        } else {
            ::unsetenv("XDG_DATA_HOME");
        }
    }
    ScopedDataHome(const ScopedDataHome&) = delete;
    ScopedDataHome& operator=(const ScopedDataHome&) = delete;

private:
    std::optional<std::string> mOld;
};

}  // namespace tavrel::test
