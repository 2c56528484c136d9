// One MIDI endpoint as the device lists show it: what the user reads and the id the
// endpoint is found by again after a rescan. Made once per endpoint and never changed.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace tavrel {

class CportProperties {
public:
    CportProperties(std::string deviceName, std::int64_t uniqueID)
        : m_deviceName(std::move(deviceName)), m_uniqueID(uniqueID) {}

    const std::string& deviceName() const { return m_deviceName; }
    std::int64_t uniqueID() const { return m_uniqueID; }

private:
    std::string m_deviceName;  // the endpoint's display name; the unit is recognised by it
    std::int64_t m_uniqueID;   // stays the endpoint's while it exists, across rescans
};

}  // namespace tavrel
