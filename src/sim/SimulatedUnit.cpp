#include "sim/SimulatedUnit.h"

#include "device/MidiParser.h"
#include "device/Timeline.h"
#include "model/Log.h"
#include "sim/SimProtocol.h"
#include "sim/StorageSeeder.h"
#include "sim/StorageVolume.h"
#include "sim/UnitPorts.h"
#include "sim/UnitResponder.h"
#include "sim/VirtualStorageVolume.h"
#include "sim/VirtualUnitPorts.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

namespace tavrel::sim {

namespace fs = std::filesystem;

namespace {

constexpr std::uint8_t kSysEx = 0xF0;
constexpr std::uint8_t kFirstRealTime = 0xF8;

}  // namespace

// Outlives the SimulatedUnit while a MIDI or timeline thread still holds it; once retired it
// touches neither the ports nor the volume again.
class SimulatedUnit::State {
public:
    State(UnitModel unitModel, std::unique_ptr<UnitPorts> unitPorts,
          std::unique_ptr<StorageVolume> storage, Timeline& clock)
        : model(std::move(unitModel)),
          timeline(clock),
          volume(std::move(storage)),
          ports(std::move(unitPorts)),
          responder(model, *volume, faults) {}

    bool plugIn(const std::weak_ptr<State>& self);
    void unplug();
    void receive(std::span<const std::uint8_t> bytes, const std::weak_ptr<State>& self);
    void respondLater(UnitStep step, int plug);

    const UnitModel model;
    Timeline& timeline;
    UnitFaults faults;
    std::atomic<int> received{0};
    std::atomic<int> ignored{0};

