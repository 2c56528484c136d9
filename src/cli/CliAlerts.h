// Alerts for the command-line tool: every message goes to stderr, naming the file it is
// about, and a question is answered from the command line instead of by a person. Safe from
// any thread (the link's device thread raises its alerts); each message is one whole line.
#pragma once

#include "model/Alerts.h"

#include <atomic>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>

namespace tavrel::cli {

class CliAlerts : public Alerts {
public:
    CliAlerts(std::ostream& err, bool confirm) : mErr(err), mConfirm(confirm) {}

    // The file the following messages are about.
    void setSubject(std::string subject) {
        std::lock_guard lock(mLock);
        mSubject = std::move(subject);
    }

    void alert(const std::string& message, const std::string& informative = {}) override;
    bool ask(const std::string& message, const std::string& informative,
             const std::string& confirmButton) override;

    // Running counts, from which a command tells why an operation gave up.
    int alertsShown() const { return mAlerts; }
    int questionsDeclined() const { return mDeclined; }

private:
    void print(const std::string& message, const std::string& informative);

    std::mutex mLock;  // one message at a time, whole
    std::ostream& mErr;
    const bool mConfirm;
    std::string mSubject;
    std::atomic<int> mAlerts{0};
    std::atomic<int> mDeclined{0};
};

}  // namespace tavrel::cli
