#include "views/ColoredStrings.h"

#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QLineEdit>

#include <algorithm>

namespace tavrel::views {

ColoredStrings::ColoredStrings(const QString& name, const QColor& color1, const QColor& color2,
                               qsizetype length)
    : mAttributedString{name, {}} {
    if (name.size() >= length) {
        paint(0, length, color1);
        paint(length, name.size(), color2);
    } else {
        paint(0, name.size(), color1);
    }
}

ColoredStrings::ColoredStrings(const QString& name, const QColor& color1, const QColor& color2,
                               qsizetype length1, qsizetype length2)
    : mAttributedString{name, {}} {
    if (name.size() < length1) {
        paint(0, name.size(), color2);
        return;
    }
    paint(0, length1, color2);
    const qsizetype middleEnd = std::min(name.size(), length1 + length2);
    paint(length1, middleEnd, color1);
    paint(middleEnd, name.size(), color2);
}

void ColoredStrings::paint(qsizetype start, qsizetype end, const QColor& color) {
    if (end <= start) return;
    QTextLayout::FormatRange range;
    range.start = static_cast<int>(start);
    range.length = static_cast<int>(end - start);
    range.format.setForeground(color);
    mAttributedString.formats.append(range);
}

void ColoredStrings::showIn(QLineEdit& field) const {
    field.setText(mAttributedString.text);
    // The formats of an input method event count from the cursor.
    const int cursor = field.cursorPosition();
    QList<QInputMethodEvent::Attribute> attributes;
    for (const QTextLayout::FormatRange& range : mAttributedString.formats) {
        attributes.append(
            {QInputMethodEvent::TextFormat, range.start - cursor, range.length, range.format});
    }
    QInputMethodEvent event(QString(), attributes);
    QCoreApplication::sendEvent(&field, &event);
}

}  // namespace tavrel::views
