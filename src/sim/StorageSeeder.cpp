#include "sim/StorageSeeder.h"

#include "files/PatternFileImage.h"
#include "model/Log.h"
#include "sim/FactoryKits.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace tavrel::sim {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// The unit's reader takes the pattern count from the header; with 0 the slots are never read.
Bytes emptyPatternFile() {
    Bytes file(PatternFileImage::kFileSize, 0);
    std::memcpy(file.data(), "PTN_0000", 8);
    return file;
}

// The text, a line feed, and the generation as 4 bytes, little-endian.
Bytes settingsCopy(const std::string& xml, std::uint32_t generation) {
    Bytes file(xml.begin(), xml.end());
    file.push_back('\n');
    for (int shift = 0; shift < 32; shift += 8) {
        file.push_back(static_cast<std::uint8_t>(generation >> shift));
    }
    return file;
}

std::string contentXml(int mem, int pattern) {
    char name[24];
    std::snprintf(name, sizeof name, "CONTENT%03d", StorageSeeder::kFirstUserContent + pattern);
    return "<" + std::string(name) + ">\n\t<Kit>" +
           std::to_string(StorageSeeder::kitOf(mem, pattern)) + "</Kit>\n\t<Tempo>" +
           std::to_string(StorageSeeder::tempoOf(mem, pattern)) + "</Tempo>\n</" + name + ">\n";
}

std::string systemXml() {
    return std::string(kDeclaration) +
           "<sys>\n<SETUP>\n<Volume>100</Volume>\n<MemNum>0</MemNum>\n</SETUP>\n</sys>";
}

// The layout the unit writes: the first three levels at the start of the line, the fourth
// after one tab.
std::string memoryXml() {
    std::string xml = std::string(kDeclaration) + "<memory>\n";
    for (int mem = 0; mem < StorageSeeder::kMemories; ++mem) {
        xml += "<mem id=\"" + std::to_string(mem) + "\">\n";
        xml += "<Name>MEMORY " + std::to_string(mem + 1) + "</Name>\n";
        for (int pattern = 0; pattern < StorageSeeder::kUserPatterns; ++pattern)
            xml += contentXml(mem, pattern);
        xml += "</mem>\n";
    }
    return xml + "</memory>";
}

// Written beside the target and renamed over it, so that a simulator stopped halfway never
// leaves a cut-off file that later starts would keep as the user's.
bool writeNew(const fs::path& path, std::span<const std::uint8_t> bytes) {
    std::error_code ec;
    if (fs::exists(path, ec)) return true;
    const fs::path temporary = fs::path(path).concat(".seeding");
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        if (!out.flush()) {
            Log::line("sim", "cannot write " + temporary.string());
            return false;
        }
    }
    fs::rename(temporary, path, ec);
    if (ec) Log::line("sim", "cannot make " + path.string() + ": " + ec.message());
    return !ec;
}

}  // namespace

bool StorageSeeder::seed(const fs::path& unitFolder) {
    const fs::path data = unitFolder / "DATA";
    std::error_code ec;
    fs::create_directories(data, ec);
    if (ec) {
        Log::line("sim", "cannot make " + data.string() + ": " + ec.message());
        return false;
    }
    const std::string system = systemXml();
    const std::string memory = memoryXml();
    // Generations 0 and 1, as an editor leaves them: the second copy is the newer.
    return writeNew(data / "RHYTHM.QL0", emptyPatternFile()) &&
           writeNew(data / "SYSTEM1.QL0", settingsCopy(system, 0)) &&
           writeNew(data / "SYSTEM2.QL0", settingsCopy(system, 1)) &&
           writeNew(data / "MEMORY1.QL0", settingsCopy(memory, 0)) &&
           writeNew(data / "MEMORY2.QL0", settingsCopy(memory, 1));
}

int StorageSeeder::kitOf(int mem, int pattern) {
    return (mem + pattern) % static_cast<int>(FactoryKits::names().size());
}

int StorageSeeder::tempoOf(int mem, int pattern) {
    return 800 + 50 * ((mem + 3 * pattern) % 17);  // 80 to 160 beats per minute
}

}  // namespace tavrel::sim
