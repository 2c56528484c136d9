// The sequencer's ports as MIDI endpoints. A port other programs may read from through a
// subscription is a source, one they may write to is a destination; a port can be both.
//
// A port's unique id is its sequencer address, client << 8 | port (clients and ports are
// below 256). The address is all the sequencer knows a port by; it stays the port's while the
// port exists, and a device plugged in again may come back under another client number.
#pragma once

#include "device/platform/MidiService.h"

#include <alsa/asoundlib.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tavrel {

class AlsaEndpoints {
public:
    struct Port {
        MidiService::Endpoint endpoint;  // display name "client name:port name"
        bool isSource = false;
        bool isDestination = false;
    };

    static std::int64_t uniqueId(int client, int port) {
        return (static_cast<std::int64_t>(client) << 8) | port;
    }
    // False for an id that cannot be a sequencer address.
    static bool address(std::int64_t uniqueId, int& client, int& port);

    // The port at client:port as it is now; none when it does not exist or is neither a
    // source nor a destination.
    static std::optional<Port> describe(snd_seq_t* seq, int client, int port);
    // Every source and destination of other clients than `ownClient` and the System client,
    // by client and port number.
    static std::vector<Port> list(snd_seq_t* seq, int ownClient);
};

}  // namespace tavrel
