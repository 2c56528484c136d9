// The MIDI ports chosen in the port boxes, as the program's settings keep them under the box's
// identifier ("MIDI_IN", "MIDI_OUT"): a port by its index in the transport's list, or the
// built-in synthesizer by its name, so that it stays chosen however the ports change. The
// settings file is the user's to edit, so anything else found there counts as no choice.
#pragma once

#include <QString>

class QSettings;

namespace tavrel::app {

class StoredPorts {
public:
    struct Choice {
        enum class Kind { None, Port, Synth };
        Kind kind = Kind::None;
        int port = -1;  // Port: the index, 0 or more; otherwise -1

        bool operator==(const Choice&) const = default;
    };

    // `synthName` is the name the synthesizer is kept under.
    StoredPorts(QSettings& settings, QString synthName);

    Choice read(const QString& identifier) const;
    void storePort(const QString& identifier, int index);
    void storeSynth(const QString& identifier);

private:
    QSettings& mSettings;
    QString mSynthName;
};

}  // namespace tavrel::app
