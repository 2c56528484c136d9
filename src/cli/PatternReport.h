// How the command-line tool shows the patterns of a collection, for every command that shows
// them (`list`, `unit load`): as text, and as the JSON array of pattern objects.
#pragma once

#include "model/CPatternMgr.h"

#include <ostream>

namespace tavrel::cli {

class JsonWriter;

class PatternReport {
public:
    // One object per pattern: name, kit, tempo, numerator, denominator and its ten variations
    // (from, bars, totalBars, count). Written as the array value at the writer's place.
    static void writeJson(JsonWriter& json, const CPatternMgr::PatternList& patterns);
    // Patterns numbered from 1, as the unit shows them, with every variation's window.
    static void printText(const CPatternMgr::PatternList& patterns, std::ostream& out);
};

}  // namespace tavrel::cli
