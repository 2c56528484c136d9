// The ten variations' names and colours, shared by the variation panes and the picture of a
// whole pattern, so a window has the same colour wherever it is drawn.
#pragma once

#include <QColor>
#include <QString>

#include <cstdint>

namespace tavrel::views::VariationColors {

constexpr std::int32_t kCount = 10;

// Variation 0 Intro .. 9 Ending, translucent (alpha 0.35) so what lies beneath shows through;
// an out-of-range number gives a transparent colour.
QColor color(std::int32_t vari);
// "Intro", "Verse", "Verse Fill", ... "Ending"; empty out of range.
QString name(std::int32_t vari);
// The fills (2, 4, 6, 8) keep their length: they move but never resize.
bool isFill(std::int32_t vari);

}  // namespace tavrel::views::VariationColors
