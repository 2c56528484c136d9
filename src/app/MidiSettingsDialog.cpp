#include "app/MidiSettingsDialog.h"

#include "app/AppSession.h"
#include "app/CMidiDeviceComboBox.h"
#include "app/SynthOutput.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>

namespace tavrel::app {

MidiSettingsDialog::MidiSettingsDialog(AppSession& session, QWidget* parent)
    : QDialog(parent), mSession(session) {
    setObjectName("midiSettings");
    setWindowTitle("MIDI Ports");
    MidiLib* midi = session.midi();
    auto* form = new QFormLayout(this);
    form->addRow("MIDI input:", new CMidiDeviceComboBox("MIDI_IN", midi, this));
    // With no unit to play on, the preview is heard from the computer until a port is chosen.
    const bool noUnit = session.simulatedUnit() == nullptr && session.unitName().isEmpty();
    auto* out = new CMidiDeviceComboBox(midi, session.synthOutput(), noUnit, this);
    form->addRow("Preview output:", out);
    mDriver = new QLabel(this);
    mDriver->setObjectName("synthDriver");
    mDriver->setWordWrap(true);
    form->addRow(mDriver);
    if (midi == nullptr) form->addRow(new QLabel("No ALSA sequencer: there are no MIDI ports."));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    connect(out, &CMidiDeviceComboBox::outputChosen, this, &MidiSettingsDialog::showOutput);
    showOutput();
}

QString MidiSettingsDialog::previewNote() const {
    const SynthOutput& synth = mSession.synthOutput();
    if (!synth.chosen()) return {};
    return QString("Preview through the built-in synthesizer: %1").arg(synth.describe());
}

void MidiSettingsDialog::showOutput() {
    const QString note = previewNote();
    mDriver->setText(note);
    mDriver->setVisible(!note.isEmpty());
    emit previewOutputChanged(note);
}

}  // namespace tavrel::app
