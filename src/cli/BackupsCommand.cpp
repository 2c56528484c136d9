#include "cli/BackupsCommand.h"

#include "cli/JsonWriter.h"
#include "files/BackupStore.h"
#include "files/PatternFileImage.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <iomanip>
#include <optional>
#include <string>

namespace tavrel::cli {

namespace {

// The number of patterns a pattern file's header claims, at most what its slots hold; nothing
// for any other file.
std::optional<std::int64_t> patternsIn(const std::filesystem::path& path) {
    std::array<char, PatternFileImage::kHeaderSize> header{};
    std::ifstream in(path, std::ios::binary);
    if (!in.read(header.data(), header.size()) ||
        std::string_view(header.data(), 8) != "PTN_0000") {
        return std::nullopt;
    }
    std::uint32_t used = 0;
    for (int i = 3; i >= 0; --i) used = used << 8 | static_cast<std::uint8_t>(header[8 + i]);
    return std::min<std::int64_t>(used / PatternFileImage::kSlotSize, PatternFileImage::kSlotCount);
}

// "20261124-210500" as "2026-11-24 21:05:00".
std::string dateOf(const std::string& stamp) {
    return stamp.substr(0, 4) + '-' + stamp.substr(4, 2) + '-' + stamp.substr(6, 2) + ' ' +
           stamp.substr(9, 2) + ':' + stamp.substr(11, 2) + ':' + stamp.substr(13, 2);
}

std::string whereFrom(const BackupStore::Target& target) {
    if (!target.origin.empty()) return (target.origin / target.fileName).string();
    return "the " + target.owner + "'s " + target.fileName;
}

void printJson(const BackupStore& store, const std::vector<BackupStore::Target>& targets,
               std::ostream& out) {
    JsonWriter json(out);
    json.beginObject().key("folder").value(store.root().string()).key("targets").beginArray();
    for (const auto& target : targets) {
        json.beginObject().key("owner").value(target.owner).key("file").value(target.fileName);
        json.key("origin");
        if (target.origin.empty()) {
            json.nullValue();
        } else {
            json.value(target.origin.string());
        }
        json.key("backups").beginArray();
        for (const auto& e : target.entries) {
            json.beginObject()
                .key("path")
                .value(e.path.string())
                .key("date")
                .value(dateOf(e.stamp));
            json.key("size").value(static_cast<std::int64_t>(e.size)).key("patterns");
            if (const auto n = patternsIn(e.path)) {
                json.value(*n);
            } else {
                json.nullValue();
            }
            json.endObject();
        }
        json.endArray().endObject();
    }
    json.endArray().endObject();
    out << '\n';
}

void printText(const BackupStore& store, const std::vector<BackupStore::Target>& targets,
               std::ostream& out) {
    if (targets.empty()) out << "no backups in " << store.root().string() << '\n';
    for (const auto& target : targets) {
        out << whereFrom(target) << '\n';
        for (const auto& e : target.entries) {
            out << "  " << dateOf(e.stamp) << std::setw(10) << e.size << " bytes";
            if (const auto n = patternsIn(e.path)) {
                out << std::setw(4) << *n << (*n == 1 ? " pattern " : " patterns");
            }
            out << "  " << e.path.string() << '\n';
        }
    }
}

}  // namespace

int BackupsCommand::run(const Args& args, CommandIo io) {
    bool json = false;
    for (const std::string& a : args) {
        if (a != "--json") {
            io.err << "tavrel-cli: unexpected argument '" << a << "'; usage: tavrel-cli " << usage()
                   << '\n';
            return kExitUsage;
        }
        json = true;
    }
    const BackupStore store;
    const auto targets = store.list();
    if (json) {
        printJson(store, targets, io.out);
    } else {
        printText(store, targets, io.out);
    }
    return kExitOk;
}

}  // namespace tavrel::cli
