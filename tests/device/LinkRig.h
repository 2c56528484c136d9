// The link as the program builds it, talking to the simulated unit over virtual MIDI. On the
// manual clock a wait settles the MIDI deliveries before looking, so every run sees the same
// order of events and a 25 s time-out takes no real time; the real clock is for tests that
// need real time to pass beside a step. The log is captured with the clock's time of each line.
#pragma once

#include "device/CConnectionMgr.h"
#include "device/CallerQueue.h"
#include "device/ManualTimeline.h"
#include "device/RealTimeline.h"
#include "device/TestKit.h"
#include "device/ThreadWaiter.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "files/CFileDataMgr.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "sim/SimulatedUnit.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedAlerts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace tavrel::test {

class LinkRig {
public:
    using ms = std::chrono::milliseconds;

    explicit LinkRig(bool manualClock = true)
        : clock(manualClock ? std::unique_ptr<Timeline>(std::make_unique<ManualTimeline>())
                            : std::make_unique<RealTimeline>()),
          waiter(manualClock ? std::make_unique<ThreadWaiter>(timeline(), [this] { deliver(); })
                             : std::make_unique<ThreadWaiter>(static_cast<RealTimeline&>(*clock))) {
        start(sim::UnitModel::ql900());
    }

    // A fresh program, and a unit of `model` plugged in with the storage of the one before.
    void start(const sim::UnitModel& model) {
        link = nullptr;
        context.reset();  // the link goes with it, before the transport
        midi.reset();     // the MIDI service takes one client at a time
        unit.reset();
        log.clear();
        alerts.shown.clear();
        context = std::make_unique<Context>();
        unit =
            std::make_unique<sim::SimulatedUnit>(model, service, volumes, *clock, temp / "storage");
        EXPECT_TRUE(unit->plugIn());
        midi = std::make_unique<MidiLib>(service, caller.poster());
        link = &context->install<CConnectionMgr, UnitStorage>(
            std::make_unique<CConnectionMgr>(*midi, volumes, *waiter, alerts));
        settle();
    }
    // Hands on what the MIDI service raised and lets the link decode it.
    void deliver() {
        service.flush();
        if (midi) midi->waitIdle();
    }
    // Delivers, then runs the endpoint changes posted to the main thread.
    void settle() {
        deliver();
        caller.drain();
    }
    // Two patterns in the unit's pattern file and none in the program, none current, so that a
    // load can be seen to have read them.
    void putTwoPatternsOnTheUnit() const {
        CPatternMgr& patterns = context->patterns();
        for (const char* name : {"Funk        ", "Waltz       "}) {
            patterns.addPatternData()->setName(name);
        }
        EXPECT_TRUE(CFileDataMgr::exportData(patternFile()));
        patterns.clearAllPtnData();
        patterns.setCurPatternNum(-1);
    }

    ManualTimeline& timeline() { return static_cast<ManualTimeline&>(*clock); }
    ms elapsed() const { return std::chrono::duration_cast<ms>(clock->now() - begun); }
    sim::UnitFaults& faults() const { return unit->faults(); }
    std::filesystem::path patternFile() const {
        return unit->storageRoot() / "VANTIK" / "DATA" / "RHYTHM.QL0";
    }

    ScratchFolder temp;
    VirtualVolumeService volumes;
    VirtualMidiService service;
    const std::unique_ptr<Timeline> clock;
    const Timeline::Clock::time_point begun = clock->now();
    LogCapture log{[this] { return elapsed(); }};
    std::unique_ptr<sim::SimulatedUnit> unit;
    CallerQueue caller;  // stands in for the desktop's event loop
    std::unique_ptr<MidiLib> midi;
    const std::unique_ptr<ThreadWaiter> waiter;
    ScriptedAlerts alerts;
    std::unique_ptr<Context> context;  // last: goes first, and the link it owns with it
    CConnectionMgr* link = nullptr;
};

}  // namespace tavrel::test
