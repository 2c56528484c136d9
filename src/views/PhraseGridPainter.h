// Paints the part of a pattern's picture that stays put while the preview plays and windows
// are dragged: the ruler, the variations' rows and names, the drum lanes with their names and
// hits, and the bar and beat lines. The picture keeps it in a pixmap and paints it anew only
// when the scene, the size, the palette or the pixel ratio changes.
#pragma once

#include <QFont>
#include <QPalette>
#include <QPixmap>

#include <optional>

namespace tavrel::views {

class PhraseGeometry;
class PhraseScene;

class PhraseGridPainter {
public:
    // A pixmap of `size` logical pixels at `dpr` device pixels each.
    static QPixmap paint(const PhraseScene& scene, const PhraseGeometry& geometry,
                         const QPalette& palette, const QFont& font, QSize size, qreal dpr);

    // `base` made small enough for a line `height` pixels high; none when it would be too
    // small to read.
    static std::optional<QFont> fitFont(const QFont& base, double height);
    // `from` moved towards `to` by `t` (0..1).
    static QColor blend(const QColor& from, const QColor& to, double t);
};

}  // namespace tavrel::views
