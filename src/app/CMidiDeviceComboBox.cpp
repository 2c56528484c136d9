#include "app/CMidiDeviceComboBox.h"

#include "device/MidiLib.h"

#include <QSettings>
#include <QSignalBlocker>

namespace tavrel::app {

CMidiDeviceComboBox::CMidiDeviceComboBox(const QString& identifier, MidiLib* midi, QWidget* parent)
    : QComboBox(parent), mIdentifier(identifier), mMidi(midi) {
    setObjectName(identifier);
    setMinimumContentsLength(28);
    reloadData();
    const QSettings settings;
    if (settings.contains(mIdentifier)) {
        const int saved = settings.value(mIdentifier).toInt();
        // A saved index equal to the count is let through to the transport, which refuses it.
        if (count() >= saved) {
            const QSignalBlocker quiet(this);
            setCurrentIndex(saved < count() ? saved : -1);
            select(saved);
        }
    }
    connect(this, &QComboBox::activated, this, &CMidiDeviceComboBox::selectionDidChange);
}

void CMidiDeviceComboBox::showPopup() {
    if (mMidi != nullptr) mMidi->searchDevice();
    reloadData();
    QComboBox::showPopup();
}

void CMidiDeviceComboBox::reloadData() {
    const QSignalBlocker quiet(this);
    const int current = currentIndex();
    clear();
    if (mMidi == nullptr) return;
    const bool in = mIdentifier == "MIDI_IN";
    if (!in && mIdentifier != "MIDI_OUT") return;
    for (const auto& port : in ? mMidi->getInputPortList() : mMidi->getOutputPortList()) {
        addItem(QString::fromStdString(MidiLib::getDeviceName(port)));
    }
    setMaxVisibleItems(std::max(1, count()));
    setCurrentIndex(current < count() ? current : -1);
}

bool CMidiDeviceComboBox::select(int index) {
    if (mMidi == nullptr) return false;
    if (mIdentifier == "MIDI_IN") return mMidi->selectInputDevice(index);
    if (mIdentifier == "MIDI_OUT") return mMidi->selectOutputDevice(index);
    return false;
}

// The transport's refusal is not shown: the user's choice stands and is kept.
void CMidiDeviceComboBox::selectionDidChange(int index) {
    if (mIdentifier != "MIDI_IN" && mIdentifier != "MIDI_OUT") return;
    select(index);
    reloadData();
    QSettings settings;
    settings.setValue(mIdentifier, index);
    settings.sync();
}

}  // namespace tavrel::app
