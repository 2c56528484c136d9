// The MIDI ports chosen in the port boxes, kept in the program's settings file (INI, in the
// config folder) under the box's identifier ("MIDI_IN", "MIDI_OUT") in its [General] group: a
// port by its index in the transport's list, or the built-in synthesizer by its name, so that
// it stays chosen however the ports change.
//
// The file is read and written here as plain text rather than through QSettings, which would
// decode every "@Variant(...)" value of the group first: a damaged or hand-edited file could
// then make the program ask for gigabytes at start. Anything but a port index or the
// synthesizer's name counts as no choice, and storing a choice keeps every other line.
#pragma once

#include <QString>

namespace tavrel::app {

class StoredPorts {
public:
    struct Choice {
        enum class Kind { None, Port, Synth };
        Kind kind = Kind::None;
        int port = -1;  // Port: the index, 0 or more; otherwise -1

        bool operator==(const Choice&) const = default;
    };

    // `path` is the settings file; `synthName` the name the synthesizer is kept under.
    StoredPorts(QString path, QString synthName);
    // The program's own settings file, where QSettings keeps it.
    static QString defaultPath();

    Choice read(const QString& identifier) const;
    // False when the file could not be written.
    bool storePort(const QString& identifier, int index);
    bool storeSynth(const QString& identifier);

private:
    bool store(const QString& identifier, const QString& value);

    QString mPath;
    QString mSynthName;
};

}  // namespace tavrel::app
