// libFuzzer target for the settings files. The input stands for the two copies of both the
// system and the memory file; CXMLFile reads them, sets one user pattern and serialises the
// result, never reading outside the bytes, and the values it reports must agree with what it
// was told to set.
//
// With only file 1 given, what the setter finds is checked against the query it stands for,
// run on the same text: it sets a content exactly when "//mem[@id='M']/CONTENTnnn/Kit" and
// ".../Tempo" each select one element.
//
// Input: byte 0 chooses the copies (low two bits: 0 the rest is both copies, 1 only file 1,
// 2 only file 2, 3 bytes 1-2 give the length of file 1, little-endian, and file 2 is what
// follows) and the user pattern (the upper six bits).
#include "files/CXMLFile.h"
#include "files/UnitStorage.h"
#include "model/Context.h"
#include "model/Log.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <pugixml.hpp>

namespace {

using Bytes = std::vector<std::uint8_t>;

// The data folder in memory. On disk every input would cost file writes, syncs and backups;
// here there is nowhere to write, so saveFile stops after serialising.
class MemoryStorage : public tavrel::UnitStorage {
public:
    std::map<std::string, Bytes> files;

    bool isVolumeExist() override { return true; }
    bool isDataFileExist(const std::string& name) override { return files.contains(name); }
    std::optional<std::filesystem::path> getFileURL(const std::string&) override {
        return std::nullopt;
    }
    std::optional<Bytes> getFileData(const std::string& name) override {
        const auto found = files.find(name);
        if (found == files.end()) return std::nullopt;
        return found->second;
    }
};

void putCopies(MemoryStorage& storage, std::span<const std::uint8_t> input) {
    const unsigned mode = input[0] & 3u;
    std::span<const std::uint8_t> rest = input.subspan(1);
    std::span<const std::uint8_t> first = rest;
    std::span<const std::uint8_t> second = rest;
    if (mode == 3 && rest.size() >= 2) {
        const std::size_t length =
            std::min(static_cast<std::size_t>(rest[0] | rest[1] << 8), rest.size() - 2);
        first = rest.subspan(2, length);
        second = rest.subspan(2 + length);
    }
    for (const char* kind : {"SYSTEM", "MEMORY"}) {
        const std::string name = std::string("/") + kind;
        if (mode != 2) storage.files[name + "1.QL0"] = Bytes(first.begin(), first.end());
        if (mode != 1) storage.files[name + "2.QL0"] = Bytes(second.begin(), second.end());
    }
}

// How many elements the query for `field` of content `content` of memory `mem` selects in the
// settings copy `copy` (XML and generation); -1 when the text does not parse.
int selected(std::span<const std::uint8_t> copy, int mem, int content, const char* field) {
    if (copy.size() < 4) return -1;
    pugi::xml_document doc;
    if (!doc.load_buffer(copy.data(), copy.size() - 4,
                         pugi::parse_full | pugi::parse_ws_pcdata_single, pugi::encoding_utf8)) {
        return -1;
    }
    char query[96];
    std::snprintf(query, sizeof query, "//mem[@id='%d']/CONTENT%03d/%s", mem, content, field);
    return static_cast<int>(doc.select_nodes(query).size());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Every Kit and Tempo read is logged; to stderr that would cost more than the parsing.
    tavrel::Log::setSink([](std::string_view, std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    tavrel::Context context;
    auto& storage =
        context.install<MemoryStorage, tavrel::UnitStorage>(std::make_unique<MemoryStorage>());
    putCopies(storage, {data, size});

    tavrel::CXMLFile settings;
    const int mem = std::max(settings.getCurrentNumber(), 0);
    const int pattern = data[0] >> 2;
    const int content = 350 + pattern;
    const int kit = settings.getKitFromMem(mem, content);
    const int tempo = settings.getTempoFromMem(mem, content);
    if (!settings.hasMemoryDoc() && (kit != -1 || tempo != -1)) std::abort();

    const bool set = settings.setKitAndTempoFromMem(mem, pattern, 17, 123);
    if ((data[0] & 3u) == 1 && settings.hasMemoryDoc()) {
        const std::span<const std::uint8_t> copy(data + 1, size - 1);
        const bool one =
            selected(copy, mem, content, "Kit") == 1 && selected(copy, mem, content, "Tempo") == 1;
        if (set != one) std::abort();
    }
    if (set) {
        if (settings.getKitFromMem(mem, content) != 17) std::abort();
        if (settings.getTempoFromMem(mem, content) != 1230) std::abort();
    } else if (settings.getKitFromMem(mem, content) != kit ||
               settings.getTempoFromMem(mem, content) != tempo) {
        std::abort();
    }
    if (settings.saveFile()) std::abort();  // there is nowhere to write
    return 0;
}
