#include "app/MidiSettingsDialog.h"

#include "app/CMidiDeviceComboBox.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>

namespace tavrel::app {

MidiSettingsDialog::MidiSettingsDialog(MidiLib* midi, QWidget* parent) : QDialog(parent) {
    setObjectName("midiSettings");
    setWindowTitle("MIDI Ports");
    auto* form = new QFormLayout(this);
    form->addRow("MIDI input:", new CMidiDeviceComboBox("MIDI_IN", midi, this));
    form->addRow("MIDI output:", new CMidiDeviceComboBox("MIDI_OUT", midi, this));
    if (midi == nullptr) form->addRow(new QLabel("No ALSA sequencer: there are no MIDI ports."));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
}

}  // namespace tavrel::app
