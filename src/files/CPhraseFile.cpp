#include "files/CPhraseFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>

namespace tavrel {

namespace {

// Returned by the event parsers when the data ends inside the event. The event is dropped and
// the track ends there, keeping what was read before it.
constexpr std::size_t kRanOut = std::numeric_limits<std::size_t>::max();

constexpr std::size_t kHeaderSize = 14;
constexpr std::size_t kMaxNotes = kMaxStepRecords - 1;  // one record is kept for the end marker
constexpr int kMinTempo = 40;
constexpr int kMaxTempo = 350;

bool hasTag(std::span<const std::uint8_t> data, std::size_t index, const char* tag) {
    return index <= data.size() && data.size() - index >= 4 &&
           std::memcmp(data.data() + index, tag, 4) == 0;
}

std::uint32_t be32(const std::uint8_t* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
           std::uint32_t{p[3]};
}

// Data bytes are taken as signed: a stray byte of 0x80 or more in a data position becomes a
// negative note or velocity, and a negative velocity still counts as "not zero".
std::int32_t signedByte(std::uint8_t b) {
    return b >= 0x80 ? std::int32_t{b} - 256 : std::int32_t{b};
}

std::uint16_t be16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

// A variable-length quantity with no cap on its length: after a system-exclusive event the
// 0xF7 is glued in front of the next delta, so a legal four-byte delta can arrive as five
// bytes. Excess high bits fall off the 32-bit value. False when the data ends inside it.
bool readVlq(std::span<const std::uint8_t> data, std::size_t& pos, std::uint32_t& value) {
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
    if (us == 0.0) return kMaxTempo;
    const double bpm = std::round(60.0 / (us * 1.0e-6));
    return static_cast<std::int32_t>(std::clamp(bpm, double{kMinTempo}, double{kMaxTempo}));
}

// Channel groups with two data bytes; 0xC0, 0xD0, the 0xF1..0xFE bytes and a track's
// status-less start take one.
bool takesTwoDataBytes(std::int32_t status) {
    switch (status) {
        case 0x80:
        case 0x90:
        case 0xA0:
        case 0xB0:
        case 0xE0:
            return true;
        default:
            return false;
    }
}

bool readWholeFile(const std::filesystem::path& path, std::vector<std::uint8_t>& out) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st {};
    bool ok = ::fstat(fd, &st) == 0 && !S_ISDIR(st.st_mode);
    out.clear();
    if (ok && S_ISREG(st.st_mode) && st.st_size > 0)
        out.reserve(static_cast<std::size_t>(st.st_size));
    std::uint8_t buf[65536];
    while (ok) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            if (errno == EINTR) continue;
            ok = false;
        } else if (n == 0) {
            break;
        } else {
            out.insert(out.end(), buf, buf + n);
        }
    }
    ::close(fd);
    return ok;
}

// The last file loaded by path and the reader that resulted. A MIDI file loaded as a new
// pattern goes through ten readers, one per variation: the file is still read every time,
// but its parse is reused when the bytes are the same and so is the tempo the reader held
// before (the only state a load can carry over). Keyed by content rather than by name and
// time stamp, so an edited file is never mistaken for the old one.
struct LastLoad {
    std::mutex lock;
    std::vector<std::uint8_t> bytes;
    std::int32_t tempoBefore = 0;
    std::optional<CPhraseFile> reader;
};

// Larger files are parsed every time rather than kept for the life of the process.
constexpr std::size_t kLastLoadLimit = std::size_t{4} << 20;

LastLoad& lastLoad() {
    static LastLoad last;
    return last;
}

}  // namespace

int CPhraseFile::checkSmf(const std::filesystem::path& path) {
    std::vector<std::uint8_t> bytes;
    if (!readWholeFile(path, bytes)) return -1;
    return checkSmfBytes(bytes);
}

bool CPhraseFile::loadSmf(const std::filesystem::path& path) {
    std::vector<std::uint8_t> bytes;
    if (!readWholeFile(path, bytes)) return false;
    LastLoad& last = lastLoad();
    const std::int32_t tempoBefore = mTempo;
    {
        std::lock_guard guard(last.lock);
        if (last.reader && last.tempoBefore == tempoBefore && last.bytes == bytes) {
            *this = *last.reader;
            return true;
        }
    }
    if (!loadSmfBytes(bytes)) return false;
    if (bytes.size() <= kLastLoadLimit) {
        std::lock_guard guard(last.lock);
        last.bytes = std::move(bytes);
        last.tempoBefore = tempoBefore;
        last.reader = *this;
    }
    return true;
}

