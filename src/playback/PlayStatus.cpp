#include "playback/PlayStatus.h"

#include <atomic>

namespace tavrel {

namespace {
// One word for the whole process, as there is one preview. Atomic, so that a reader on any
// thread (a status line, the command-line tool's signal watch) sees a whole value.
std::atomic<std::int32_t> gPlayStatus{kPlayStatusStopped};
}  // namespace

void setPlayStatus(std::int32_t status) {
    gPlayStatus.store(status);
}

std::int32_t getPlayStatus() {
    return gPlayStatus.load();
}

}  // namespace tavrel
