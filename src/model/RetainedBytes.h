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
    void keep(std::vector<std::uint8_t> bytes) {
        std::lock_guard lock(mMutex);
        mBytes = std::move(bytes);
    }
    // Reads and replaces the bytes in one step, so that a write made from them is not undone
    // by a read that comes between.
    template <class Change>
    void update(Change change) {
        std::lock_guard lock(mMutex);
        change(mBytes);
    }

private:
    std::mutex mMutex;
    std::vector<std::uint8_t> mBytes;
};

}  // namespace tavrel
