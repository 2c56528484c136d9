#include "app/QtAlerts.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

#include <cstdio>
#include <future>
#include <memory>

namespace tavrel::app {

QtAlerts::QtAlerts() {
    setObjectName("alerts");
}

void QtAlerts::alert(const std::string& message, const std::string& informative) {
    onUiThread(message, informative, {});
}

bool QtAlerts::ask(const std::string& message, const std::string& informative,
                   const std::string& confirmButton) {
    return onUiThread(message, informative, confirmButton);
}

bool QtAlerts::onUiThread(const std::string& message, const std::string& informative,
                          const std::string& confirmButton) {
    const QString text = QString::fromStdString(message);
    const QString info = QString::fromStdString(informative);
    const QString confirm = QString::fromStdString(confirmButton);
    if (QThread::currentThread() == thread()) return show(text, info, confirm);
    if (mClosing) return false;
    // The raising thread waits here until the box is answered on the UI thread. A call the UI
    // thread drops unrun (this object gone) breaks the promise, which counts as "Cancel".
    auto answer = std::make_shared<std::promise<bool>>();
    std::future<bool> answered = answer->get_future();
    QMetaObject::invokeMethod(
        this, [this, answer, text, info, confirm] { answer->set_value(show(text, info, confirm)); },
        Qt::QueuedConnection);
    try {
        return answered.get();
    } catch (const std::future_error&) {
        return false;
    }
}

bool QtAlerts::show(const QString& message, const QString& informative, const QString& confirm) {
    mShown.append(message);
    if (mUnattended) {
        const QString answer = confirm.isEmpty() ? QString() : " [" + confirm + "]";
        std::fprintf(stderr, "tavrel: %s %s%s\n", qPrintable(message), qPrintable(informative),
                     qPrintable(answer));
        emit alertShown(message);
        return true;
    }
    QMessageBox box(QApplication::activeWindow());
    box.setObjectName("alertBox");
    box.setWindowTitle("Tavrel");
    box.setIcon(confirm.isEmpty() ? QMessageBox::Warning : QMessageBox::Question);
    box.setText(message);
    box.setInformativeText(informative);
    QAbstractButton* yes = nullptr;
    if (confirm.isEmpty()) {
        box.addButton(QMessageBox::Ok);
    } else {
        yes = box.addButton(confirm, QMessageBox::AcceptRole);
        box.addButton("Cancel", QMessageBox::RejectRole);
        box.setDefaultButton(qobject_cast<QPushButton*>(yes));
    }
    emit alertShown(message);
    box.exec();
    return yes == nullptr || box.clickedButton() == yes;
}

}  // namespace tavrel::app
