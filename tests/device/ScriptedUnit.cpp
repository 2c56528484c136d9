#include "device/ScriptedUnit.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace tavrel::test {

namespace {

constexpr std::uint8_t kDataSet = 0x12;
constexpr std::uint8_t kDataRequest = 0x11;
constexpr std::size_t kSlotBytes = 16;

std::uint8_t checksum(std::span<const std::uint8_t> bytes) {
    const unsigned sum = std::accumulate(bytes.begin(), bytes.end(), 0u);
    return static_cast<std::uint8_t>((128 - sum % 128) & 0x7F);
}

ScriptedUnit::Bytes kitSlot(const std::string& name) {
    ScriptedUnit::Bytes slot(kSlotBytes, ' ');
    std::copy_n(name.begin(), std::min(name.size(), kSlotBytes), slot.begin());
    return slot;
}

}  // namespace

ScriptedUnit::ScriptedUnit(VirtualMidiService& service, VirtualVolumeService& volumes,
                           Timeline& timeline, std::filesystem::path storage,
                           const std::string& model, const std::string& endpointName)
    : mService(service),
      mVolumes(volumes),
      mTimeline(timeline),
      mStart(timeline.now()),
      mStorage(std::move(storage)),
      mModelByte(model == "QL-414XE3" ? 0x05 : 0x04) {
    mSource = mService.addSource(endpointName);
    mService.addDestination(endpointName,
                            [this](std::span<const std::uint8_t> bytes) { heardFromLink(bytes); });
}

void ScriptedUnit::behave(Behaviour behaviour) {
    std::lock_guard lock(mLock);
    mBehaviour = std::move(behaviour);
}

std::vector<ScriptedUnit::Heard> ScriptedUnit::heard() const {
    std::lock_guard lock(mLock);
    return mHeard;
}

bool ScriptedUnit::isMounted() const {
    std::lock_guard lock(mLock);
    return mMounted;
}

void ScriptedUnit::send(const Bytes& bytes) {
    mService.inject(mSource, bytes);
}

ScriptedUnit::Bytes ScriptedUnit::dataSet(std::uint32_t address, const Bytes& data) const {
    Bytes message{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, mModelByte, kDataSet};
    for (const int shift : {21, 14, 7, 0}) {
        message.push_back(static_cast<std::uint8_t>((address >> shift) & 0x7F));
    }
    message.insert(message.end(), data.begin(), data.end());
    message.push_back(checksum(std::span(message).subspan(9)));
    message.push_back(0xF7);
    return message;
}

void ScriptedUnit::heardFromLink(std::span<const std::uint8_t> bytes) {
    Bytes message(bytes.begin(), bytes.end());
    std::chrono::milliseconds delay{};
    {
        std::lock_guard lock(mLock);
        mHeard.push_back(
            {std::chrono::duration_cast<std::chrono::milliseconds>(mTimeline.now() - mStart),
             message});
        delay = mBehaviour.replyDelay;
    }
    mTimeline.after(delay, [this, message] { answer(message); });
}

// Only a message of this model with a correct checksum is taken.
void ScriptedUnit::answer(const Bytes& message) {
    const Bytes header{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, mModelByte};
    if (message.size() < 16 || !std::equal(header.begin(), header.end(), message.begin()) ||
        message.back() != 0xF7) {
        return;
    }
    const auto body = std::span(message).subspan(9, message.size() - 11);
    if (checksum(body) != message[message.size() - 2]) return;
    const std::uint32_t address = static_cast<std::uint32_t>(message[9]) << 21 |
                                  static_cast<std::uint32_t>(message[10]) << 14 |
                                  static_cast<std::uint32_t>(message[11]) << 7 | message[12];
    std::lock_guard lock(mLock);
    const Behaviour& b = mBehaviour;
    if (message[8] == kDataSet) answerDataSet(address, message[13], b);
    if (message[8] == kDataRequest) answerRequest(address, b);
}

void ScriptedUnit::answerDataSet(std::uint32_t address, std::uint8_t value, const Behaviour& b) {
    if (address == kEditorModeAddress && value == 1) {
        if (b.silentTo.contains(Message::EditorOn)) return;
        mEditor = true;
        send(dataSet(kEditorModeAddress, {1}));
    } else if (address == kEditorModeAddress && value == 0) {
        if (b.silentTo.contains(Message::EditorOff)) return;
        mEditor = false;
        // Leaving editor mode takes the storage back.
        if (mMounted) {
            setMounted(false, false);
            send(dataSet(kMountAddress, {0}));
        }
        send(dataSet(kEditorModeAddress, {0}));
    } else if (address == kMountAddress && value == 1) {
        if (b.silentTo.contains(Message::Mount) || !mEditor) return;
        setMounted(true, !b.volumeNeverAppears);
        send(dataSet(kMountAddress, {1}));
    } else if (address == kMountAddress && value == 0) {
        if (b.silentTo.contains(Message::Unmount)) return;
        setMounted(false, false);
        send(dataSet(kMountAddress, {0}));
    }
}

void ScriptedUnit::answerRequest(std::uint32_t address, const Behaviour& b) {
    if (address == kEditorModeAddress && !b.silentTo.contains(Message::AskEditorMode)) {
        send(dataSet(kEditorModeAddress, {static_cast<std::uint8_t>(mEditor || b.heldByOther)}));
    } else if (address == kMountAddress && !b.silentTo.contains(Message::AskMount)) {
        send(dataSet(kMountAddress, {static_cast<std::uint8_t>(mMounted)}));
    } else if (address == kKitNameAddress && !b.silentTo.contains(Message::AskKits)) {
        sendKits(b);
    }
}

// One data-set message per kit, then a slot starting with 0 after the last.
void ScriptedUnit::sendKits(const Behaviour& b) {
    const int count = static_cast<int>(b.kits.size());
    for (int kit = 0; kit < count; ++kit) {
        if (b.loseKitReply == kit) continue;
        send(dataSet(kKitNameAddress + static_cast<std::uint32_t>(kit * kSlotBytes),
                     kitSlot(b.kits[static_cast<std::size_t>(kit)])));
    }
    if (b.strayKitOffset) send(dataSet(kKitNameAddress + *b.strayKitOffset, kitSlot("Stray")));
    send(dataSet(kKitNameAddress + static_cast<std::uint32_t>(count * kSlotBytes),
                 Bytes(kSlotBytes, 0)));
    mBehaviour.loseKitReply.reset();
}

void ScriptedUnit::setMounted(bool mounted, bool showVolume) {
    mMounted = mounted;
    if (!mounted) {
        mVolumes.unmount(mStorage);
    } else if (showVolume) {
        mVolumes.mount(mStorage);
    }
}

}  // namespace tavrel::test
