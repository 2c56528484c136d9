// The desktop's Alerts: modal message boxes with the system's own texts and buttons. An alert
// raised on another thread (the device thread, the apply worker) is shown on the UI thread and
// the raising thread waits for the answer.
#pragma once

#include "model/Alerts.h"

#include <QObject>
#include <QStringList>

#include <atomic>
#include <string>

namespace tavrel::app {

class QtAlerts : public QObject, public Alerts {
    Q_OBJECT
public:
    QtAlerts();  // on the UI thread

    void alert(const std::string& message, const std::string& informative = {}) override;
    bool ask(const std::string& message, const std::string& informative,
             const std::string& confirmButton) override;

    // From now on alerts from other threads are answered "Cancel" at once without being shown:
    // the UI thread is about to wait for those threads to end and could not show them.
    void closeDown() { mClosing = true; }
    // No one is there to answer (a screenshot run): every message goes to stderr instead of a
    // box, and a question takes its default, confirming button, as pressing Return would.
    void setUnattended() { mUnattended = true; }

    // Every message shown so far, oldest first; for the status bar's history and tests.
    const QStringList& shown() const { return mShown; }

signals:
    void alertShown(const QString& message);

private:
    bool show(const QString& message, const QString& informative, const QString& confirm);
    bool onUiThread(const std::string& message, const std::string& informative,
                    const std::string& confirmButton);

    std::atomic<bool> mClosing{false};
    bool mUnattended = false;
    QStringList mShown;
};

}  // namespace tavrel::app
