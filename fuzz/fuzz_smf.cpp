// libFuzzer target for the MIDI file reader: any bytes, no read outside them, a stop within
// them, and a loaded file always gives 1..10,000 step records closed by the end marker.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "smf/CPhraseFile.h"
#include "smf/SmfReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);

    tavrel::CPhraseFile reader;
    const int tracks = reader.checkSmfBytes(bytes);
    const bool loaded = reader.loadSmfBytes(bytes);
    if (loaded != (tracks > 0)) std::abort();
    if (tavrel::smf::readSmf(bytes).stoppedAt > size) std::abort();

    if (!loaded) {
        if (reader.getSeqData() != nullptr || reader.getSeqDataCount() != 0) std::abort();
        return 0;
    }
    const int count = reader.getSeqDataCount();
    const tavrel::StepRecord* records = reader.getSeqData();
    if (count < 1 || count > tavrel::kMaxStepRecords || records == nullptr) std::abort();
    const tavrel::StepRecord& last = records[count - 1];
    if (last.note != 0 || last.velocity != 0) std::abort();
    for (int i = 0; i + 1 < count; ++i) {
        if (records[i].note == 0 || records[i].velocity == 0) std::abort();
    }
    const int tempo = reader.getTemp();
    if (tempo != 0 && (tempo < 40 || tempo > 350)) std::abort();

    // A second load with the same reader must give the same result.
    const std::vector<tavrel::StepRecord> first(records, records + count);
    if (!reader.loadSmfBytes(bytes) || reader.getSeqDataCount() != count) std::abort();
    for (int i = 0; i < count; ++i) {
        if (!(reader.getSeqData()[i] == first[static_cast<std::size_t>(i)])) std::abort();
    }
    return 0;
}
