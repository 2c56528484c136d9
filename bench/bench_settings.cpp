// Time of Apply All's settings work: kit and tempo of 50 patterns set in all 50 memories
// (2,500 updates) of a memory file with 400 contents per memory, as a unit that also keeps its
// preset patterns' settings has. The goal is under 20 ms for the 2,500 updates in a release
// build. Reading the file (parse and index) and writing both copies are timed beside it.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

#include "files/CXMLFile.h"
#include "files/FolderStorage.h"
#include "model/Context.h"
#include "model/Log.h"

namespace {

namespace fs = std::filesystem;

constexpr int kMemories = 50;
constexpr int kContents = 400;
constexpr int kUserPatterns = 50;

std::string memoryFile() {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<memory>\n";
    for (int mem = 0; mem < kMemories; ++mem) {
        xml += "<mem id=\"" + std::to_string(mem) + "\">\n<Name>MEMORY " + std::to_string(mem) +
               "</Name>\n";
        for (int c = 0; c < kContents; ++c) {
            char name[16];
            std::snprintf(name, sizeof name, "CONTENT%03d", c);
            xml += std::string("<") + name + ">\n\t<Kit>" + std::to_string(c % 100) +
                   "</Kit>\n\t<Tempo>1200</Tempo>\n\t<Level>100</Level>\n\t<Pan>64</Pan>\n</" +
                   name + ">\n";
        }
        xml += "</mem>\n";
    }
    return xml + "</memory>\n";
}

// A data folder holding the memory file as its first copy, removed at exit.
class DataFolder {
public:
    DataFolder() {
        std::string dir = (fs::temp_directory_path() / "tavrel-bench-XXXXXX").string();
        if (::mkdtemp(dir.data()) == nullptr) std::abort();
        mDir = dir;
        std::ofstream out(mDir / "MEMORY1.QL0", std::ios::binary);
        out << memoryFile();
        out.write("\0\0\0\0", 4);
        // Backups of the copies written go here too, not into the user's data folder.
        ::setenv("XDG_DATA_HOME", (mDir / "home").c_str(), 1);
    }
    ~DataFolder() {
        std::error_code ec;
        fs::remove_all(mDir, ec);
    }
    const fs::path& path() const { return mDir; }

private:
    fs::path mDir;
};

struct Fixture {
    Fixture() {
        tavrel::Log::setSink([](std::string_view, std::string_view) {});
        context.install<tavrel::FolderStorage, tavrel::UnitStorage>(
            std::make_unique<tavrel::FolderStorage>(folder.path()));
    }
    DataFolder folder;
    tavrel::Context context;
};

void BM_ApplyAllUpdates(benchmark::State& state) {
    Fixture fixture;
    tavrel::CXMLFile settings;
    int tempo = 40;
    for (auto _ : state) {
        for (int mem = 0; mem < kMemories; ++mem) {
            for (int i = 0; i < kUserPatterns; ++i) {
                if (!settings.setKitAndTempoFromMem(mem, i, i, tempo)) std::abort();
            }
        }
        tempo = tempo == 350 ? 40 : tempo + 1;
    }
    state.SetItemsProcessed(state.iterations() * kMemories * kUserPatterns);
}
BENCHMARK(BM_ApplyAllUpdates)->Unit(benchmark::kMillisecond);

void BM_ReadMemoryFile(benchmark::State& state) {
    Fixture fixture;
    for (auto _ : state) {
        tavrel::CXMLFile settings;
        benchmark::DoNotOptimize(settings.hasMemoryDoc());
    }
}
BENCHMARK(BM_ReadMemoryFile)->Unit(benchmark::kMillisecond);

void BM_SaveBothCopies(benchmark::State& state) {
    Fixture fixture;
    tavrel::CXMLFile settings;
    for (auto _ : state) {
        if (!settings.saveFile()) std::abort();
    }
}
BENCHMARK(BM_SaveBothCopies)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
