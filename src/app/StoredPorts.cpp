#include "app/StoredPorts.h"

#include <QSettings>

namespace tavrel::app {

StoredPorts::StoredPorts(QSettings& settings, QString synthName)
    : mSettings(settings), mSynthName(std::move(synthName)) {}

StoredPorts::Choice StoredPorts::read(const QString& identifier) const {
    const QVariant saved = mSettings.value(identifier);
    if (!saved.isValid()) return {};
    // A list ("1, 2") or a value of another type is not a choice, whatever its text says.
    if (saved.typeId() == QMetaType::QStringList || !saved.canConvert<QString>()) return {};
    const QString text = saved.toString().trimmed();
    if (text == mSynthName) return {Choice::Kind::Synth};
    bool number = false;
    const int index = text.toInt(&number);
    if (!number || index < 0) return {};
    return {Choice::Kind::Port, index};
}

void StoredPorts::storePort(const QString& identifier, int index) {
    mSettings.setValue(identifier, index);
    mSettings.sync();
}

void StoredPorts::storeSynth(const QString& identifier) {
    mSettings.setValue(identifier, mSynthName);
    mSettings.sync();
}

}  // namespace tavrel::app
