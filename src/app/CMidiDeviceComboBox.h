// A list of the transport's MIDI sources ("MIDI_IN") or destinations ("MIDI_OUT"): choosing an
// entry selects it in the transport and keeps its index in the settings under the box's
// identifier, which is selected again at the next start. The list is rescanned each time it
// opens. A box with any other identifier shows nothing and does nothing.
#pragma once

#include <QComboBox>

namespace tavrel {
class MidiLib;
}

namespace tavrel::app {

class CMidiDeviceComboBox : public QComboBox {
    Q_OBJECT
public:
    // `midi` may be null (no sequencer): the box stays empty.
    CMidiDeviceComboBox(const QString& identifier, MidiLib* midi, QWidget* parent = nullptr);

    void showPopup() override;
    // Reads the transport's list again, keeping the box's selection.
    void reloadData();

private:
    void selectionDidChange(int index);
    bool select(int index);

    QString mIdentifier;
    MidiLib* mMidi;
};

}  // namespace tavrel::app
