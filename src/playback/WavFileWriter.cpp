#include "playback/WavFileWriter.h"

#include <sndfile.h>

namespace tavrel {

WavFileWriter::WavFileWriter(const std::filesystem::path& path, int sampleRate) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    mFile = sf_open(path.c_str(), SFM_WRITE, &info);
    if (mFile == nullptr) {
        mError = sf_strerror(nullptr);
        return;
    }
    sf_command(mFile, SFC_SET_CLIPPING, nullptr, SF_TRUE);
}

WavFileWriter::~WavFileWriter() {
    close();
}

bool WavFileWriter::write(const float* frames, std::int64_t count) {
    if (!ok()) return false;
    if (sf_writef_float(mFile, frames, count) != count) mError = sf_strerror(mFile);
    return ok();
}

bool WavFileWriter::close() {
    if (mFile == nullptr) return mError.empty();
    const int rc = sf_close(mFile);
    mFile = nullptr;
    if (rc != 0 && mError.empty()) mError = sf_error_number(rc);
    return mError.empty();
}

}  // namespace tavrel
