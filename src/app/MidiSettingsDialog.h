// The MIDI ports: which source the unit is heard on and which destination the preview plays
// to. Made once at start, so that the saved choices are selected then, and shown from the menu.
#pragma once

#include <QDialog>

namespace tavrel {
class MidiLib;
}

namespace tavrel::app {

class MidiSettingsDialog : public QDialog {
    Q_OBJECT
public:
    MidiSettingsDialog(MidiLib* midi, QWidget* parent);
};

}  // namespace tavrel::app
