// Reads one Standard MIDI File into the flat, time-ordered list of drum hits a variation
// stores: note-ons of every track merged, quantised to 96 per quarter, closed by an end marker.
#pragma once

#include "model/CSeqData.h"
#include "model/StepRecord.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace tavrel {

class CPhraseFile {
public:
    // -1 when the file cannot be read, 0 when its header is refused, else the declared track
    // count. Sets the tick scale as a side effect.
    int checkSmf(const std::filesystem::path& path);
    // True when the header was accepted and the tracks were read (even with no note in them).
    bool loadSmf(const std::filesystem::path& path);

    // The same on bytes already in memory; nothing outside `data` is ever read.
    int checkSmfBytes(std::span<const std::uint8_t> data);
    bool loadSmfBytes(std::span<const std::uint8_t> data);

    // Track count of an accepted header, 0 for a refused one; sets mTpqnCoef on acceptance.
    int chkHeadr(std::span<const std::uint8_t> data);

    // The merged records, end marker last; owned by the reader. Null before a load.
    const StepRecord* getSeqData() const { return mSeqData.empty() ? nullptr : mSeqData.data(); }
    int getSeqDataCount() const { return mSeqDataCount; }
    // Whole beats per minute of the last Set Tempo read, 40..350; 0 when the file has none.
    int getTemp() const { return mTempo; }
    float tpqnCoef() const { return mTpqnCoef; }

private:
    // Offset just past the chunk, 0 when the bytes at `index` are not "MTrk".
    std::size_t parseTrk(int track, std::size_t index, std::span<const std::uint8_t> data);
    std::size_t parseMidi(std::span<const std::uint8_t> data, std::size_t index);
    std::size_t parseMeta(std::span<const std::uint8_t> data, std::size_t index);
    void mergTrack();

    float mTpqnCoef = 1.0f;
    std::int32_t mTempo = 0;
    std::int32_t mStatus = 0;
    std::int32_t mChannel = -1;
    std::int32_t mImportCh = -1;
    std::int32_t mData1 = 0;
    std::int32_t mData2 = 0;
    std::vector<StepRecord> mSeqData;
    std::int32_t mSeqDataCount = 0;
    std::vector<CSeqData> mSeqArray;
};

}  // namespace tavrel
