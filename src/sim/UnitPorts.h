// The unit's MIDI connector: one source the unit sends from and one destination it hears on,
// both carrying the model's name, which is how the device link recognises the unit. Opening
// is plugging the cable in, closing is pulling it. open, close and send are called one at a
// time; the receiver may be called at any time while open, from the MIDI service.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace tavrel::sim {

class UnitPorts {
public:
    // Bytes that reached the unit's destination, on the MIDI service's thread.
    using Receiver = std::function<void(std::span<const std::uint8_t> bytes)>;

    virtual ~UnitPorts() = default;

    // Makes the endpoints, named after `model`; false when the MIDI service refuses.
    virtual bool open(const std::string& model, Receiver receiver) = 0;
    // The endpoints vanish as they do when the cable is pulled. Safe from inside the receiver.
    virtual void close() = 0;
    // One whole message from the unit's source; false when nobody could hear it.
    virtual bool send(std::span<const std::uint8_t> bytes) = 0;
};

}  // namespace tavrel::sim
