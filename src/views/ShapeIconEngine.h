// Icons drawn rather than loaded, for where the icon theme has none: the play and stop
// pictures of the preview button and the colour swatches of the variation selector. They are
// drawn at whatever size and pixel ratio they are asked for, in the palette's button text
// colour, so they stay sharp at 200% and follow a dark palette.
#pragma once

#include <QColor>
#include <QIcon>
#include <QIconEngine>

namespace tavrel::views {

class ShapeIconEngine : public QIconEngine {
public:
    enum class Shape { Play, Stop, Swatch };

    static QIcon play() { return QIcon(new ShapeIconEngine(Shape::Play)); }
    static QIcon stop() { return QIcon(new ShapeIconEngine(Shape::Stop)); }
    // A rounded square of `color` over the button's own background.
    static QIcon swatch(const QColor& color) {
        return QIcon(new ShapeIconEngine(Shape::Swatch, color));
    }

    explicit ShapeIconEngine(Shape shape, QColor color = {}) : mShape(shape), mColor(color) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                         qreal scale) override;
    QIconEngine* clone() const override { return new ShapeIconEngine(mShape, mColor); }

private:
    Shape mShape;
    QColor mColor;
};

}  // namespace tavrel::views
