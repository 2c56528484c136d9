// The built-in General MIDI drum voice: a FluidSynth synthesizer with one SoundFont, played
// on channel 10. The pattern's kit number selects the SoundFont's drum kit of that program
// number where it has one, and the standard kit where it does not.
//
// Threads: FluidSynth's API is thread-safe; notes may come from the sequencer thread while
// an audio driver or the offline renderer takes samples on another.
#pragma once

#include "playback/PreviewNoteOutput.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

struct _fluid_hashtable_t;  // NOLINT(bugprone-reserved-identifier): the library's own name
struct _fluid_synth_t;      // NOLINT(bugprone-reserved-identifier): the library's own name

namespace tavrel {

class DrumSynth : public PreviewNoteOutput {
public:
    // The General MIDI SoundFont the system installs (sf2 before sf3), or none.
    static std::optional<std::filesystem::path> defaultSoundFont();

    // A synthesizer at `sampleRate` with `soundFont` loaded; null, with the reason in
    // `error`, when the SoundFont cannot be loaded.
    static std::unique_ptr<DrumSynth> open(const std::filesystem::path& soundFont,
                                           double sampleRate, std::string& error);
    ~DrumSynth() override;
    DrumSynth(const DrumSynth&) = delete;
    DrumSynth& operator=(const DrumSynth&) = delete;

    void noteOn(std::int32_t note, std::int32_t velo) override;
    void programChange(std::int32_t program) override;
    void allOff() override;

    // The kit program the last program change selected.
    int kitProgram() const { return mKitProgram.load(); }
    // Renders `frames` stereo frames, interleaved, into `out` (2 * frames floats).
    void render(float* out, int frames);
    int activeVoices() const;

    _fluid_hashtable_t* settings() const { return mSettings; }
    _fluid_synth_t* synth() const { return mSynth; }

private:
    DrumSynth() = default;

    _fluid_hashtable_t* mSettings = nullptr;
    _fluid_synth_t* mSynth = nullptr;
    int mFontId = -1;
    std::atomic<int> mKitProgram{0};
};

}  // namespace tavrel
