#include "playback/PatternRenderer.h"

#include "model/CPtnDataMgr.h"
#include "playback/CSeqSim.h"
#include "playback/DownSampler.h"
#include "playback/DrumSynth.h"
#include "playback/SampleClockSource.h"
#include "playback/TickClock.h"

#include <array>

namespace tavrel {

namespace {

// One tick-clock step of synthesizer samples: one millisecond, one FluidSynth block.
constexpr int kStepFrames = DownSampler::kInRate / 1000;
constexpr int kMaxTailSteps = 4000;  // what rings on after the last pass: 4 s at most
// Output handed to the sink at a time: a tenth of a second, not a millisecond per call.
constexpr std::size_t kBatchSamples = 2 * DownSampler::kOutRate / 10;

// Renders one step at a time and passes what the down-sampler makes of them on.
class StepRenderer {
public:
    StepRenderer(DrumSynth& synth, const PatternRenderer::Sink& sink)
        : mSynth(synth), mSink(sink) {}

    bool step() {
        mSynth.render(mBlock.data(), kStepFrames);
        mDown.push(mBlock.data(), kStepFrames, mOut);
        ++mSteps;
        return mOut.size() < kBatchSamples || pass();
    }
    bool finish() {
        mDown.finish(mOut);
        return pass();
    }
    std::int64_t frames() const { return mFrames; }
    // Where the output stands once the down-sampler has caught up with the steps.
    std::int64_t stepsEnd() const { return mSteps * (DownSampler::kOutRate / 1000); }

private:
    bool pass() {
        mFrames += static_cast<std::int64_t>(mOut.size() / 2);
        const bool ok = mOut.empty() || mSink(mOut);
        mOut.clear();
        return ok;
    }

    DrumSynth& mSynth;
    const PatternRenderer::Sink& mSink;
    DownSampler mDown;
    std::array<float, std::size_t{2} * kStepFrames> mBlock{};
    std::vector<float> mOut;
    std::int64_t mFrames = 0;
    std::int64_t mSteps = 0;
};

// Plays `ticks` ticks of `seq`, started on `source`, and the sound that rings on after them.
PatternRenderer::Result playTicks(DrumSynth& synth, CSeqSim& seq, SampleClockSource& source,
                                  std::int64_t ticks, const PatternRenderer::Sink& sink,
                                  const PatternRenderer::Progress& progress) {
    PatternRenderer::Result result;
    // A second clock, in step with the sequencer's, tells ahead of it when the tick that
    // would begin one more pass falls due, so that tick is never played.
    const auto tempo = static_cast<std::uint32_t>(seq.getTempo());
    TickClock ahead(source, nullptr);
    ahead.tickClockSetTempo(tempo);
    ahead.tickClockStart();
    std::int64_t raised = 0;
    int percent = 0;
    StepRenderer out(synth, sink);
    for (;;) {
        source.advance(kStepFrames);
        ahead.tickClockPoll();
        raised += ahead.tickClockTakePending();
        if (raised > ticks) break;
        seq.tickClock().tickClockPoll();
        const std::uint32_t due = seq.tickClock().tickClockTakePending();
        if (due > 0) seq.comeTick(static_cast<std::int32_t>(due));
        if (!out.step()) break;
        const auto done = static_cast<int>(raised * 100 / ticks);
        if (progress && done > percent) progress(percent = done);
    }
    seq.stop();
    if (raised <= ticks) return result;  // the sink refused
    result.windowEnd = out.stepsEnd();
    for (int i = 0; i < kMaxTailSteps && synth.activeVoices() > 0; ++i) {
        if (!out.step()) return result;
    }
    result.complete = out.finish();
    result.frames = out.frames();
    return result;
}

}  // namespace

PatternRenderer::Result PatternRenderer::render(int loops, const Sink& sink,
                                                const Progress& progress) {
    SampleClockSource source(DownSampler::kInRate);
    CSeqSim seq(nullptr, source);
    seq.previewOutput().useOutput(mSynth);
    // No setup: without its thread the sequencer's ticks are played here, one step at a
    // time, before the step's samples are rendered.
    seq.play();
    Result result;
    const std::int64_t windowTicks =
        std::int64_t{seq.getFrom() + seq.getBars()} * seq.getBeatPerBar() * seq.getTickPerBeat();
    // The window's last tick is where it loops, so a pass lasts one tick less than the window.
    result.loopTicks = windowTicks - 1 - seq.getStartTick();
    const std::int64_t ticks = result.loopTicks * loops;
    // A tick lasts 625 / tempo ms.
    result.tooLong = seq.getTempo() > 0 && ticks * 625 / seq.getTempo() > kMaxSeconds * 1000;
    if (result.loopTicks < 1 || loops < 1 || seq.getTempo() < 1 || result.tooLong) {
        seq.stop();
        return result;
    }
    // The clock has not stepped yet: the kit is chosen before the first note.
    seq.previewOutput().programChange(seq.getPattern()->getKitNum());
    result = playTicks(mSynth, seq, source, ticks, sink, progress);
    result.loopTicks = ticks / loops;
    return result;
}

}  // namespace tavrel
