#include "views/PhraseGridPainter.h"

#include "views/PhraseGeometry.h"
#include "views/PhraseScene.h"
#include "views/VariationColors.h"

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

namespace tavrel::views {

namespace {

constexpr double kMinTextPixels = 7;
constexpr double kMinBeatSpacing = 5;  // beat lines closer than this are left out
constexpr double kMinBarSpacing = 8;   // and bar lines closer than this thinned out
constexpr int kShades = 16;            // velocities are drawn in this many shades

struct Painter {
    QPainter& p;
    const PhraseScene& scene;
    const PhraseGeometry& g;
    const QPalette& palette;
    const QFont& font;

    // A name for every row, or for every 2nd, 3rd, ... row when the rows are too thin to read
    // one each, with a mark that shows which row it names.
    void labels(double top, double step, int count, const std::function<QString(int)>& text) const {
        const int every = std::max(1, static_cast<int>(std::ceil(kMinTextPixels / step)));
        const double height = std::min(step * every, QFontMetricsF(font).height());
        const auto small = PhraseGridPainter::fitFont(font, height);
        if (!small) return;
        p.setFont(*small);
        const QColor colour = palette.color(QPalette::WindowText);
        p.setPen(colour);
        for (int i = 0; i < count; i += every) {
            const double centre = top + (i + 0.5) * step;
            p.drawText(QRectF(4, centre - height / 2, g.gutter() - 10, height),
                       Qt::AlignVCenter | Qt::AlignLeft, text(i));
            if (every > 1) p.fillRect(QRectF(g.gutter() - 5, centre - 0.5, 4, 1), colour);
        }
    }

    int bars() const { return (scene.axisTicks() + scene.barTicks() - 1) / scene.barTicks(); }
    double barX(int bar) const { return g.x(double(bar) * scene.barTicks()); }
    bool beatsShown() const { return g.width(scene.beatTicks()) >= kMinBeatSpacing; }
    // Every bar, or every 2nd, 4th, ... bar, whichever first leaves `spacing` pixels between.
    int barStep(double spacing) const {
        int step = 1;
        while (step * g.width(scene.barTicks()) < spacing && step < bars()) step *= 2;
        return step;
    }

    void ruler() const {
        const QRectF r = g.ruler();
        p.fillRect(QRectF(0, 0, r.right() + 10, r.height()), palette.color(QPalette::Window));
        p.setFont(font);
        const int lineStep = barStep(kMinBarSpacing);
        const int numberStep = std::max(
            barStep(QFontMetricsF(font).horizontalAdvance(QString::number(bars())) + 6), lineStep);
        const QColor text = palette.color(QPalette::WindowText);
        const QColor tick = PhraseGridPainter::blend(palette.color(QPalette::Window), text, 0.5);
        p.setPen(text);
        for (int bar = 0; bar < bars(); bar += lineStep) {
            const double x = barX(bar);
            const bool numbered = bar % numberStep == 0;
            const double top = numbered ? r.top() : r.bottom() - 8;
            p.fillRect(QRectF(x, top, 1, r.bottom() - top), numbered ? text : tick);
            if (numbered &&
                x + 3 + p.fontMetrics().horizontalAdvance(QString::number(bar + 1)) <= r.right()) {
                p.drawText(QRectF(x + 3, r.top(), barX(bar + numberStep) - x - 3, r.height() - 2),
                           Qt::AlignLeft | Qt::AlignVCenter, QString::number(bar + 1));
            }
            for (int t = scene.beatTicks(); beatsShown() && t < scene.barTicks();
                 t += scene.beatTicks())
                p.fillRect(QRectF(g.x(double(bar) * scene.barTicks() + t), r.bottom() - 4, 1, 4),
                           tick);
        }
        p.fillRect(QRectF(0, r.bottom() - 1, r.right() + 10, 1), tick);
    }

    void rowsAndLanes() const {
        p.fillRect(QRectF(0, g.ruler().bottom(), g.gutter(), 1e6), palette.color(QPalette::Window));
        const QColor alternate = palette.color(QPalette::AlternateBase);
        for (int v = 0; v < PhraseScene::kVariations; ++v) {
            const QRectF row = g.row(v);
            p.fillRect(
                QRectF(row.left(), row.top() + 1, g.width(scene.length(v)), row.height() - 2),
                alternate);
        }
        labels(g.row(0).top(), g.rowHeight(), PhraseScene::kVariations,
               [](int v) { return VariationColors::name(v); });
        const auto& lanes = scene.lanes().lanes();
        for (std::size_t i = 1; i < lanes.size(); i += 2)
            p.fillRect(g.lane(static_cast<int>(i)), alternate);
        labels(g.lane(0).top(), g.laneHeight(), static_cast<int>(lanes.size()),
               [&](int i) { return lanes[static_cast<std::size_t>(i)].name; });
    }

