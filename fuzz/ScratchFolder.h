// A folder of the fuzzing process's own for the files a target writes for every input: in
// memory where there is such a folder, since each input is written and synced.
#pragma once

#include <filesystem>
#include <string>

#include <unistd.h>

inline const std::filesystem::path& scratchFolder(const char* target) {
    static const std::filesystem::path path = [target] {
        namespace fs = std::filesystem;
        const fs::path base = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
        fs::path p = base / ("tavrel-fuzz-" + std::string(target) + "-" + std::to_string(getpid()));
        fs::create_directories(p);
        return p;
    }();
    return path;
}
