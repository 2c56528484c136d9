// The pattern a preview or a render plays: a MIDI file loaded as a new pattern, or one
// pattern of a pattern file, made current with the chosen variation, window and tempo.
#pragma once

#include <ostream>

namespace tavrel::cli {

struct PreviewOptions;

class PreviewPattern {
public:
    // In the current Context; false, with the reason on `err` (one line), when there is
    // nothing to play.
    static bool prepare(const PreviewOptions& options, std::ostream& err);
};

}  // namespace tavrel::cli
