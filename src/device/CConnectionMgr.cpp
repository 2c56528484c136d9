#include "device/CConnectionMgr.h"

#include "device/LinkReadings.h"
#include "device/MidiLib.h"
#include "device/Waiter.h"
#include "files/PatternFileImage.h"
#include "model/Alerts.h"
#include "model/Context.h"
#include "model/Log.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"

#include <algorithm>

namespace tavrel {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

using Bytes = std::span<const std::uint8_t>;
using Request = UnitMessages::Request;

// Each "up to N s, once a second" of the protocol, as one wait with the same deadline.
constexpr auto kEditorModeReply = 5s;
constexpr auto kKitListAttempt = 5s;
constexpr int kKitListAttempts = 5;
constexpr auto kMountReport = 5s;
constexpr auto kVolumeAfterReport = 4s;
constexpr auto kVolumeGone = 15s;
// The second after editor off or unmount plus the 4 or 14 s that follow it.
constexpr auto kEditorOffReport = 1s + 4s;
constexpr auto kUnmountReport = 1s + 14s;
constexpr auto kRetryPause = 1s;
constexpr int kPatternFileReads = 5;
constexpr const char* kBusy = "Unit is busy.";
constexpr const char* kPatternFile = "/RHYTHM.QL0";

}  // namespace

CConnectionMgr::CConnectionMgr(MidiLib& midi, VolumeService& volumes, Waiter& waiter,
                               Alerts& alerts)
    : mMidiLib(midi), mVolume(volumes), mWaiter(waiter), mAppDelegate(alerts) {
    mMidiLib.setDelegate(this);
    reviseMidiDevice();
    postConnect();
}

CConnectionMgr::~CConnectionMgr() {
    // Waits for a reply being decoded, so none arrives at a half-gone object.
    if (mMidiLib.delegate() == this) mMidiLib.setDelegate(nullptr);
}

void CConnectionMgr::reviseMidiDevice() {
    mMidiLib.searchDevice();
    mMidiInConnected = false;
    mMidiOutConeected = false;
    mConnected = false;
    mEditorMode = 0;
    const int model = selectUnitSource();
    // Without a source there is no model to look for among the destinations.
    if (model < 0 || !selectUnitDestination(model)) return;
    // The model first: the receive thread picks the header by it once connected.
    mConnectedModel = model;
    mConnected = true;
}

// The first source, in list order, whose name holds a model's name, model 0 tried first.
int CConnectionMgr::selectUnitSource() {
    const auto& sources = mMidiLib.getInputPortList();
    for (std::size_t i = 0; i < sources.size(); ++i) {
        for (int model = 0; model < UnitMessages::kModels; ++model) {
            const std::string& name = MidiLib::getDeviceName(sources[i]);
            if (name.find(UnitMessages::modelName(model)) == std::string::npos) {
                continue;
            }
            mMidiLib.selectInputDevice(static_cast<std::int64_t>(i));
            mMidiInConnected = true;
            return model;
        }
    }
    return -1;
}

// The first destination holding the name of the model whose source was found: a unit of
// the other model is another unit.
bool CConnectionMgr::selectUnitDestination(int model) {
    const auto& destinations = mMidiLib.getOutputPortList();
    for (std::size_t i = 0; i < destinations.size(); ++i) {
        const std::string& name = MidiLib::getDeviceName(destinations[i]);
        if (name.find(UnitMessages::modelName(model)) != std::string::npos) {
            mMidiLib.selectOutputDevice(static_cast<std::int64_t>(i));
            mMidiOutConeected = true;
            return true;
        }
    }
    return false;
}

void CConnectionMgr::midiObjectAdded(const MidiNotification& /*notification*/) {
    reviseMidiDevice();
    postConnect();
}

void CConnectionMgr::midiObjectRemoved(const MidiNotification& /*notification*/) {
    reviseMidiDevice();
    postConnect();
}

