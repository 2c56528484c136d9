// A variation's played window (first bar and length) as a value, and the edit-history step
// that puts one back: the range fields and the strip both change a window first and then
// record what it was before.
#pragma once

#include <QString>

#include <cstdint>
#include <memory>

namespace tavrel {
class CPhraseData;
class CPtnDataMgr;
}  // namespace tavrel

namespace tavrel::views {

class EditHistory;

struct VariationWindow {
    std::int32_t from = 0;
    std::int32_t bars = 0;

    static VariationWindow of(const CPhraseData& phrase);
    // Through the phrase's setters, so the change is announced and marks the pattern edited.
    void applyTo(CPhraseData& phrase) const;
    friend bool operator==(const VariationWindow&, const VariationWindow&) = default;
};

// Records, as one step already made, that variation `vari` of `pattern` went from `before` to
// the window it has now; records nothing when the window is unchanged. The step holds the
// pattern, so undoing reaches its variation even after the editor moved to another pattern.
void recordWindowChange(EditHistory& history, const QString& text,
                        const std::shared_ptr<CPtnDataMgr>& pattern, std::int32_t vari,
                        VariationWindow before);

}  // namespace tavrel::views
