#include "files/PatternSnapshot.h"

#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"

namespace tavrel {

static_assert(std::tuple_size_v<decltype(PatternSnapshot::Pattern::variations)> == kVariationCount);

PatternSnapshot PatternSnapshot::of(const CPatternMgr& collection) {
    std::vector<Pattern> patterns;
    patterns.reserve(collection.getPtnData().size());
    for (const auto& source : collection.getPtnData()) {
        Pattern& p = patterns.emplace_back();
        p.name = source->getName();
        p.kit = source->getKitNum();
        p.tempo = source->getTempo();
        p.numerator = source->getNume();
        p.denominator = source->getDeno();
        for (int v = 0; v < kVariationCount; ++v) {
            const CPhraseData& phrase = *source->getPhraseAtVariation(v);
            p.variations[static_cast<std::size_t>(v)] = {phrase.getFrom(), phrase.getBars(),
                                                         phrase.getTotalBars(),
                                                         phrase.getSeqDataCount()};
        }
        p.notes = source->getPhraseAtVariation(0)->getSeqData();
    }
    return {std::move(patterns), collection.fileImage()};
}

}  // namespace tavrel
