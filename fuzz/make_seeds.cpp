// Writes the seed inputs of every fuzz target into FOLDER/<target>/ (`./dev fuzz seeds`): small
// files of each structure a reader handles, laid out as the target reads its input, so that a
// campaign starts from every branch a well-formed input reaches instead of finding the formats
// from nothing. Usage: make_seeds FOLDER
#include "files/PatternFileImage.h"
#include "sim/FactoryKits.h"
#include "sim/SimProtocol.h"
#include "sim/UnitModel.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using tavrel::sim::SimProtocol;

fs::path gFolder;

void put(const char* target, const std::string& name, const Bytes& bytes) {
    const fs::path dir = gFolder / target;
    fs::create_directories(dir);
    std::ofstream(dir / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes text(std::string_view s) {
    return Bytes(s.begin(), s.end());
}

Bytes bigEndian(std::uint32_t v, int bytes) {
    Bytes out;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<std::uint8_t>(v >> shift));
    return out;
}

Bytes vlq(std::uint32_t v) {
    Bytes out{static_cast<std::uint8_t>(v & 0x7F)};
    while ((v >>= 7) != 0) out.insert(out.begin(), static_cast<std::uint8_t>(0x80 | (v & 0x7F)));
    return out;
}

Bytes chunk(std::string_view tag, const Bytes& body) {
    return text(tag) + bigEndian(static_cast<std::uint32_t>(body.size()), 4) + body;
}

Bytes smf(int format, std::uint16_t division, std::initializer_list<Bytes> tracks) {
    Bytes out = chunk("MThd", bigEndian(format, 2) +
                                  bigEndian(static_cast<std::uint32_t>(tracks.size()), 2) +
                                  bigEndian(division, 2));
    for (const Bytes& t : tracks) out = out + chunk("MTrk", t);
    return out;
}

const Bytes kEnd{0x00, 0xFF, 0x2F, 0x00};

Bytes tempo(std::uint32_t delta, std::uint32_t micros) {
    return vlq(delta) + Bytes{0xFF, 0x51, 0x03} + bigEndian(micros, 3);
}

// Kick, snare and hats on eighths, as a drummer's bar: every note-on with its status byte.
Bytes groove(int bars, std::uint8_t channel = 9) {
    Bytes t;
    const auto on = static_cast<std::uint8_t>(0x90 | channel);
    const auto off = static_cast<std::uint8_t>(0x80 | channel);
    for (int step = 0; step < bars * 8; ++step) {
        t = t + vlq(step == 0 ? 0 : 48) + Bytes{on, 42, 80};
        if (step % 4 == 0) t = t + Bytes{0x00, on, 36, 110};
        if (step % 4 == 2) t = t + Bytes{0x00, on, 38, 100};
        t = t + Bytes{0x10, off, 42, 0};
    }
    return t;
}

void smfSeeds() {
    const Bytes meta =
        Bytes{0x00, 0xFF, 0x03, 0x04} + text("Beat") + Bytes{0x00, 0xFF, 0x58, 0x04, 3, 2, 24, 8};
    put("smf", "format0.mid", smf(0, 96, {tempo(0, 500000) + groove(2) + kEnd}));
    // One status byte, then data pairs only; velocity 0 is a note-off.
    Bytes running{0x00, 0x99, 36, 100};
    for (int i = 0; i < 32; ++i)
        running = running + Bytes{24, static_cast<std::uint8_t>(36 + i % 12),
                                  static_cast<std::uint8_t>(i % 3 ? 90 : 0)};
    put("smf", "running-status.mid", smf(0, 480, {running + kEnd}));
    put("smf", "format1-tracks.mid",
        smf(1, 96,
            {meta + tempo(0, 428571) + tempo(384, 600000) + kEnd, groove(2) + kEnd,
             groove(1, 0) + Bytes{0x00, 0xB0, 7, 100, 0x00, 0xC0, 5} + kEnd}));
    put("smf", "format2.mid", smf(2, 96, {groove(1) + kEnd, groove(1) + kEnd}));
    // An exclusive message, an escape (F7) packet, a sequencer-specific meta event.
    const Bytes sysex = Bytes{0x00, 0xF0, 0x05, 0x7E, 0x7F, 0x09, 0x01, 0xF7, 0x00, 0xF7,
                              0x02, 0xF8, 0xFA, 0x00, 0xFF, 0x7F, 0x02, 0x00, 0x41};
    put("smf", "sysex.mid", smf(0, 96, {sysex + groove(1) + kEnd}));
    put("smf", "smpte-division.mid", smf(0, 0xE728, {groove(2) + kEnd}));
    put("smf", "long-deltas.mid",
        smf(0, 96, {Bytes{0x8F, 0xFF, 0xFF, 0x7F, 0x99, 36, 100} + kEnd}));
    put("smf", "no-tempo-no-end.mid", smf(0, 96, {groove(1)}));
    Bytes cut = smf(1, 96, {groove(2) + kEnd, groove(2) + kEnd});
    cut.resize(cut.size() - 40);
    put("smf", "truncated-chunk.mid", cut);
    const Bytes other = chunk("XFIH", text("vendor data"));
    Bytes withOther = smf(1, 96, {tempo(0, 500000) + kEnd});
    withOther = withOther + other + chunk("MTrk", groove(1) + kEnd);
    withOther[11] = 2;  // the header counts the second track
    put("smf", "unknown-chunk.mid", withOther);
    // More notes than a variation keeps.
    Bytes many{0x00, 0x99, 36, 100};
    for (int i = 0; i < 10050; ++i)
        many = many + Bytes{1, static_cast<std::uint8_t>(35 + i % 20), 100};
    put("smf", "over-note-limit.mid", smf(0, 96, {many + kEnd}));
}

tavrel::PatternSnapshot::Pattern pattern(int n) {
    tavrel::PatternSnapshot::Pattern p;
    char name[16];
    std::snprintf(name, sizeof name, "GROOVE %02d", n);
    p.name = name;
    p.kit = n % 30;
    p.tempo = 90 + n;
    auto notes = std::make_shared<tavrel::StepRecords>();
    for (int i = 0; i < 16 + n; ++i)
        notes->push_back(
            {static_cast<std::uint16_t>(i ? 48 : 0), static_cast<std::uint8_t>(36 + i % 8), 100});
    notes->push_back({48, 0, 0});
    for (int v = 0; v < 10; ++v)
        p.variations[static_cast<std::size_t>(v)] = {0, v % 2 ? 1 : 2, 2,
                                                     static_cast<std::int32_t>(notes->size())};
    p.notes = notes;
    return p;
}

// The target pads the input to the file's length with zeros, so trailing zeros are left out.
Bytes patternInput(int patterns, std::uint8_t choice, std::size_t cut) {
    std::vector<tavrel::PatternSnapshot::Pattern> list;
    for (int i = 0; i < patterns; ++i) list.push_back(pattern(i));
    tavrel::PatternFileImage image;
    image.write(list);
    Bytes file(image.bytes().begin(), image.bytes().begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                  cut, image.bytes().size())));
    while (!file.empty() && file.back() == 0) file.pop_back();
    return Bytes{choice} + file;
}

