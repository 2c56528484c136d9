// A list of the transport's MIDI sources ("MIDI_IN") or destinations ("MIDI_OUT"): choosing an
// entry selects it in the transport and keeps its index in the settings under the box's
// identifier, which is selected again at the next start. The list is rescanned each time it
// opens. A box with any other identifier shows nothing and does nothing.
//
// An output box given the built-in synthesizer lists it after the destinations; choosing it is
// kept as its name rather than an index, so that it stays chosen however the ports change. An
// entry that cannot be chosen is greyed and says why.
#pragma once

#include <QComboBox>

namespace tavrel {
class MidiLib;
}

namespace tavrel::app {

class SynthOutput;

class CMidiDeviceComboBox : public QComboBox {
    Q_OBJECT
public:
    // `midi` may be null (no sequencer): the box stays empty.
    CMidiDeviceComboBox(const QString& identifier, MidiLib* midi, QWidget* parent = nullptr);
    // An output box with the synthesizer, which is chosen when nothing has been saved yet and
    // `synthByDefault` holds.
    CMidiDeviceComboBox(MidiLib* midi, SynthOutput& synth, bool synthByDefault,
                        QWidget* parent = nullptr);

    void showPopup() override;
    // Reads the transport's list again, keeping the box's selection.
    void reloadData();

signals:
    // The output chosen by the user or at start changed; `synth` when it is the synthesizer.
    void outputChosen(bool synth);

private:
    void selectionDidChange(int index);
    bool select(int index);
    void selectSaved(bool synthByDefault);
    void addSynthEntry();
    int synthIndex() const;

    QString mIdentifier;
    MidiLib* mMidi;
    SynthOutput* mSynth = nullptr;
};

}  // namespace tavrel::app
