// What a step of the link read from the unit for the model: read on the device thread, applied
// to the current Context's kit list and pattern collection on the model's thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

struct LinkReadings {
    std::optional<std::vector<std::string>> kitNames;      // replaces the kit list
    std::optional<std::vector<std::uint8_t>> patternFile;  // RHYTHM.QL0, checked as such
    bool firstPatternCurrent = false;                      // pattern 0 made current

    // Model's thread. False when the pattern file was not taken; the kit names are applied
    // in any case.
    bool apply();
};

}  // namespace tavrel
