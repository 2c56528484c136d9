#include "app/DeviceSteps.h"

#include "device/CConnectionMgr.h"
#include "device/CLoadExec.h"

#include <chrono>
#include <utility>

namespace tavrel::app {

namespace {
// The unit is given up to a second after mounting before its files are touched.
constexpr std::chrono::seconds kVolumeSettle{1};
}  // namespace

DeviceSteps::DeviceSteps(CConnectionMgr& link, LinkRunner::Poster postToUi)
    : mLink(link), mPost(std::move(postToUi)) {}

DeviceSteps::~DeviceSteps() {
    if (mThread.joinable()) mThread.join();
}

bool DeviceSteps::start(Step step, Done done) {
    if (mBusy.exchange(true)) return false;
    if (mThread.joinable()) mThread.join();  // the previous step has posted its end already
    mThread = std::thread([this, step, done = std::move(done)] {
        Outcome outcome = run(step);
        mPost([this, outcome, done] {
            mBusy = false;
            if (done) done(outcome);
        });
    });
    return true;
}

DeviceSteps::Outcome DeviceSteps::run(Step step) {
    Outcome o;
    o.step = step;
    switch (step) {
        case Step::EditorOn:
            o.ok = mLink.setEditorMode();
            break;
        case Step::EditorOff:
        case Step::Unmount:
            o.ok = mLink.editorOff();
            break;
        case Step::AskOccupied:
            o.ok = mLink.getOccupied();
            mLastHeld = o.ok ? 1 : 0;
            break;
        case Step::KitNames:
            o.ok = mLink.getKitName();
            break;
        case Step::Mount:
            o.ok = (mLink.getEditorMode() != 0 || mLink.setEditorMode()) && mLink.mountQl();
            if (o.ok) mLink.waitForVolume(kVolumeSettle);
            o.ok = o.ok && mLink.getKitName() && mLink.loadPattern();
            break;
        case Step::LoadSequence:
            o.ok = CLoadExec::exec();
            break;
    }
    if (!o.ok && !mLink.getConnected()) o.reason = "Unit not connected.";
    return o;
}

}  // namespace tavrel::app
