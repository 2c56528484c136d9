// A unit of the QL family as the link's tests need it: MIDI endpoints named as the unit's,
// which answer the link's messages the way the unit does, and a storage folder it shows as
// a volume while mounted. Switches make it hold itself for another editor, stay silent to
// some messages, answer late, lose a kit reply or never let its volume appear.
//
// It answers on the timeline's thread after the reply delay, as a unit answers on its own
// time; what it heard is kept with the timeline's time of arrival.
#pragma once

#include "device/Timeline.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace tavrel::test {

class ScriptedUnit {
public:
    using Bytes = std::vector<std::uint8_t>;
    enum class Message { EditorOn, EditorOff, Mount, Unmount, AskEditorMode, AskMount, AskKits };

    struct Behaviour {
        bool heldByOther = false;    // another editor holds the unit
        std::set<Message> silentTo;  // messages it neither answers nor acts on
        std::chrono::milliseconds replyDelay{0};
        bool volumeNeverAppears = false;  // reports mounting, but no volume shows up
        std::optional<int> loseKitReply;  // this kit's reply is lost, once
        // A reply at this offset from kit 0's address, sent before the end of the list.
        std::optional<std::uint32_t> strayKitOffset;
        std::vector<std::string> kits{"Standard", "Rock", "Jazz"};
    };
    struct Heard {
        std::chrono::milliseconds at;  // since the timeline's start
        Bytes bytes;
    };

    // Endpoints "<endpointName>" as source and destination; the model byte of the headers is
    // that of `model` ("QL-900" or "QL-414XE3"). `storage` is the folder it mounts.
    ScriptedUnit(VirtualMidiService& service, VirtualVolumeService& volumes, Timeline& timeline,
                 std::filesystem::path storage, const std::string& model = "QL-900",
                 const std::string& endpointName = "QL-900 MIDI 1");

    void behave(Behaviour behaviour);
    std::vector<Heard> heard() const;
    bool isMounted() const;
    std::int64_t sourceId() const { return mSource; }
    // Sends `bytes` as the unit, unasked.
    void send(const Bytes& bytes);
    // A data-set message of this unit's model with its checksum.
    Bytes dataSet(std::uint32_t address, const Bytes& data) const;

    static constexpr std::uint32_t kEditorModeAddress = 0x0FFC0000;
    static constexpr std::uint32_t kMountAddress = 0x0FFC0001;
    static constexpr std::uint32_t kKitNameAddress = 0x0FFC0080;

private:
    void heardFromLink(std::span<const std::uint8_t> bytes);
    void answer(const Bytes& message);
    void answerDataSet(std::uint32_t address, std::uint8_t value, const Behaviour& b);
    void answerRequest(std::uint32_t address, const Behaviour& b);
    void sendKits(const Behaviour& b);
    void setMounted(bool mounted, bool showVolume);

    VirtualMidiService& mService;
    VirtualVolumeService& mVolumes;
    Timeline& mTimeline;
    const Timeline::Clock::time_point mStart;
    const std::filesystem::path mStorage;
    const std::uint8_t mModelByte;
    std::int64_t mSource = 0;
    mutable std::mutex mLock;
    Behaviour mBehaviour;
    std::vector<Heard> mHeard;
    bool mEditor = false;
    bool mMounted = false;
};

}  // namespace tavrel::test
