// Writes 48 kHz, 16-bit stereo WAV files through libsndfile, clipping rather than wrapping
// samples beyond full scale.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

struct sf_private_tag;  // NOLINT(bugprone-reserved-identifier): the library's own name

namespace tavrel {

class WavFileWriter {
public:
    // Opens `path` for writing; ok() tells whether it could be, error() why not (without the
    // path, which the caller names as it sees fit).
    WavFileWriter(const std::filesystem::path& path, int sampleRate);
    ~WavFileWriter();
    WavFileWriter(const WavFileWriter&) = delete;
    WavFileWriter& operator=(const WavFileWriter&) = delete;

    bool ok() const { return mFile != nullptr && mError.empty(); }
    const std::string& error() const { return mError; }
    // Appends `frames` interleaved stereo frames in -1..1.
    bool write(const float* frames, std::int64_t count);
    // Completes the header; false (with error()) when the file could not be finished.
    bool close();

private:
    sf_private_tag* mFile = nullptr;
    std::string mError;
};

}  // namespace tavrel
