// What the sequencer tests share: waiting for what ALSA delivers on its own threads, finding
// endpoints by name, and system-exclusive messages as the transport hands them on.
#pragma once

#include "device/CportProperties.h"
#include "device/TestKit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace tavrel::test {

// Polls every millisecond for up to five seconds.
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// The index of the entry named `name`, or -1.
inline std::int64_t indexOf(const std::vector<CportProperties>& ports, const std::string& name) {
    const auto it = std::find_if(ports.begin(), ports.end(),
                                 [&](const CportProperties& p) { return p.deviceName() == name; });
    return it == ports.end() ? -1 : it - ports.begin();
}

// F0, `size` - 2 body bytes that differ from one message to the next, F7 (never under 2 bytes).
inline Bytes exclusive(std::size_t size, std::uint8_t seed) {
    Bytes message(std::max<std::size_t>(size, 2));
    for (std::size_t i = 1; i + 1 < message.size(); ++i) {
        message[i] = static_cast<std::uint8_t>((i * 7 + seed) & 0x7F);
    }
    message.front() = 0xF0;
    message.back() = 0xF7;
    return message;
}

// `parts` one after the other.
inline Bytes joined(const std::vector<Bytes>& parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

// A received exclusive message reaches the delegate in consecutive 256-byte pieces, the last
// one holding the rest.
inline std::vector<Bytes> pieces(const Bytes& message) {
    std::vector<Bytes> result;
    for (std::size_t at = 0; at < message.size(); at += 256) {
        const std::size_t end = std::min(message.size(), at + 256);
        result.emplace_back(message.begin() + static_cast<std::ptrdiff_t>(at),
                            message.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return result;
}

// A short account of received pieces for failure messages, which go out over a slow console:
// each piece's size, first and last byte, and how often such a piece came in a row.
inline std::string summary(const std::vector<Bytes>& received) {
    std::string text;
    std::string last;
    int repeats = 0;
    const auto flush = [&] {
        if (repeats > 1) text += "x" + std::to_string(repeats) + " ";
    };
    for (const Bytes& bytes : received) {
        char piece[32] = "[] ";
        if (!bytes.empty()) {
            std::snprintf(piece, sizeof piece, "%zu:%02X..%02X ", bytes.size(), bytes.front(),
                          bytes.back());
        }
        if (piece == last) {
            ++repeats;
            continue;
        }
        flush();
        text += piece;
        last = piece;
        repeats = 1;
    }
    flush();
    return text;
}

// The pieces the delegate got against those expected: a short account of both first, so that a
// failure shows where they part.
inline void expectPieces(const std::vector<Bytes>& received, const std::vector<Bytes>& expected) {
    EXPECT_EQ(summary(received), summary(expected));
    EXPECT_TRUE(received == expected) << "same sizes, other bytes";
}

}  // namespace tavrel::test
