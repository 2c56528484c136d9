#include "cli/RecordedAlerts.h"

namespace tavrel::cli {

void RecordedAlerts::alert(const std::string& message, const std::string& informative) {
    mShown.push_back(informative.empty() ? message : message + ' ' + informative);
    mPrinter.alert(message, informative);
}

bool RecordedAlerts::ask(const std::string& message, const std::string& informative,
                         const std::string& confirmButton) {
    return mPrinter.ask(message, informative, confirmButton);
}

}  // namespace tavrel::cli
