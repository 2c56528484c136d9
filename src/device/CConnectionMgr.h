// The device link manager, one per program. It finds the unit among the MIDI endpoints by
// name, talks to it with system-exclusive data-set and data-request messages (editor mode on
// and off, whether another editor holds the unit, mount and unmount of its storage, the kit
// names), finds the unit's storage volume and the files on it, and reads the user pattern
// file; the file formats reach the unit's data folder through UnitStorage.
//
// Threads: the unit's replies are decoded on MIDI's drain thread, which only stores integers,
// flags and kit-name bytes here and tells the waiter; everything else runs on the main thread,
// whose blocking steps wait through the Waiter for those fields to change.
#pragma once

#include "device/KitNameTable.h"
#include "device/MidiLibDelegate.h"
#include "device/UnitVolume.h"
#include "files/UnitStorage.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

class Alerts;
class MidiLib;
class VolumeService;
class Waiter;

class CConnectionMgr : public UnitStorage, public MidiLibDelegate {
public:
    // Model indexes. The unit's MIDI endpoints carry the model's name.
    static constexpr int kModelQL900 = 0;
    static constexpr int kModelQL414XE3 = 1;
    // The unit's folder at the root of its volume, and its data folder inside that.
    static constexpr const char* kUnitFolder = UnitVolume::kUnitFolder;
    static constexpr const char* kDataFolder = UnitVolume::kDataFolder;

    // Becomes the transport's delegate, looks for the unit and posts NOTIFY_MIDI_CONNECT on
    // the current Context. All four must outlive this object.
    CConnectionMgr(MidiLib& midi, VolumeService& volumes, Waiter& waiter, Alerts& alerts);
    ~CConnectionMgr() override;
    CConnectionMgr(const CConnectionMgr&) = delete;
    CConnectionMgr& operator=(const CConnectionMgr&) = delete;

    bool getConnected() const { return mConnected; }
    int getEditorMode() const { return mEditorMode; }
    int getMount() const { return mMountFlag; }
    // True for the QL-414XE3.
    bool getConnectedModel() const { return mConnectedModel != kModelQL900; }

    // Rescans the endpoints and selects the unit's source and destination. Drops editor mode
    // in this object's state without telling the unit. Main thread.
    void reviseMidiDevice();

    // True once the unit's source or destination has gone from the MIDI service, even before
    // the rescan that this causes has run. Any thread.
    bool unitGone() const;

    // Blocking steps, main thread only. Each shows its own failure as an alert. A step whose
    // unit goes while it waits ends then, false and without an alert: the step did not fail,
    // the unit is not connected any more, and its caller says so.
    // Takes the unit into editor mode; false when not connected or held by another editor.
    bool setEditorMode();
    // Asks the unit whether an editor holds it (this program included); a silent unit
    // counts as held.
    bool getOccupied();
    // Reads the unit's kit names into the Context's kit list.
    bool getKitName();
    // Ejects the unit's volume and ends editor mode.
    bool editorOff();

    // The unit's storage volume. Looks for it: the first volume, in the volume service's
    // order, holding the unit's folder. When none does, the volume found before is kept;
    // whether it is still there is isVolumeExist's question.
    void storeMountURL();
    std::optional<std::filesystem::path> getMountURL() const;
    // `relative` inside the unit's folder. A leading slash does not make it absolute: the
    // file formats name their files "/RHYTHM.QL0".
    std::optional<std::filesystem::path> getMountURLAppendPath(
        const std::filesystem::path& relative);
    // Asks the unit to mount its storage and finds the volume; no alert.
    bool mountQl();
    // Ejects the volume and asks the unit to unmount, which ends editor mode too.
    bool unmountQl();
    // True once the unit reports its storage mounted and the volume is there; false when
    // `limit` passes first.
    bool waitForVolume(std::chrono::milliseconds limit);
    // Reads the user pattern file into the Context's pattern collection, with retries.
    bool loadPattern();

    bool isVolumeExist() override;
    bool isDataFileExist(const std::string& name) override;
    std::optional<std::filesystem::path> getFileURL(const std::string& name) override;
    std::optional<std::vector<std::uint8_t>> getFileData(const std::string& name) override;
    // "QL-900" or "QL-414XE3", the model last recognised.
    std::string unitModelName() override;

    // From the transport.
    void rxMidiData(const MidiPacket& packet) override;
    void midiObjectAdded(const MidiNotification& notification) override;
    void midiObjectRemoved(const MidiNotification& notification) override;

    // The messages to the unit, each logged with its label.
    void txEditorOnMsg();
    void txEditorOffMsg();
    void txMountMsg();
    void txUnmountMsg();
    void rqEditorModeMsg();
    void txReqMountMsg();  // the unit answers with a mount report; nothing here asks it
    void txReqKitNameMsg();

private:
    static constexpr std::size_t kMessageBytes = 20;

    int selectUnitSource();
    bool selectUnitDestination(int model);
    void postConnect();
    bool kitListComplete();
    // The waiter's wait that also ends when the unit goes; true only when `done` held.
    bool waitForUnit(std::chrono::milliseconds timeout, const std::function<bool()>& done);
    void decodeKitName(std::uint32_t offset, std::span<const std::uint8_t> message);
    void endKitList(std::size_t lastSlot);
    bool ejectVolume();
    void sendDataSet(const char* label, std::span<const std::uint8_t> body);
    void sendRequest(const char* label, std::span<const std::uint8_t> body);
    void SetTxBuff(std::span<const std::uint8_t> body);
    void SetRqBuff(std::span<const std::uint8_t> body);

    MidiLib& mMidiLib;   // the shared transport
    UnitVolume mVolume;  // where mMountURL, the unit's volume root, is kept
    Waiter& mWaiter;
    Alerts& mAppDelegate;  // where the link's failures are shown

    // The link's state.
    std::atomic<bool> mMidiInConnected{false};   // a source of the unit is selected
    std::atomic<bool> mMidiOutConeected{false};  // a destination of the unit is selected
    KitNameTable mKitName;
    std::atomic<bool> mConnected{false};            // both endpoints of the unit are selected
    std::atomic<int> mEditorMode{0};                // 1 while this program holds the unit
    std::atomic<int> mTargetEditorMode{255};        // the unit's last report; 255: asked, no answer
    std::atomic<int> mMountFlag{0};                 // the unit's last mount report; 0: not mounted
    std::atomic<bool> mGetKitName{false};           // the end of the kit name list has arrived
    std::atomic<int> mRxKitNum{0};                  // kit name replies since the request
    std::atomic<int> mRxKitMaxNum{0};               // slots up to and including the end marker
    std::atomic<int> mConnectedModel{kModelQL900};  // picks the header replies must carry
    // The data-set and data-request messages being sent, header included, and their lengths.
    // Main thread only.
    std::array<std::uint8_t, kMessageBytes> TxBuff{};
    std::array<std::uint8_t, kMessageBytes> RqBuff{};
    int TxBuffIndex = 0;
    int RqBuffIndex = 0;
};

}  // namespace tavrel
