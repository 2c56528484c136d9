// Builds MIDI file bytes for the reader's tests: a header, tracks from raw event bytes, and
// the variable-length numbers that delta times and meta lengths use.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string_view>
#include <vector>

#include "model/StepRecord.h"

namespace tavrel {

// Shows a record as {delta, note, velocity} in failed expectations.
void PrintTo(const StepRecord& r, std::ostream* os);

}  // namespace tavrel

namespace tavrel::test {

using Bytes = std::vector<std::uint8_t>;

// Big-endian 7-bit groups, top bit set on every byte but the last.
Bytes vlq(std::uint32_t value);

// The 14-byte "MThd" chunk.
Bytes smfHeader(std::uint16_t format, std::uint16_t tracks, std::uint16_t division);

// A chunk with a four-letter tag and a big-endian length taken from the body.
Bytes chunk(std::string_view tag, const Bytes& body);

Bytes operator+(Bytes a, const Bytes& b);

// Event bytes of one track, written in file order.
class TrackBuilder {
public:
    // A delta time followed by the event's bytes as given (status byte or not).
    TrackBuilder& event(std::uint32_t delta, std::initializer_list<std::uint8_t> bytes);
    TrackBuilder& noteOn(std::uint32_t delta, std::uint8_t note, std::uint8_t velocity,
                         std::uint8_t channel = 9);
    TrackBuilder& noteOff(std::uint32_t delta, std::uint8_t note, std::uint8_t channel = 9);
    TrackBuilder& tempo(std::uint32_t delta, std::uint32_t microsPerQuarter);
    TrackBuilder& endOfTrack(std::uint32_t delta = 0);
    // Bytes appended as they are, with no delta time in front.
    TrackBuilder& raw(const Bytes& bytes);

    const Bytes& body() const { return mBody; }
    // "MTrk", the body's length, the body.
    Bytes chunk() const;

private:
    Bytes mBody;
};

// A header declaring as many tracks as are given, followed by their chunks.
Bytes smfFile(std::uint16_t format, std::uint16_t division, std::initializer_list<Bytes> chunks);

}  // namespace tavrel::test
