// Where the kit and tempo of every content of every memory sit in a memory file, found in one
// walk of the document. A lookup then costs a hash lookup instead of a query over the whole
// document, which is what lets Apply All set 50 memories of 50 patterns at once.
//
// It finds what "//mem[@id='M']/CONTENTnnn/Kit" selects: `mem` elements at any depth whose id
// attribute is the memory number as text, their child named CONTENT and the content number in
// at least three digits, and its Kit (or Tempo) children; a field counts only when exactly one
// element is found.
#pragma once

#include <pugixml.hpp>

#include <string>
#include <unordered_map>

namespace tavrel {

class SettingsIndex {
public:
    enum Field { kKit = 0, kTempo = 1 };

    // Forgets what it knew and walks `doc`, which must outlive the lookups and keep its
    // elements (only their text may change).
    void build(const pugi::xml_document& doc);
    // The one element `field` of content `content` of memory `mem`; null for none or several.
    pugi::xml_node find(long long mem, long long content, Field field) const;

private:
    struct Slot {
        pugi::xml_node node[2];
        int count[2] = {0, 0};
    };
    void addMemory(pugi::xml_node mem);

    std::unordered_map<std::string, Slot> mSlots;
};

}  // namespace tavrel