int CPhraseFile::checkSmfBytes(std::span<const std::uint8_t> data) {
    return chkHeadr(data);
}

int CPhraseFile::chkHeadr(std::span<const std::uint8_t> data) {
    if (data.size() < kHeaderSize) return 0;
    if (!hasTag(data, 0, "MThd")) return 0;
    if (be32(&data[4]) != 6) return 0;
    if (be16(&data[8]) > 1) return 0;
    // A time-code division (top bit set) is taken as a plain tick count, which only makes the
    // scale tiny. Division 0 would divide by zero; its scale is infinite.
    const std::uint16_t division = be16(&data[12]);
    mTpqnCoef = division == 0 ? std::numeric_limits<float>::infinity()
                              : 960.0f / static_cast<float>(division);
    return be16(&data[10]);
}

bool CPhraseFile::loadSmfBytes(std::span<const std::uint8_t> data) {
    const int tracks = chkHeadr(data);
    if (tracks == 0) return false;

    mSeqArray.clear();
    // A kept note-on costs at least three bytes and usually has a note-off beside it.
    mSeqArray.reserve(std::min<std::size_t>(data.size() / 8, std::size_t{1} << 20));

    // The header's own length is not used to find the first chunk: tracks follow at byte 14.
    std::size_t pos = kHeaderSize;
    for (int track = 0; track < tracks; ++track) pos = parseTrk(track, pos, data);

    mergTrack();
    return true;
}

std::size_t CPhraseFile::parseTrk(int /*track*/, std::size_t index,
                                  std::span<const std::uint8_t> data) {
    // A chunk of another type is not skipped. Returning 0 sends the next track to offset 0,
    // where "MThd" fails this test again, so every later track is lost.
    if (!hasTag(data, index, "MTrk")) return 0;
    const std::size_t size = data.size();
    // Running out of data anywhere in a track ends it; returning the data's end makes every
    // later track fail the test above.
    if (size - index < 8) return size;
    const auto length = static_cast<std::int32_t>(be32(&data[index + 4]));
    mStatus = 0;
    mImportCh = -1;
    std::size_t pos = index + 8;
    if (length <= 0) return pos;

    // Events are trusted to end at the chunk's end: one that runs past it moves the start of
    // the next chunk along with it.
    const std::size_t end = pos + static_cast<std::size_t>(length);
    std::int32_t time = 0;
    while (pos < end) {
        std::uint32_t delta = 0;
        if (!readVlq(data, pos, delta)) return size;
        // Each delta is scaled and truncated by itself, so a division that does not divide
        // 960 loses a little on every event; the loss accumulates along the track. The delta
        // is a signed 32-bit count like the running time: one of 2^31 or more (only possible
        // with a glued-on 0xF7) counts backwards.
        const float scaled = static_cast<float>(static_cast<std::int32_t>(delta)) * mTpqnCoef;
        time = addWrapping(time, truncToInt32(scaled));
        if (pos >= size) return size;

        if (data[pos] != 0xFF) {
            pos = parseMidi(data, pos);
            if (pos == kRanOut) return size;
            // Runs after a system-exclusive event too: it leaves the fields as they were, so
            // one that follows a kept note-on repeats that note at its own time.
            if (mStatus == 0x90 && mData2 != 0 && mChannel == mImportCh) {
                mSeqArray.emplace_back(time, mData1, mData2);
            }
        } else if (size - pos >= 3 && data[pos + 1] == 0x2F && data[pos + 2] == 0x00) {
            // End of Track does not end the loop; only the chunk length does.
            mSeqArray.emplace_back(time, 0, 0);
            pos += 3;
        } else {
            pos = parseMeta(data, pos);
            if (pos == kRanOut) return size;
        }
    }
    return pos;
}