void CConnectionMgr::postConnect() {
    Context::current().notifications().post(NOTIFY_MIDI_CONNECT, this);
}

void CConnectionMgr::rxMidiData(const MidiPacket& packet) {
    const Bytes message(packet.data.data(),
                        std::min<std::size_t>(packet.length, packet.data.size()));
    const auto reply = UnitMessages::decode(mConnectedModel, message);
    if (!reply) return;
    switch (reply->kind) {
        case UnitMessages::Reply::Kind::Mount:
            mMountFlag = reply->value;
            Log::linef("device", "rx mount: %d", reply->value);
            // The unit left mount mode by itself, and with it the editor's hold.
            if (reply->value == 0 && mEditorMode != 0) mEditorMode = 0;
            break;
        case UnitMessages::Reply::Kind::EditorMode:
            mTargetEditorMode = reply->value;
            Log::linef("device", "rx editor mode: %d", reply->value);
            break;
        case UnitMessages::Reply::Kind::KitName:
            decodeKitName(reply->offset, reply->names);
            break;
    }
    mWaiter.notify();
}

// The unit answers the kit request with one data-set message per kit, 16 name bytes at kit
// 0's address + 16 x kit, and ends the list with a slot whose first byte is 0. Every reply
// counts, a short one too, so that the count tells a complete list from one with a reply lost.
void CConnectionMgr::decodeKitName(std::uint32_t offset, Bytes names) {
    mKitName.store(offset, names);
    mRxKitNum += 1;
    const std::int64_t end = static_cast<std::int64_t>(offset + names.size());
    // The slot holding the last byte written; division toward zero keeps a reply without
    // data at slot 0.
    const auto lastSlot = static_cast<std::size_t>((end - 1) / 16);
    if (mKitName.endsList(lastSlot)) endKitList(lastSlot);
}

void CConnectionMgr::endKitList(std::size_t lastSlot) {
    mKitName.terminateNames();
    mRxKitMaxNum = static_cast<int>(lastSlot) + 1;
    for (std::size_t slot = 0; slot < KitNameTable::kNameSlots && !mKitName.endsList(slot);
         ++slot) {
        Log::linef("device", "%02d:%s", static_cast<int>(slot), mKitName.slotText(slot).c_str());
    }
    // Publishes the table and the counts to the waiting step, which reads them only after
    // seeing this.
    mGetKitName.store(true, std::memory_order_release);
}

bool CConnectionMgr::setEditorMode() {
    if (!mConnected) return false;
    if (mTargetEditorMode != 0) {
        alert("Unit already occupied.");
        return false;
    }
    // Set before the reply: the receive thread ends it when the unit reports unmounting.
    mEditorMode = 1;
    txEditorOnMsg();
    if (waitForUnit(kEditorModeReply, [this] { return mTargetEditorMode != 0; })) return true;
    if (!stopped()) alert(kBusy);
    return false;
}

bool CConnectionMgr::getOccupied() {
    mTargetEditorMode = 255;
    rqEditorModeMsg();
    if (waitForUnit(kEditorModeReply, [this] { return mTargetEditorMode != 255; })) {
        return mTargetEditorMode != 0;
    }
    mEditorMode = 0;
    if (!stopped()) alert(kBusy);
    return true;
}

std::optional<std::vector<std::string>> CConnectionMgr::readKitNames() {
    if (mEditorMode == 0) return std::nullopt;
    mGetKitName = false;
    mRxKitNum = 0;
    mRxKitMaxNum = 0;
    mKitName.clear();
    for (int attempt = 0; attempt < kKitListAttempts; ++attempt) {
        txReqKitNameMsg();
        if (waitForUnit(kKitListAttempt, [this] { return kitListComplete(); })) {
            return mKitName.names();
        }
        if (stopped()) return std::nullopt;
    }
    alert(kBusy);
    return std::nullopt;
}

