#include "files/CXMLFile.h"

#include "files/AtomicFileWriter.h"
#include "files/SettingsIndex.h"
#include "files/UnitStorage.h"
#include "model/Context.h"
#include "model/Log.h"

#include <pugixml.hpp>

#include <climits>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

namespace {

// User pattern i is content 350 + i in every memory.
constexpr long long kFirstUserContent = 350;

// What the serialiser would put at the top of a document that came without a declaration; the
// standalone attribute is taken out again with the rest of the layout rewrite.
constexpr std::string_view kDeclaration =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";

void logLine(const std::string& text) {
    Log::line("files", text);
}

UnitStorage* unitStorage() {
    return Context::exists() ? Context::current().find<UnitStorage>() : nullptr;
}

// The unit's integer fields are decimal text, read leniently so that a hand-edited file still
// gives its numbers: leading blanks, an optional sign, digits up to the first other character,
// 0 without digits, and values beyond 32 bits clamped rather than wrapped.
int decimalValue(std::string_view text) {
    std::size_t i = text.find_first_not_of(" \t\n\r\f\v");
    if (i == std::string_view::npos) return 0;
    const bool negative = text[i] == '-';
    if (text[i] == '-' || text[i] == '+') ++i;
    long long value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > LLONG_MAX / 100) break;
    }
    if (negative) value = -value;
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

// All text inside the element, comments and child tags left out. Walked without recursion:
// a hostile file may nest deeply.
std::string textOf(pugi::xml_node element) {
    std::string text;
    pugi::xml_node n = element.first_child();
    while (n) {
        if (n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata) text += n.value();
        if (n.first_child()) {
            n = n.first_child();
            continue;
        }
        while (n != element && !n.next_sibling()) n = n.parent();
        n = n == element ? pugi::xml_node() : n.next_sibling();
    }
    return text;
}

void setTextOf(pugi::xml_node element, const std::string& text) {
    element.remove_children();
    element.append_child(pugi::node_pcdata).set_value(text.c_str());
}

// The one element `xpath` selects, or null when it selects none or several.
pugi::xml_node onlyMatch(const pugi::xml_document& doc, const std::string& xpath) {
    const pugi::xpath_node_set found = doc.select_nodes(xpath.c_str());
    return found.size() == 1 ? found.first().node() : pugi::xml_node();
}

struct SettingsCopy {
    std::int32_t generation = -1;
    std::unique_ptr<pugi::xml_document> doc;
};

// A copy is the XML text followed by its generation number, 4 bytes, signed, little-endian.
SettingsCopy readCopy(UnitStorage& storage, const std::string& name) {
    SettingsCopy copy;
    const std::optional<std::vector<std::uint8_t>> bytes = storage.getFileData(name);
    if (!bytes || bytes->size() < 4) return copy;
    const std::size_t textSize = bytes->size() - 4;
    const std::uint8_t* g = bytes->data() + textSize;
    copy.generation =
        static_cast<std::int32_t>(std::uint32_t{g[0]} | std::uint32_t{g[1]} << 8 |
                                  std::uint32_t{g[2]} << 16 | std::uint32_t{g[3]} << 24);
    auto doc = std::make_unique<pugi::xml_document>();
    // Declaration, comments, processing instructions, doctype and text that is only blanks
    // (<Name>   </Name>) are kept so that a save gives the unit back what it wrote, with only
    // kit and tempo changed. Blanks beside other nodes are layout, which a save rewrites.
    const pugi::xml_parse_result parsed =
        doc->load_buffer(bytes->data(), textSize, pugi::parse_full | pugi::parse_ws_pcdata_single,
                         pugi::encoding_utf8);
    if (parsed) {
        copy.doc = std::move(doc);
    } else {
        logLine(name.substr(1) + ": " + parsed.description());
    }
    return copy;
}

// The newer of the two copies that hold a document; a tie goes to the first.
std::unique_ptr<pugi::xml_document> chooseCopy(const std::string& first,
                                               const std::string& second) {
    UnitStorage* storage = unitStorage();
    if (storage == nullptr) return nullptr;
    SettingsCopy one = readCopy(*storage, first);
    SettingsCopy two = readCopy(*storage, second);
    if (one.doc && two.doc) {
        return two.generation > one.generation ? std::move(two.doc) : std::move(one.doc);
    }
    return one.doc ? std::move(one.doc) : std::move(two.doc);
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    std::string result;
    result.reserve(text.size());
    std::size_t start = 0;
    for (std::size_t at = text.find(from); at != std::string_view::npos;
         at = text.find(from, start)) {
        result.append(text, start, at - start).append(to);
        start = at + from.size();
    }
    result.append(text, start);
    return result;
}

