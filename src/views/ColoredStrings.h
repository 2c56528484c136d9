// A pattern name in two colours, to show how much of it the unit displays: the characters
// up to a length in one colour and the rest in another. A line edit shows it through the
// text formats an input method would set, the only way it draws text in more than one colour.
#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QTextLayout>

class QLineEdit;

namespace tavrel::views {

class ColoredStrings {
public:
    struct AttributedString {
        QString text;
        QList<QTextLayout::FormatRange> formats;
    };

    // Characters 0..length-1 in color1 and the rest in color2; a name shorter than `length`
    // is all color1.
    ColoredStrings(const QString& name, const QColor& color1, const QColor& color2,
                   qsizetype length);
    // Characters 0..length1-1 in color2, the next length2 in color1, the rest in color2 again;
    // a name shorter than length1 is all color2.
    ColoredStrings(const QString& name, const QColor& color1, const QColor& color2,
                   qsizetype length1, qsizetype length2);

    const AttributedString& attributedString() const { return mAttributedString; }
    // Puts the text into `field` and colours it.
    void showIn(QLineEdit& field) const;

private:
    void paint(qsizetype start, qsizetype end, const QColor& color);

    AttributedString mAttributedString;
};

}  // namespace tavrel::views
