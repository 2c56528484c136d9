// What the port boxes take from a settings file the user may have edited by hand, and what
// storing a choice does to the rest of it.
#include "app/StoredPorts.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

namespace tavrel::app {
namespace {

using Kind = StoredPorts::Choice::Kind;

QString write(const QTemporaryDir& folder, const QByteArray& text) {
    const QString path = folder.filePath("ports.conf");
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
    return path;
}

TEST(StoredPorts, OnlyAnIndexOrTheSynthesizerIsAChoice) {
    const struct {
        const char* text;
        StoredPorts::Choice choice;
    } cases[] = {
        {"[General]\nMIDI_IN=2\n", {Kind::Port, 2}},
        {"MIDI_IN = 0 \r\n[Window]\nMIDI_IN=4\n", {Kind::Port, 0}},
        {"[General]\nMIDI_IN=Synth\n", {Kind::Synth}},
        {"[General]\nMIDI_IN=\"Synth\"\n", {Kind::Synth}},
        {"[General]\nMIDI_IN=-1\n", {}},
        {"[General]\nMIDI_IN=abc\n", {}},
        {"[General]\nMIDI_IN=99999999999\n", {}},
        {"[General]\nMIDI_IN=1, 2\n", {}},
        {"[General]\nMIDI_IN=@Variant(\\0\\0\\0\\0\tJ\\0\\0\\0\\0\\0\\0\\x35)\n", {}},
        {"[General]\nmidi_in=3\n;MIDI_IN=3\n", {}},
        {"[Other]\nMIDI_IN=3\n", {}},
        {"", {}},
    };
    const QTemporaryDir folder;
    for (const auto& c : cases) {
        const StoredPorts ports(write(folder, c.text), "Synth");
        EXPECT_EQ(ports.read("MIDI_IN"), c.choice) << c.text;
    }
}

TEST(StoredPorts, StoringAChoiceKeepsTheOtherLines) {
    const QTemporaryDir folder;
    const QString path = write(folder, "[Window]\nsize=3\n[General]\nMIDI_OUT=1\nMIDI_IN=x\n");
    StoredPorts ports(path, "Synth");
    ASSERT_TRUE(ports.storePort("MIDI_IN", 4));
    ASSERT_TRUE(ports.storeSynth("MIDI_OUT"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "[Window]\nsize=3\n[General]\nMIDI_OUT=Synth\nMIDI_IN=4\n");
    StoredPorts fresh(folder.filePath("new/tavrel.conf"), "Synth");
    ASSERT_TRUE(fresh.storePort("MIDI_OUT", 0));
    EXPECT_EQ(fresh.read("MIDI_OUT"), (StoredPorts::Choice{Kind::Port, 0}));
}

}  // namespace
}  // namespace tavrel::app
