// The alerts of a command that talks to the unit: printed on stderr as they come (once each,
// by CliAlerts) and kept, so that the command's report can name the one that stopped it.
// The link raises them on its device thread, the command reads them on its own.
#pragma once

#include "cli/CliAlerts.h"

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace tavrel::cli {

class RecordedAlerts : public Alerts {
public:
    // Nothing the unit commands do asks a question; one that did would be declined.
    explicit RecordedAlerts(std::ostream& err) : mPrinter(err, false) {}

    void alert(const std::string& message, const std::string& informative = {}) override;
    bool ask(const std::string& message, const std::string& informative,
             const std::string& confirmButton) override;

    // The messages shown so far, oldest first.
    std::vector<std::string> shown() const;

private:
    mutable std::mutex mLock;
    CliAlerts mPrinter;
    std::vector<std::string> mShown;
};

}  // namespace tavrel::cli
