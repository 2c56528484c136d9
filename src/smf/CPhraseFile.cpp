#include "smf/CPhraseFile.h"

#include "smf/FileContents.h"
#include "smf/SmfReader.h"

namespace tavrel {

int CPhraseFile::checkSmf(const std::filesystem::path& path) {
    const smf::FileContents file = smf::FileContents::read(path);
    mReadError = file.error();
    if (!file.ok()) return -1;
    return checkSmfBytes(file.bytes());
}

bool CPhraseFile::loadSmf(const std::filesystem::path& path) {
    const smf::FileContents file = smf::FileContents::read(path);
    mReadError = file.error();
    return file.ok() && loadSmfBytes(file.bytes());
}

int CPhraseFile::checkSmfBytes(std::span<const std::uint8_t> data) {
    return chkHeadr(data);
}

int CPhraseFile::chkHeadr(std::span<const std::uint8_t> data) {
    const smf::SmfHeader header = smf::readHeader(data);
    if (header.tracks != 0) mTpqnCoef = header.tpqnCoef;
    return header.tracks;
}

bool CPhraseFile::loadSmfBytes(std::span<const std::uint8_t> data) {
    smf::SmfResult result = smf::readSmf(data);
    if (result.check == 0) return false;
    mTpqnCoef = result.tpqnCoef;
    if (result.tempo != 0) mTempo = result.tempo;
    mSeqData = std::move(result.records);
    return true;
}

}  // namespace tavrel
