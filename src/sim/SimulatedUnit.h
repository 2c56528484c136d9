// A QL unit that needs no hardware. It shows up as a MIDI source and destination named after
// its model, answers editor mode, mount and the kit list as the unit does, and keeps a storage
// folder (VANTIK/DATA, seeded with the files a new unit has) that the computer sees as a volume
// while mounted. The switches in faults() make it slow, silent, held by another editor, lose a
// kit reply, never mount, or vanish mid-operation.
//
// Requests arrive on the MIDI service's thread; every operation here is safe from any thread.
// Replies are sent from the thread the request came on, or, while the unit is slow, from the
// Timeline's thread once the delay has passed on it.
#pragma once

#include "sim/UnitFaults.h"
#include "sim/UnitModel.h"

#include <filesystem>
#include <memory>

namespace tavrel {
class Timeline;
class VirtualMidiService;
class VirtualVolumeService;
}  // namespace tavrel

namespace tavrel::sim {

class StorageVolume;
class UnitPorts;

class SimulatedUnit {
public:
    // Inside the program: the endpoints live in `midi`, the storage folder `storage` (empty:
    // defaultStorage(model)) is mounted as a volume of `volumes`. The services and the timeline
    // must outlive the unit.
    SimulatedUnit(const UnitModel& model, VirtualMidiService& midi, VirtualVolumeService& volumes,
                  Timeline& timeline, std::filesystem::path storage = {});
    // Any connector and storage, as the simulator process brings its own.
    SimulatedUnit(const UnitModel& model, std::unique_ptr<UnitPorts> ports,
                  std::unique_ptr<StorageVolume> volume, Timeline& timeline);
    // Unplugs; replies still waiting on the timeline are dropped.
    ~SimulatedUnit();
    SimulatedUnit(const SimulatedUnit&) = delete;
    SimulatedUnit& operator=(const SimulatedUnit&) = delete;

    // Seeds the storage where files are missing and makes the endpoints appear. False, with
    // the reason logged, when either cannot be done. The unit comes up free and unmounted.
    bool plugIn();
    // The endpoints and the volume vanish, as when the cable is pulled.
    void unplug();

    UnitFaults& faults();
    const UnitModel& model() const;
    // The folder shown as the unit's volume while mounted.
    std::filesystem::path storageRoot() const;

    bool pluggedIn() const;
    bool editorMode() const;
    bool mounted() const;
    // System-exclusive messages heard since construction, and those of them thrown away
    // (another model's, bad checksum, unknown request).
    int messagesReceived() const;
    int messagesIgnored() const;

    // $XDG_DATA_HOME/tavrel/sim/<model>, or under ~/.local/share without XDG_DATA_HOME.
    static std::filesystem::path defaultStorage(const UnitModel& model);

private:
    class State;  // everything the MIDI and timeline threads reach, kept alive by them
    std::shared_ptr<State> mState;
};

}  // namespace tavrel::sim
