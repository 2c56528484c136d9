// Time to turn a large MIDI file into a new pattern, the work behind a drop on the pattern
// list and behind `tavrel-cli convert`: one read and one parse of the file, whose records the
// ten variations share. Goals in a release build: a 1 MB file in at most half the 4.3 ms the
// earlier reader took (it read the file twelve times), and four times the events in at most
// 4.5 times as long.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "SmfBytes.h"
#include "files/CFileDataMgr.h"
#include "model/Context.h"
#include "smf/CPhraseFile.h"

namespace {

namespace fs = std::filesystem;
using tavrel::bench::Bytes;
using tavrel::bench::putVlq;

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
    return tavrel::bench::format0File(track);
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

const GeneratedFile& grooveFile(std::int64_t megabytes) {
    static const GeneratedFile one(1 << 20, 40);
    static const GeneratedFile four(4 << 20, 40);
    return megabytes == 1 ? one : four;
}

void BM_LoadSmfIntoNewPattern(benchmark::State& state) {
    const GeneratedFile& file = grooveFile(state.range(0));
    for (auto _ : state) {
        tavrel::Context context;
        if (!tavrel::CFileDataMgr::loadSmf(file.path())) state.SkipWithError("no pattern made");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file.bytes().size()));
}
BENCHMARK(BM_LoadSmfIntoNewPattern)->Arg(1)->Arg(4)->Unit(benchmark::kMillisecond);

// The parse alone, of the file already in memory.
void BM_OneParse(benchmark::State& state) {
    const Bytes& bytes = grooveFile(1).bytes();
    for (auto _ : state) {
        tavrel::CPhraseFile reader;
        benchmark::DoNotOptimize(reader.loadSmfBytes(bytes));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(BM_OneParse)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
