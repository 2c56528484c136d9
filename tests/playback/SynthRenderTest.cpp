// The built-in synthesizer rendered offline: every note is heard from the sample its tick
// falls on, the window's end is heard as silence until the next pass, and the 64 kHz to
// 48 kHz conversion keeps time to the sample.
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/DownSampler.h"
#include "playback/DrumSynth.h"
#include "playback/PatternRenderer.h"
#include "playback/PreviewRig.h"
#include "playback/SynthFixture.h"
#include "playback/WavFileWriter.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

namespace tavrel::test {
namespace {

constexpr int kRate = DownSampler::kOutRate;
constexpr int kTempo = 125;  // 5 ms a tick: every tick falls on a whole millisecond
constexpr int kMsPerTick = 5;
constexpr int kClaves = 75;                 // short and sharp: its onset is easy to find
constexpr double kLoud = 0.005;             // an onset is the first sample above this after silence
constexpr double kQuiet = 0.002;            // silence
constexpr int kSilenceBefore = kRate / 50;  // 20 ms below kLoud before an onset

struct Wav {
    SF_INFO info{};
    std::vector<float> left;
};

Wav readWav(const std::filesystem::path& path) {
    Wav wav;
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &wav.info);
    if (file == nullptr) return wav;
    std::vector<float> frames(static_cast<std::size_t>(wav.info.frames) * 2);
    const sf_count_t read = sf_readf_float(file, frames.data(), wav.info.frames);
    sf_close(file);
    for (sf_count_t i = 0; i < read; ++i)
        wav.left.push_back(frames[static_cast<std::size_t>(i) * 2]);
    return wav;
}

// Samples at which the sound rises above kLoud after at least kSilenceBefore below it.
std::vector<std::int64_t> onsets(const std::vector<float>& samples) {
    std::vector<std::int64_t> found;
    std::int64_t quietSince = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::fabs(samples[i]) <= kLoud) continue;
        const auto at = static_cast<std::int64_t>(i);
        if (at - quietSince >= kSilenceBefore || found.empty()) found.push_back(at);
        quietSince = at + 1;
    }
    return found;
}

class SynthRenderTest : public SynthFixture {
protected:
    SynthRenderTest() : SynthFixture(DownSampler::kInRate) {}

    Context context;
    ScratchFolder dir;
};

TEST_F(SynthRenderTest, EveryNoteStartsOnItsTickAndEachPassEndsInSilence) {
    // Uneven steps, so a grid shifted or stretched by any amount shows.
    const std::vector<int> hits = {0, 48, 120, 168};
    std::vector<Note> notes(hits.size(), {0, kClaves});
    for (std::size_t i = 0; i < hits.size(); ++i) notes[i].tick = hits[i];
    notes.push_back({400, kClaves});  // in the phrase's second bar: never heard
    auto pattern = context.patterns().addPatternData();
    pattern->setTempo(kTempo);
    PreviewRig::give(*pattern->getCurPhrase(), notes, 768);
    pattern->getCurPhrase()->setBars(1);  // the window: the first of the two bars

    const int loops = 3;
    WavFileWriter writer(dir.path() / "claves.wav", kRate);
    const auto result = PatternRenderer(*synth).render(loops, [&](const std::vector<float>& f) {
        return writer.write(f.data(), static_cast<std::int64_t>(f.size() / 2));
    });
    ASSERT_TRUE(writer.close()) << writer.error();
    ASSERT_TRUE(result.complete);
    ASSERT_EQ(result.loopTicks, 383);  // the window's last tick is where it loops

    const Wav wav = readWav(dir.path() / "claves.wav");
    EXPECT_EQ(wav.info.samplerate, kRate);
    EXPECT_EQ(wav.info.channels, 2);
    EXPECT_EQ(wav.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::int64_t passFrames = std::int64_t{383} * kMsPerTick * kRate / 1000;
    EXPECT_EQ(result.windowEnd, loops * passFrames);
    ASSERT_GE(static_cast<std::int64_t>(wav.left.size()), result.windowEnd);

    std::vector<std::int64_t> expected;
    for (int pass = 0; pass < loops; ++pass) {
        for (int t : hits) expected.push_back(pass * passFrames + t * kMsPerTick * kRate / 1000);
    }
    const auto found = onsets(wav.left);
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(static_cast<double>(found[i]), static_cast<double>(expected[i]), kRate / 1000.0)
            << "note " << i;
    }
    // From well after the last hit of a pass to the first hit of the next: nothing.
    const std::int64_t quietFrom = (168 + 60) * kMsPerTick * kRate / 1000;
    const auto quieter = [](float a, float b) { return std::fabs(a) < std::fabs(b); };
    for (int pass = 0; pass < loops; ++pass) {
        const auto gap = std::span(wav.left).subspan(pass * passFrames + quietFrom,
                                                     passFrames - quietFrom - kRate / 1000);
        EXPECT_LT(std::fabs(*std::max_element(gap.begin(), gap.end(), quieter)), kQuiet)
            << "pass " << pass;
    }
}

// An impulse at 64 kHz frame 4n comes out at 48 kHz frame 3n and nowhere else of note, with
// the level of a steady signal kept, whatever the phase.
TEST(DownSamplerTest, KeepsTimeToTheSampleAndTheLevel) {
    for (int n : {0, 1, 2, 7, 100}) {
        DownSampler down;
        std::vector<float> in(std::size_t{2} * 1000, 0.0F);
        in[std::size_t{8} * n] = 1.0F;
        std::vector<float> out;
        down.push(in.data(), 500, out);
        down.push(in.data() + 1000, 500, out);
        down.finish(out);
        ASSERT_EQ(out.size(), 2U * 750);
        std::size_t peak = 0;
        for (std::size_t i = 0; i < out.size(); i += 2) {
            if (std::fabs(out[i]) > std::fabs(out[peak])) peak = i;
        }
        EXPECT_EQ(peak / 2, static_cast<std::size_t>(3 * n)) << "impulse at " << 4 * n;
        EXPECT_EQ(out[peak + 1], 0.0F);  // the other channel stays apart
    }
    DownSampler down;
    const std::vector<float> steady(std::size_t{2} * 640, 0.5F);
    std::vector<float> out;
    down.push(steady.data(), 640, out);
    for (std::size_t i = 200; i < 400; ++i) EXPECT_NEAR(out[i], 0.5F, 1e-4F) << i;
}

}  // namespace
}  // namespace tavrel::test
