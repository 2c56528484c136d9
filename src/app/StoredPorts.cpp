#include "app/StoredPorts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>

#include <algorithm>

namespace tavrel::app {

namespace {

// Far more than two ports' lines; a longer file is read only this far.
constexpr qint64 kMaxFileBytes = qint64{1} << 20;

// Lines as bytes, so that storing a choice writes every other line back exactly as it was.
QList<QByteArray> readLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    QList<QByteArray> lines = file.read(kMaxFileBytes).split('\n');
    if (!lines.isEmpty() && lines.back().isEmpty()) lines.removeLast();
    return lines;
}

bool isGroup(const QByteArray& line) {
    const QByteArray t = line.trimmed();
    return t.startsWith('[') && t.endsWith(']');
}

// Lines before the first group belong to [General] too.
bool isGeneral(const QByteArray& group) {
    return group.isEmpty() || group.trimmed() == "[General]";
}

// The index of the last line of [General] setting `key`, or -1.
qsizetype findKey(const QList<QByteArray>& lines, const QByteArray& key) {
    QByteArray group;
    qsizetype found = -1;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QByteArray& line = lines[i];
        const qsizetype equals = line.indexOf('=');
        if (isGroup(line)) {
            group = line;
        } else if (isGeneral(group) && equals > 0 && line.left(equals).trimmed() == key) {
            found = i;
        }
    }
    return found;
}

QString valueOf(const QByteArray& line) {
    QByteArray value = line.mid(line.indexOf('=') + 1).trimmed();
    if (value.size() >= 2 && value.startsWith('"') && value.endsWith('"'))
        value = value.mid(1, value.size() - 2);
    return QString::fromUtf8(value);
}

}  // namespace

StoredPorts::StoredPorts(QString path, QString synthName)
    : mPath(std::move(path)), mSynthName(std::move(synthName)) {}

QString StoredPorts::defaultPath() {
    // Only the file's name is asked for: QSettings decodes no value for it.
    return QSettings().fileName();
}

StoredPorts::Choice StoredPorts::read(const QString& identifier) const {
    const QList<QByteArray> lines = readLines(mPath);
    const qsizetype at = findKey(lines, identifier.toUtf8());
    if (at < 0) return {};
    const QString text = valueOf(lines[at]);
    if (text == mSynthName) return {Choice::Kind::Synth};
    bool number = false;
    const int index = text.toInt(&number);
    if (!number || index < 0) return {};
    return {Choice::Kind::Port, index};
}

bool StoredPorts::storePort(const QString& identifier, int index) {
    return store(identifier, QString::number(index));
}

bool StoredPorts::storeSynth(const QString& identifier) {
    return store(identifier, mSynthName);
}

bool StoredPorts::store(const QString& identifier, const QString& value) {
    // Rewriting a longer file would cut it short.
    if (QFileInfo(mPath).size() > kMaxFileBytes) return false;
    QList<QByteArray> lines = readLines(mPath);
    const QByteArray line = (identifier + "=" + value).toUtf8();
    const qsizetype at = findKey(lines, identifier.toUtf8());
    if (at >= 0) {
        lines[at] = line;
    } else {
        const auto general = std::find_if(lines.begin(), lines.end(), [](const QString& l) {
            return l.trimmed() == "[General]";
        });
        if (general != lines.end()) {
            lines.insert(general + 1, line);
        } else {
            lines.insert(0, "[General]");
            lines.insert(1, line);
            if (lines.size() > 2) lines.insert(2, QByteArray());
        }
    }
    QDir().mkpath(QFileInfo(mPath).absolutePath());
    QSaveFile file(mPath);
    if (!file.open(QIODevice::WriteOnly)) return false;
    file.write(lines.join('\n') + '\n');
    return file.commit();
}

}  // namespace tavrel::app
