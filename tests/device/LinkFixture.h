// The link as the program builds it, talking to a scripted unit over virtual MIDI, on a
// manual clock: waits settle the MIDI deliveries before looking, so every run sees the same
// order of events and a 25 s time-out takes no real time.
#pragma once

#include "device/CConnectionMgr.h"
#include "device/LogCapture.h"
#include "device/MainThreadQueue.h"
#include "device/ManualTimeline.h"
#include "device/MidiLib.h"
#include "device/ScriptedUnit.h"
#include "device/TempFolder.h"
#include "device/ThreadWaiter.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "model/Context.h"
#include "support/ScriptedAlerts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace tavrel::test {

class LinkFixture : public ::testing::Test {
protected:
    using Bytes = ScriptedUnit::Bytes;
    using ms = std::chrono::milliseconds;

    // The unit, endpoints first.
    ScriptedUnit& makeUnit(const std::string& model = "QL-900",
                           const std::string& endpointName = "QL-900 MIDI 1") {
        unit = std::make_unique<ScriptedUnit>(service, volumes, timeline, unitRoot, model,
                                              endpointName);
        return *unit;
    }
    // Makes the transport and the link, which finds the endpoints there are by now.
    CConnectionMgr& connect() {
        midi = std::make_unique<MidiLib>(service, mainThread.poster());
        link = &context->install<CConnectionMgr, UnitStorage>(
            std::make_unique<CConnectionMgr>(*midi, volumes, waiter, alerts));
        return *link;
    }
    // Hands on what the MIDI service raised and lets the link decode it; then runs the
    // endpoint changes posted to the main thread.
    void settle() {
        service.flush();
        if (midi) midi->waitIdle();
        mainThread.runAll();
    }
    ms elapsed() const { return std::chrono::duration_cast<ms>(timeline.elapsed()); }
    std::vector<std::string> alertTexts() const {
        std::vector<std::string> texts;
        for (const auto& shown : alerts.shown) texts.push_back(shown.message);
        return texts;
    }
    // What the unit heard, message by message.
    std::vector<Bytes> heardBytes() const {
        std::vector<Bytes> all;
        if (!unit) return all;
        for (const auto& h : unit->heard()) all.push_back(h.bytes);
        return all;
    }

    LogCapture log;
    TempFolder temp;
    VirtualVolumeService volumes;
    VirtualMidiService service;
    ManualTimeline timeline;
    // The unit's storage: its folder, with the data folder in it.
    std::filesystem::path unitRoot = temp.folder("unit/VANTIK/DATA").parent_path().parent_path();
    std::unique_ptr<ScriptedUnit> unit;
    MainThreadQueue mainThread;
    std::unique_ptr<MidiLib> midi;
    ThreadWaiter waiter{timeline, [this] {
                            service.flush();
                            if (midi) midi->waitIdle();
                        }};
    ScriptedAlerts alerts;
    // Last: goes first, and the link it owns with it.
    std::unique_ptr<Context> context = std::make_unique<Context>();
    CConnectionMgr* link = nullptr;
};

}  // namespace tavrel::test
