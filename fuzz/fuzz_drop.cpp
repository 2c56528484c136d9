// libFuzzer target for MIDI files dropped on the pattern list: any bytes under any name, written
// to a folder and loaded as the list loads a drop. Input: byte 0 gives how many patterns the
// list holds already (its low two bits; with bit 7 set, 47 more, so that a full list is as
// near as an empty one); bit 0 of byte 1 is the answer to merging the tracks of a file of
// several; bytes 2-3 give the name's length (little-endian, at most 300), then the name, then
// the file. '/' and NUL cannot
// be in a file name and are left out; anything else, invalid UTF-8 too, is kept.
//
// A drop loads only a file whose extension, upper-cased, is "MID", and only while the list
// holds fewer than 50 patterns. A load adds exactly one pattern, current and named in 12
// characters of plain ASCII, whose four fills play one bar and which holds notes only from a
// file the MIDI reader accepts; a drop that loads nothing leaves the list as it was.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string>

#include "ScratchFolder.h"
#include "model/Alerts.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Limits.h"
#include "model/Log.h"
#include "smf/CPhraseFile.h"
#include "views/EditHistory.h"
#include "views/PatternEdits.h"

namespace {

namespace fs = std::filesystem;

class Answers : public tavrel::Alerts {
public:
    explicit Answers(bool merge) : mMerge(merge) {}
    void alert(const std::string&, const std::string&) override {}
    bool ask(const std::string&, const std::string&, const std::string&) override { return mMerge; }

private:
    bool mMerge;
};

// The list's rule for a dropped file.
bool dropTakes(const fs::path& file, const tavrel::CPatternMgr& patterns) {
    std::string extension = file.extension().string();
    if (!extension.empty()) extension.erase(0, 1);  // the dot
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return patterns.getPtnData().size() < tavrel::limits::kMaxPatterns && extension == "MID";
}

std::string fileName(std::span<const std::uint8_t> bytes) {
    std::string name;
    for (const std::uint8_t byte : bytes) {
        if (byte != '/' && byte != 0) name += static_cast<char>(byte);
    }
    if (name.empty() || name == "." || name == "..") name = "_" + name;
    return name;
}

void checkAdded(const tavrel::CPatternMgr& patterns) {
    const auto& added = *patterns.getPtnData().back();
    if (patterns.getCurPattarnNum() != static_cast<std::int32_t>(patterns.getPtnData().size()) - 1)
        std::abort();
    const std::string name = added.getName();
    if (name.size() != tavrel::limits::kPatternNameLength) std::abort();
    for (const char c : name) {
        if (static_cast<unsigned char>(c) >= 0x7F || c == 0) std::abort();
    }
    for (const int fill : {2, 4, 6, 8}) {
        if (added.getPhraseAtVariation(fill)->getBars() != 1) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tavrel::Log::setSink([](std::string_view, std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4) return 0;
    const std::size_t already = (data[0] & 3u) + ((data[0] & 0x80u) != 0 ? 47 : 0);
    const std::size_t nameLength =
        std::min<std::size_t>(std::min<std::size_t>(data[2] | data[3] << 8, 300), size - 4);
    const std::span<const std::uint8_t> contents(data + 4 + nameLength, size - 4 - nameLength);

    tavrel::Context context;
    context.install<Answers, tavrel::Alerts>(std::make_unique<Answers>((data[1] & 1) != 0));
    tavrel::CPatternMgr& patterns = context.patterns();
    for (std::size_t i = 0; i < already; ++i) patterns.addPatternData();
    tavrel::views::EditHistory history;

    // A name too long for the file system leaves nothing on disk: the drop then names a file
    // that is gone, as when it was removed before the drop was handled.
    const fs::path file = scratchFolder("drop") / fileName({data + 4, nameLength});
    {
        std::ofstream out(file, std::ios::binary);
        out.write(reinterpret_cast<const char*>(contents.data()),
                  static_cast<std::streamsize>(contents.size()));
    }
    const std::size_t before = patterns.getPtnData().size();
    const bool loaded =
        dropTakes(file, patterns) && tavrel::views::PatternEdits::loadMidiFile(history, file);
    std::error_code ignored;
    fs::remove(file, ignored);

    if (patterns.getPtnData().size() != before + (loaded ? 1 : 0)) std::abort();
    if (!loaded) return 0;
    checkAdded(patterns);
    // A header the reader refuses still adds a pattern, which keeps a new pattern's empty notes.
    if (tavrel::CPhraseFile().checkSmfBytes(contents) <= 0 &&
        patterns.getPtnData().back()->getPhraseAtVariation(0)->getSeqDataCount() != 0)
        std::abort();
    return 0;
}