void patternSeeds() {
    constexpr std::size_t kInput = 40400 - 1;  // the target's longest input, less its choice byte
    put("patternfile", "empty", patternInput(0, 0, kInput));
    put("patternfile", "one-pattern", patternInput(1, 0, kInput));
    put("patternfile", "fifty-patterns", patternInput(50, 0, kInput));
    put("patternfile", "cut-short", patternInput(1, 2, kInput));
}

Bytes settingsCopy(const std::string& xml, std::uint32_t generation) {
    Bytes out = text(xml) + Bytes{'\n'};
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<std::uint8_t>(generation >> shift));
    return out;
}

// One document that serves as both files: the system part names the current memory, the
// memory part holds a few memories with user pattern contents.
std::string settingsXml(int current, int kitBase, bool duplicateKit) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<sys><SETUP><Volume>100</Volume><MemNum>" +
        std::to_string(current) + "</MemNum></SETUP>\n<memory>\n";
    for (int mem = 0; mem < 3; ++mem) {
        xml += "<mem id=\"" + std::to_string(mem) + "\">\n<Name>MEMORY " + std::to_string(mem + 1) +
               "</Name>\n";
        for (int content = 350; content < 353; ++content) {
            const std::string tag = "CONTENT" + std::to_string(content);
            xml += "<" + tag + ">\n\t<Kit>" + std::to_string(kitBase + mem + content % 7) +
                   "</Kit>\n\t<Tempo>1200</Tempo>\n";
            if (duplicateKit && content == 351) xml += "\t<Kit>9</Kit>\n";
            xml += "</" + tag + ">\n";
        }
        xml += "</mem>\n";
    }
    return xml + "</memory></sys>";
}

// Byte 0: low two bits how the copies are given, upper six bits the user pattern.
Bytes xmlInput(unsigned mode, unsigned pattern, const Bytes& first, const Bytes& second = {}) {
    Bytes out{static_cast<std::uint8_t>(pattern << 2 | mode)};
    if (mode == 3)
        out = out + Bytes{static_cast<std::uint8_t>(first.size()),
                          static_cast<std::uint8_t>(first.size() >> 8)};
    return out + first + second;
}

void xmlSeeds() {
    const Bytes older = settingsCopy(settingsXml(1, 0, false), 4);
    const Bytes newer = settingsCopy(settingsXml(2, 10, false), 5);
    put("xml", "both-copies-same", xmlInput(0, 1, newer));
    put("xml", "first-only", xmlInput(1, 0, older));
    put("xml", "second-only", xmlInput(2, 2, newer));
    put("xml", "two-generations", xmlInput(3, 1, older, newer));
    Bytes broken(newer.begin(), newer.begin() + static_cast<std::ptrdiff_t>(newer.size() / 2));
    put("xml", "newer-copy-broken", xmlInput(3, 1, older, broken));
    put("xml", "duplicate-kit", xmlInput(1, 1, settingsCopy(settingsXml(0, 0, true), 1)));
}

