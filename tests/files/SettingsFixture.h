// Settings files as the unit keeps them in its data folder: a system file naming the current
// memory and a memory file with 50 memories, each copy followed by its generation number. The
// text has the layout CXMLFile saves, so a save of an unchanged document gives the same bytes.
// Every memory holds one preset content (000) and the user pattern contents 350..399, with kit and
// tempo values that differ from memory to memory.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel::test {

class SettingsFixture {
public:
    static constexpr int kMemories = 50;

    int memNum = 3;

    static int kitOf(int mem, int content) { return (mem * 7 + content) % 90; }
    // Tenths of a beat per minute, 40.0 to 349.9.
    static int tempoOf(int mem, int content) { return 400 + (mem * 37 + content * 11) % 3100; }

    // Makes memory `mem`'s content `content` hold other values than the generated ones.
    void change(int mem, int content, int kit, int tempo) {
        mChanged[{mem, content}] = {kit, tempo};
    }

    // Leaves memory `mem` without its content `content`.
    void remove(int mem, int content) { mRemoved.insert({mem, content}); }

    std::string systemXml() const {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<sys>\n<SETUP>\n<Volume>100</Volume>\n"
               "<MemNum>" +
               std::to_string(memNum) + "</MemNum>\n</SETUP>\n</sys>";
    }

    std::string memoryXml() const {
        std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<memory>\n";
        for (int mem = 0; mem < kMemories; ++mem) {
            xml += "<mem id=\"" + std::to_string(mem) + "\">\n";
            xml += "<Name>MEMORY " + std::to_string(mem + 1) + "</Name>\n";
            xml += contentXml(mem, 0);
            for (int c = 350; c < 400; ++c) xml += contentXml(mem, c);
            xml += "</mem>\n";
        }
        return xml + "</memory>";
    }

    // The file's bytes: the text, a line feed, the generation number (4 bytes, little-endian).
    static std::vector<std::uint8_t> copyOf(std::string_view xml, std::int32_t generation) {
        std::vector<std::uint8_t> bytes(xml.begin(), xml.end());
        bytes.push_back('\n');
        return withGeneration(bytes, generation);
    }
    static std::vector<std::uint8_t> withGeneration(std::vector<std::uint8_t> bytes,
                                                    std::int32_t generation) {
        const auto g = static_cast<std::uint32_t>(generation);
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<std::uint8_t>(g >> shift));
        }
        return bytes;
    }

    static void writeFile(const std::filesystem::path& path,
                          const std::vector<std::uint8_t>& bytes) {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }

    // Both copies of both files, generations 4 (file 1) and 5 (file 2).
    void seed(const std::filesystem::path& folder) const {
        writeFile(folder / "SYSTEM1.QL0", copyOf(systemXml(), 4));
        writeFile(folder / "SYSTEM2.QL0", copyOf(systemXml(), 5));
        writeFile(folder / "MEMORY1.QL0", copyOf(memoryXml(), 4));
        writeFile(folder / "MEMORY2.QL0", copyOf(memoryXml(), 5));
    }

private:
    std::string contentXml(int mem, int content) const {
        if (mRemoved.contains({mem, content})) return {};
        const auto changed = mChanged.find({mem, content});
        const auto [kit, tempo] = changed != mChanged.end()
                                      ? changed->second
                                      : std::pair{kitOf(mem, content), tempoOf(mem, content)};
        char name[16];
        std::snprintf(name, sizeof name, "CONTENT%03d", content);
        return "<" + std::string(name) + ">\n\t<Kit>" + std::to_string(kit) + "</Kit>\n\t<Tempo>" +
               std::to_string(tempo) + "</Tempo>\n</" + name + ">\n";
    }

    std::map<std::pair<int, int>, std::pair<int, int>> mChanged;
    std::set<std::pair<int, int>> mRemoved;
};

}  // namespace tavrel::test
