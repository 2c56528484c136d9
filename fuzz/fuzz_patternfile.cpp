// libFuzzer target for the pattern file reader and writer. The first input byte chooses
// whether the file is cut short; the rest is the start of the file, and a file that is not
// cut short is padded with zeros to its full 2 MB, so that short inputs still reach the
// slots. A read must never leave the image, must give at most 50 patterns whose note areas
// hold at most 10,000 records and whose variations take at most 9,999 in the collection, and
// what it gave must survive a write and a second read.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "files/CFileDataMgr.h"
#include "files/PatternFileImage.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"

namespace {

using tavrel::PatternFileImage;

struct Header {
    std::string name;
    std::int32_t kit, tempo, numerator, denominator;
    std::int32_t counts[tavrel::kVariationCount];
    bool operator==(const Header&) const = default;
};

std::vector<Header> headers(tavrel::CPatternMgr& patterns, std::uint16_t maxRecords) {
    std::vector<Header> out;
    for (const auto& p : patterns.getPtnData()) {
        Header h{p->getName(), p->getKitNum(), p->getTempo(), p->getNume(), p->getDeno(), {}};
        for (int v = 0; v < tavrel::kVariationCount; ++v) {
            h.counts[v] = p->getPhraseAtVariation(v)->getSeqDataCount();
            if (h.counts[v] < 0 || h.counts[v] > maxRecords) std::abort();
        }
        if (h.name.size() > 12) std::abort();
        out.push_back(h);
    }
    if (out.size() > PatternFileImage::kSlotCount) std::abort();
    return out;
}

// The padded file, kept between inputs; only what the last input dirtied is cleared.
std::span<const std::uint8_t> padded(std::span<const std::uint8_t> input) {
    static std::vector<std::uint8_t> file(PatternFileImage::kFileSize);
    static std::size_t dirty = 0;
    const std::size_t n = std::min(input.size(), file.size());
    std::copy_n(input.begin(), n, file.begin());
    if (dirty > n)
        std::fill(file.begin() + static_cast<std::ptrdiff_t>(n),
                  file.begin() + static_cast<std::ptrdiff_t>(dirty), 0);
    dirty = n;
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::span<const std::uint8_t> input(data + 1, size - 1);
    const auto file = (data[0] & 2) != 0 ? input : padded(input);
    const auto rules = PatternFileImage::kUnitRules;

    std::vector<Header> first;
    std::vector<std::uint8_t> written;
    {
        tavrel::Context context;
        tavrel::CPatternMgr& patterns = context.patterns();
        const bool read = tavrel::CFileDataMgr::loadDataFrom(file);
        if (read != PatternFileImage::isPatternFile(file)) std::abort();
        if (!read) {
            if (!patterns.getPtnData().empty() || patterns.getActive()) std::abort();
            return 0;
        }
        const PatternFileImage image(std::vector<std::uint8_t>(file.begin(), file.end()));
        for (const auto& p : image.read().patterns) {
            if (p.notes->size() > PatternFileImage::kImportRules.maxRecords) std::abort();
        }
        first = headers(patterns, rules.maxRecords);
        PatternFileImage out;
        out.write(tavrel::CFileDataMgr::snapshot().patterns());
        written = out.bytes();
    }
    tavrel::Context again;
    if (!tavrel::CFileDataMgr::loadDataFrom(written)) std::abort();
    // A name comes back padded to the 12 bytes it was written in.
    auto second = headers(again.patterns(), rules.maxRecords);
    for (auto& h : second) h.name.erase(h.name.find_last_not_of(' ') + 1);
    for (auto& h : first) h.name.erase(h.name.find_last_not_of(' ') + 1);
    if (second != first) std::abort();
    return 0;
}
