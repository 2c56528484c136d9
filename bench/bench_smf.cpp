// Speed of the MIDI file reader on a large generated file and on the corpus beside the
// checkout, and against a yardstick: a minimal one-pass reader that decodes every event and
// keeps the note-ons, nothing else. Goals in a release build: at least 100 MB/s, and on real
// grooves of 1 to 100 KB at most twice the yardstick's time.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "smf/CPhraseFile.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

void putVlq(Bytes& out, std::uint32_t value) {
    std::uint8_t groups[5];
    int n = 0;
    do {
        groups[n++] = static_cast<std::uint8_t>(value & 0x7F);
        value >>= 7;
    } while (value != 0);
    while (n > 1) out.push_back(static_cast<std::uint8_t>(groups[--n] | 0x80));
    out.push_back(groups[0]);
}

void putBe(Bytes& out, std::uint32_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

void putMeta(Bytes& out, std::uint32_t delta, std::uint8_t type, const std::string& text) {
    putVlq(out, delta);
    out.push_back(0xFF);
    out.push_back(type);
    putVlq(out, static_cast<std::uint32_t>(text.size()));
    out.insert(out.end(), text.begin(), text.end());
}

struct Generated {
    Bytes bytes;
    std::int64_t notes = 0;  // sounding note-ons
};

// A format-1 file of `tracks` tracks at 480 per quarter, each of about `trackBytes` bytes:
// sixteenth notes under running status with velocity-0 note-offs, a controller sweep, and
// now and then a marker, a tempo change or a time signature.
Generated makeLargeFile(int tracks, std::size_t trackBytes) {
    Generated g;
    Bytes& out = g.bytes;
    out = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 1};
    putBe(out, static_cast<std::uint32_t>(tracks), 2);
    putBe(out, 480, 2);

    std::uint32_t seed = 12345;
    const auto next = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return seed >> 8;
    };

    for (int t = 0; t < tracks; ++t) {
        Bytes body;
        body.reserve(trackBytes + 64);
        putMeta(body, 0, 0x03, "Track " + std::to_string(t));
        const auto channel = static_cast<std::uint8_t>(t == 0 ? 9 : t % 16);
        std::uint8_t status = 0;
        const auto putStatus = [&](std::uint8_t s) {
            if (s != status) body.push_back(s);
            status = s;
        };
        for (std::uint32_t step = 0; body.size() < trackBytes; ++step) {
            if (step % 64 == 0) {
                putMeta(body, 0, 0x06, "bar " + std::to_string(step / 16));
                status = 0;  // a careful writer restates the status after a meta event
                if (t == 0) {
                    putVlq(body, 0);
                    const std::uint32_t micros = 400000 + next() % 200000;
                    body.insert(body.end(), {0xFF, 0x51, 0x03});
                    putBe(body, micros, 3);
                    putVlq(body, 0);
                    body.insert(body.end(), {0xFF, 0x58, 0x04, 0x04, 0x02, 0x18, 0x08});
                }
            }
            const auto note = static_cast<std::uint8_t>(35 + next() % 47);
            const auto velocity = static_cast<std::uint8_t>(1 + next() % 127);
            putVlq(body, 0);
            putStatus(static_cast<std::uint8_t>(0x90 | channel));
            body.push_back(note);
            body.push_back(velocity);
            ++g.notes;
            if (step % 4 == 0) {
                putVlq(body, 0);
                putStatus(static_cast<std::uint8_t>(0xB0 | channel));
                body.push_back(11);
                body.push_back(static_cast<std::uint8_t>(next() % 128));
            }
            putVlq(body, 120);
            putStatus(static_cast<std::uint8_t>(0x90 | channel));
            body.push_back(note);
            body.push_back(0);
        }
        putVlq(body, 0);
        body.insert(body.end(), {0xFF, 0x2F, 0x00});

        out.insert(out.end(), {'M', 'T', 'r', 'k'});
        putBe(out, static_cast<std::uint32_t>(body.size()), 4);
        out.insert(out.end(), body.begin(), body.end());
    }
    return g;
}

void setCounters(benchmark::State& state, std::int64_t bytes, std::int64_t notes) {
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["notes"] = benchmark::Counter(static_cast<double>(state.iterations() * notes),
                                                 benchmark::Counter::kIsRate);
}

// At 128 and 512 KB a track: four times the events should take at most 4.5 times as long.
void BM_LoadLargeFile(benchmark::State& state) {
    static const Generated quarter = makeLargeFile(16, 128 * 1024);
    static const Generated whole = makeLargeFile(16, 512 * 1024);
    const Generated& file = state.range(0) == 128 ? quarter : whole;
    for (auto _ : state) {
        tavrel::CPhraseFile reader;
        const bool ok = reader.loadSmfBytes(file.bytes);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(reader.getSeqData());
    }
    setCounters(state, static_cast<std::int64_t>(file.bytes.size()), file.notes);
    state.counters["file_MB"] = static_cast<double>(file.bytes.size()) / 1e6;
}
BENCHMARK(BM_LoadLargeFile)->Arg(128)->Arg(512)->Unit(benchmark::kMillisecond);

struct Corpus {
    std::vector<Bytes> files;
    std::int64_t bytes = 0;
    std::int64_t notes = 0;  // what the reader keeps, end markers left out
};

