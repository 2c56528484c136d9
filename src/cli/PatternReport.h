// How the command-line tool shows the patterns of a collection, for every command that shows
// them (`list`, `unit load`): as text, and as the JSON array of pattern objects.
#pragma once

#include "model/CPatternMgr.h"

#include <ostream>
#include <string>
#include <string_view>

namespace tavrel::cli {

class JsonWriter;

class PatternReport {
public:
    // One object per pattern: name, kit, tempo, numerator, denominator and its ten variations
    // (from, bars, totalBars, count). Written as the array value at the writer's place.
    static void writeJson(JsonWriter& json, const CPatternMgr::PatternList& patterns);
    // Patterns numbered from 1, as the unit shows them, with every variation's window.
    static void printText(const CPatternMgr::PatternList& patterns, std::ostream& out);
    // A name as it may go to a terminal: control bytes (escape sequences included), C1 control
    // characters and bytes that are not UTF-8 as \xNN, and the backslash doubled.
    static std::string printable(std::string_view name);
};

}  // namespace tavrel::cli
