// The device link manager, one per program. It keeps the link's state (the unit's MIDI
// endpoints, editor mode, the unit's mount reports, its kit names) and finds the unit's storage
// volume and the files on it; the file formats reach the unit's data folder through
// UnitStorage. Talking to the unit over MIDI arrives with the transport.
//
// The unit's replies are decoded on the MIDI receive thread, which only stores integers,
// flags and kit-name bytes here while the main thread polls them; hence the atomics.
#pragma once

#include "files/UnitStorage.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

class Alerts;
class MidiLib;
class VolumeService;

class CConnectionMgr : public UnitStorage {
public:
    // Model indexes. The unit's MIDI endpoints carry the model's name.
    static constexpr int kModelQL900 = 0;
    static constexpr int kModelQL414XE3 = 1;
    // The unit's folder at the root of its volume, and its data folder inside that.
    static constexpr const char* kUnitFolder = "VANTIK";
    static constexpr const char* kDataFolder = "DATA";

    // The MIDI transport and the alerts come before `volumes` once the unit's protocol is
    // spoken here; until then the link knows the unit's storage only.
    explicit CConnectionMgr(VolumeService& volumes);
    CConnectionMgr(const CConnectionMgr&) = delete;
    CConnectionMgr& operator=(const CConnectionMgr&) = delete;

    bool getConnected() const { return mConnected; }
    int getEditorMode() const { return mEditorMode; }
    int getMount() const { return mMountFlag; }
    // True for the QL-414XE3.
    bool getConnectedModel() const { return mConnectedModel != kModelQL900; }

    // Looks for the unit's volume: the first, in the volume service's order, holding the
    // unit's folder. When none does, the volume found before is kept; whether it is still
    // there is isVolumeExist's question.
    void storeMountURL();
    std::optional<std::filesystem::path> getMountURL() const;
    // `relative` inside the unit's folder. A leading slash does not make it absolute: the
    // file formats name their files "/RHYTHM.QL0".
    std::optional<std::filesystem::path> getMountURLAppendPath(
        const std::filesystem::path& relative);

    bool isVolumeExist() override;
    bool isDataFileExist(const std::string& name) override;
    std::optional<std::filesystem::path> getFileURL(const std::string& name) override;
    std::optional<std::vector<std::uint8_t>> getFileData(const std::string& name) override;

private:
    static constexpr std::size_t kKitNameBytes = 1600;  // 100 kits of 16 bytes
    static constexpr std::size_t kMessageBytes = 20;

    VolumeService& mVolumes;

    // The link's state. Those marked maybe_unused belong to the MIDI half of the link, which
    // arrives with the transport.
    [[maybe_unused]] MidiLib* mMidiLib = nullptr;     // the shared transport
    [[maybe_unused]] Alerts* mAppDelegate = nullptr;  // where the link's failures are shown
    std::atomic<bool> mMidiInConnected{false};        // a source of the unit is selected
    std::atomic<bool> mMidiOutConeected{false};       // a destination of the unit is selected
    // Slot i holds kit i's name. Written on the receive thread, read only after mGetKitName
    // has been seen true.
    [[maybe_unused]] std::array<std::uint8_t, kKitNameBytes> mKitName{};
    std::atomic<bool> mConnected{false};            // both endpoints of the unit are selected
    std::atomic<int> mEditorMode{0};                // 1 while this program holds the unit
    std::atomic<int> mTargetEditorMode{255};        // the unit's last report; 255: asked, no answer
    std::atomic<int> mMountFlag{0};                 // the unit's last mount report; 0: not mounted
    std::atomic<bool> mGetKitName{false};           // the end of the kit name list has arrived
    std::atomic<int> mRxKitNum{0};                  // kit name replies since the request
    std::atomic<int> mRxKitMaxNum{0};               // slots up to and including the end marker
    std::atomic<int> mConnectedModel{kModelQL900};  // picks the header replies must carry
    // The unit's volume root. Guarded: the apply worker reads the unit's files while the main
    // thread may look for the volume again.
    std::optional<std::filesystem::path> mMountURL;
    mutable std::mutex mMountURLLock;
    // The data-set and data-request messages being sent, header included, and their lengths.
    [[maybe_unused]] std::array<std::uint8_t, kMessageBytes> TxBuff{};
    [[maybe_unused]] std::array<std::uint8_t, kMessageBytes> RqBuff{};
    [[maybe_unused]] int TxBuffIndex = 0;
    [[maybe_unused]] int RqBuffIndex = 0;
};

}  // namespace tavrel
