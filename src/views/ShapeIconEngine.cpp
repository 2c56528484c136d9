#include "views/ShapeIconEngine.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

#include <algorithm>

namespace tavrel::views {

void ShapeIconEngine::paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
                            QIcon::State /*state*/) {
    const QPalette::ColorGroup group =
        mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    const QColor ink = QApplication::palette().color(group, QPalette::ButtonText);
    // Square, centred, with a margin as theme icons have.
    const qreal side = std::min(rect.width(), rect.height());
    const QRectF box(rect.center().x() + 1 - side / 2, rect.center().y() + 1 - side / 2, side,
                     side);
    const QRectF inner = box.adjusted(side * 0.2, side * 0.2, -side * 0.2, -side * 0.2);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(ink);
    switch (mShape) {
        case Shape::Play: {
            QPainterPath triangle;
            triangle.moveTo(inner.topLeft());
            triangle.lineTo(inner.right(), inner.center().y());
            triangle.lineTo(inner.bottomLeft());
            triangle.closeSubpath();
            painter->drawPath(triangle);
            break;
        }
        case Shape::Stop:
            painter->drawRect(inner.adjusted(side * 0.03, side * 0.03, -side * 0.03, -side * 0.03));
            break;
        case Shape::Swatch: {
            const QRectF swatch = box.adjusted(side * 0.1, side * 0.1, -side * 0.1, -side * 0.1);
            painter->setPen(QPen(ink, std::max<qreal>(1.0, side / 16)));
            painter->setBrush(mColor);
            painter->drawRoundedRect(swatch, side * 0.15, side * 0.15);
            break;
        }
    }
    painter->restore();
}

QPixmap ShapeIconEngine::pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) {
    return scaledPixmap(size, mode, state, 1.0);
}

QPixmap ShapeIconEngine::scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                                      qreal scale) {
    QPixmap image(size * scale);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        paint(&painter, image.rect(), mode, state);
    }
    image.setDevicePixelRatio(scale);
    return image;
}

}  // namespace tavrel::views
