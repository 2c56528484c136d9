// Time to turn a large MIDI file into a new pattern, the work behind a drop on the pattern
// list and behind `tavrel-cli convert`: the first look at the file, then ten variations that
// each read it. The goal is under 20 ms for a 1 MB file in a release build.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "files/CFileDataMgr.h"
#include "smf/CPhraseFile.h"
#include "model/Context.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

void putVlq(Bytes& out, std::uint32_t v) {
    Bytes groups{static_cast<std::uint8_t>(v & 0x7F)};
    while ((v >>= 7) != 0)
        groups.insert(groups.begin(), static_cast<std::uint8_t>(0x80 | (v & 0x7F)));
    out.insert(out.end(), groups.begin(), groups.end());
}

// A format-0 file at 480 per quarter: a drum groove in sixteenths under running status,
// note-offs as velocity-0 note-ons, until the track holds `size` bytes. Grooves of another
// `accent` differ in every velocity.
Bytes groove(std::size_t size, std::uint8_t accent) {
    Bytes track = {0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20, 0x00, 0x99};
    const std::uint8_t keys[] = {36, 42, 38, 42, 36, 36, 38, 46};
    for (std::uint32_t step = 0; track.size() < size; ++step) {
        const std::uint8_t key = keys[step % 8];
        if (step != 0) putVlq(track, 120);
        track.insert(track.end(), {key, static_cast<std::uint8_t>(accent + step % 60)});
        putVlq(track, 0);
        track.insert(track.end(), {key, 0});
    }
    track.insert(track.end(), {0x78, 0xFF, 0x2F, 0x00});
    Bytes file = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0x01, 0xE0, 'M', 'T', 'r', 'k'};
    const auto n = static_cast<std::uint32_t>(track.size());
    file.insert(file.end(), {static_cast<std::uint8_t>(n >> 24), static_cast<std::uint8_t>(n >> 16),
                             static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n)});
    file.insert(file.end(), track.begin(), track.end());
    return file;
}

// The generated file in a folder of its own, removed at exit.
class GeneratedFile {
public:
    GeneratedFile(std::size_t size, std::uint8_t accent) {
        std::string dir = (fs::temp_directory_path() / "tavrel-bench-XXXXXX").string();
        if (::mkdtemp(dir.data()) == nullptr) std::abort();
        mDir = dir;
        mBytes = groove(size, accent);
        std::ofstream(path(), std::ios::binary)
            .write(reinterpret_cast<const char*>(mBytes.data()),
                   static_cast<std::streamsize>(mBytes.size()));
    }
    ~GeneratedFile() {
        std::error_code ec;
        fs::remove_all(mDir, ec);
    }
    fs::path path() const { return mDir / "large-groove.mid"; }
    const Bytes& bytes() const { return mBytes; }

private:
    fs::path mDir;
    Bytes mBytes;
};

// Two different files of 1 MB, taken in turn, so that no load finds the previous one's
// parse: each pays for one full parse, as the first drop of a file does.
const GeneratedFile& megabyte(std::int64_t turn) {
    static const GeneratedFile a(1 << 20, 40);
    static const GeneratedFile b(1 << 20, 41);
    return turn % 2 == 0 ? a : b;
}

void BM_LoadSmfIntoNewPattern(benchmark::State& state) {
    std::int64_t turn = 0;
    for (auto _ : state) {
        tavrel::Context context;
        const GeneratedFile& file = megabyte(turn++);
        if (!tavrel::CFileDataMgr::loadSmf(file.path())) state.SkipWithError("no pattern made");
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(megabyte(0).bytes().size()));
}
BENCHMARK(BM_LoadSmfIntoNewPattern)->Unit(benchmark::kMillisecond);

// One parse of the file already in memory: what each of the ten variations would pay if
// every reader parsed the file for itself.
void BM_OneParse(benchmark::State& state) {
    const Bytes& bytes = megabyte(0).bytes();
    for (auto _ : state) {
        tavrel::CPhraseFile reader;
        benchmark::DoNotOptimize(reader.loadSmfBytes(bytes));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(BM_OneParse)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
