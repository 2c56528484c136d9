// The MIDI file reader the rest of the system talks to: one per file read, holding what the
// reading gave (the step records, the tempo, the tick scale) for as long as a variation uses
// them. The parse itself is readSmf, a function of the file's bytes.
#pragma once

#include "model/StepRecord.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace tavrel {

class CPhraseFile {
public:
    // -1 when the file cannot be read (readError() says why), 0 when its header is refused,
    // else the declared track count. Sets the tick scale as a side effect.
    int checkSmf(const std::filesystem::path& path);
    // True when the header was accepted and the tracks were read (even with no note in them).
    // A failed load keeps what an earlier one gave.
    bool loadSmf(const std::filesystem::path& path);

    // The same on bytes already in memory; nothing outside `data` is ever read.
    int checkSmfBytes(std::span<const std::uint8_t> data);
    bool loadSmfBytes(std::span<const std::uint8_t> data);

    // Track count of an accepted header, 0 for a refused one; sets the scale on acceptance.
    int chkHeadr(std::span<const std::uint8_t> data);

    // The merged records, end marker last. Null before a load.
    const StepRecord* getSeqData() const { return mSeqData ? mSeqData->data() : nullptr; }
    int getSeqDataCount() const { return mSeqData ? static_cast<int>(mSeqData->size()) : 0; }
    // The same records as a shared array that never changes, for variations to hold.
    const SharedStepRecords& records() const { return mSeqData; }
    // Whole beats per minute of the last Set Tempo read, 40..350; 0 when no file read so far
    // had one (a file without one keeps the tempo of the reader's earlier file).
    int getTemp() const { return mTempo; }
    float tpqnCoef() const { return mTpqnCoef; }
    // Why the last file could not be read; empty when it could.
    const std::string& readError() const { return mReadError; }

private:
    float mTpqnCoef = 1.0f;
    std::int32_t mTempo = 0;
    SharedStepRecords mSeqData;
    std::string mReadError;
};

}  // namespace tavrel