bool CConnectionMgr::getKitName() {
    LinkReadings readings;
    readings.kitNames = readKitNames();
    return readings.kitNames && readings.apply();
}

// Asked by the wait whenever something arrived. A list whose end came with fewer replies
// than slots lost one: it is logged and forgotten, and the rest of this attempt's window
// waits for a list that may still come before the next request.
bool CConnectionMgr::kitListComplete() {
    if (!mGetKitName.load(std::memory_order_acquire)) return false;
    const int received = mRxKitNum;
    const int expected = mRxKitMaxNum;
    if (received == expected) return true;
    Log::linef("device", "Rx kit name retry:%d/%d", received, expected);
    mGetKitName = false;
    mRxKitNum = 0;
    mRxKitMaxNum = 0;
    return false;
}

bool CConnectionMgr::editorOff() {
    if (mEditorMode == 0) return false;
    ejectVolume();
    txEditorOffMsg();
    // The unit was given a second after the message, then four more to report its storage
    // unmounted. One wait to the same deadline gives the same results, without the idle
    // second when the report comes at once.
    if (!waitForUnit(kEditorOffReport, [this] { return mMountFlag == 0; })) {
        if (!stopped()) alert("Tavrel quit, Error.");
        return false;
    }
    mEditorMode = 0;
    return true;
}

bool CConnectionMgr::mountQl() {
    if (mEditorMode == 0) return false;
    txMountMsg();
    waitForUnit(kMountReport, [this] { return mMountFlag != 0; });
    // The volume shows up on the computer some time after the unit's report. A volume found
    // earlier still counts, as it is never forgotten.
    if (!stopped() && waitForUnit(kVolumeAfterReport, [this] {
            storeMountURL();
            if (!isVolumeExist()) mVolume.mountUnmounted();  // where nothing else mounts it
            return getMountURL().has_value();
        })) {
        return true;
    }
    if (!stopped()) mWaiter.sleepFor(kRetryPause);
    return false;
}

bool CConnectionMgr::unmountQl() {
    if (mEditorMode == 0) return false;
    ejectVolume();
    txUnmountMsg();
    // As in editorOff: the second after the message and the 14 after it are one wait.
    if (!waitForUnit(kUnmountReport, [this] { return mMountFlag == 0; })) {
        if (!stopped()) alert("Disconnect error.");
        return false;
    }
    mEditorMode = 0;
    return true;
}

// Gives the unit its storage back. When the desktop refuses (a file still open on it), the
// user may eject it by hand; the unit is told to unmount in any case once the volume is gone
// or the wait is over.
bool CConnectionMgr::ejectVolume() {
    std::string error;
    if (mVolume.eject(error)) return true;
    Log::linef("device", "eject: %s", error.c_str());
    return mWaiter.waitFor(kVolumeGone, [this] { return !isVolumeExist(); });
}

bool CConnectionMgr::waitForVolume(std::chrono::milliseconds limit) {
    return waitForUnit(
        limit, [this] { return mMountFlag != 0 && (isVolumeExist() || mVolume.mountUnmounted()); });
}

bool CConnectionMgr::unitGone() const {
    return mMidiLib.selectionGone();
}

// A wait for an answer ends when the unit's endpoints go: nothing can answer any more. The
// waiter looks again often enough by itself (a real one every 0.1 s) to see it unannounced.
bool CConnectionMgr::waitForUnit(std::chrono::milliseconds timeout,
                                 const std::function<bool()>& done) {
    return mWaiter.waitFor(timeout, [&] { return unitGone() || done(); }) && !unitGone();
}

std::optional<std::vector<std::uint8_t>> CConnectionMgr::readPatternFile() {
    for (int read = 1; read <= kPatternFileReads; ++read) {
        auto bytes = getFileData(kPatternFile);
        if (bytes && PatternFileImage::isPatternFile(*bytes)) return bytes;
        mWaiter.sleepFor(kRetryPause);
        if (mWaiter.cancelled()) return std::nullopt;
    }
    alert("User pattern file format is wrong.");
    return std::nullopt;
}

