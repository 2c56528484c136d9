// What the sequencer tests share: waiting for what ALSA delivers on its own threads, finding
// endpoints by name, and system-exclusive messages as the transport hands them on.
#pragma once

#include "device/CportProperties.h"
#include "device/TestKit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
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

// The pieces the delegate got against those expected, exactly. A failure names where they part
// rather than printing thousands of bytes over the guest's slow console.
inline void expectPieces(const std::vector<Bytes>& received, const std::vector<Bytes>& expected) {
    const auto [got, wanted] =
        std::mismatch(received.begin(), received.end(), expected.begin(), expected.end());
    EXPECT_TRUE(got == received.end() && wanted == expected.end())
        << "received " << received.size() << " pieces, expected " << expected.size()
        << "; they part at piece " << (got - received.begin()) << " ("
        << (got == received.end() ? 0 : got->size()) << " bytes against "
        << (wanted == expected.end() ? 0 : wanted->size()) << ")";
}

}  // namespace tavrel::test
