#include "app/CMidiDeviceComboBox.h"

#include "app/StoredPorts.h"
#include "app/SynthOutput.h"
#include "device/MidiLib.h"
#include "playback/LiveSynth.h"

#include <QSignalBlocker>
#include <QStandardItemModel>

namespace tavrel::app {

CMidiDeviceComboBox::CMidiDeviceComboBox(const QString& identifier, MidiLib* midi, QWidget* parent)
    : QComboBox(parent), mIdentifier(identifier), mMidi(midi) {
    setObjectName(identifier);
    setMinimumContentsLength(28);
    reloadData();
    selectSaved(false);
    connect(this, &QComboBox::activated, this, &CMidiDeviceComboBox::selectionDidChange);
}

CMidiDeviceComboBox::CMidiDeviceComboBox(MidiLib* midi, SynthOutput& synth, bool synthByDefault,
                                         QWidget* parent)
    : QComboBox(parent), mIdentifier("MIDI_OUT"), mMidi(midi), mSynth(&synth) {
    setObjectName(mIdentifier);
    setMinimumContentsLength(28);
    reloadData();
    selectSaved(synthByDefault);
    connect(this, &QComboBox::activated, this, &CMidiDeviceComboBox::selectionDidChange);
}

void CMidiDeviceComboBox::selectSaved(bool synthByDefault) {
    const auto saved =
        StoredPorts(StoredPorts::defaultPath(), LiveSynth::kOutputName).read(mIdentifier);
    using Kind = StoredPorts::Choice::Kind;
    const QSignalBlocker quiet(this);
    if (mSynth != nullptr &&
        (saved.kind == Kind::Synth || (saved.kind == Kind::None && synthByDefault))) {
        if (mSynth->choose()) {
            reloadData();
            setCurrentIndex(synthIndex());
            emit outputChosen(true);
        }
        return;
    }
    if (saved.kind != Kind::Port) return;
    // A saved index equal to the count is let through to the transport, which refuses it.
    if (count() >= saved.port) {
        setCurrentIndex(saved.port < count() ? saved.port : -1);
        select(saved.port);
    }
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
    const bool in = mIdentifier == "MIDI_IN";
    if (mMidi != nullptr && (in || mIdentifier == "MIDI_OUT")) {
        for (const auto& port : in ? mMidi->getInputPortList() : mMidi->getOutputPortList()) {
            addItem(QString::fromStdString(MidiLib::getDeviceName(port)));
        }
    }
    addSynthEntry();
    setMaxVisibleItems(std::max(1, count()));
    if (mSynth != nullptr && mSynth->chosen()) {
        setCurrentIndex(synthIndex());
    } else {
        setCurrentIndex(current < count() && current != synthIndex() ? current : -1);
    }
}

void CMidiDeviceComboBox::addSynthEntry() {
    if (mSynth == nullptr) return;
    const QString reason = mSynth->unavailableReason();
    if (reason.isEmpty()) {
        addItem(LiveSynth::kOutputName);
        return;
    }
    addItem(QString("%1 (unavailable: %2)").arg(LiveSynth::kOutputName, reason));
    if (auto* items = qobject_cast<QStandardItemModel*>(model())) {
        items->item(count() - 1)->setEnabled(false);
    }
}

int CMidiDeviceComboBox::synthIndex() const {
    return mSynth != nullptr ? count() - 1 : -1;
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
    StoredPorts stored(StoredPorts::defaultPath(), LiveSynth::kOutputName);
    if (index >= 0 && index == synthIndex()) {
        if (mSynth->choose()) stored.storeSynth(mIdentifier);
        reloadData();
        emit outputChosen(mSynth->chosen());
        return;
    }
    if (mSynth != nullptr) mSynth->leave();
    select(index);
    reloadData();
    stored.storePort(mIdentifier, index);
    if (mSynth != nullptr) emit outputChosen(false);
}

}  // namespace tavrel::app
