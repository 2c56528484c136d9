#include "model/Log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace tavrel {

namespace {
std::mutex gMutex;  // lines come from the main, drain and playback threads
Log::Sink gSink;
}  // namespace

void Log::line(std::string_view category, std::string_view text) {
    std::lock_guard lock(gMutex);
    if (gSink) {
        gSink(category, text);
        return;
    }
    std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(category.size()), category.data(),
                 static_cast<int>(text.size()), text.data());
}

void Log::linef(std::string_view category, const char* format, ...) {
    char buf[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buf, sizeof buf, format, args);
    va_end(args);
    line(category, buf);
}

void Log::setSink(Sink sink) {
    std::lock_guard lock(gMutex);
    gSink = std::move(sink);
}

}  // namespace tavrel
