#include "SmfBuilder.h"

namespace tavrel {

void PrintTo(const StepRecord& r, std::ostream* os) {
    *os << "{" << r.delta << ", " << int{r.note} << ", " << int{r.velocity} << "}";
}

}  // namespace tavrel

namespace tavrel::test {

Bytes vlq(std::uint32_t value) {
    Bytes out{static_cast<std::uint8_t>(value & 0x7F)};
    while ((value >>= 7) != 0) {
        out.insert(out.begin(), static_cast<std::uint8_t>(0x80 | (value & 0x7F)));
    }
    return out;
}

Bytes smfHeader(std::uint16_t format, std::uint16_t tracks, std::uint16_t division) {
    const auto hi = [](std::uint16_t v) { return static_cast<std::uint8_t>(v >> 8); };
    const auto lo = [](std::uint16_t v) { return static_cast<std::uint8_t>(v & 0xFF); };
    return {'M',        'T',        'h',        'd',          0,           0, 0, 6, hi(format),
            lo(format), hi(tracks), lo(tracks), hi(division), lo(division)};
}

Bytes chunk(std::string_view tag, const Bytes& body) {
    Bytes out(tag.begin(), tag.end());
    const auto n = static_cast<std::uint32_t>(body.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>((n >> shift) & 0xFF));
    }
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TrackBuilder& TrackBuilder::event(std::uint32_t delta, std::initializer_list<std::uint8_t> bytes) {
    mBody = mBody + vlq(delta);
    mBody.insert(mBody.end(), bytes.begin(), bytes.end());
    return *this;
}

TrackBuilder& TrackBuilder::noteOn(std::uint32_t delta, std::uint8_t note, std::uint8_t velocity,
                                   std::uint8_t channel) {
    return event(delta, {static_cast<std::uint8_t>(0x90 | channel), note, velocity});
}

TrackBuilder& TrackBuilder::noteOff(std::uint32_t delta, std::uint8_t note, std::uint8_t channel) {
    return event(delta, {static_cast<std::uint8_t>(0x80 | channel), note, 0x40});
}

TrackBuilder& TrackBuilder::tempo(std::uint32_t delta, std::uint32_t microsPerQuarter) {
    return event(delta, {0xFF, 0x51, 0x03, static_cast<std::uint8_t>(microsPerQuarter >> 16),
                         static_cast<std::uint8_t>(microsPerQuarter >> 8),
                         static_cast<std::uint8_t>(microsPerQuarter)});
}

TrackBuilder& TrackBuilder::endOfTrack(std::uint32_t delta) {
    return event(delta, {0xFF, 0x2F, 0x00});
}

TrackBuilder& TrackBuilder::raw(const Bytes& bytes) {
    mBody = mBody + bytes;
    return *this;
}

Bytes TrackBuilder::chunk() const {
    return test::chunk("MTrk", mBody);
}

Bytes smfFile(std::uint16_t format, std::uint16_t division, std::initializer_list<Bytes> chunks) {
    Bytes out = smfHeader(format, static_cast<std::uint16_t>(chunks.size()), division);
    for (const Bytes& c : chunks) out = out + c;
    return out;
}

}  // namespace tavrel::test
