// The device link manager, one per program. It finds the unit among the MIDI endpoints by
// name, talks to it with system-exclusive data-set and data-request messages (editor mode on
// and off, whether another editor holds the unit, mount and unmount of its storage, the kit
// names), finds the unit's storage volume and the files on it, and reads the user pattern
// file; the file formats reach the unit's data folder through UnitStorage.
//
// Threads: the unit's replies are decoded on MIDI's drain thread, which only stores integers,
// flags and kit-name bytes here and tells the waiter. The blocking steps run on the device
// thread (LinkRunner), one at a time, and wait through the Waiter for those fields to change;
// the rescan and the getters run on the thread that owns the model (the UI thread), which
// never waits here. What a step reads for the model (kit names, the pattern file) it hands
// back; the model is changed on the model's thread.
#pragma once

#include "device/KitNameTable.h"
#include "device/MidiLibDelegate.h"
#include "device/UnitMessages.h"
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
    static constexpr int kModelQL900 = UnitMessages::kModelQL900;
    static constexpr int kModelQL414XE3 = UnitMessages::kModelQL414XE3;
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
    // The unit's last answer to whether an editor (this program included) holds it; nothing
    // while a question is out or none was answered yet. A watch reads this instead of asking.
    std::optional<bool> getHeld() const;

    // Rescans the endpoints and selects the unit's source and destination. Drops editor mode
    // in this object's state without telling the unit. Main thread.
    void reviseMidiDevice();

    // True once the unit's source or destination has gone from the MIDI service, even before
    // the rescan that this causes has run. Any thread.
    bool unitGone() const;

    // Blocking steps, on the device thread. Each shows its own failure as an alert. A step
    // whose unit goes while it waits ends then, false and without an alert: the step did not
    // fail, the unit is not connected any more, and failureReason says so. A cancelled step
    // (the waiter's cancel) ends the same way, quietly, as its time-out would leave the link.
    // Takes the unit into editor mode; false when not connected or held by another editor.
    bool setEditorMode();
    // Asks the unit whether an editor holds it (this program included); a silent unit
    // counts as held.
    bool getOccupied();
    // Reads the unit's kit names; nothing when the list did not come whole (alerted) or the
    // unit is not in editor mode, went or the step was cancelled (quietly).
    std::optional<std::vector<std::string>> readKitNames();
    // readKitNames into the Context's kit list; on the model's thread.
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
    // Reads the bytes of the user pattern file, asking again a second later up to five times
    // while it is missing or no pattern file; the last failure is alerted.
    std::optional<std::vector<std::uint8_t>> readPatternFile();
    // readPatternFile into the Context's pattern collection; on the model's thread.
    bool loadPattern();

    // Why the last step failed when it showed no alert of its own: "Unit not connected.",
    // "Unit left editor mode." or "Unit storage not found.".
    std::string failureReason() const;
    // How many alerts the link has shown; a step that failed raised this when it said why.
    int alertsShown() const { return mAlertsShown; }
    // The unit went, or the step was cancelled: a step's wait ended without an answer.
    bool stopped() const;
    // From any thread: the step under way stops waiting, and so does every later wait until
    // beginStep. The device thread calls beginStep before each step.
    void cancelStep();
    void beginStep();
    bool stepCancelled() const;

    bool isVolumeExist() override;
    bool isDataFileExist(const std::string& name) override;
    std::optional<std::filesystem::path> getFileURL(const std::string& name) override;
    std::optional<std::vector<std::uint8_t>> getFileData(const std::string& name) override;

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

    void alert(const char* text);
    void send(UnitMessages::Request request);
    int selectUnitSource();
    bool selectUnitDestination(int model);
    void postConnect();
    bool kitListComplete();
    // The waiter's wait that also ends when the unit goes; true only when `done` held.
    bool waitForUnit(std::chrono::milliseconds timeout, const std::function<bool()>& done);
    void decodeKitName(std::uint32_t offset, std::span<const std::uint8_t> names);
    void endKitList(std::size_t lastSlot);
    bool ejectVolume();
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
    std::atomic<int> mAlertsShown{0};
    // The data-set and data-request messages being sent, header included, and their lengths.
    // The sending step's thread only.
    std::array<std::uint8_t, kMessageBytes> TxBuff{};
    std::array<std::uint8_t, kMessageBytes> RqBuff{};
    int TxBuffIndex = 0;
    int RqBuffIndex = 0;
};

}  // namespace tavrel
