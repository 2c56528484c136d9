// Bytes the collection keeps on behalf of a file format from one read or write of a file to
// the next (the unit's pattern file leaves older bytes in place where a write does not reach).
// A save on a worker thread may use them while the main thread reads a file, hence the lock.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace tavrel {

class RetainedBytes {
public:
    std::vector<std::uint8_t> copy() const {
        std::lock_guard lock(mMutex);
        return mBytes;
    }
    void keep(std::vector<std::uint8_t> bytes) {
        std::lock_guard lock(mMutex);
        mBytes = std::move(bytes);
    }

private:
    mutable std::mutex mMutex;
    std::vector<std::uint8_t> mBytes;
};

}  // namespace tavrel
