#include "cli/PatternReport.h"

#include "cli/JsonWriter.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"

#include <array>
#include <iomanip>

namespace tavrel::cli {

namespace {

constexpr std::array<const char*, kVariationCount> kVariationNames = {
    "Intro", "Verse",  "Verse Fill", "Chorus", "Chorus Fill",
    "C",     "C Fill", "D",          "D Fill", "Ending"};

// The length of the UTF-8 sequence at text[i] when it is a whole one and no C1 control
// character; 0 otherwise.
std::size_t printableSequence(std::string_view text, std::size_t i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead >= 0xF0 && lead < 0xF5   ? 4
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                                                             : 0;
    if (length == 0 || i + length > text.size()) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return 0;
    }
    if (lead == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0) return 0;  // C1
    return length;
}

}  // namespace

std::string PatternReport::printable(std::string_view name) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (std::size_t i = 0; i < name.size();) {
        const auto byte = static_cast<unsigned char>(name[i]);
        if (byte >= 0x20 && byte < 0x7F) {
            out += byte == '\\' ? "\\\\" : std::string(1, name[i]);
            ++i;
        } else if (const std::size_t n = byte >= 0x80 ? printableSequence(name, i) : 0; n > 0) {
            out.append(name, i, n);
            i += n;
        } else {
            out += "\\x";
            out += kHex[byte >> 4];
            out += kHex[byte & 0xF];
            ++i;
        }
    }
    return out;
}

void PatternReport::writeJson(JsonWriter& json, const CPatternMgr::PatternList& patterns) {
    json.beginArray();
    for (const auto& p : patterns) {
        json.beginObject().key("name").value(p->getName()).key("kit").value(p->getKitNum());
        json.key("tempo").value(p->getTempo()).key("numerator").value(p->getNume());
        json.key("denominator").value(p->getDeno()).key("variations").beginArray();
        for (int v = 0; v < kVariationCount; ++v) {
            const CPhraseData& phrase = *p->getPhraseAtVariation(v);
            json.beginObject()
                .key("from")
                .value(phrase.getFrom())
                .key("bars")
                .value(phrase.getBars());
            json.key("totalBars").value(phrase.getTotalBars());
            json.key("count").value(phrase.getSeqDataCount()).endObject();
        }
        json.endArray().endObject();
    }
    json.endArray();
}

// Names are quoted so that their padding shows.
void PatternReport::printText(const CPatternMgr::PatternList& patterns, std::ostream& out) {
    out << patterns.size() << (patterns.size() == 1 ? " pattern\n" : " patterns\n");
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        const CPtnDataMgr& p = *patterns[i];
        out << std::setw(3) << i + 1 << "  \"" << printable(p.getName()) << "\"  kit "
            << p.getKitNum() << "  tempo " << p.getTempo() << "  " << p.getNume() << '/'
            << p.getDeno() << '\n';
        for (int v = 0; v < kVariationCount; ++v) {
            const CPhraseData& phrase = *p.getPhraseAtVariation(v);
            out << "       " << std::left << std::setw(12) << kVariationNames[v] << std::right
                << "from " << std::setw(3) << phrase.getFrom() << "  bars " << std::setw(3)
                << phrase.getBars() << " of " << std::setw(3) << phrase.getTotalBars()
                << "  records " << std::setw(5) << phrase.getSeqDataCount() << '\n';
        }
    }
}

}  // namespace tavrel::cli
