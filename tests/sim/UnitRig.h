// A simulated unit in a VirtualMidiService and a VirtualVolumeService, with the program's end
// of the cable: a client whose input port hears the unit's source and whose output port sends
// to the unit's destination, as the device link does.
#pragma once

#include "device/ManualTimeline.h"
#include "device/TempFolder.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "sim/SimulatedUnit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tavrel::test {

using Bytes = std::vector<std::uint8_t>;

// The header of the model whose ID byte is `modelId`, then `body`.
inline Bytes message(std::uint8_t modelId, const Bytes& body) {
    Bytes bytes{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, modelId};
    // Byte by byte: g++ 12 sees an overflow that is not there in an optimised insert().
    for (const std::uint8_t byte : body) bytes.push_back(byte);
    return bytes;
}

// What the program hears: the bytes of each block, and the endpoints that went away.
class AppSide : public MidiService::Listener {
public:
    void midiReceived(std::span<const std::uint8_t> bytes) override {
        std::lock_guard guard(mLock);
        mReceived.emplace_back(bytes.begin(), bytes.end());
    }
    void midiNotified(const MidiNotification& notification) override {
        std::lock_guard guard(mLock);
        if (notification.kind == MidiNotification::Kind::ObjectRemoved) {
            mRemoved.push_back(notification.displayName);
        }
    }
    std::vector<Bytes> take() {
        std::lock_guard guard(mLock);
        return std::exchange(mReceived, {});
    }
    std::vector<std::string> removed() {
        std::lock_guard guard(mLock);
        return mRemoved;
    }

private:
    std::mutex mLock;
    std::vector<Bytes> mReceived;
    std::vector<std::string> mRemoved;
};

class UnitRig {
public:
    explicit UnitRig(const sim::UnitModel& model) {
        EXPECT_TRUE(midi.createClient("Tavrel", app).ok());
        EXPECT_TRUE(midi.createOutputPort("out").ok());
        EXPECT_TRUE(midi.createInputPort("in").ok());
        unit = std::make_unique<sim::SimulatedUnit>(model, midi, volumes, timeline, root());
    }

    std::filesystem::path root() const { return temp.path() / "unit"; }

    // Plugs the unit in and connects to it as the link would, by the model's name.
    bool plugIn() {
        if (!unit->plugIn()) return false;
        const auto src = find(midi.sources());
        const auto dst = find(midi.destinations());
        if (!src || !dst) return false;
        source = *src;
        destination = *dst;
        return midi.connectSource(source).ok();
    }

    // Sends `request` to the unit and returns what it answered by the time it was delivered.
    std::vector<Bytes> exchange(const Bytes& request) {
        send(request);
        return replies();
    }
    void send(const Bytes& bytes) { EXPECT_TRUE(midi.send(destination, bytes).ok()); }
    std::vector<Bytes> replies() {
        midi.flush();
        return app.take();
    }
    // Moves the unit's clock on, running the replies that come due meanwhile.
    void advance(std::chrono::milliseconds by) { timeline.advanceTo(timeline.now() + by); }
    // Whether an endpoint carrying the model's name is listed.
    bool endpointsListed() { return find(midi.sources()) || find(midi.destinations()); }

    // Declared in the order they must be made; the unit goes first, the listener last.
    TempFolder temp;
    AppSide app;
    VirtualMidiService midi;
    VirtualVolumeService volumes;
    ManualTimeline timeline;
    std::unique_ptr<sim::SimulatedUnit> unit;
    std::int64_t source = 0;
    std::int64_t destination = 0;

private:
    std::optional<std::int64_t> find(const std::vector<MidiService::Endpoint>& endpoints) {
        const auto it = std::find_if(endpoints.begin(), endpoints.end(), [&](const auto& e) {
            return e.displayName.find(unit->model().name()) != std::string::npos;
        });
        if (it == endpoints.end()) return std::nullopt;
        return it->uniqueId;
    }
};

}  // namespace tavrel::test