bool hasDeclaration(const pugi::xml_document& doc) {
    for (pugi::xml_node n : doc.children()) {
        if (n.type() == pugi::node_declaration) return true;
    }
    return false;
}

// The layout the settings files must have on the unit: elements of depth 0 to 2 at the start of
// the line, depth 3 after one tab, every deeper level four more spaces before that tab, and no
// standalone attribute. It is made from the serialiser's four spaces a level by three passes
// that each take one level's spaces off, the last one leaving a tab in their place.
std::string unitLayout(const pugi::xml_document& doc) {
    std::ostringstream out;
    if (!hasDeclaration(doc)) out << kDeclaration << '\n';
    // Empty elements are written as a start and an end tag, not as "<x />", in case the unit's
    // reader does not know the short form.
    doc.save(out, "    ",
             pugi::format_indent | pugi::format_no_declaration | pugi::format_no_empty_element_tags,
             pugi::encoding_utf8);
    std::string text = out.str();
    // The line feed after the text is added with the generation number, and only once.
    if (!text.empty() && text.back() == '\n') text.pop_back();
    text = replaceAll(text, "    <", "<");
    text = replaceAll(text, "    <", "<");
    text = replaceAll(text, "    <", "\t<");
    return replaceAll(text, R"( standalone="yes"?)", "?");
}

WriteReport writeCopy(const std::string& name, std::string_view text, std::int32_t generation) {
    UnitStorage* storage = unitStorage();
    const std::optional<std::filesystem::path> target =
        storage != nullptr ? storage->getFileURL(name) : std::nullopt;
    if (!target) {
        WriteReport unknown =
            WriteReport::failed(name.substr(1), "the unit's data folder is not known");
        logLine(name.substr(1) + ": " + unknown.error);
        return unknown;
    }
    std::vector<std::uint8_t> bytes(text.begin(), text.end());
    bytes.push_back('\n');
    const auto g = static_cast<std::uint32_t>(generation);
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<std::uint8_t>(g >> shift));
    }
    WriteReport written = AtomicFileWriter::write(*target, bytes, storage->unitModelName());
    if (!written.ok) logLine(name.substr(1) + ": " + written.error);
    return written;
}

}  // namespace

CXMLFile::CXMLFile() {
    getSystemParam();
    getMemoryParam();
}

CXMLFile::~CXMLFile() = default;

void CXMLFile::getSystemParam() {
    mCurMemNum = -1;
    const std::unique_ptr<pugi::xml_document> system = chooseCopy("/SYSTEM1.QL0", "/SYSTEM2.QL0");
    if (!system) return;
    const pugi::xml_node memNum = onlyMatch(*system, "//sys/SETUP/MemNum");
    if (memNum) mCurMemNum = decimalValue(textOf(memNum));
}

void CXMLFile::getMemoryParam() {
    xmlDocMem = chooseCopy("/MEMORY1.QL0", "/MEMORY2.QL0");
    mIndex = std::make_unique<SettingsIndex>();
    if (xmlDocMem) mIndex->build(*xmlDocMem);
}

int CXMLFile::getTempoFromMem(int mem, int content) const {
    if (!xmlDocMem) return -1;
    const pugi::xml_node tempo = mIndex->find(mem, content, SettingsIndex::kTempo);
    if (!tempo) return -1;
    const int value = decimalValue(textOf(tempo));
    logLine("Tempo " + std::to_string(value));
    return value;
}

int CXMLFile::getKitFromMem(int mem, int content) const {
    if (!xmlDocMem) return -1;
    const pugi::xml_node kit = mIndex->find(mem, content, SettingsIndex::kKit);
    if (!kit) return -1;
    const int value = decimalValue(textOf(kit));
    logLine("Kit " + std::to_string(value));
    return value;
}

bool CXMLFile::setKitAndTempoFromMem(int mem, int patternNum, int kit, int tempo) {
    if (!xmlDocMem) return false;
    const long long content = kFirstUserContent + patternNum;
    const pugi::xml_node kitNode = mIndex->find(mem, content, SettingsIndex::kKit);
    if (!kitNode) return false;
    const pugi::xml_node tempoNode = mIndex->find(mem, content, SettingsIndex::kTempo);
    if (!tempoNode) return false;
    setTextOf(kitNode, std::to_string(kit));
    setTextOf(tempoNode, std::to_string(10LL * tempo));
    return true;
}

bool CXMLFile::saveFile() {
    mSaveReports.clear();
    if (!xmlDocMem) return false;
    const std::string text = unitLayout(*xmlDocMem);
    mSaveReports.push_back(writeCopy("/MEMORY1.QL0", text, 0));
    if (!mSaveReports.back().ok) return false;
    mSaveReports.push_back(writeCopy("/MEMORY2.QL0", text, 1));
    return mSaveReports.back().ok;
}

}  // namespace tavrel
