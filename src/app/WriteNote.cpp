#include "app/WriteNote.h"

#include <QStringList>

namespace tavrel::app {

QString WriteNote::describe(const std::vector<WriteReport>& reports) {
    QStringList parts;
    for (const WriteReport& report : reports) {
        QString note = QString::fromStdString(report.backupNote());
        if (!note.isEmpty()) note[0] = note[0].toUpper();
        if (!report.warning.empty()) {
            if (!note.isEmpty()) note += "; ";
            note += QString("%1: %2").arg(QString::fromStdString(report.target.filename().string()),
                                          QString::fromStdString(report.warning));
        }
        if (!note.isEmpty()) parts << note;
    }
    return parts.join(". ");
}

}  // namespace tavrel::app
