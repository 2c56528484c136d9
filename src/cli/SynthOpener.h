// Opens the built-in synthesizer with the SoundFont the command line names, or the system's
// General MIDI one, telling the user in one line what is missing when it cannot.
#pragma once

#include "playback/DrumSynth.h"

#include <memory>
#include <ostream>

namespace tavrel::cli {

struct PreviewOptions;

class SynthOpener {
public:
    static std::unique_ptr<DrumSynth> open(const PreviewOptions& options, double sampleRate,
                                           std::ostream& err);
};

}  // namespace tavrel::cli
