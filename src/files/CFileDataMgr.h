// Moves patterns between the collection and files: the unit's user pattern file, backups of
// it chosen by the user, and MIDI files loaded as new patterns. Every operation works on the
// process's collection (Context::current()) and reports by its result; messages to the user
// are the callers' business, except for the two questions a MIDI load asks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace tavrel {

class CFileDataMgr {
public:
    // Reads RHYTHM.QL0 from the unit's data folder into the collection. False, with the
    // collection untouched, when there is no such file or it is not a pattern file.
    static bool loadData();
    // The same from bytes of RHYTHM.QL0 read already (by the device thread).
    static bool loadDataFrom(std::span<const std::uint8_t> file);
    // Writes the collection into RHYTHM.QL0 and clears the edited mark. True without touching
    // the unit when there is nothing to write; false, with the old file kept, when the file
    // could not be written.
    static bool saveData();
    static bool IsVolumeExist();
    static bool IsDataFileExist();

    // A backup of the collection at `path`, in the unit's own format; the edited mark stays.
    static bool exportData(const std::filesystem::path& path);
    // Replaces the collection by the patterns of a backup, read as written.
    static bool importData(const std::filesystem::path& path);

    // Appends a pattern whose ten variations all hold the notes of the MIDI file at `path`,
    // named after the file. False when no pattern was added.
    static bool loadSmf(const std::filesystem::path& path);
};

}  // namespace tavrel
