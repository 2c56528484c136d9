#include "cli/MemoryCommand.h"

#include "cli/JsonWriter.h"
#include "cli/PathArgs.h"
#include "files/CXMLFile.h"
#include "files/FolderStorage.h"
#include "model/Context.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <memory>
#include <string>
#include <system_error>

namespace tavrel::cli {

namespace {

constexpr int kMemories = 50;
constexpr int kFirstUserContent = 350;  // user pattern i is content 350 + i
constexpr int kUserPatterns = 50;
constexpr int kNotFound = -1;

// Tenths of a beat per minute as the unit stores them, shown as BPM with one decimal.
std::string bpm(int tenths) {
    if (tenths == kNotFound) return "-";
    const std::int64_t t = tenths;
    const std::int64_t whole = std::llabs(t) / 10;
    const std::int64_t tenth = std::llabs(t) % 10;
    return (t < 0 ? "-" : "") + std::to_string(whole) + "." + std::to_string(tenth);
}

std::string number(int value) {
    return value == kNotFound ? "-" : std::to_string(value);
}

void printJson(const CXMLFile& settings, std::ostream& out) {
    JsonWriter json(out);
    json.beginObject().key("current").value(settings.getCurrentNumber());
    json.key("memories").beginArray();
    for (int mem = 0; settings.hasMemoryDoc() && mem < kMemories; ++mem) {
        json.beginObject().key("id").value(mem).key("contents").beginArray();
        for (int c = kFirstUserContent; c < kFirstUserContent + kUserPatterns; ++c) {
            json.beginObject().key("content").value(c);
            json.key("kit").value(settings.getKitFromMem(mem, c));
            json.key("tempo").value(settings.getTempoFromMem(mem, c));
            json.endObject();
        }
        json.endArray().endObject();
    }
    json.endArray().endObject();
    out << '\n';
}

// Memories and user patterns are shown from 1, as the user counts them.
void printText(const CXMLFile& settings, std::ostream& out) {
    const int current = settings.getCurrentNumber();
    out << "current memory: " << (current < 0 ? "unknown" : std::to_string(current + 1)) << '\n';
    for (int mem = 0; mem < kMemories; ++mem) {
        out << "memory " << mem + 1 << '\n';
        for (int i = 0; i < kUserPatterns; ++i) {
            const int content = kFirstUserContent + i;
            out << "  pattern " << std::setw(2) << i + 1 << "  content " << content << "  kit "
                << std::setw(4) << number(settings.getKitFromMem(mem, content)) << "  tempo "
                << std::setw(6) << bpm(settings.getTempoFromMem(mem, content)) << '\n';
        }
    }
}

}  // namespace

int MemoryCommand::run(const Args& args, CommandIo io) {
    const auto parsed = PathArgs::parse(args, io, usage(), "data folder");
    if (!parsed) return kExitUsage;
    const std::string& folder = parsed->path;
    const bool json = parsed->json;

    Context::current().install<FolderStorage, UnitStorage>(std::make_unique<FolderStorage>(folder));
    const CXMLFile settings;
    if (json) {
        printJson(settings, io.out);
    } else if (settings.hasMemoryDoc()) {
        printText(settings, io.out);
    }
    if (!settings.hasMemoryDoc()) {
        std::error_code ec;
        io.err << "tavrel-cli: " << folder << ": "
               << (std::filesystem::is_directory(folder, ec)
                       ? "neither MEMORY1.QL0 nor MEMORY2.QL0 holds a readable memory file"
                       : "not a folder")
               << '\n';
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace tavrel::cli
