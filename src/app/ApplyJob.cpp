#include "app/ApplyJob.h"

#include "files/CFileDataMgr.h"
#include "files/CXMLFile.h"
#include "model/Alerts.h"

namespace tavrel::app {

ApplyJob::~ApplyJob() {
    if (mThread.joinable()) mThread.join();
}

void ApplyJob::start(bool allMemories) {
    PatternSnapshot snapshot = CFileDataMgr::snapshot();
    mExecCnt = 0;
    mReports.clear();
    mThread = std::thread(
        [this, allMemories, snapshot = std::move(snapshot)] { execute(allMemories, snapshot); });
}

void ApplyJob::execute(bool allMemories, const PatternSnapshot& snapshot) {
    if (!CFileDataMgr::IsVolumeExist()) {
        mAlerts.alert("Device not connected.");
        mExecCnt = kNoVolume;
        return;
    }
    const bool saved = CFileDataMgr::saveSnapshot(snapshot);
    mReports.push_back(CFileDataMgr::lastWriteReport());
    if (!saved) {
        mAlerts.alert("User Pattern file cannot be created.");
        mExecCnt = kNotWritten;
        return;
    }
    mSaved = true;
    if (allMemories) {
        // Read afresh, so that settings changed on the unit since loading are kept. A memory
        // or content missing from the file skips that setting; the file is written anyway.
        CXMLFile settings;
        const auto& patterns = snapshot.patterns();
        for (int m = 0; m < kMemories; ++m) {
            for (std::size_t i = 0; i < patterns.size(); ++i) {
                settings.setKitAndTempoFromMem(m, static_cast<int>(i), patterns[i].kit,
                                               patterns[i].tempo);
            }
            mExecCnt = m + 1;
        }
        settings.saveFile();
        const auto& written = settings.saveReports();
        mReports.insert(mReports.end(), written.begin(), written.end());
    }
    mExecCnt = kDone;
}

}  // namespace tavrel::app
