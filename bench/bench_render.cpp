// How much faster than real time the offline render is: four bars of 4/4 at 120 with kick,
// snare and a sixteenth-note hi-hat (eight seconds a pass), two passes through the built-in
// synthesizer into a WAV file. Goal in the release build: at least 50 times real time
// (the x_realtime counter).
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Log.h"
#include "model/StepRecord.h"
#include "playback/DownSampler.h"
#include "playback/DrumSynth.h"
#include "playback/PatternRenderer.h"
#include "playback/WavFileWriter.h"

#include <benchmark/benchmark.h>

#include <unistd.h>
#include <filesystem>
#include <string>

namespace {

using namespace tavrel;

constexpr int kSixteenth = 24;
constexpr int kBarTicks = 384;
constexpr int kBars = 4;

// Hi-hat on every sixteenth, kick on 1 and 3, snare on 2 and 4.
void giveGroove(CPhraseData& phrase) {
    StepRecords records;
    int last = 0;
    for (int t = 0; t < kBars * kBarTicks; t += kSixteenth) {
        const int inBar = t % kBarTicks;
        const auto add = [&](std::uint8_t note) {
            records.push_back({static_cast<std::uint16_t>(t - last), note, 100});
            last = t;
        };
        add(42);
        if (inBar == 0 || inBar == 192) add(36);
        if (inBar == 96 || inBar == 288) add(38);
    }
    records.push_back({static_cast<std::uint16_t>(kBars * kBarTicks - last), 0, 0});
    phrase.setSeqData(records.data(), static_cast<std::int32_t>(records.size()));
    phrase.setFrom(0);
    phrase.setBars(kBars);
}

void BM_RenderTwoPasses(benchmark::State& state) {
    Log::setSink([](std::string_view, std::string_view) {});
    const auto font = DrumSynth::defaultSoundFont();
    if (!font) {
        state.SkipWithError("no General MIDI SoundFont installed");
        return;
    }
    Context context;
    auto pattern = context.patterns().addPatternData();
    pattern->setTempo(120);
    giveGroove(*pattern->getCurPhrase());
    const std::filesystem::path out = std::filesystem::temp_directory_path() /
                                      ("bench_render_" + std::to_string(getpid()) + ".wav");
    std::int64_t frames = 0;
    for (auto _ : state) {
        std::string error;
        auto synth = DrumSynth::open(*font, DownSampler::kInRate, error);
        WavFileWriter writer(out, DownSampler::kOutRate);
        PatternRenderer renderer(*synth);
        const auto result = renderer.render(2, [&](const std::vector<float>& f) {
            return writer.write(f.data(), static_cast<std::int64_t>(f.size() / 2));
        });
        writer.close();
        frames += result.frames;
    }
    std::filesystem::remove(out);
    const double audioSeconds = static_cast<double>(frames) / DownSampler::kOutRate;
    state.counters["x_realtime"] = benchmark::Counter(audioSeconds, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RenderTwoPasses)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
