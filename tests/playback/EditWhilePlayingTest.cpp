// The model is edited on the test's thread, as the editors do on the main thread, while the
// real clock thread and the sequencer thread play it. Run under ThreadSanitizer this shows
// that the sequencer thread never touches what the main thread changes.
#include "device/MidiLib.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "playback/PreviewRig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

namespace tavrel {
namespace {

using namespace std::chrono_literals;

void give(CPhraseData& phrase, int step, int endTick) {
    std::vector<test::Note> notes;
    for (int t = 0; t < endTick; t += step) notes.push_back({t, 36 + t % 40});
    test::PreviewRig::give(phrase, notes, endTick);
}

std::shared_ptr<CPtnDataMgr> newPattern(CPatternMgr& patterns) {
    auto pattern = patterns.addPatternData();
    pattern->setTempo(350);
    for (int v = 0; v < kVariationCount; ++v) give(*pattern->getPhraseAtVariation(v), 24, 768);
    return pattern;
}

// One edit of the kind the editors make, chosen by `i`.
void edit(CPatternMgr& patterns, int i) {
    auto pattern = patterns.getCurPattarn();
    auto phrase = patterns.getCurPhrase();
    switch (i % 6) {
        case 0:
            give(*phrase, 12 + i % 36, 384 * (1 + i % 3));
            break;
        case 1:
            phrase->setFrom(i % 2);
            phrase->setBars(1 + i % 2);
            break;
        case 2:
            pattern->setTempo(200 + i % 150);
            break;
        case 3:
            patterns.setCurVariationNum(i % kVariationCount);
            break;
        case 4:
            pattern->setNume(i % 12 == 4 ? 3 : 4);
            pattern->renewPhraseNumerator();
            break;
        default:
            // The pattern being played goes; the sequencer keeps it alive until it moves on.
            newPattern(patterns);
            patterns.removePatternData(CPatternMgr::IndexSet{0});
            break;
    }
}

TEST(CSeqSimThreads, TheModelIsEditedWhileTheRealClockPlays) {
    VirtualMidiService service;
    const std::int64_t synth = service.addDestination("Synth");
    Context context;
    MidiLib& midi = context.install(std::make_unique<MidiLib>(service));
    midi.searchDevice();
    midi.selectOutputDevice(0);
    CSeqSim& seq = context.install(std::make_unique<CSeqSim>(&midi));
    newPattern(context.patterns());
    seq.setup();
    seq.play();

    for (int i = 0; i < 300; ++i) {
        edit(context.patterns(), i);
        // What the views read while they draw.
        EXPECT_GE(seq.getBar(), 0);
        EXPECT_TRUE(seq.getPattern() != nullptr && seq.getPhase() != nullptr);
        std::this_thread::sleep_for(1ms);  // let ticks fall between the edits
    }
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    auto hasNoteOn = [&] {
        const auto sent = service.backlog(synth);
        return std::any_of(sent.begin(), sent.end(),
                           [](const auto& m) { return m.bytes.front() == 0x99; });
    };
    while (!hasNoteOn() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(5ms);
    }
    seq.stop();
    const auto sent = service.backlog(synth);
    ASSERT_TRUE(hasNoteOn());
    EXPECT_EQ(sent.back().bytes.front(), 0x89) << "stopping ends the notes, after the last";
    seq.waitIdle();
    EXPECT_EQ(service.backlog(synth).size(), sent.size()) << "nothing plays after the stop";
}

}  // namespace
}  // namespace tavrel