bool CConnectionMgr::loadPattern() {
    LinkReadings readings;
    readings.patternFile = readPatternFile();
    return readings.patternFile && readings.apply();
}

std::string CConnectionMgr::failureReason() const {
    if (unitGone() || !mConnected) return "Unit not connected.";
    if (mEditorMode == 0) return "Unit left editor mode.";
    return "Unit storage not found.";
}

bool CConnectionMgr::stopped() const {
    return unitGone() || mWaiter.cancelled();
}

void CConnectionMgr::cancelStep() {
    mWaiter.cancel();
}

void CConnectionMgr::beginStep() {
    mWaiter.rearm();
}

bool CConnectionMgr::stepCancelled() const {
    return mWaiter.cancelled();
}

std::optional<bool> CConnectionMgr::getHeld() const {
    const int report = mTargetEditorMode;
    if (report == 255) return std::nullopt;
    return report != 0;
}

void CConnectionMgr::alert(const char* text) {
    ++mAlertsShown;
    mAppDelegate.alert(text);
}

void CConnectionMgr::txEditorOnMsg() {
    send(Request::EditorOn);
}

void CConnectionMgr::txEditorOffMsg() {
    send(Request::EditorOff);
}

void CConnectionMgr::txMountMsg() {
    send(Request::Mount);
}

void CConnectionMgr::txUnmountMsg() {
    send(Request::Unmount);
}

void CConnectionMgr::rqEditorModeMsg() {
    send(Request::AskEditorMode);
}

void CConnectionMgr::txReqMountMsg() {
    send(Request::AskMount);
}

void CConnectionMgr::txReqKitNameMsg() {
    send(Request::AskKitNames);
}

// The message goes out of the buffer of its kind, as the link always kept them.
void CConnectionMgr::send(Request request) {
    const UnitMessages::Message message = UnitMessages::message(request);
    Log::line("device", message.label);
    if (message.command == UnitMessages::kDataSet) {
        SetTxBuff(message.body);
        mMidiLib.sendMidiWithData(TxBuff.data(), TxBuffIndex);
    } else {
        SetRqBuff(message.body);
        mMidiLib.sendMidiWithData(RqBuff.data(), RqBuffIndex);
    }
}

void CConnectionMgr::SetTxBuff(Bytes body) {
    const UnitMessages::Message message{"", UnitMessages::kDataSet, body};
    TxBuffIndex = static_cast<int>(UnitMessages::encode(mConnectedModel, message, TxBuff));
}

void CConnectionMgr::SetRqBuff(Bytes body) {
    const UnitMessages::Message message{"", UnitMessages::kDataRequest, body};
    RqBuffIndex = static_cast<int>(UnitMessages::encode(mConnectedModel, message, RqBuff));
}

void CConnectionMgr::storeMountURL() {
    mVolume.find();
}

std::optional<fs::path> CConnectionMgr::getMountURL() const {
    return mVolume.root();
}

std::optional<fs::path> CConnectionMgr::getMountURLAppendPath(const fs::path& relative) {
    return mVolume.inUnitFolder(relative);
}

bool CConnectionMgr::isVolumeExist() {
    return mVolume.isPresent();
}

bool CConnectionMgr::isDataFileExist(const std::string& name) {
    return mVolume.hasDataFile(name);
}

std::optional<fs::path> CConnectionMgr::getFileURL(const std::string& name) {
    return mVolume.dataFile(name);
}

std::string CConnectionMgr::unitModelName() {
    return UnitMessages::modelName(getConnectedModel() ? kModelQL414XE3 : kModelQL900);
}

std::optional<std::vector<std::uint8_t>> CConnectionMgr::getFileData(const std::string& name) {
    return mVolume.readDataFile(name);
}

}  // namespace tavrel
