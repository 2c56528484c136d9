// libFuzzer target for the MIDI port choice kept in the program's settings: any bytes as the
// INI file, read through QSettings as the port boxes read it at start. A choice read must be
// one a box can act on (a port index of 0 or more, or the synthesizer), and storing it again
// into the same file, whatever else the file holds, must read back as the same choice.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include <QSettings>
#include <QString>

#include "app/StoredPorts.h"

namespace {

namespace fs = std::filesystem;
using tavrel::app::StoredPorts;
using Kind = StoredPorts::Choice::Kind;

const char* const kSynth = "Built-in synthesizer";

const fs::path& folder() {
    static const fs::path path = [] {
        // In memory where there is such a folder: every input is written, and synced.
        const fs::path base = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
        fs::path p = base / ("tavrel-fuzz-ports-" + std::to_string(getpid()));
        fs::create_directories(p);
        return p;
    }();
    return path;
}

void store(StoredPorts& ports, const QString& id, const StoredPorts::Choice& choice) {
    if (choice.kind == Kind::Synth) ports.storeSynth(id);
    if (choice.kind == Kind::Port) ports.storePort(id, choice.port);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A new name for every input: QSettings caches what it read of a path and would miss a
    // rewrite of the same size within its clock's resolution.
    static unsigned serial = 0;
    const fs::path file = folder() / ("tavrel-" + std::to_string(serial++) + ".conf");
    {
        std::ofstream out(file, std::ios::binary);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    const QString path = QString::fromStdString(file.string());
    StoredPorts::Choice choices[2];
    const QString ids[2] = {"MIDI_IN", "MIDI_OUT"};
    {
        QSettings settings(path, QSettings::IniFormat);
        StoredPorts ports(settings, kSynth);
        for (int i = 0; i < 2; ++i) {
            choices[i] = ports.read(ids[i]);
            const auto& c = choices[i];
            if ((c.kind == Kind::Port) != (c.port >= 0)) std::abort();
            store(ports, ids[i], c);
            if (!(ports.read(ids[i]) == c)) std::abort();
        }
    }
    {
        QSettings settings(path, QSettings::IniFormat);
        const StoredPorts ports(settings, kSynth);
        for (int i = 0; i < 2; ++i) {
            if (!(ports.read(ids[i]) == choices[i])) std::abort();
        }
    }
    fs::remove(file);
    return 0;
}
