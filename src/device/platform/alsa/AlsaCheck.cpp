#include "device/platform/alsa/AlsaCheck.h"

#include "model/Log.h"

#include <alsa/asoundlib.h>

#include <string>

namespace tavrel {

MidiService::Status check(int rc, std::string_view what) {
    if (rc >= 0) return {};
    std::string text(what);
    text += ": ";
    text += snd_strerror(rc);
    Log::line("device", text);
    return {rc, std::move(text)};
}

}  // namespace tavrel
