// tavrel: the desktop program.
#include "app/AppDelegate.h"
#include "app/AppOptions.h"
#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"
#include "app/DarkPalette.h"
#include "app/QtAlerts.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"

#include <QApplication>
#include <QDialog>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QTimer>

#include <cstdio>
#include <string_view>

namespace {

void print(std::FILE* to, const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), to);
}

// What the picture shows, in a line: "QL-900 connected, storage mounted; 2 patterns".
QString summary(QWidget& window) {
    const auto* status = window.findChild<QLabel*>("unitStatus");
    const auto count = tavrel::Context::current().patterns().getPtnData().size();
    return QString("%1; %2 pattern%3\n")
        .arg(status != nullptr ? status->text() : QString())
        .arg(count)
        .arg(count == 1 ? "" : "s");
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

// The icon at every size the package installs, from the program's resources.
QIcon bundledIcon() {
    QIcon icon;
    for (const int size : {16, 32, 48, 64, 128, 256}) {
        icon.addFile(QString(":/icons/%1/org.tavrel.Tavrel.png").arg(size), QSize(size, size));
    }
    return icon;
}

// --help and --version answer before Qt looks for a display.
bool answeredAtOnce(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "-h" || arg == "--help") {
            print(stdout, tavrel::app::AppOptions::usage());
            return true;
        }
        if (arg == "--version") {
            print(stdout, QString("tavrel %1\n").arg(TAVREL_VERSION));
            return true;
        }
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (answeredAtOnce(argc, argv)) return 0;
    QApplication application(argc, argv);
    QApplication::setApplicationName("tavrel");
    QApplication::setOrganizationName("tavrel");
    QApplication::setApplicationDisplayName("Tavrel");
    QApplication::setApplicationVersion(TAVREL_VERSION);
    // The desktop entry's name, so that the shell groups the window under the menu entry.
    QGuiApplication::setDesktopFileName("org.tavrel.Tavrel");
    tavrel::app::DarkPalette::applyIfAsked(application);
    QApplication::setWindowIcon(QIcon::fromTheme("org.tavrel.Tavrel", bundledIcon()));
    // The window closes first and the program ends once the unit has been let go.
    QApplication::setQuitOnLastWindowClosed(false);

    QString error;
    const auto options = tavrel::app::AppOptions::parse(application.arguments().mid(1), error);
    if (!options) {
        print(stderr, "tavrel: " + error + "\n" + tavrel::app::AppOptions::usage());
        return 2;
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
        session.alerts().setUnattended();
        const QString path = options->screenshot;
        QObject::connect(&window, &tavrel::app::CPtnEditViewController::settled, &window,
                         [&window, path] {
                             // After the layout of what settled has been drawn.
                             QTimer::singleShot(50, &window, [&window, path] {
                                 if (!picture(window).save(path)) {
                                     print(stderr, "tavrel: could not write " + path + "\n");
                                 }
                                 print(stdout, summary(window));
                                 window.close();
                             });
                         });
    }
    window.show();
    return QApplication::exec();
}
