// The platform's MIDI routing as the transport needs it: one client with one input and one
// output port, the system's sources and destinations with their names and unique ids, one
// source connected to the input port, bytes sent to a destination, and received bytes and
// changes of the setup handed over on the service's own thread.
//
// The real desktop and the simulated unit each provide one; the transport does not know which.
// Every failing operation says why in a Status, in words fit for the log.
#pragma once

#include "device/platform/MidiNotification.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

class MidiService {
public:
    struct Endpoint {
        std::string displayName;
        std::int64_t uniqueId = 0;
    };

    // 0 when the operation worked; otherwise the service's negative error code and what failed.
    struct Status {
        int code = 0;
        std::string what;
        bool ok() const { return code == 0; }
    };

    // What the client hears. Called on the service's own thread, one call at a time; the
    // service never calls in again after closeClient has returned.
    class Listener {
    public:
        virtual ~Listener() = default;
        // A block of bytes that arrived at the input port from a connected source, in order.
        virtual void midiReceived(std::span<const std::uint8_t> bytes) = 0;
        virtual void midiNotified(const MidiNotification& notification) = 0;
    };

    virtual ~MidiService() = default;

    // Setup, in this order. The listener must outlive the client.
    virtual Status createClient(const std::string& name, Listener& listener) = 0;
    virtual Status createOutputPort(const std::string& name) = 0;
    virtual Status createInputPort(const std::string& name) = 0;
    // Disconnects what is connected, removes the ports and the client, and returns once the
    // listener is no longer being called. Harmless when there is no client.
    virtual void closeClient() = 0;

    // Other programs' and devices' endpoints in the service's own order; ours are not listed.
    // Empty while the service is not available.
    virtual std::vector<Endpoint> sources() = 0;
    virtual std::vector<Endpoint> destinations() = 0;
    // Any source or destination that exists now with this unique id.
    virtual std::optional<Endpoint> findByUniqueId(std::int64_t uniqueId) = 0;

    // Routes the source's bytes to the input port, or stops doing so.
    virtual Status connectSource(std::int64_t uniqueId) = 0;
    virtual Status disconnectSource(std::int64_t uniqueId) = 0;

    // Sends whole messages, or pieces of a system-exclusive message, from the output port to
    // the destination now. Safe from several threads at once.
    virtual Status send(std::int64_t destination, std::span<const std::uint8_t> bytes) = 0;
};

}  // namespace tavrel
