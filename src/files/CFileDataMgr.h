// Moves patterns between the collection and files: the unit's user pattern file, backups of
// it chosen by the user, and MIDI files loaded as new patterns. Every operation works on the
// process's collection (Context::current()) and reports by its result; messages to the user
// are the callers' business, except for what a MIDI load tells and asks.
#pragma once

#include "files/PatternSnapshot.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace tavrel {

namespace smf {
class FileContents;
}

class CFileDataMgr {
public:
    // Reads RHYTHM.QL0 from the unit's data folder into the collection. False, with the
    // collection untouched, when there is no such file or it is not a pattern file.
    static bool loadData();
    // Main thread: replaces the collection by the patterns of `file`, read as the unit reads
    // them. False, with the collection untouched, when `file` is not a pattern file.
    static bool loadDataFrom(std::span<const std::uint8_t> file);

    // Writes the collection into RHYTHM.QL0 and clears the edited mark: saveSnapshot of
    // snapshot(). True without touching the unit when there is nothing to write; false, with
    // the old file kept, when the file could not be written.
    static bool saveData();
    // Main thread: the collection as the pattern file holds it; cheap, the notes are shared.
    static PatternSnapshot snapshot();
    // Any thread: encodes `patterns` and writes RHYTHM.QL0 through the unit's storage. Touches
    // neither the model nor the edited mark. True without writing when it holds no pattern.
    static bool saveSnapshot(const PatternSnapshot& patterns);

    static bool IsVolumeExist();
    static bool IsDataFileExist();

    // A backup of the collection at `path`, in the unit's own format; the edited mark stays.
    static bool exportData(const std::filesystem::path& path);
    // Replaces the collection by the patterns of a backup, read as written. A file whose
    // header claims more patterns than it holds is read as far as it goes, and `warning`
    // (when given) says so in one line, which is also logged.
    static bool importData(const std::filesystem::path& path, std::string* warning = nullptr);

    // Appends a pattern whose ten variations all hold the notes of the MIDI file at `path`,
    // named after the file. False when no pattern was added. The file is read and parsed once.
    static bool loadSmf(const std::filesystem::path& path);
    // The same with the file's contents already read (or the reason they could not be).
    static bool loadSmf(const std::filesystem::path& path, const smf::FileContents& file);
};

}  // namespace tavrel
