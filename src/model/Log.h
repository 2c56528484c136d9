// One line per step to stderr, with a category ("device", "files", "playback"); the desktop's
// journal collects it. Tests can capture the lines instead.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tavrel {

class Log {
public:
    static void line(std::string_view category, std::string_view text);
    // printf-style convenience for the protocol's own labels ("rx mount: %d").
    [[gnu::format(printf, 2, 3)]] static void linef(std::string_view category, const char* format,
                                                    ...);

    // Sends every line to `sink` instead of stderr until reset with an empty function.
    using Sink = std::function<void(std::string_view category, std::string_view text)>;
    static void setSink(Sink sink);
};

}  // namespace tavrel
