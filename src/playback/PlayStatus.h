// Whether the preview plays, as the pattern header editor asks it: kPlayStatusPlaying or
// kPlayStatusStopped.
#pragma once

#include <cstdint>

namespace tavrel {

inline constexpr std::int32_t kPlayStatusStopped = 0;
inline constexpr std::int32_t kPlayStatusPlaying = 2;

void setPlayStatus(std::int32_t status);
std::int32_t getPlayStatus();

}  // namespace tavrel
