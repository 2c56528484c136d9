#include "views/VariationWindow.h"

#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "views/EditHistory.h"

namespace tavrel::views {

VariationWindow VariationWindow::of(const CPhraseData& phrase) {
    return {phrase.getFrom(), phrase.getBars()};
}

void VariationWindow::applyTo(CPhraseData& phrase) const {
    // The start first: it cuts the old length to fit, and the length is then set as it was.
    phrase.setFrom(from);
    phrase.setBars(bars);
}

void recordWindowChange(EditHistory& history, const QString& text,
                        const std::shared_ptr<CPtnDataMgr>& pattern, std::int32_t vari,
                        VariationWindow before) {
    const std::shared_ptr<CPhraseData> phrase =
        pattern ? pattern->getPhraseAtVariation(vari) : nullptr;
    if (!phrase) return;
    const VariationWindow after = VariationWindow::of(*phrase);
    if (after == before) return;
    const auto put = [pattern, vari](VariationWindow window) {
        return [pattern, vari, window] {
            if (const auto p = pattern->getPhraseAtVariation(vari)) window.applyTo(*p);
        };
    };
    history.record(text, put(after), put(before), EditHistory::Made::Already);
}

}  // namespace tavrel::views
