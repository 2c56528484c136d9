#include "files/WriteReport.h"

namespace tavrel {

std::string WriteReport::backupNote() const {
    if (!replaced || (!ok && !inPlace)) return {};
    const std::string name = target.filename().string();
    if (!backup.empty()) {
        std::string note = "the " + name + " it replaced is kept at " + backup.string();
        if (inPlace) note += " (written in place: no room for a temporary copy beside it)";
        return note;
    }
    return "no backup of the " + name + " it replaced was kept: " + noBackup;
}

}  // namespace tavrel
