// libFuzzer target for the MIDI port choice kept in the program's settings file: any bytes as
// the file, read as the port boxes read it at start. A choice read must be one a box can act
// on (a port index of 0 or more, or the synthesizer); storing it again must read back as the
// same choice, leave the other box's choice as it was, and keep the file's other lines.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <QFile>
#include <QString>

#include "ScratchFolder.h"
#include "app/StoredPorts.h"

namespace {

namespace fs = std::filesystem;
using tavrel::app::StoredPorts;
using Kind = StoredPorts::Choice::Kind;

void store(StoredPorts& ports, const QString& id, const StoredPorts::Choice& choice) {
    if (choice.kind == Kind::Synth && !ports.storeSynth(id)) std::abort();
    if (choice.kind == Kind::Port && !ports.storePort(id, choice.port)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fs::path file = scratchFolder("ports") / "tavrel.conf";
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    StoredPorts ports(QString::fromStdString(file.string()), "Built-in synthesizer");
    const QString ids[2] = {"MIDI_IN", "MIDI_OUT"};
    const StoredPorts::Choice choices[2] = {ports.read(ids[0]), ports.read(ids[1])};
    for (const auto& c : choices) {
        if ((c.kind == Kind::Port) != (c.port >= 0)) std::abort();
    }
    const QByteArray before(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    for (int i = 0; i < 2; ++i) {
        store(ports, ids[i], choices[i]);
        if (!(ports.read(ids[0]) == choices[0]) || !(ports.read(ids[1]) == choices[1]))
            std::abort();
    }
    // Every line of the file is still there, but the ones of the two keys.
    QFile after(QString::fromStdString(file.string()));
    if (!after.open(QIODevice::ReadOnly)) std::abort();
    const QByteArray text = after.readAll();
    for (const QByteArray& line : before.split('\n')) {
        if (!line.contains("MIDI_") && !text.contains(line)) std::abort();
    }
    return 0;
}
