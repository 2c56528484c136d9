// What the unit does with each request an editor sends, and what it answers: its editor
// mode, its storage's mount state and its kit list. One request at a time; the caller keeps
// the threads apart.
#pragma once

#include "sim/SimProtocol.h"
#include "sim/StorageVolume.h"
#include "sim/UnitFaults.h"
#include "sim/UnitModel.h"

#include <cstdint>
#include <vector>

namespace tavrel::sim {

class UnitResponder {
public:
    using Bytes = SimProtocol::Bytes;

    // The volume and the faults must outlive the responder. A lost kit reply counts down its
    // switch.
    UnitResponder(UnitModel model, StorageVolume& volume, UnitFaults& faults);

    // Acts on one accepted message of `step` and returns the unit's replies, in the order
    // it sends them.
    std::vector<Bytes> answer(UnitStep step);
    // Power gone or cable pulled: the editor is forgotten and the storage taken back.
    void powerOff();

    bool editorMode() const { return mEditorMode; }
    bool mounted() const { return mMounted; }

private:
    std::vector<Bytes> editorOn();
    std::vector<Bytes> editorOff();
    std::vector<Bytes> mount();
    std::vector<Bytes> unmount();
    std::vector<Bytes> kitList();
    bool dropsKitReplies();
    void releaseStorage();

    Bytes report(std::uint32_t address, bool value) const;
    Bytes editorReport() const;
    Bytes mountReport() const { return report(SimProtocol::kMountAddress, mMounted); }

    UnitModel mModel;
    StorageVolume& mVolume;
    UnitFaults& mFaults;
    bool mEditorMode = false;  // an editor (the program) has switched editor mode on
    bool mMounted = false;
};

}  // namespace tavrel::sim
