#include "smf/SmfReader.h"

#include "smf/HitList.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace tavrel::smf {

namespace {

using Bytes = std::span<const std::uint8_t>;

// Returned by the event parsers when the data ends inside the event. The event is dropped and
// the track ends there, keeping what was read before it.
constexpr std::size_t kRanOut = std::numeric_limits<std::size_t>::max();

constexpr std::size_t kHeaderSize = 14;

bool hasTag(Bytes data, std::size_t index, const char* tag) {
    return index <= data.size() && data.size() - index >= 4 &&
           std::memcmp(data.data() + index, tag, 4) == 0;
}

std::uint32_t be32(const std::uint8_t* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
           std::uint32_t{p[3]};
}

std::uint16_t be16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

// A variable-length quantity with no cap on its length: after a system-exclusive event the
// 0xF7 is glued in front of the next delta, so a legal four-byte delta can arrive as five
// bytes. Excess high bits fall off the 32-bit value. False when the data ends inside it.
bool readVlq(Bytes data, std::size_t& pos, std::uint32_t& value) {
    std::uint32_t v = 0;
    const std::size_t size = data.size();
    while (pos < size) {
        const std::uint8_t b = data[pos++];
        v = (v << 7) | (b & 0x7Fu);
        if ((b & 0x80u) == 0) {
            value = v;
            return true;
        }
    }
    return false;
}

// Float to int as the x86 conversion instruction does it: NaN (a zero delta times the infinite
// scale of division 0) and anything outside int32 become INT32_MIN.
std::int32_t truncToInt32(float v) {
    if (v >= -2147483648.0f && v < 2147483648.0f) return static_cast<std::int32_t>(v);
    return std::numeric_limits<std::int32_t>::min();
}

std::int32_t addWrapping(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

// Whole beats per minute from microseconds per quarter note. The microseconds go through a
// float on their way to double, and halves round away from zero: 960,000 us is 62.5 and
// gives 63.
std::int32_t tempoFromMicros(std::uint32_t micros) {
    const double us = static_cast<double>(static_cast<float>(micros));
    // Zero microseconds is an infinitely fast tempo, which the clamp takes to the top.
    if (us == 0.0) return limits::kMaxTempo;
    const double bpm = std::round(60.0 / (us * 1.0e-6));
    return static_cast<std::int32_t>(
        std::clamp(bpm, double{limits::kMinTempo}, double{limits::kMaxTempo}));
}

// Channel groups with two data bytes; 0xC0, 0xD0, the 0xF1..0xFE bytes and a track's
// status-less start take one.
bool takesTwoDataBytes(std::int32_t status) {
    // Bit n stands for status group n << 4: 0x80, 0x90, 0xA0, 0xB0 and 0xE0.
    constexpr std::uint32_t kTwoByteGroups = 0x4F00;
    return ((kTwoByteGroups >> ((status >> 4) & 0xF)) & 1u) != 0;
}

// One pass over the tracks of one file.
class TrackReader {
public:
    TrackReader(Bytes data, float tpqnCoef, HitList& hits)
        : mData(data), mCoef(tpqnCoef), mHits(hits) {
        // A whole scale (960 over a division that divides it) multiplies small deltas exactly
        // in float, so whole numbers give the same ticks without the float arithmetic.
        if (tpqnCoef >= 1.0f && tpqnCoef <= 960.0f && tpqnCoef == std::floor(tpqnCoef)) {
            mWholeCoef = static_cast<std::uint32_t>(tpqnCoef);
            mExactBelow = (std::uint32_t{1} << 24) / mWholeCoef;
        }
        for (std::uint32_t delta = 0; delta < mSmallDeltas.size(); ++delta) {
            mSmallDeltas[delta] =
                mWholeCoef != 0 ? static_cast<std::int32_t>(delta * mWholeCoef) : scale(delta);
        }
    }

    // Offset just past the chunk, 0 when the bytes at `index` are not "MTrk".
    std::size_t parseTrk(std::size_t index);
    std::int32_t tempo() const { return mTempo; }

private:
    // The channel filter: -1, every channel, is the only value it is ever given.
    static constexpr std::int32_t kImportCh = -1;

    // The running state of a track's messages, reset where each track starts.
    struct Message {
        // High nibble of the running status, 0 before the track's first status byte.
        std::int32_t status = 0;
        // Channel of the current message when a channel filter is in force, else -1.
        std::int32_t channel = -1;
        // The data bytes as they stand; the hits order them as signed bytes.
        std::uint8_t data1 = 0;
        std::uint8_t data2 = 0;
    };

    std::size_t parseMidi(std::size_t index, Message& m) const;
    // A channel message (status byte below 0xF0, or running status) with at least three
    // bytes left in the data, which is all it can take.
    std::size_t readChannelMessage(std::size_t index, Message& m) const {
        const std::uint8_t* bytes = mData.data();
        const std::uint8_t b = bytes[index];
        if (b & 0x80) {
            m.status = b & 0xF0;
            m.channel = kImportCh != -1 ? (b & 0x0F) : -1;
            ++index;
        }
        m.data1 = bytes[index];
        const bool two = takesTwoDataBytes(m.status);
        m.data2 = two ? bytes[index + 1] : 0;
        return index + (two ? 2 : 1);
    }
    std::size_t parseMeta(std::size_t index);

    // File ticks to 960 per quarter: each delta scaled in single precision and truncated by
    // itself. A delta is a signed 32-bit count like the running time: one of 2^31 or more
    // (only possible with a glued-on 0xF7) counts backwards.
    std::int32_t scale(std::uint32_t delta) const {
        if (delta < mExactBelow) return static_cast<std::int32_t>(delta * mWholeCoef);
        return truncToInt32(static_cast<float>(static_cast<std::int32_t>(delta)) * mCoef);
    }

    Bytes mData;
    float mCoef;
    std::uint32_t mWholeCoef = 0;
    std::uint32_t mExactBelow = 0;
    // The scaled one-byte deltas, which most events have.
    std::array<std::int32_t, 128> mSmallDeltas{};
    HitList& mHits;
    std::int32_t mTempo = 0;
};

std::size_t TrackReader::parseTrk(std::size_t index) {
    // A chunk of another type is not skipped. Returning 0 sends the next track to offset 0,
    // where "MThd" fails this test again, so every later track is lost.
    if (!hasTag(mData, index, "MTrk")) return 0;
    const std::size_t size = mData.size();
    // Running out of data anywhere in a track ends it; returning the data's end makes every
    // later track fail the test above.
    if (size - index < 8) return size;
    const auto length = static_cast<std::int32_t>(be32(&mData[index + 4]));
    Message m;
    std::size_t pos = index + 8;
    if (length <= 0) return pos;

    // Events are trusted to end at the chunk's end: one that runs past it moves the start of
    // the next chunk along with it.
    const std::size_t end = pos + static_cast<std::size_t>(length);
    const std::uint8_t* bytes = mData.data();
    std::int32_t time = 0;
    while (pos < end) {
        // The usual events: a delta of one or two bytes and a channel message, whole in the
        // data.
        const std::uint8_t* const event = bytes + pos;
        if (size - pos >= 5 && event[0] < 0x80 && event[1] < 0xF0) [[likely]] {
            time = addWrapping(time, mSmallDeltas[event[0]]);
            pos = readChannelMessage(pos + 1, m);
        } else if (size - pos >= 5 && event[0] >= 0x80 && event[1] < 0x80 && event[2] < 0xF0) {
            time = addWrapping(time, scale((std::uint32_t{event[0] & 0x7Fu} << 7) | event[1]));
            pos = readChannelMessage(pos + 2, m);
        } else {
            std::uint32_t delta = 0;
            if (!readVlq(mData, pos, delta)) return size;
            // A division that does not divide 960 loses a little on every event; the loss
            // accumulates along the track.
            time = addWrapping(time, scale(delta));
            if (pos >= size) return size;
            if (bytes[pos] == 0xFF) {
                if (size - pos >= 3 && bytes[pos + 1] == 0x2F && bytes[pos + 2] == 0x00) {
                    // End of Track does not end the loop; only the chunk length does.
                    mHits.addEnd(time);
                    pos += 3;
                } else {
                    pos = parseMeta(pos);
                    if (pos == kRanOut) return size;
                }
                continue;
            }
            pos = parseMidi(pos, m);
            if (pos == kRanOut) return size;
        }
        // Runs after a system-exclusive event too: it leaves the fields as they were, so one
        // that follows a kept note-on repeats that note at its own time.
        if (m.status == 0x90 && m.data2 != 0 && m.channel == kImportCh) {
            if (m.data1 == 0) {
                mHits.addEnd(time);
            } else {
                mHits.add(time, m.data1, m.data2);
            }
        }
    }
    return pos;
}

std::size_t TrackReader::parseMidi(std::size_t index, Message& m) const {
    const std::size_t size = mData.size();
    const std::uint8_t* bytes = mData.data();
    const std::uint8_t b = bytes[index];

    if (b == 0xF0) {
        // The declared length is not read. The scan stops on the 0xF7 and returns its offset,
        // so that byte becomes the first of the next delta time and adds 0x77 * 128 to it.
        if (size - index < 2) return kRanOut;
        const void* f7 = std::memchr(bytes + index + 1, 0xF7, size - index - 1);
        if (f7 == nullptr) return kRanOut;
        return static_cast<std::size_t>(static_cast<const std::uint8_t*>(f7) - bytes);
    }

    if (b & 0x80) {
        m.status = b & 0xF0;
        m.channel = kImportCh != -1 ? (b & 0x0F) : -1;
        ++index;
    }
    // Running status keeps the group of the last status byte; before a track's first one the
    // status is 0, a one-byte group.
    if (takesTwoDataBytes(m.status)) {
        if (size - index < 2) return kRanOut;
        m.data1 = bytes[index];
        m.data2 = bytes[index + 1];
        return index + 2;
    }
    if (size - index < 1) return kRanOut;
    m.data1 = bytes[index];
    m.data2 = 0;
    return index + 1;
}

std::size_t TrackReader::parseMeta(std::size_t index) {
    const std::size_t size = mData.size();
    const std::size_t left = size - index;
    if (left < 2) return kRanOut;
    const std::uint8_t type = mData[index + 1];

    if (type == 0x51) {
        // The length byte is not checked: three bytes of microseconds always follow it.
        if (left < 6) return kRanOut;
        const std::uint32_t micros = (std::uint32_t{mData[index + 3]} << 16) |
                                     (std::uint32_t{mData[index + 4]} << 8) | mData[index + 5];
        // The last Set Tempo in file order wins, whatever its time.
        mTempo = tempoFromMicros(micros);
        return index + 6;
    }
    if (type == 0x58) {
        // Time Signature is not read; the standard four data bytes are assumed.
        if (left < 7) return kRanOut;
        return index + 7;
    }

    std::size_t pos = index + 2;
    std::uint32_t length = 0;
    if (!readVlq(mData, pos, length)) return kRanOut;
    if (length > size - pos) return kRanOut;
    return pos + length;
}

}  // namespace

SmfHeader readHeader(Bytes data) {
    if (data.size() < kHeaderSize || !hasTag(data, 0, "MThd")) return {};
    if (be32(&data[4]) != 6 || be16(&data[8]) > 1) return {};
    // A time-code division (top bit set) is taken as a plain tick count, which only makes the
    // scale tiny. Division 0 would divide by zero; its scale is infinite.
    const std::uint16_t division = be16(&data[12]);
    const float coef = division == 0 ? std::numeric_limits<float>::infinity()
                                     : 960.0f / static_cast<float>(division);
    return {be16(&data[10]), coef};
}

SmfResult readSmf(Bytes data) {
    const SmfHeader header = readHeader(data);
    SmfResult result;
    result.check = header.tracks;
    if (header.tracks == 0) return result;
    result.tpqnCoef = header.tpqnCoef;

    HitList hits;
    // A kept note-on costs at least three bytes and usually has a note-off beside it.
    hits.reserve(data.size() / 8);
    TrackReader reader(data, header.tpqnCoef, hits);
    // The header's own length is not used to find the first chunk: tracks follow at byte 14.
    std::size_t pos = kHeaderSize;
    std::size_t furthest = pos;
    for (int track = 0; track < header.tracks; ++track) {
        pos = reader.parseTrk(pos);
        furthest = std::max(furthest, pos);
        hits.endTrack();
    }
    result.records = std::make_shared<const StepRecords>(hits.toRecords());
    result.tempo = reader.tempo();
    result.stoppedAt = std::min(furthest, data.size());
    return result;
}

}  // namespace tavrel::smf
