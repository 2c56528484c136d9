#include "app/ConnectionDialog.h"

#include "app/AppDelegate.h"
#include "app/AppSession.h"
#include "app/CPtnEditViewController.h"
#include "device/LinkRunner.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "model/Notifications.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace tavrel::app {

ConnectionDialog::ConnectionDialog(AppSession& session, CPtnEditViewController& window,
                                   const QString& name, const QString& message)
    : QDialog(&window),
      mSession(session),
      mWindow(window),
      mAppDelegate(window.appDelegate()),
      mLabel(new QLabel(message, this)),
      mBody(new QVBoxLayout),
      mButtons(new QHBoxLayout) {
    setObjectName(name);
    setWindowTitle("Tavrel");
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    mLabel->setObjectName("message");
    mLabel->setWordWrap(true);
    mLabel->setMinimumWidth(320);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mLabel);
    layout->addLayout(mBody);
    mButtons->addStretch(1);
    layout->addLayout(mButtons);
    mQuitObserver = Context::current().notifications().addObserver(
        NOTIFY_QUIT, [this](const Notification&) { close(); });
}

QPushButton* ConnectionDialog::addButton(const QString& text, const QString& name,
                                         std::function<void()> action) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(name);
    button->setAutoDefault(false);
    mButtons->addWidget(button);
    connect(button, &QPushButton::clicked, this, [action = std::move(action)] { action(); });
    return button;
}

void ConnectionDialog::addBusyBar() {
    auto* busy = new QProgressBar(this);
    busy->setRange(0, 0);
    busy->setTextVisible(false);
    mBody->addWidget(busy);
}

void ConnectionDialog::startTimer(int ms, std::function<void()> tick) {
    mTimer = new QTimer(this);
    connect(mTimer, &QTimer::timeout, this, [tick = std::move(tick)] { tick(); });
    mTimer->start(ms);
}

void ConnectionDialog::hideEvent(QHideEvent* event) {
    if (mTimer != nullptr) mTimer->stop();
    QDialog::hideEvent(event);
}

void ConnectionDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) QDialog::keyPressEvent(event);
}

CConnectionMgr& ConnectionDialog::link() {
    return *mSession.link();
}

LinkRunner& ConnectionDialog::steps() {
    return *mSession.steps();
}

bool ConnectionDialog::anyPattern() const {
    return !Context::current().patterns().getPtnData().empty();
}

void ConnectionDialog::onQuit() {
    mAppDelegate.onQuit();
}

}  // namespace tavrel::app
