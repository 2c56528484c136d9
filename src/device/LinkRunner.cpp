#include "device/LinkRunner.h"

#include "device/CConnectionMgr.h"
#include "device/CLoadExec.h"
#include "device/LinkReadings.h"
#include "model/Log.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace tavrel {

namespace {

// As in the load sequence: the second after mounting, cut short by a responsive unit.
constexpr std::chrono::seconds kSettleAfterMount{1};

bool holdUnit(CConnectionMgr& link) {
    return link.getEditorMode() != 0 || link.setEditorMode();
}

// The mount branch of the mount toggle. Whether mountQl found the volume is not asked: the
// kit names and the pattern file tell.
bool mount(CConnectionMgr& link, LinkReadings& into) {
    if (!holdUnit(link)) return false;
    link.mountQl();
    link.waitForVolume(kSettleAfterMount);
    if (link.stepCancelled()) return false;
    into.kitNames = link.readKitNames();
    if (!into.kitNames) return false;
    into.patternFile = link.readPatternFile();
    return into.patternFile.has_value();
}

bool openStorage(CConnectionMgr& link) {
    if (!holdUnit(link) || !link.mountQl()) return false;
    link.waitForVolume(kSettleAfterMount);
    return !link.stepCancelled();
}

bool perform(CConnectionMgr& link, LinkRunner::Step step, LinkReadings& into) {
    using Step = LinkRunner::Step;
    switch (step) {
        case Step::EditorOn:
            return link.setEditorMode();
        case Step::EditorOff:
        case Step::Unmount:
            return link.editorOff();
        case Step::AskOccupied:
            return link.getOccupied();
        case Step::Mount:
            return mount(link, into);
        case Step::KitNames:
            into.kitNames = link.readKitNames();
            return into.kitNames.has_value();
        case Step::LoadSequence:
            return CLoadExec::run(link, into);
        case Step::Storage:
            return openStorage(link);
    }
    return false;
}

}  // namespace

// What the device thread and the ends it posts share. The ends may run after the runner has
// gone (the caller's queue outlives it); they then do nothing.
struct LinkRunnerShared {
    std::atomic<bool> busy{false};
    std::atomic<bool> gone{false};
};

struct LinkRunner::Impl {
    Impl(CConnectionMgr& l, Poster p) : link(l), post(std::move(p)) {}

    void run();
    void finish(Step step, bool ok, int alertsBefore, LinkReadings readings, Done done);

    CConnectionMgr& link;
    const Poster post;
    const std::shared_ptr<LinkRunnerShared> shared = std::make_shared<LinkRunnerShared>();
    std::mutex lock;
    std::condition_variable wake;
    std::optional<std::pair<Step, Done>> next;  // handed to the device thread
    bool stop = false;
    std::thread thread;  // last: starts once everything it uses exists
};

void LinkRunner::Impl::run() {
    for (;;) {
        std::pair<Step, Done> job;
        {
            std::unique_lock guard(lock);
            wake.wait(guard, [this] { return stop || next.has_value(); });
            if (stop) return;
            job = std::move(*next);
            next.reset();
        }
        const int alertsBefore = link.alertsShown();
        LinkReadings readings;
        const bool ok = perform(link, job.first, readings);
        finish(job.first, ok, alertsBefore, std::move(readings), std::move(job.second));
    }
}

// The step's outcome, and why it failed when the link did not say so itself, is settled
// here, where the link's state is the step's; the model changes on the caller's thread.
void LinkRunner::Impl::finish(Step step, bool ok, int alertsBefore, LinkReadings readings,
                              Done done) {
    Outcome outcome{step, false, false, {}};
    outcome.cancelled = link.stepCancelled();
    outcome.ok = ok && !outcome.cancelled;
    const bool alerted = link.alertsShown() != alertsBefore;
    if (!outcome.cancelled && !alerted) {
        // A held answer is no failure; only a unit gone while asked leaves the question open.
        if (step != Step::AskOccupied && !ok) outcome.reason = link.failureReason();
        if (step == Step::AskOccupied && link.unitGone()) outcome.reason = link.failureReason();
    }
    if (outcome.cancelled) {
        Log::line("device", "step cancelled");
        readings = {};
    }
    post([shared = shared, outcome = std::move(outcome), readings = std::move(readings),
          done = std::move(done)]() mutable {
        if (shared->gone) return;
        if (!readings.apply()) {
            outcome.ok = false;
            outcome.reason = "User pattern file format is wrong.";
        }
        shared->busy = false;
        if (done) done(outcome);
    });
}

LinkRunner::LinkRunner(CConnectionMgr& link, Poster postToCaller)
    : mImpl(std::make_unique<Impl>(link, std::move(postToCaller))) {
    mImpl->thread = std::thread([impl = mImpl.get()] { impl->run(); });
}

LinkRunner::~LinkRunner() {
    mImpl->shared->gone = true;
    {
        std::lock_guard guard(mImpl->lock);
        mImpl->stop = true;
    }
    mImpl->link.cancelStep();
    mImpl->wake.notify_all();
    mImpl->thread.join();
}

bool LinkRunner::start(Step step, Done done) {
    bool idle = false;
    if (!mImpl->shared->busy.compare_exchange_strong(idle, true)) return false;
    {
        std::lock_guard guard(mImpl->lock);
        // Re-armed here rather than on the device thread, so that a cancel right after this
        // start is never lost.
        mImpl->link.beginStep();
        mImpl->next.emplace(step, std::move(done));
    }
    mImpl->wake.notify_all();
    return true;
}

void LinkRunner::cancel() {
    if (busy()) mImpl->link.cancelStep();
}

bool LinkRunner::busy() const {
    return mImpl->shared->busy.load();
}

}  // namespace tavrel
