#include "sim/FactoryKits.h"

#include <array>

namespace tavrel::sim {

namespace {

constexpr std::array<std::string_view, 42> kNames{
    "Studio Rock",   "Brush Jazz",     "808 Room",     "Vintage Funk",  "Power Arena",
    "Dry Pop",       "Big Hall",       "Lo-Fi Tape",   "Garage Punk",   "Soul Groove",
    "Tight Fusion",  "Bebop Ride",     "Latin Perc",   "Afro Cuban",    "Roots Reggae",
    "Disco Shine",   "Metal Double",   "Indie Attic",  "Country Train", "Blues Club",
    "Gospel Chapel", "Dusty Breaks",   "Trap Sub",     "909 House",     "Techno Box",
    "Jungle Amen",   "Electro Pop",    "Steel Mill",   "Orchestral",    "Marching Line",
    "Jazz Trio",     "Big Band Swing", "Rockabilly",   "Stadium Toms",  "Bossa Rimshot",
    "Samba School",  "Ambient Air",    "Cajon Corner", "Hand Drums",    "Vinyl Crackle",
    "Tribal Floor",  "Practice Pad",
};

static_assert([] {
    for (std::string_view name : kNames) {
        if (name.empty() || name.size() > 15) return false;
    }
    return true;
}());

}  // namespace

std::span<const std::string_view> FactoryKits::names() {
    return kNames;
}

}  // namespace tavrel::sim
