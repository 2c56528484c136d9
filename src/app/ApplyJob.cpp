#include "app/ApplyJob.h"

#include "files/CFileDataMgr.h"
#include "files/CXMLFile.h"
#include "model/Alerts.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"

namespace tavrel::app {

namespace {

// How the worker writes the user pattern file. The dialogs are window-modal, so nothing edits
// the collection while the worker reads it.
bool writePatternFile() {
    return CFileDataMgr::saveData();
}

}  // namespace

ApplyJob::~ApplyJob() {
    if (mThread.joinable()) mThread.join();
}

void ApplyJob::start(bool allMemories) {
    std::vector<KitAndTempo> patterns;
    for (const auto& p : Context::current().patterns().getPtnData()) {
        patterns.push_back({p->getKitNum(), p->getTempo()});
    }
    mExecCnt = 0;
    mThread = std::thread(
        [this, allMemories, patterns = std::move(patterns)] { execute(allMemories, patterns); });
}

void ApplyJob::execute(bool allMemories, const std::vector<KitAndTempo>& patterns) {
    if (!CFileDataMgr::IsVolumeExist()) {
        mAlerts.alert("Device not connected.");
        mExecCnt = kNoVolume;
        return;
    }
    if (!writePatternFile()) {
        mAlerts.alert("User Pattern file cannot be created.");
        mExecCnt = kNotWritten;
        return;
    }
    if (allMemories) {
        // Read afresh, so that settings changed on the unit since loading are kept. A memory
        // or content missing from the file skips that setting; the file is written anyway.
        CXMLFile settings;
        for (int m = 0; m < kMemories; ++m) {
            for (std::size_t i = 0; i < patterns.size(); ++i) {
                settings.setKitAndTempoFromMem(m, static_cast<int>(i), patterns[i].kit,
                                               patterns[i].tempo);
            }
            mExecCnt = m + 1;
        }
        settings.saveFile();
    }
    mExecCnt = kDone;
}

}  // namespace tavrel::app