    mutable std::mutex lock;  // guards everything below
    std::unique_ptr<StorageVolume> volume;
    std::unique_ptr<UnitPorts> ports;
    UnitResponder responder;
    bool pluggedIn = false;
    bool retired = false;
    int plugs = 0;  // a late reply belongs to the plug-in it was asked in
    MidiParser parser;

private:
    void message(std::span<const std::uint8_t> bytes, const std::weak_ptr<State>& self);
    bool accept(std::span<const std::uint8_t> bytes, UnitStep& step);
    void respond(UnitStep step);
};

bool SimulatedUnit::State::plugIn(const std::weak_ptr<State>& self) {
    std::lock_guard guard(lock);
    if (retired) return false;
    if (pluggedIn) return true;
    if (!StorageSeeder::seed(volume->unitFolder())) return false;
    parser = MidiParser();
    const bool opened = ports->open(model.name(), [self](std::span<const std::uint8_t> bytes) {
        if (const auto state = self.lock()) state->receive(bytes, self);
    });
    if (!opened) {
        Log::line("sim", model.name() + ": the MIDI service refused the unit's endpoints");
        return false;
    }
    pluggedIn = true;
    ++plugs;
    Log::line("sim", model.name() + " plugged in, storage " + volume->root().string());
    return true;
}

void SimulatedUnit::State::unplug() {
    if (!pluggedIn) return;
    ports->close();
    responder.powerOff();
    pluggedIn = false;
    Log::line("sim", model.name() + " unplugged");
}

void SimulatedUnit::State::receive(std::span<const std::uint8_t> bytes,
                                   const std::weak_ptr<State>& self) {
    std::lock_guard guard(lock);
    for (const std::uint8_t byte : bytes) {
        if (!pluggedIn || retired) return;
        // Clock and other real-time bytes may fall anywhere, even inside a message.
        if (byte >= kFirstRealTime || !parser.parseMidi(byte)) continue;
        const MidiPacket& packet = parser.packet();
        // Notes and program changes of a preview are for the unit's sounds, not its protocol.
        if (packet.data[0] != kSysEx) continue;
        message(std::span(packet.data).first(packet.length), self);
    }
}

void SimulatedUnit::State::message(std::span<const std::uint8_t> bytes,
                                   const std::weak_ptr<State>& self) {
    const int count = ++received;
    if (count == faults.unplugAtMessage) {
        Log::linef("sim", "cable pulled on message %d", count);
        unplug();
        return;
    }
    UnitStep step = UnitStep::None;
    if (!accept(bytes, step)) return;
    if (step == faults.unplugAtStep) {
        Log::line("sim", "cable pulled on " + std::string(nameOf(step)));
        unplug();
        return;
    }
    if (faults.silent) return;
    const int delay = faults.replyDelayMs;
    if (delay <= 0) {
        respond(step);
        return;
    }
    timeline.after(std::chrono::milliseconds(delay), [self, step, plug = plugs] {
        if (const auto state = self.lock()) state->respondLater(step, plug);
    });
}

// Logs and counts what is thrown away.
bool SimulatedUnit::State::accept(std::span<const std::uint8_t> bytes, UnitStep& step) {
    std::string why;
    const auto parsed = SimProtocol::parse(model, bytes, why);
    step = parsed ? SimProtocol::stepOf(*parsed) : UnitStep::None;
    if (parsed && step == UnitStep::None) why = "a request the unit does not know";
    if (step != UnitStep::None) {
        Log::line("sim", "rx " + std::string(nameOf(step)));
        return true;
    }
    ++ignored;
    Log::line("sim", "ignored a message: " + why);
    return false;
}

void SimulatedUnit::State::respondLater(UnitStep step, int plug) {
    std::lock_guard guard(lock);
    if (retired || !pluggedIn || plug != plugs) return;
    respond(step);
}

void SimulatedUnit::State::respond(UnitStep step) {
    const auto replies = responder.answer(step);
    int heard = 0;
    for (const auto& reply : replies) heard += ports->send(reply) ? 1 : 0;
    if (heard < static_cast<int>(replies.size())) {
        Log::linef("sim", "%d of %zu replies were not heard: no one is connected",
                   static_cast<int>(replies.size()) - heard, replies.size());
    }
}

SimulatedUnit::SimulatedUnit(const UnitModel& model, VirtualMidiService& midi,
                             VirtualVolumeService& volumes, Timeline& timeline, fs::path storage)
    : SimulatedUnit(model, std::make_unique<VirtualUnitPorts>(midi),
                    std::make_unique<VirtualStorageVolume>(
                        volumes, storage.empty() ? defaultStorage(model) : std::move(storage)),
                    timeline) {}

SimulatedUnit::SimulatedUnit(const UnitModel& model, std::unique_ptr<UnitPorts> ports,
                             std::unique_ptr<StorageVolume> volume, Timeline& timeline)
    : mState(std::make_shared<State>(model, std::move(ports), std::move(volume), timeline)) {}

SimulatedUnit::~SimulatedUnit() {
    std::lock_guard guard(mState->lock);
    mState->unplug();
    mState->retired = true;
}

bool SimulatedUnit::plugIn() {
    return mState->plugIn(mState);
}

void SimulatedUnit::unplug() {
    std::lock_guard guard(mState->lock);
    mState->unplug();
}

UnitFaults& SimulatedUnit::faults() {
    return mState->faults;
}

const UnitModel& SimulatedUnit::model() const {
    return mState->model;
}

fs::path SimulatedUnit::storageRoot() const {
    std::lock_guard guard(mState->lock);
    return mState->volume->root();
}

bool SimulatedUnit::pluggedIn() const {
    std::lock_guard guard(mState->lock);
    return mState->pluggedIn;
}

bool SimulatedUnit::editorMode() const {
    std::lock_guard guard(mState->lock);
    return mState->responder.editorMode();
}

bool SimulatedUnit::mounted() const {
    std::lock_guard guard(mState->lock);
    return mState->responder.mounted();
}

int SimulatedUnit::messagesReceived() const {
    return mState->received;
}

int SimulatedUnit::messagesIgnored() const {
    return mState->ignored;
}

fs::path SimulatedUnit::defaultStorage(const UnitModel& model) {
    fs::path data;
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg != nullptr && *xdg != '\0') {
        data = xdg;
    } else if (const char* home = std::getenv("HOME"); home != nullptr) {
        data = fs::path(home) / ".local" / "share";
    } else {
        data = fs::temp_directory_path();
    }
    return data / "tavrel" / "sim" / model.name();
}

}  // namespace tavrel::sim
