#include "cli/CliAlerts.h"

namespace tavrel::cli {

void CliAlerts::print(const std::string& message, const std::string& informative) {
    mErr << "tavrel-cli: ";
    if (!mSubject.empty()) mErr << mSubject << ": ";
    mErr << message;
    if (!informative.empty()) mErr << ' ' << informative;
}

void CliAlerts::alert(const std::string& message, const std::string& informative) {
    std::lock_guard lock(mLock);
    ++mAlerts;
    print(message, informative);
    mErr << '\n';
}

bool CliAlerts::ask(const std::string& message, const std::string& informative,
                    const std::string& confirmButton) {
    std::lock_guard lock(mLock);
    print(message, informative);
    mErr << " -> " << (mConfirm ? confirmButton : "Cancel") << '\n';
    if (!mConfirm) ++mDeclined;
    return mConfirm;
}

}  // namespace tavrel::cli
