#include "device/CConnectionMgr.h"

#include "device/MidiLib.h"
#include "device/Waiter.h"
#include "files/CFileDataMgr.h"
#include "model/Alerts.h"
#include "model/CKitMgr.h"
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

// The names the unit's endpoints carry, by model index; the same list serves sources and
// destinations.
constexpr const char* kModelNames[] = {"QL-900", "QL-414XE3"};

// Start of exclusive, manufacturer 41, device 10, then the model's five-byte id.
constexpr std::uint8_t kHeaders[2][8] = {
    {0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04},
    {0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x05},
};
constexpr std::size_t kHeaderBytes = 8;
constexpr std::uint8_t kDataSet = 0x12;
constexpr std::uint8_t kDataRequest = 0x11;
constexpr std::size_t kCommandAt = 8;
// Four 7-bit address bytes follow the command, most significant first; then the data.
constexpr std::size_t kAddressAt = 9;
constexpr std::size_t kDataAt = 13;
// Header, command, address, checksum and F7 around a data-set message's data.
constexpr std::size_t kDataSetFrame = 15;

constexpr std::uint32_t kEditorModeAddress = 0x0FFC0000;  // 7F 70 00 00
constexpr std::uint32_t kMountAddress = 0x0FFC0001;       // 7F 70 00 01
constexpr std::uint32_t kKitNameAddress = 0x0FFC0080;     // 7F 70 01 00: kit 0's name
// Kit replies at offsets up to three slots past the table are still counted; their bytes
// past the table are dropped.
constexpr std::uint32_t kKitOffsetLimit = 1648;

// Bodies after the command byte: address, data (data set) or size (request), checksum, F7.
// The checksums are part of the constants; nothing here computes one.
constexpr std::uint8_t kEditorOnBody[] = {0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7};
constexpr std::uint8_t kEditorOffBody[] = {0x7F, 0x70, 0x00, 0x00, 0x00, 0x11, 0xF7};
constexpr std::uint8_t kMountBody[] = {0x7F, 0x70, 0x00, 0x01, 0x01, 0x0F, 0xF7};
constexpr std::uint8_t kUnmountBody[] = {0x7F, 0x70, 0x00, 0x01, 0x00, 0x10, 0xF7};
constexpr std::uint8_t kReqEditorModeBody[] = {0x7F, 0x70, 0x00, 0x00, 0x00,
                                               0x00, 0x00, 0x01, 0x10, 0xF7};
constexpr std::uint8_t kReqMountBody[] = {0x7F, 0x70, 0x00, 0x01, 0x00,
                                          0x00, 0x00, 0x01, 0x0F, 0xF7};
// Asks for 99 slots' worth; the unit answers with one data-set message per kit.
constexpr std::uint8_t kReqKitNameBody[] = {0x7F, 0x70, 0x01, 0x00, 0x00,
                                            0x00, 0x00, 0x63, 0x2D, 0xF7};

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