std::size_t CPhraseFile::parseMidi(std::span<const std::uint8_t> data, std::size_t index) {
    const std::size_t size = data.size();
    const std::size_t left = size - index;
    const std::uint8_t b = data[index];

    if (b == 0xF0) {
        // The declared length is not read. The scan stops on the 0xF7 and returns its offset,
        // so that byte becomes the first of the next delta time and adds 0x77 * 128 to it.
        if (left < 2) return kRanOut;
        const void* f7 = std::memchr(data.data() + index + 1, 0xF7, left - 1);
        if (f7 == nullptr) return kRanOut;
        return static_cast<std::size_t>(static_cast<const std::uint8_t*>(f7) - data.data());
    }

    if (b & 0x80) {
        mStatus = b & 0xF0;
        mChannel = mImportCh != -1 ? (b & 0x0F) : -1;
        if (takesTwoDataBytes(mStatus)) {
            if (left < 3) return kRanOut;
            mData1 = signedByte(data[index + 1]);
            mData2 = signedByte(data[index + 2]);
            return index + 3;
        }
        if (left < 2) return kRanOut;
        mData1 = signedByte(data[index + 1]);
        mData2 = 0;
        return index + 2;
    }

    // Running status. Before a track's first status byte mStatus is 0, a one-byte group.
    if (takesTwoDataBytes(mStatus)) {
        if (left < 2) return kRanOut;
        mData1 = signedByte(b);
        mData2 = signedByte(data[index + 1]);
        return index + 2;
    }
    mData1 = signedByte(b);
    mData2 = 0;
    return index + 1;
}

std::size_t CPhraseFile::parseMeta(std::span<const std::uint8_t> data, std::size_t index) {
    const std::size_t size = data.size();
    const std::size_t left = size - index;
    if (left < 2) return kRanOut;
    const std::uint8_t type = data[index + 1];

    if (type == 0x51) {
        // The length byte is not checked: three bytes of microseconds always follow it.
        if (left < 6) return kRanOut;
        const std::uint32_t micros = (std::uint32_t{data[index + 3]} << 16) |
                                     (std::uint32_t{data[index + 4]} << 8) | data[index + 5];
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
    if (!readVlq(data, pos, length)) return kRanOut;
    if (length > size - pos) return kRanOut;
    return pos + length;
}

void CPhraseFile::mergTrack() {
    // Every entry with note 0 leaves the list: end markers, and note-ons for key 0, which are
    // not told apart from them. The latest in sorted order is the one with the highest time,
    // and that time ends the phrase; -1 means none was found (an end that lies at -1 after
    // the running time wrapped is taken for none as well).
    std::int32_t endTime = -1;
    bool sawEnd = false;
    std::int32_t latestEnd = std::numeric_limits<std::int32_t>::min();
    std::size_t kept = 0;
    for (std::size_t i = 0; i < mSeqArray.size(); ++i) {
        const CSeqData& e = mSeqArray[i];
        if (e.note() == 0) {
            sawEnd = true;
            latestEnd = std::max(latestEnd, e.time());
        } else {
            mSeqArray[kept++] = e;
        }
    }
    mSeqArray.resize(kept);
    if (sawEnd) endTime = latestEnd;

    // Ascending by time, note, velocity. Equal keys are equal values, so an unstable sort
    // yields the same list.
    const auto before = [](const CSeqData& a, const CSeqData& b) {
        return b.comparWithSortKey(a) == 1;
    };
    if (mSeqArray.size() >= kMaxNotes) {
        // Only the first notes in sorted order survive the cap, so select them before
        // sorting: a large file then costs a linear pass instead of a full sort.
        std::nth_element(mSeqArray.begin(), mSeqArray.begin() + (kMaxNotes - 1), mSeqArray.end(),
                         before);
        mSeqArray.resize(kMaxNotes);
        std::sort(mSeqArray.begin(), mSeqArray.end(), before);
        // The cut phrase ends on its last kept note, whatever End of Track said.
        endTime = mSeqArray.back().time();
    } else {
        std::sort(mSeqArray.begin(), mSeqArray.end(), before);
    }
    if (endTime == -1) endTime = mSeqArray.empty() ? 0 : addWrapping(mSeqArray.back().time(), 10);
    mSeqArray.emplace_back(endTime, 0, 0);

    // q is the previous record's time cut down to the grid, so the deltas always add up to
    // t / 10 and quantising never drifts. A gap of 655,360 ticks or more wraps the 16 bits;
    // an end before the last note gives a "negative" delta, wrapped the same way.
    mSeqData.resize(mSeqArray.size());
    std::int64_t q = 0;
    for (std::size_t i = 0; i < mSeqArray.size(); ++i) {
        const CSeqData& e = mSeqArray[i];
        const std::int64_t t = e.time();
        mSeqData[i].delta = static_cast<std::uint16_t>((t - q) / 10);
        mSeqData[i].note = static_cast<std::uint8_t>(e.note());
        mSeqData[i].velocity = static_cast<std::uint8_t>(e.velo());
        q = (t / 10) * 10;
    }
    mSeqDataCount = static_cast<std::int32_t>(mSeqData.size());
}

}  // namespace tavrel
