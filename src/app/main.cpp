// tavrel: the desktop program.
#include "app/AppDelegate.h"
#include "app/AppOptions.h"
#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"
#include "model/Context.h"

#include <QApplication>
#include <QDialog>
#include <QPainter>
#include <QPixmap>
#include <QTimer>

#include <cstdio>

namespace {

void print(std::FILE* to, const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), to);
}

// The window as the user sees it: with the dialog it shows, if any, centred over it.
QPixmap picture(QWidget& window) {
    QPixmap shot = window.grab();
    for (QDialog* dialog : window.findChildren<QDialog*>()) {
        if (!dialog->isVisible()) continue;
        const QPixmap top = dialog->grab();
        QPainter painter(&shot);
        painter.drawPixmap((shot.width() - top.width()) / 2, (shot.height() - top.height()) / 3,
                           top);
        painter.setPen(window.palette().color(QPalette::Mid));
        painter.drawRect((shot.width() - top.width()) / 2, (shot.height() - top.height()) / 3,
                         top.width() - 1, top.height() - 1);
    }
    return shot;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("tavrel");
    QApplication::setOrganizationName("tavrel");
    QApplication::setApplicationDisplayName("Tavrel");
    QApplication::setApplicationVersion(TAVREL_VERSION);
    // The window closes first and the program ends once the unit has been let go.
    QApplication::setQuitOnLastWindowClosed(false);

    QString error;
    const auto options = tavrel::app::AppOptions::parse(application.arguments().mid(1), error);
    if (!options) {
        print(stderr, "tavrel: " + error + "\n" + tavrel::app::AppOptions::usage());
        return 2;
    }
    if (options->help) {
        print(stdout, tavrel::app::AppOptions::usage());
        return 0;
    }
    if (options->version) {
        print(stdout, QString("tavrel %1\n").arg(TAVREL_VERSION));
        return 0;
    }

    // The process objects in start-up order: the kit list and the pattern collection with the
    // Context, then the MIDI transport and the preview sequencer (whose clock thread asks for
    // real-time scheduling, so that the preview's time axis does not shake), then the link.
    tavrel::Context context;
    tavrel::app::AppSession session(*options);
    tavrel::app::AppDelegate delegate(session);
    tavrel::app::CPtnEditViewController window(session, delegate);
    window.setPendingMidiFiles(options->midiFiles);
    if (!options->screenshot.isEmpty()) {
        const QString path = options->screenshot;
        QObject::connect(&window, &tavrel::app::CPtnEditViewController::settled, &window,
                         [&window, path] {
                             // After the layout of what settled has been drawn.
                             QTimer::singleShot(50, &window, [&window, path] {
                                 if (!picture(window).save(path)) {
                                     print(stderr, "tavrel: could not write " + path + "\n");
                                 }
                                 window.close();
                             });
                         });
    }
    window.show();
    return QApplication::exec();
}