std::uint32_t addressOf(Bytes message) {
    return static_cast<std::uint32_t>(message[kAddressAt]) << 21 |
           static_cast<std::uint32_t>(message[kAddressAt + 1]) << 14 |
           static_cast<std::uint32_t>(message[kAddressAt + 2]) << 7 |
           static_cast<std::uint32_t>(message[kAddressAt + 3]);
}

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
        for (int model = 0; model < std::ssize(kModelNames); ++model) {
            if (MidiLib::getDeviceName(sources[i]).find(kModelNames[model]) == std::string::npos) {
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
        if (MidiLib::getDeviceName(destinations[i]).find(kModelNames[model]) != std::string::npos) {
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
    // Bytes past the message are never looked at: one too short for its address is no reply.
    if (message.size() < kDataAt) return;
    const int model = mConnectedModel;
    if (!std::equal(kHeaders[model], kHeaders[model] + kHeaderBytes, message.begin())) return;
    const std::uint32_t address = addressOf(message);
    if (address == kMountAddress) {
        if (message.size() <= kDataAt) return;
        const int mount = message[kDataAt];
        mMountFlag = mount;
        Log::linef("device", "rx mount: %d", mount);
        // The unit left mount mode by itself, and with it the editor's hold.
        if (mount == 0 && mEditorMode != 0) mEditorMode = 0;
    } else if (address == kEditorModeAddress) {
        if (message.size() <= kDataAt) return;
        mTargetEditorMode = message[kDataAt];
        Log::linef("device", "rx editor mode: %d", static_cast<int>(message[kDataAt]));
    } else {
        const std::uint32_t offset = address - kKitNameAddress;
        if (offset > kKitOffsetLimit) return;
        decodeKitName(offset, message);
    }
    mWaiter.notify();
}

// The unit answers the kit request with one data-set message per kit, 16 name bytes at kit
// 0's address + 16 x kit, and ends the list with a slot whose first byte is 0. Every reply
// counts, a short one too, so that the count tells a complete list from one with a reply lost.
void CConnectionMgr::decodeKitName(std::uint32_t offset, Bytes message) {
    const std::size_t dataBytes =
        message.size() > kDataSetFrame ? message.size() - kDataSetFrame : 0;
    mKitName.store(offset, message.subspan(kDataAt, dataBytes));
    mRxKitNum += 1;
    const std::int64_t end = static_cast<std::int64_t>(offset + dataBytes);
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
    // Publishes the table and the counts to the main thread, which reads them only after
    // seeing this.
    mGetKitName.store(true, std::memory_order_release);
}

bool CConnectionMgr::setEditorMode() {
    if (!mConnected) return false;
    if (mTargetEditorMode != 0) {
        mAppDelegate.alert("Unit already occupied.");
        return false;
    }
    // Set before the reply: the receive thread ends it when the unit reports unmounting.
    mEditorMode = 1;
    txEditorOnMsg();
    if (waitForUnit(kEditorModeReply, [this] { return mTargetEditorMode != 0; })) return true;
    if (!unitGone()) mAppDelegate.alert(kBusy);
    return false;
}

bool CConnectionMgr::getOccupied() {
    mTargetEditorMode = 255;
    rqEditorModeMsg();
    if (waitForUnit(kEditorModeReply, [this] { return mTargetEditorMode != 255; })) {
        return mTargetEditorMode != 0;
    }
    mEditorMode = 0;
    if (!unitGone()) mAppDelegate.alert(kBusy);
    return true;
}

bool CConnectionMgr::getKitName() {
    if (mEditorMode == 0) return false;
    mGetKitName = false;
    mRxKitNum = 0;
    mRxKitMaxNum = 0;
    mKitName.clear();
    for (int attempt = 0; attempt < kKitListAttempts; ++attempt) {
        txReqKitNameMsg();
        if (!waitForUnit(kKitListAttempt, [this] { return kitListComplete(); })) {
            if (unitGone()) return false;
            continue;
        }
        CKitMgr& kits = Context::current().kits();
        kits.reset();
        for (std::string& name : mKitName.names()) kits.addName(std::move(name));
        return true;
    }
    mAppDelegate.alert(kBusy);
    return false;
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
        if (!unitGone()) mAppDelegate.alert("Tavrel quit, Error.");
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
    if (!unitGone() && waitForUnit(kVolumeAfterReport, [this] {
            storeMountURL();
            return getMountURL().has_value();
        })) {
        return true;
    }
    if (!unitGone()) mWaiter.sleepFor(kRetryPause);
    return false;
}

bool CConnectionMgr::unmountQl() {
    if (mEditorMode == 0) return false;
    ejectVolume();
    txUnmountMsg();
    // As in editorOff: the second after the message and the 14 after it are one wait.
    if (!waitForUnit(kUnmountReport, [this] { return mMountFlag == 0; })) {
        if (!unitGone()) mAppDelegate.alert("Disconnect error.");
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
    return waitForUnit(limit, [this] { return mMountFlag != 0 && isVolumeExist(); });
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

bool CConnectionMgr::loadPattern() {
    for (int read = 1; read <= kPatternFileReads; ++read) {
        if (CFileDataMgr::loadData()) return true;
        mWaiter.sleepFor(kRetryPause);
    }
    mAppDelegate.alert("User pattern file format is wrong.");
    return false;
}

void CConnectionMgr::txEditorOnMsg() {
    sendDataSet("TX Editor ON", kEditorOnBody);
}

void CConnectionMgr::txEditorOffMsg() {
    sendDataSet("TX Editor OFF", kEditorOffBody);
}

void CConnectionMgr::txMountMsg() {
    sendDataSet("TX MOUNT", kMountBody);
}

void CConnectionMgr::txUnmountMsg() {
    sendDataSet("TX UNMOUNT", kUnmountBody);
}

void CConnectionMgr::rqEditorModeMsg() {
    sendRequest("RQ Editor Mode", kReqEditorModeBody);
}

void CConnectionMgr::txReqMountMsg() {
    sendRequest("RQ MOUNT", kReqMountBody);
}

void CConnectionMgr::txReqKitNameMsg() {
    sendRequest("RQ KIT", kReqKitNameBody);
}

void CConnectionMgr::sendDataSet(const char* label, Bytes body) {
    Log::line("device", label);
    SetTxBuff(body);
    mMidiLib.sendMidiWithData(TxBuff.data(), TxBuffIndex);
}

void CConnectionMgr::sendRequest(const char* label, Bytes body) {
    Log::line("device", label);
    SetRqBuff(body);
    mMidiLib.sendMidiWithData(RqBuff.data(), RqBuffIndex);
}

void CConnectionMgr::SetTxBuff(Bytes body) {
    const auto& header = kHeaders[mConnectedModel];
    std::copy(header, header + kHeaderBytes, TxBuff.begin());
    TxBuff[kCommandAt] = kDataSet;
    const std::size_t kept = std::min(body.size(), TxBuff.size() - kAddressAt);
    std::copy_n(body.begin(), kept, TxBuff.begin() + kAddressAt);
    TxBuffIndex = static_cast<int>(kAddressAt + kept);
}

void CConnectionMgr::SetRqBuff(Bytes body) {
    const auto& header = kHeaders[mConnectedModel];
    std::copy(header, header + kHeaderBytes, RqBuff.begin());
    RqBuff[kCommandAt] = kDataRequest;
    const std::size_t kept = std::min(body.size(), RqBuff.size() - kAddressAt);
    std::copy_n(body.begin(), kept, RqBuff.begin() + kAddressAt);
    RqBuffIndex = static_cast<int>(kAddressAt + kept);
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
    return kModelNames[getConnectedModel() ? kModelQL414XE3 : kModelQL900];
}

std::optional<std::vector<std::uint8_t>> CConnectionMgr::getFileData(const std::string& name) {
    return mVolume.readDataFile(name);
}

}  // namespace tavrel
