#include "playback/SynthAudioDriver.h"

#include "model/Log.h"
#include "playback/DrumSynth.h"

#include <alsa/asoundlib.h>
#include <fluidsynth.h>

#include <cstdlib>

namespace tavrel {

namespace {

void silentAlsaLib(const char*, int, const char*, int, const char*, ...) {}

}  // namespace

const std::vector<std::string>& SynthAudioDriver::defaultDrivers() {
    static const std::vector<std::string> drivers = {"pipewire", "pulseaudio", "jack", "alsa"};
    return drivers;
}

SynthAudioDriver::SynthAudioDriver(DrumSynth& synth, const std::vector<std::string>& drivers)
    : mTried(drivers) {
    // Trying JACK must not start a JACK server of its own on a desktop that runs another.
    ::setenv("JACK_NO_START_SERVER", "1", 0);
    // alsa-lib prints its own lines when a computer has no sound card; the one line of
    // describe() says it instead.
    snd_lib_error_set_handler(silentAlsaLib);
    for (const std::string& name : drivers) {
        if (fluid_settings_setstr(synth.settings(), "audio.driver", name.c_str()) != FLUID_OK) {
            continue;  // not built into this FluidSynth
        }
        mDriver = new_fluid_audio_driver(synth.settings(), synth.synth());
        if (mDriver != nullptr) {
            mName = name;
            Log::line("playback", "synthesizer audio through " + name);
            return;
        }
    }
}

SynthAudioDriver::~SynthAudioDriver() {
    if (mDriver != nullptr) delete_fluid_audio_driver(mDriver);
}

std::string SynthAudioDriver::describe() const {
    if (playing()) return "The built-in synthesizer plays through " + mName;
    std::string tried;
    for (const std::string& name : mTried) tried += (tried.empty() ? "" : ", ") + name;
    return "No audio output opened (tried " + tried + "); the built-in synthesizer plays silently";
}

}  // namespace tavrel
