// A change in the MIDI setup as the platform's MIDI service reports it.
#pragma once

#include <cstdint>
#include <string>

namespace tavrel {

struct MidiNotification {
    enum class Kind {
        ObjectAdded,      // an endpoint appeared
        ObjectRemoved,    // an endpoint went away
        PropertyChanged,  // something about an endpoint changed; `text` says what
        IOError,          // the service lost data or its link to a device; `text` says how
    };

    Kind kind = Kind::ObjectAdded;
    // The endpoint concerned, for the first three kinds. A device that both sends and receives
    // is reported once as a source and once as a destination.
    std::string displayName;
    std::int64_t uniqueId = 0;
    bool isSource = false;
    std::string text;
};

}  // namespace tavrel
