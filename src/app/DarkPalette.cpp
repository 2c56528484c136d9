#include "app/DarkPalette.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace tavrel::app {

bool DarkPalette::applyIfAsked(QApplication& application) {
    if (qEnvironmentVariable("TAVREL_DARK") != "1") return false;
    apply(application);
    return true;
}

void DarkPalette::apply(QApplication& application) {
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    const QColor window(45, 45, 48);
    const QColor base(30, 30, 32);
    const QColor text(225, 225, 225);
    const QColor disabled(120, 120, 120);
    const QColor highlight(62, 120, 200);
    QPalette p;
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, disabled);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, window);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::red);
    p.setColor(QPalette::Light, window.lighter(150));
    p.setColor(QPalette::Midlight, window.lighter(125));
    p.setColor(QPalette::Mid, window.lighter(110));
    p.setColor(QPalette::Dark, base.darker(130));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Link, highlight.lighter(130));
    p.setColor(QPalette::Highlight, highlight);
    p.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        p.setColor(QPalette::Disabled, role, disabled);
    }
    application.setPalette(p);
}

}  // namespace tavrel::app
