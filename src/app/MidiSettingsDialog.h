// The MIDI ports: which source the unit is heard on and which output the preview plays to, a
// MIDI destination or the built-in synthesizer. Made once at start, so that the saved choices
// are selected then, and shown from the menu.
#pragma once

#include <QDialog>

class QLabel;

namespace tavrel::app {

class AppSession;

class MidiSettingsDialog : public QDialog {
    Q_OBJECT
public:
    MidiSettingsDialog(AppSession& session, QWidget* parent);

    // What the preview plays through, in a line: the synthesizer's audio driver, or empty
    // while the preview goes to MIDI.
    QString previewNote() const;

signals:
    void previewOutputChanged(const QString& note);

private:
    void showOutput();

    AppSession& mSession;
    QLabel* mDriver = nullptr;
};

}  // namespace tavrel::app
