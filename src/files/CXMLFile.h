// The unit's settings files: which memory is current, and the kit and tempo each of the 50
// memories assigns to a user pattern. The unit keeps every settings file twice with a generation
// number behind the XML, so that it can fall back to the older complete copy; this class reads
// the newer usable copy and writes the memory file back as both copies.
#pragma once

#include "files/WriteReport.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace pugi {
class xml_document;
}

namespace tavrel {

class SettingsIndex;

class CXMLFile {
public:
    // Reads the system file, then the memory file, from the UnitStorage of the current Context.
    CXMLFile();
    ~CXMLFile();
    CXMLFile(const CXMLFile&) = delete;
    CXMLFile& operator=(const CXMLFile&) = delete;

    void getSystemParam();
    void getMemoryParam();

    // The current memory, 0-based as the unit numbers it; -1 when the system file gave none.
    int getCurrentNumber() const { return mCurMemNum; }
    // The document holds a memory file (the readers and the setter have something to work on).
    bool hasMemoryDoc() const { return xmlDocMem != nullptr; }

    // Tempo in tenths of a beat per minute, as stored, of content `content` of memory `mem`;
    // -1 when there is no memory file or the content has not exactly one Tempo.
    int getTempoFromMem(int mem, int content) const;
    // The kit number of content `content` of memory `mem`; -1 as for the tempo.
    int getKitFromMem(int mem, int content) const;

    // Sets kit and tempo (whole beats per minute) of user pattern `patternNum` (0-based; the
    // unit keeps user pattern i as content 350 + i) in memory `mem`. Only the document changes;
    // false, with nothing changed, unless the content has exactly one Kit and one Tempo.
    bool setKitAndTempoFromMem(int mem, int patternNum, int kit, int tempo);

    // Writes the document as MEMORY1.QL0 (generation 0), then, only if that worked, as
    // MEMORY2.QL0 (generation 1), so that the unit takes the second copy next time. Every
    // element, attribute, comment and text of the file read stays, whitespace-only text
    // included; only the values set and the layout change.
    bool saveFile();
    // What the last saveFile's writes did, one report per copy it tried.
    const std::vector<WriteReport>& saveReports() const { return mSaveReports; }

private:
    std::int32_t mCurMemNum = -1;
    std::unique_ptr<pugi::xml_document> xmlDocMem;
    std::unique_ptr<SettingsIndex> mIndex;  // of xmlDocMem
    std::vector<WriteReport> mSaveReports;
};

}  // namespace tavrel
