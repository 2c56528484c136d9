#include "model/Context.h"

#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/NotificationCenter.h"

#include <atomic>
#include <cassert>
#include <cstdio>
#include <cstdlib>

namespace tavrel {

namespace {
// Set before any worker thread starts and read by them; atomic so that the hand-over is clean.
std::atomic<Context*> gCurrent{nullptr};

void refuseOtherThread(const Context* current, std::thread::id owner) {
    if (current == nullptr || owner == std::this_thread::get_id()) return;
    std::fputs("tavrel: a process context was made or ended off the model's thread\n", stderr);
    std::abort();
}
}  // namespace

Context::Context()
    : mPrevious(gCurrent.load()),
      mNotifications(std::make_unique<NotificationCenter>()),
      mKits(std::make_unique<CKitMgr>()) {
    if (mPrevious != nullptr) refuseOtherThread(mPrevious, mPrevious->mThread);
    // The collection posts while it is built, so the context must already be current.
    gCurrent.store(this);
    mPatterns = std::make_unique<CPatternMgr>();
}

Context::~Context() {
    refuseOtherThread(this, mThread);
    while (!mInstalled.empty()) mInstalled.pop_back();
    mPatterns.reset();
    gCurrent.store(mPrevious);
}

Context& Context::current() {
    Context* c = gCurrent.load();
    if (c == nullptr) {
        std::fputs("tavrel: no process context has been created\n", stderr);
        std::abort();
    }
    return *c;
}

bool Context::exists() {
    return gCurrent.load() != nullptr;
}

}  // namespace tavrel
