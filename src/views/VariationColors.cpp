#include "views/VariationColors.h"

#include <array>

namespace tavrel::views::VariationColors {

namespace {

struct Entry {
    const char* name;
    double red, green, blue;
};

constexpr std::array<Entry, kCount> kTable = {{
    {"Intro", 1.0, 0.0, 0.0},
    {"Verse", 1.0, 1.0, 0.0},
    {"Verse Fill", 0.0, 1.0, 0.0},
    {"Chorus", 0.0, 1.0, 1.0},
    {"Chorus Fill", 0.0, 0.0, 1.0},
    {"C", 0.5, 0.5, 0.0},
    {"C Fill", 0.0, 0.5, 0.0},
    {"D", 0.0, 0.5, 0.5},
    {"D Fill", 0.0, 0.0, 0.5},
    {"Ending", 1.0, 0.0, 1.0},
}};
constexpr double kAlpha = 0.35;

bool inRange(std::int32_t vari) {
    return vari >= 0 && vari < kCount;
}

}  // namespace

QColor color(std::int32_t vari) {
    if (!inRange(vari)) return QColor(0, 0, 0, 0);
    const Entry& e = kTable[static_cast<std::size_t>(vari)];
    return QColor::fromRgbF(static_cast<float>(e.red), static_cast<float>(e.green),
                            static_cast<float>(e.blue), static_cast<float>(kAlpha));
}

QString name(std::int32_t vari) {
    return inRange(vari) ? QString(kTable[static_cast<std::size_t>(vari)].name) : QString();
}

bool isFill(std::int32_t vari) {
    return vari == 2 || vari == 4 || vari == 6 || vari == 8;
}

}  // namespace tavrel::views::VariationColors
