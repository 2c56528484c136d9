// Gives a new simulated unit the files a unit comes with: in VANTIK/DATA an empty user pattern
// file, and the system and memory settings files, each as two copies with a generation number
// behind the XML. Files that exist are the user's and are left alone, so seeding on every start
// only fills in what is missing.
#pragma once

#include <filesystem>

namespace tavrel::sim {

class StorageSeeder {
public:
    static constexpr int kMemories = 50;
    static constexpr int kFirstUserContent = 350;  // user pattern i is content 350 + i
    static constexpr int kUserPatterns = 50;

    // `unitFolder` is the unit's "VANTIK" folder. False, with the reason logged, when a folder
    // or file could not be made.
    static bool seed(const std::filesystem::path& unitFolder);

    // Factory settings of the memories: the kit and the tempo (tenths of a beat per minute)
    // each one gives user pattern `pattern`. They differ from memory to memory and pattern to
    // pattern, so that a value written to the wrong place shows.
    static int kitOf(int mem, int pattern);
    static int tempoOf(int mem, int pattern);
};

}  // namespace tavrel::sim