    void barLines() const {
        const QColor base = palette.color(QPalette::Base);
        const QColor bar = PhraseGridPainter::blend(base, palette.color(QPalette::Text), 0.35);
        const QColor beat = PhraseGridPainter::blend(base, palette.color(QPalette::Text), 0.12);
        const double top = g.band().top();
        const double height = std::max(g.grid().bottom(), g.band().bottom()) - top;
        const int step = barStep(kMinBarSpacing);
        for (int b = 0; b <= bars(); b += step) {
            p.fillRect(QRectF(barX(b), top, 1, height), bar);
            for (int t = scene.beatTicks(); beatsShown() && b < bars() && t < scene.barTicks();
                 t += scene.beatTicks())
                p.fillRect(QRectF(g.x(double(b) * scene.barTicks() + t), top, 1, height), beat);
        }
    }

    // Hits are set straight into the image's pixels: a long pattern has ten thousand of them,
    // which a painter takes milliseconds to fill one by one.
    static void hits(QImage& image, const PhraseScene& scene, const PhraseGeometry& g,
                     const QPalette& palette) {
        std::array<QRgb, kShades> shades{};
        const QColor base = palette.color(QPalette::Base);
        const QColor text = palette.color(QPalette::Text);
        for (int s = 0; s < kShades; ++s) {
            // Soft notes fade towards the background, hard ones are drawn in full text colour.
            const QColor c = PhraseGridPainter::blend(base, text, 0.25 + 0.75 * (s + 1) / kShades);
            shades[static_cast<std::size_t>(s)] = qPremultiply(c.rgba());
        }
        const double dpr = image.devicePixelRatio();
        const double width = std::clamp(g.width(24) * 0.6, 1.5, 6.0);  // most of a sixteenth
        const double height = std::max(g.laneHeight() * 0.7, 2.0);
        auto device = [dpr](double v, int limit) {
            return std::clamp(static_cast<int>(std::floor(v * dpr)), 0, limit);
        };
        for (const DrumLanes::Hit& h : scene.lanes().hits()) {
            const double x = g.x(h.tick);
            const double y = g.lane(h.lane).center().y() - height / 2;
            const int x0 = device(x, image.width());
            const int x1 =
                std::max(device(x + width, image.width()), std::min(x0 + 1, image.width()));
            const int y0 = device(y, image.height());
            const int y1 =
                std::max(device(y + height, image.height()), std::min(y0 + 1, image.height()));
            const QRgb shade = shades[static_cast<std::size_t>(
                std::clamp(h.velocity * kShades / 128, 0, kShades - 1))];
            for (int row = y0; row < y1; ++row) {
                auto* line = reinterpret_cast<QRgb*>(image.scanLine(row));
                std::fill(line + x0, line + x1, shade);
            }
        }
    }
};

}  // namespace

QPixmap PhraseGridPainter::paint(const PhraseScene& scene, const PhraseGeometry& geometry,
                                 const QPalette& palette, const QFont& font, QSize size,
                                 qreal dpr) {
    QImage image(size * dpr, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(palette.color(QPalette::Base));
    {
        QPainter p(&image);
        const Painter painter{p, scene, geometry, palette, font};
        painter.ruler();
        painter.rowsAndLanes();
        painter.barLines();
    }
    Painter::hits(image, scene, geometry, palette);
    return QPixmap::fromImage(std::move(image));
}

std::optional<QFont> PhraseGridPainter::fitFont(const QFont& base, double height) {
    QFont font = base;
    const double natural = QFontMetricsF(base).height();
    if (natural > height) {
        if (height < kMinTextPixels) return std::nullopt;
        // A line is about 1.2 times the font's pixel size.
        font.setPixelSize(std::max(static_cast<int>(height / 1.2), 1));
    }
    return font;
}

QColor PhraseGridPainter::blend(const QColor& from, const QColor& to, double t) {
    auto mix = [t](float a, float b) { return static_cast<float>(a + (b - a) * t); };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()), mix(from.alphaF(), to.alphaF()));
}

}  // namespace tavrel::views
