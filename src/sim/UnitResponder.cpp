#include "sim/UnitResponder.h"

#include "model/Log.h"
#include "sim/FactoryKits.h"

#include <algorithm>
#include <array>

namespace tavrel::sim {

UnitResponder::UnitResponder(UnitModel model, StorageVolume& volume, UnitFaults& faults)
    : mModel(std::move(model)), mVolume(volume), mFaults(faults) {}

std::vector<UnitResponder::Bytes> UnitResponder::answer(UnitStep step) {
    if (step != UnitStep::None && step == mFaults.loseStorageAtStep && mMounted) {
        Log::line("sim", "storage lost on " + std::string(nameOf(step)));
        releaseStorage();
    }
    switch (step) {
        case UnitStep::EditorOn:
            return editorOn();
        case UnitStep::EditorOff:
            return editorOff();
        case UnitStep::EditorRequest:
            return {editorReport()};
        case UnitStep::Mount:
            return mount();
        case UnitStep::Unmount:
            return unmount();
        case UnitStep::MountRequest:
            return {mountReport()};
        case UnitStep::KitRequest:
            return kitList();
        case UnitStep::None:
            break;
    }
    return {};
}

void UnitResponder::powerOff() {
    releaseStorage();
    mEditorMode = false;
}

std::vector<UnitResponder::Bytes> UnitResponder::editorOn() {
    mEditorMode = true;
    return {editorReport()};
}

// Leaving editor mode gives the storage back to the unit; an editor that still had it mounted
// learns so from the mount report that follows.
std::vector<UnitResponder::Bytes> UnitResponder::editorOff() {
    const bool wasMounted = mMounted;
    releaseStorage();
    mEditorMode = false;
    std::vector<Bytes> replies{editorReport()};
    if (wasMounted) replies.push_back(mountReport());
    return replies;
}

std::vector<UnitResponder::Bytes> UnitResponder::mount() {
    if (mFaults.neverMount) return {};
    if (!mEditorMode) {
        Log::line("sim", "mount refused: no editor holds the unit");
    } else if (!mMounted) {
        mMounted = mVolume.mount();
        if (!mMounted) Log::line("sim", "mount failed: the storage cannot be shown");
    }
    return {mountReport()};
}

// The storage ends the editor's session with it: an editor that unmounts counts itself out
// of editor mode on the report, without sending editor off.
std::vector<UnitResponder::Bytes> UnitResponder::unmount() {
    releaseStorage();
    mEditorMode = false;
    return {mountReport()};
}

// One data set per kit, 16 name bytes padded with spaces at 7F 70 01 00 + 16 x kit, then an
// empty slot (first byte 0) that tells the editor the list is over.
std::vector<UnitResponder::Bytes> UnitResponder::kitList() {
    if (!mEditorMode) {
        Log::line("sim", "kit request ignored: no editor holds the unit");
        return {};
    }
    const bool dropping = dropsKitReplies();
    const auto names = FactoryKits::names();
    std::vector<Bytes> replies;
    for (std::size_t slot = 0; slot <= names.size(); ++slot) {
        if (dropping && slot == static_cast<std::size_t>(mFaults.dropKitReply.load())) {
            Log::linef("sim", "kit reply %zu lost", slot);
            continue;
        }
        std::array<std::uint8_t, SimProtocol::kKitNameSize> bytes{};
        if (slot < names.size()) {
            bytes.fill(' ');
            std::copy(names[slot].begin(), names[slot].end(), bytes.begin());
        }
        const auto address = SimProtocol::kKitNameAddress +
                             static_cast<std::uint32_t>(slot * SimProtocol::kKitNameSize);
        replies.push_back(SimProtocol::dataSet(mModel, address, bytes));
    }
    return replies;
}

bool UnitResponder::dropsKitReplies() {
    if (mFaults.dropKitReply < 0) return false;
    int lists = mFaults.dropKitLists;
    // Counted down only from the value read, so that a test setting it meanwhile wins.
    while (lists > 0 && !mFaults.dropKitLists.compare_exchange_weak(lists, lists - 1)) {
    }
    return lists != 0;
}

void UnitResponder::releaseStorage() {
    if (mMounted) mVolume.unmount();
    mMounted = false;
}

UnitResponder::Bytes UnitResponder::report(std::uint32_t address, bool value) const {
    const std::uint8_t data = value ? 1 : 0;
    return SimProtocol::dataSet(mModel, address, std::span(&data, 1));
}

// The unit cannot tell editors apart: held by another, it reports itself held to anyone.
UnitResponder::Bytes UnitResponder::editorReport() const {
    return report(SimProtocol::kEditorModeAddress, mEditorMode || mFaults.heldByOtherEditor);
}

}  // namespace tavrel::sim
