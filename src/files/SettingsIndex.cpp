#include "files/SettingsIndex.h"

#include <cstdio>
#include <cstring>
#include <set>
#include <string_view>

namespace tavrel {

namespace {

std::string keyOf(std::string_view id, std::string_view content) {
    std::string key;
    key.reserve(id.size() + 1 + content.size());
    key.append(id).append(1, '\n').append(content);
    return key;
}

int fieldNamed(const char* name) {
    if (std::strcmp(name, "Kit") == 0) return SettingsIndex::kKit;
    if (std::strcmp(name, "Tempo") == 0) return SettingsIndex::kTempo;
    return -1;
}

// The next node in document order after `n`, without recursion: a hostile file may nest deeply.
pugi::xml_node nextInOrder(pugi::xml_node n) {
    if (n.first_child()) return n.first_child();
    while (n && !n.next_sibling()) n = n.parent();
    return n ? n.next_sibling() : pugi::xml_node();
}

}  // namespace

void SettingsIndex::build(const pugi::xml_document& doc) {
    mSlots.clear();
    for (pugi::xml_node n = doc.first_child(); n; n = nextInOrder(n)) {
        if (n.type() == pugi::node_element && std::strcmp(n.name(), "mem") == 0) addMemory(n);
    }
}

void SettingsIndex::addMemory(pugi::xml_node mem) {
    // A query's node set holds each element once, even under two equal id attributes.
    std::set<std::string_view> ids;
    for (pugi::xml_attribute a : mem.attributes()) {
        if (std::strcmp(a.name(), "id") == 0) ids.insert(a.value());
    }
    for (const std::string_view id : ids) {
        for (pugi::xml_node content : mem.children()) {
            if (content.type() != pugi::node_element ||
                std::strncmp(content.name(), "CONTENT", 7) != 0) {
                continue;
            }
            Slot& slot = mSlots[keyOf(id, content.name())];
            for (pugi::xml_node field : content.children()) {
                const int f = field.type() == pugi::node_element ? fieldNamed(field.name()) : -1;
                if (f < 0) continue;
                if (slot.count[f]++ == 0) slot.node[f] = field;
            }
        }
    }
}

pugi::xml_node SettingsIndex::find(long long mem, long long content, Field field) const {
    char name[48];
    std::snprintf(name, sizeof name, "CONTENT%03lld", content);
    const auto found = mSlots.find(keyOf(std::to_string(mem), name));
    if (found == mSlots.end() || found->second.count[field] != 1) return {};
    return found->second.node[field];
}

}  // namespace tavrel
