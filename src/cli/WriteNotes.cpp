#include "cli/WriteNotes.h"

#include "files/CFileDataMgr.h"

namespace tavrel::cli {

void WriteNotes::failure(const WriteReport& report, std::ostream& err) {
    err << "tavrel-cli: cannot write " << report.target.string() << ": "
        << (report.error.empty() ? "unknown reason" : report.error) << '\n';
}

void WriteNotes::success(const WriteReport& report, std::ostream& err) {
    const std::string note = report.backupNote();
    if (!note.empty()) err << "tavrel-cli: " << report.target.string() << ": " << note << '\n';
    if (!report.warning.empty()) {
        err << "tavrel-cli: " << report.target.string() << ": " << report.warning << '\n';
    }
}

void WriteNotes::afterStore(const RecordedAlerts& alerts, std::ostream& err) {
    if (!alerts.shown().empty() &&
        alerts.shown().back() == "User Pattern file cannot be created.") {
        failure(CFileDataMgr::lastWriteReport(), err);
    }
}

}  // namespace tavrel::cli
