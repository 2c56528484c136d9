// The names of the General MIDI percussion keys on channel 10, by which the pattern picture
// labels its drum lanes.
#pragma once

#include <QString>

namespace tavrel::views::GmDrumNames {

// 35 "Acoustic Bass Drum" .. 81 "Open Triangle"; any other key is "Note N".
QString name(int note);

}  // namespace tavrel::views::GmDrumNames
