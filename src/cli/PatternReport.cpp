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

}  // namespace

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
        out << std::setw(3) << i + 1 << "  \"" << p.getName() << "\"  kit " << p.getKitNum()
            << "  tempo " << p.getTempo() << "  " << p.getNume() << '/' << p.getDeno() << '\n';
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
