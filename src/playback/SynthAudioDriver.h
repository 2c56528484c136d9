// Plays a DrumSynth through the first of FluidSynth's audio drivers that opens here:
// PipeWire, PulseAudio, JACK, then ALSA, so it follows whatever sound server the desktop
// runs. With none, the synthesizer is left without a driver and plays silently.
#pragma once

#include <string>
#include <vector>

struct _fluid_audio_driver_t;  // NOLINT(bugprone-reserved-identifier): the library's own name

namespace tavrel {

class DrumSynth;

class SynthAudioDriver {
public:
    static const std::vector<std::string>& defaultDrivers();

    // Tries `drivers` (FluidSynth's names) in order on `synth`, which must outlive this.
    explicit SynthAudioDriver(DrumSynth& synth,
                              const std::vector<std::string>& drivers = defaultDrivers());
    ~SynthAudioDriver();
    SynthAudioDriver(const SynthAudioDriver&) = delete;
    SynthAudioDriver& operator=(const SynthAudioDriver&) = delete;

    bool playing() const { return mDriver != nullptr; }
    // The driver that opened, or empty.
    const std::string& driverName() const { return mName; }
    // One line for the user: through which driver the synthesizer sounds, or that it is
    // silent because no audio output opened.
    std::string describe() const;

private:
    std::vector<std::string> mTried;
    _fluid_audio_driver_t* mDriver = nullptr;
    std::string mName;
};

}  // namespace tavrel
