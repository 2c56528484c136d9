// Builds Standard MIDI File bytes for tests: tracks from raw event bytes, chunks and headers.
#pragma once

#include "model/StepRecord.h"

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string_view>
#include <vector>

namespace tavrel {

// Shows a record as {delta, note, velocity} in failed expectations.
inline void PrintTo(const StepRecord& r, std::ostream* os) {
    *os << "{" << r.delta << ", " << int{r.note} << ", " << int{r.velocity} << "}";
}

}  // namespace tavrel

namespace tavrel::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A four-letter tag, the body's length (big-endian), the body.
inline Bytes chunk(std::string_view tag, const Bytes& body) {
    Bytes out(tag.begin(), tag.end());
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(body.size() >> shift));
    }
    return out + body;
}

inline Bytes smfHeader(std::uint16_t format, std::uint16_t tracks, std::uint16_t division) {
    Bytes body;
    for (const std::uint16_t v : {format, tracks, division}) {
        body.push_back(static_cast<std::uint8_t>(v >> 8));
        body.push_back(static_cast<std::uint8_t>(v));
    }
    return chunk("MThd", body);
}

class TrackBuilder {
public:
    // A delta time as a variable-length number, then the event's bytes as given.
    TrackBuilder& event(std::uint32_t delta, std::initializer_list<std::uint8_t> bytes) {
        Bytes vlq{static_cast<std::uint8_t>(delta & 0x7F)};
        while ((delta >>= 7) != 0) {
            vlq.insert(vlq.begin(), static_cast<std::uint8_t>(0x80 | (delta & 0x7F)));
        }
        mBody = mBody + vlq + Bytes(bytes);
        return *this;
    }
    TrackBuilder& noteOn(std::uint32_t delta, int note, int velocity) {
        return event(delta,
                     {0x99, static_cast<std::uint8_t>(note), static_cast<std::uint8_t>(velocity)});
    }
    TrackBuilder& tempo(std::uint32_t delta, std::uint32_t micros) {
        return event(delta,
                     {0xFF, 0x51, 0x03, static_cast<std::uint8_t>(micros >> 16),
                      static_cast<std::uint8_t>(micros >> 8), static_cast<std::uint8_t>(micros)});
    }
    TrackBuilder& endOfTrack(std::uint32_t delta = 0) { return event(delta, {0xFF, 0x2F, 0x00}); }

    Bytes chunk() const { return test::chunk("MTrk", mBody); }

private:
    Bytes mBody;
};

// A header declaring as many tracks as there are chunks, then the chunks.
inline Bytes smfFile(std::uint16_t format, std::uint16_t division,
                     std::initializer_list<Bytes> chunks) {
    Bytes out = smfHeader(format, static_cast<std::uint16_t>(chunks.size()), division);
    for (const Bytes& c : chunks) out = out + c;
    return out;
}

}  // namespace tavrel::test
