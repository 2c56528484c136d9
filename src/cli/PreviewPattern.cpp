#include "cli/PreviewPattern.h"

#include "cli/PreviewOptions.h"
#include "files/CFileDataMgr.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"

namespace tavrel::cli {

namespace {

// Pattern `number` (from 1) of the pattern file `path`, made current.
bool loadFromPatternFile(const std::filesystem::path& path, int number, std::ostream& err) {
    if (!CFileDataMgr::importData(path)) {
        err << "tavrel-cli: cannot read patterns from " << path.string() << '\n';
        return false;
    }
    CPatternMgr& patterns = Context::current().patterns();
    const auto count = static_cast<int>(patterns.getPtnData().size());
    if (number > count) {
        err << "tavrel-cli: " << path.string() << " has " << count << " patterns; there is no "
            << "pattern " << number << '\n';
        return false;
    }
    patterns.setCurPatternNum(number - 1);
    return true;
}

bool loadInput(const PreviewOptions& o, std::ostream& err) {
    if (o.patternNumber) return loadFromPatternFile(o.file, *o.patternNumber, err);
    if (CFileDataMgr::loadSmf(o.file)) return true;
    err << "tavrel-cli: " << o.file.string() << " makes no pattern\n";
    return false;
}

}  // namespace

bool PreviewPattern::prepare(const PreviewOptions& o, std::ostream& err) {
    if (!loadInput(o, err)) return false;
    CPatternMgr& patterns = Context::current().patterns();
    const auto pattern = patterns.getCurPattarn();
    patterns.setCurVariationNum(o.variation);
    const auto phrase = pattern->getCurPhrase();
    if (o.from && *o.from >= phrase->getTotalBars()) {
        err << "tavrel-cli: --from " << *o.from << " is past the end of " << o.file.string()
            << ", which has " << phrase->getTotalBars() << " bars\n";
        return false;
    }
    if (o.from) phrase->setFrom(*o.from);
    if (o.bars) phrase->setBars(*o.bars);
    if (o.tempo) pattern->setTempo(*o.tempo);
    return true;
}

}  // namespace tavrel::cli
