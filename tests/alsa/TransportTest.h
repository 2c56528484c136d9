// Base of the tests that run the whole transport on the real sequencer: a MidiLib on an
// AlsaMidiService, with a recorder as its delegate and a queue standing in for the main thread.
#pragma once

#include "alsa/SequencerTest.h"
#include "device/MidiLib.h"
#include "device/TestKit.h"
#include "device/platform/alsa/AlsaMidiService.h"

#include <algorithm>
#include <memory>
#include <string>

namespace tavrel::test {

class TransportTest : public SequencerTest {
protected:
    void SetUp() override {
        SequencerTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        midi = std::make_unique<MidiLib>(service, mainThread.poster());
        ASSERT_TRUE(midi->isReady());
        midi->setDelegate(&recorder);
    }

    // Runs what was posted to the main thread; true once the delegate has been given `call`.
    bool told(const std::string& call) {
        mainThread.drain();
        return std::find(recorder.calls.begin(), recorder.calls.end(), call) !=
               recorder.calls.end();
    }

    AlsaMidiService service;
    CallerQueue mainThread;
    MidiRecorder recorder;
    std::unique_ptr<MidiLib> midi;
};

}  // namespace tavrel::test
