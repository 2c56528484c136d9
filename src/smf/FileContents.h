// The whole of a file that a reader is about to parse, read in one pass. Only a regular file
// of a bounded size is read: a device would never end and a FIFO could block for good.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace tavrel::smf {

class FileContents {
public:
    // The most a MIDI file may be; drum files are kilobytes, whole songs a few megabytes.
    static constexpr std::size_t kMaxMidiFileBytes = std::size_t{64} << 20;

    static FileContents read(const std::filesystem::path& path,
                             std::size_t maxBytes = kMaxMidiFileBytes);

    bool ok() const { return mError.empty(); }
    // Why the file could not be read, as a phrase that follows the file's name: "cannot be
    // read: Permission denied", "is not a regular file", "is larger than ...". Empty when ok.
    const std::string& error() const { return mError; }
    std::span<const std::uint8_t> bytes() const { return mBytes; }

private:
    std::vector<std::uint8_t> mBytes;
    std::string mError;
};

}  // namespace tavrel::smf
