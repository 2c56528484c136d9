// What the port boxes take from a settings file the user may have edited by hand.
#include "app/StoredPorts.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>

#include <fstream>

namespace tavrel::app {
namespace {

using Kind = StoredPorts::Choice::Kind;

TEST(StoredPorts, OnlyAnIndexOrTheSynthesizerIsAChoice) {
    const struct {
        const char* line;
        StoredPorts::Choice choice;
    } cases[] = {
        {"MIDI_IN=2", {Kind::Port, 2}},
        {"MIDI_IN = 0 ", {Kind::Port, 0}},
        {"MIDI_IN=Synth", {Kind::Synth}},
        {"MIDI_IN=\"Synth\"", {Kind::Synth}},
        {"MIDI_IN=-1", {}},
        {"MIDI_IN=abc", {}},
        {"MIDI_IN=99999999999", {}},
        {"MIDI_IN=1, 2", {}},
        {"MIDI_IN=@Size(3 4)", {}},
        {"midi_in=3", {}},
        {"", {}},
    };
    const QTemporaryDir folder;
    int serial = 0;
    for (const auto& c : cases) {
        // A new file each time: QSettings may keep what it read of a path.
        const QString path = folder.filePath(QString("%1.conf").arg(serial++));
        std::ofstream(path.toStdString()) << "[General]\n" << c.line << "\n";
        QSettings settings(path, QSettings::IniFormat);
        StoredPorts ports(settings, "Synth");
        EXPECT_EQ(ports.read("MIDI_IN"), c.choice) << c.line;
    }
}

}  // namespace
}  // namespace tavrel::app