// midirx: blocks of (length, control, bytes); control bit 0 drains, bits 1-4 repeat.
Bytes block(const Bytes& bytes, bool drain, int repeats = 1) {
    return Bytes{static_cast<std::uint8_t>(bytes.size()),
                 static_cast<std::uint8_t>((repeats - 1) << 1 | (drain ? 1 : 0))} +
           bytes;
}

void midirxSeeds() {
    const tavrel::sim::UnitModel model = tavrel::sim::UnitModel::ql900();
    const std::uint8_t on = 1;
    const Bytes reply = SimProtocol::dataSet(model, SimProtocol::kMountAddress, {&on, 1});
    put("midirx", "running-status", block({0x99, 36, 100, 38, 90, 42, 0, 0x89, 36, 0}, true));
    const std::size_t half = reply.size() / 2;
    put("midirx", "exclusive-in-pieces",
        block(Bytes(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(half)) + Bytes{0xF8},
              false) +
            block(Bytes(reply.begin() + static_cast<std::ptrdiff_t>(half), reply.end()), true));
    put("midirx", "real-time-and-common",
        block({0xF8, 0x99, 0xFA, 36, 0xFE, 100, 0xF1, 0x20, 0xF2, 1, 2, 0xF3, 3, 0xF6, 0xFC, 0x90,
               40, 50},
              true));
    Bytes longSysex{0xF0};
    longSysex.resize(254, 0x11);
    put("midirx", "exclusive-past-record", block(longSysex, false, 2) + block({0xF7}, true));
    Bytes full(255, 0x40);
    full[0] = 0x99;
    put("midirx", "ring-full",
        block(full, false, 16) + block(full, false, 16) + block({0x99, 36, 1}, true));
}

// rxmidi: byte 0 the model; then (control, length, bytes) per reply, whole replies given here.
Bytes reply(const Bytes& message) {
    return Bytes{0x00, static_cast<std::uint8_t>(message.size())} + message;
}

void rxmidiSeeds() {
    const auto models = {tavrel::sim::UnitModel::ql900(), tavrel::sim::UnitModel::ql414xe3()};
    std::uint8_t modelIndex = 0;
    for (const auto& model : models) {
        const auto report = [&](std::uint32_t address, std::uint8_t value) {
            return reply(SimProtocol::dataSet(model, address, {&value, 1}));
        };
        const std::string suffix = "-" + model.name();
        put("rxmidi", "editor-and-mount" + suffix,
            Bytes{modelIndex} + report(SimProtocol::kEditorModeAddress, 1) +
                report(SimProtocol::kMountAddress, 1) + report(SimProtocol::kMountAddress, 0));
        Bytes kits{modelIndex};
        const auto names = tavrel::sim::FactoryKits::names();
        for (std::size_t slot = 0; slot <= names.size(); ++slot) {
            Bytes name(SimProtocol::kKitNameSize, slot < names.size() ? ' ' : 0);
            if (slot < names.size())
                std::copy(names[slot].begin(), names[slot].end(), name.begin());
            kits = kits + reply(SimProtocol::dataSet(
                              model,
                              SimProtocol::kKitNameAddress +
                                  static_cast<std::uint32_t>(slot * SimProtocol::kKitNameSize),
                              name));
        }
        put("rxmidi", "kit-names" + suffix, kits);
        ++modelIndex;
    }
}

void portsSeeds() {
    put("ports", "ports", text("[General]\nMIDI_IN=1\nMIDI_OUT=0\n"));
    put("ports", "synth",
        text("[General]\nMIDI_OUT=Built-in "
             "synthesizer\n[Window]\ngeometry=@ByteArray(\\x1\\xd9\\xd0\\xcb)\n"));
    put("ports", "odd-values",
        text("[General]\nMIDI_IN=\"2, 3\"\nMIDI_OUT=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x5)\nother=a, "
             "b\n"));
}

// drop: patterns already held, the merge answer, the name's length, the name, the file.
Bytes dropInput(std::uint8_t already, std::string_view name, const Bytes& file) {
    return Bytes{already, 1, static_cast<std::uint8_t>(name.size()),
                 static_cast<std::uint8_t>(name.size() >> 8)} +
           text(name) + file;
}

void dropSeeds() {
    const Bytes beat = smf(0, 96, {tempo(0, 500000) + groove(2) + kEnd});
    put("drop", "beat", dropInput(0, "beat.mid", beat));
    put("drop", "upper-case",
        dropInput(2, "FUNK GROOVE NUMBER ONE.MID",
                  smf(1, 96, {tempo(0, 400000) + kEnd, groove(1) + kEnd})));
    put("drop", "list-full", dropInput(0x83, "late.mid", beat));
    put("drop", "not-midi", dropInput(0x82, "notes.txt", text("not a MIDI file")));
    put("drop", "latin1-name", dropInput(1, "caf\xe9 \xff\xfe.Mid", beat));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds FOLDER\n");
        return 2;
    }
    gFolder = argv[1];
    smfSeeds();
    patternSeeds();
    xmlSeeds();
    midirxSeeds();
    rxmidiSeeds();
    portsSeeds();
    dropSeeds();
    return 0;
}
