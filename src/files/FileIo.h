// The few whole-file moves the safe writer and the backups share, on open file descriptors,
// each telling what went wrong in one line and the system's error number.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tavrel {

class FileIo {
public:
    // A device that takes no more than `room` bytes fails the next write with `errnum`
    // (ENOSPC for a full disk, EIO for a bad one); negative room: no such limit.
    struct Limit {
        long long room = -1;
        int errnum = 0;
    };
    struct Failure {
        std::string what;
        int errnum = 0;
    };

    // All of `bytes` from the start of the file, which is then cut to their length.
    static bool writeAll(int fd, std::span<const std::uint8_t> bytes, Limit limit,
                         Failure& failure);
    // The whole of `from` into `to` from its start; `to` is cut to the length copied.
    static bool copy(int from, int to, Limit limit, Failure& failure);
    // Both files hold the same bytes.
    static bool sameContents(int a, int b);
    // fsync of a folder; a file system that cannot sync folders counts as synced.
    static bool syncFolder(const std::string& folder, Failure& failure);
};

}  // namespace tavrel
