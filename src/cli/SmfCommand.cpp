#include "cli/SmfCommand.h"

#include "cli/JsonWriter.h"
#include "cli/PathArgs.h"
#include "model/TimeMath.h"
#include "smf/CPhraseFile.h"
#include "smf/FileContents.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <span>

namespace tavrel::cli {

namespace {

constexpr int kShownRecords = 16;

std::span<const StepRecord> recordsOf(const CPhraseFile& reader) {
    if (reader.getSeqData() == nullptr) return {};
    return {reader.getSeqData(), static_cast<std::size_t>(reader.getSeqDataCount())};
}

void printJson(const CPhraseFile& reader, int check, bool loaded, std::ostream& out) {
    JsonWriter json(out);
    json.beginObject();
    json.key("check").value(check);
    json.key("loaded").value(loaded);
    json.key("tempo").value(reader.getTemp());
    json.key("count").value(reader.getSeqDataCount());
    json.key("records").beginArray();
    for (const StepRecord& r : recordsOf(reader)) {
        json.beginArray().value(int{r.delta}).value(int{r.note}).value(int{r.velocity}).endArray();
    }
    json.endArray().endObject();
    out << '\n';
}

void printSummary(const std::string& path, const CPhraseFile& reader, int check,
                  std::ostream& out) {
    const auto records = recordsOf(reader);
    std::uint32_t ticks = 0;
    for (const StepRecord& r : records) ticks += r.delta;
    const auto length = static_cast<std::int32_t>(ticks);
    out << path << '\n'
        << "  tracks:  " << check << '\n'
        << "  tempo:   "
        << (reader.getTemp() == 0 ? std::string("none (no Set Tempo event)")
                                  : std::to_string(reader.getTemp()) + " BPM")
        << '\n'
        << "  notes:   " << std::max<std::int64_t>(0, std::int64_t{reader.getSeqDataCount()} - 1)
        << '\n'
        << "  length:  " << length << " ticks at 96 per quarter, "
        << timemath::totalBars(length, 4, 4) << " bars of 4/4\n";
    const auto shown = std::min<std::size_t>(records.size(), kShownRecords);
    out << "  first " << shown << " of " << records.size() << " records (delta note velocity):\n";
    for (std::size_t i = 0; i < shown; ++i) {
        out << "    " << std::setw(5) << records[i].delta << std::setw(5) << int{records[i].note}
            << std::setw(5) << int{records[i].velocity} << (i + 1 == records.size() ? "  end" : "")
            << '\n';
    }
}

}  // namespace

int SmfCommand::run(const Args& args, CommandIo io) {
    const auto parsed = PathArgs::parse(args, io, usage(), "file");
    if (!parsed) return kExitUsage;
    const std::string& path = parsed->path;
    const bool json = parsed->json;

    // Read once; the header check and the load both work on these bytes.
    const smf::FileContents file = smf::FileContents::read(path);
    CPhraseFile reader;
    const int check = file.ok() ? reader.checkSmfBytes(file.bytes()) : -1;
    const bool loaded = file.ok() && reader.loadSmfBytes(file.bytes());
    if (json) {
        printJson(reader, check, loaded, io.out);
    } else if (loaded) {
        printSummary(path, reader, check, io.out);
    }
    if (!loaded) {
        io.err << "tavrel-cli: " << path << ": "
               << (file.ok() ? "not a Standard MIDI File of format 0 or 1 with at least one track"
                             : file.error())
               << '\n';
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace tavrel::cli