const Corpus& corpus() {
    static const Corpus c = [] {
        Corpus out;
        const std::filesystem::path dir{TAVREL_CORPUS_DIR};
        std::error_code ec;
        if (!std::filesystem::is_directory(dir, ec)) return out;
        for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            tavrel::CPhraseFile reader;
            if (reader.loadSmfBytes(bytes)) out.notes += reader.getSeqDataCount() - 1;
            out.bytes += static_cast<std::int64_t>(bytes.size());
            out.files.push_back(std::move(bytes));
        }
        return out;
    }();
    return c;
}

void BM_LoadCorpus(benchmark::State& state) {
    const Corpus& c = corpus();
    if (c.files.empty()) {
        state.SkipWithError("no MIDI corpus at " TAVREL_CORPUS_DIR);
        return;
    }
    for (auto _ : state) {
        for (const Bytes& bytes : c.files) {
            tavrel::CPhraseFile reader;
            const bool ok = reader.loadSmfBytes(bytes);
            benchmark::DoNotOptimize(ok);
            benchmark::DoNotOptimize(reader.getSeqData());
        }
    }
    setCounters(state, c.bytes, c.notes);
    state.counters["files"] = static_cast<double>(c.files.size());
}
BENCHMARK(BM_LoadCorpus)->Unit(benchmark::kMicrosecond);

struct Hit {
    std::uint32_t time;
    std::uint8_t note;
    std::uint8_t velocity;
};

std::uint32_t readVlq(const Bytes& b, std::size_t& pos, std::size_t end) {
    std::uint32_t v = 0;
    for (int i = 0; i < 4 && pos < end; ++i) {
        const std::uint8_t byte = b[pos++];
        v = (v << 7) | (byte & 0x7Fu);
        if ((byte & 0x80) == 0) break;
    }
    return v;
}

// The least a reader must do: walk every chunk, decode every event with running status and
// keep each sounding note-on with its absolute time. No sorting, no quantising. Kept out of
// line so that a profiler counts it apart: under callgrind, its inclusive instructions against
// those of readSmf give the ratio without the noise of a loaded machine.
[[gnu::noinline]] std::vector<Hit> yardstick(const Bytes& b) {
    std::vector<Hit> hits;
    std::size_t pos = 14;
    while (pos + 8 <= b.size()) {
        const std::size_t length = (std::size_t{b[pos + 4]} << 24) |
                                   (std::size_t{b[pos + 5]} << 16) |
                                   (std::size_t{b[pos + 6]} << 8) | b[pos + 7];
        pos += 8;
        const std::size_t end = std::min(b.size(), pos + length);
        std::uint32_t time = 0;
        std::uint8_t status = 0;
        while (pos < end) {
            time += readVlq(b, pos, end);
            if (pos >= end) break;
            std::uint8_t first = b[pos];
            if (first == 0xFF || first == 0xF0 || first == 0xF7) {
                pos += first == 0xFF ? 2 : 1;
                const std::uint32_t skip = readVlq(b, pos, end);
                pos += skip;
                continue;
            }
            if (first & 0x80) {
                status = first;
                ++pos;
            }
            const int kind = status & 0xF0;
            const bool two = kind != 0xC0 && kind != 0xD0;
            if (pos + (two ? 2 : 1) > end) break;
            if (kind == 0x90 && b[pos + 1] != 0) hits.push_back({time, b[pos], b[pos + 1]});
            pos += two ? 2 : 1;
        }
        pos = end;
    }
    return hits;
}

using Clock = std::chrono::steady_clock;

// Tavrel's reader against the yardstick on one file, as the ratio of their times.
void BM_RatioToYardstick(benchmark::State& state, const Bytes* file) {
    Clock::duration ours{};
    Clock::duration least{};
    for (auto _ : state) {
        const auto t0 = Clock::now();
        benchmark::DoNotOptimize(yardstick(*file));
        const auto t1 = Clock::now();
        tavrel::CPhraseFile reader;
        benchmark::DoNotOptimize(reader.loadSmfBytes(*file));
        benchmark::DoNotOptimize(reader.getSeqData());
        ours += Clock::now() - t1;
        least += t1 - t0;
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file->size()));
    state.counters["ratio"] =
        std::chrono::duration<double>(ours).count() / std::chrono::duration<double>(least).count();
    state.counters["KB"] = static_cast<double>(file->size()) / 1024.0;
}

}  // namespace

int main(int argc, char** argv) {
    // Every groove of the corpus between 1 and 100 KB, by name.
    static std::vector<std::pair<std::string, Bytes>> grooves;
    const std::filesystem::path dir{TAVREL_CORPUS_DIR};
    std::error_code ec;
    if (std::filesystem::is_directory(dir, ec)) {
        for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
            const auto size = entry.file_size(ec);
            if (!entry.path().string().ends_with(".mid") || size < 1024 || size > 100 * 1024)
                continue;
            std::ifstream in(entry.path(), std::ios::binary);
            grooves.emplace_back(
                entry.path().filename().string(),
                Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()));
        }
    }
    std::sort(grooves.begin(), grooves.end());
    for (const auto& [name, bytes] : grooves) {
        benchmark::RegisterBenchmark(("BM_RatioToYardstick/" + name).c_str(), BM_RatioToYardstick,
                                     &bytes)
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
