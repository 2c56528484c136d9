#include "cli/SynthOpener.h"

#include "cli/PreviewOptions.h"

#include <string>

namespace tavrel::cli {

std::unique_ptr<DrumSynth> SynthOpener::open(const PreviewOptions& options, double sampleRate,
                                             std::ostream& err) {
    const auto font = options.soundFont ? options.soundFont : DrumSynth::defaultSoundFont();
    if (!font) {
        err << "tavrel-cli: no General MIDI SoundFont is installed (timgm6mb-soundfont provides "
               "one); --soundfont FILE names another\n";
        return nullptr;
    }
    std::string error;
    auto synth = DrumSynth::open(*font, sampleRate, error);
    if (!synth) err << "tavrel-cli: " << error << '\n';
    return synth;
}

}  // namespace tavrel::cli
