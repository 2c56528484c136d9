#include "playback/DrumSynth.h"

#include "model/Log.h"

#include <fluidsynth.h>

#include <array>
#include <mutex>
#include <string>
#include <system_error>

namespace tavrel {

namespace {

constexpr int kDrumChannel = 9;  // channel 10
constexpr int kDrumBank = 128;
constexpr int kStandardKit = 0;

// Where the system's General MIDI SoundFont is linked, whichever package provides it.
constexpr std::array<const char*, 2> kDefaultSoundFonts = {
    "/usr/share/sounds/sf2/default-GM.sf2",
    "/usr/share/sounds/sf3/default-GM.sf3",
};

// FluidSynth reports on stderr, several lines for a driver that fails to open; the program
// says what matters once in its own words, and FluidSynth's lines go to the step log.
void logFluid(int level, const char* message, void*) {
    if (level <= FLUID_WARN) Log::line("playback", std::string("synthesizer: ") + message);
}

void routeFluidLog() {
    static std::once_flag once;
    std::call_once(once, [] {
        for (int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG}) {
            fluid_set_log_function(level, logFluid, nullptr);
        }
    });
}

bool isDataByte(std::int32_t v) {
    return v >= 0 && v <= 127;
}

}  // namespace

std::optional<std::filesystem::path> DrumSynth::defaultSoundFont() {
    for (const char* path : kDefaultSoundFonts) {
        std::error_code ec;
        // A dangling link (the alternative removed) is no SoundFont.
        if (std::filesystem::is_regular_file(path, ec)) return std::filesystem::path(path);
    }
    return std::nullopt;
}

std::unique_ptr<DrumSynth> DrumSynth::open(const std::filesystem::path& soundFont,
                                           double sampleRate, std::string& error) {
    routeFluidLog();
    std::unique_ptr<DrumSynth> s(new DrumSynth());
    s->mSettings = new_fluid_settings();
    if (s->mSettings == nullptr) {
        error = "the synthesizer could not be set up";
        return nullptr;
    }
    fluid_settings_setnum(s->mSettings, "synth.sample-rate", sampleRate);
    s->mSynth = new_fluid_synth(s->mSettings);
    if (s->mSynth == nullptr) {
        error = "the synthesizer could not be set up";
        return nullptr;
    }
    std::error_code ec;
    if (!std::filesystem::is_regular_file(soundFont, ec)) {
        error = "no SoundFont at " + soundFont.string();
        return nullptr;
    }
    s->mFontId = fluid_synth_sfload(s->mSynth, soundFont.c_str(), 1);
    if (s->mFontId == FLUID_FAILED) {
        error = soundFont.string() + " is not a SoundFont the synthesizer can read";
        return nullptr;
    }
    s->programChange(kStandardKit);
    return s;
}

DrumSynth::~DrumSynth() {
    if (mSynth != nullptr) delete_fluid_synth(mSynth);
    if (mSettings != nullptr) delete_fluid_settings(mSettings);
}

void DrumSynth::noteOn(std::int32_t note, std::int32_t velo) {
    // A note-on of velocity 0 would be a note-off; values a MIDI byte cannot carry are not
    // played.
    if (!isDataByte(note) || !isDataByte(velo) || velo == 0) return;
    fluid_synth_noteon(mSynth, kDrumChannel, note, velo);
}

void DrumSynth::programChange(std::int32_t program) {
    fluid_sfont_t* font = fluid_synth_get_sfont_by_id(mSynth, mFontId);
    const bool present = isDataByte(program) && font != nullptr &&
                         fluid_sfont_get_preset(font, kDrumBank, program) != nullptr;
    const int kit = present ? program : kStandardKit;
    mKitProgram.store(kit);
    fluid_synth_program_select(mSynth, kDrumChannel, mFontId, kDrumBank, kit);
}

void DrumSynth::allOff() {
    fluid_synth_all_notes_off(mSynth, kDrumChannel);
}

void DrumSynth::render(float* out, int frames) {
    fluid_synth_write_float(mSynth, frames, out, 0, 2, out, 1, 2);
}

int DrumSynth::activeVoices() const {
    return fluid_synth_get_active_voice_count(mSynth);
}

}  // namespace tavrel
