#include "cli/RecordedAlerts.h"

namespace tavrel::cli {

void RecordedAlerts::alert(const std::string& message, const std::string& informative) {
    std::lock_guard lock(mLock);
    mShown.push_back(informative.empty() ? message : message + ' ' + informative);
    mPrinter.alert(message, informative);
}

std::vector<std::string> RecordedAlerts::shown() const {
    std::lock_guard lock(mLock);
    return mShown;
}

bool RecordedAlerts::ask(const std::string& message, const std::string& informative,
                         const std::string& confirmButton) {
    std::lock_guard lock(mLock);
    return mPrinter.ask(message, informative, confirmButton);
}

}  // namespace tavrel::cli
