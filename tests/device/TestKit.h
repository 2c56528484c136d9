// What the device tests share: the log captured with the time of each line, a MidiLib delegate
// that records what it is told, and folders. CallerQueue stands in for the desktop's event loop.
#pragma once

#include "device/CallerQueue.h"
#include "device/MidiLib.h"
#include "model/Log.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tavrel::test {

using Bytes = std::vector<std::uint8_t>;

inline std::filesystem::path made(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    return folder;
}

class LogCapture {
public:
    using Clock = std::function<std::chrono::milliseconds()>;

    explicit LogCapture(Clock clock = {}) : mClock(std::move(clock)) {
        Log::setSink([this](std::string_view category, std::string_view text) {
            const auto at = mClock ? mClock() : std::chrono::milliseconds{};
            std::lock_guard lock(mLock);
            mLines.emplace_back(at, std::string(category) + ": " + std::string(text));
        });
    }
    ~LogCapture() { Log::setSink({}); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // When the lines containing `text` were written.
    std::vector<std::chrono::milliseconds> times(const std::string& text) {
        std::vector<std::chrono::milliseconds> found;
        std::lock_guard lock(mLock);
        for (const auto& [at, line] : mLines) {
            if (line.find(text) != std::string::npos) found.push_back(at);
        }
        return found;
    }
    int count(const std::string& text) { return static_cast<int>(times(text).size()); }
    void clear() {
        std::lock_guard lock(mLock);
        mLines.clear();
    }

private:
    const Clock mClock;
    std::mutex mLock;
    std::vector<std::pair<std::chrono::milliseconds, std::string>> mLines;
};

// Received messages arrive on the drain thread; everything else on the test's own thread.
class MidiRecorder : public MidiLibDelegate {
public:
    void rxMidiData(const MidiPacket& packet) override {
        std::lock_guard lock(mLock);
        mReceived.emplace_back(packet.data.begin(), packet.data.begin() + packet.length);
        mArrived.notify_all();
    }
    void connectMidiSource() override { calls.push_back("connectMidiSource"); }
    void midiObjectAdded(const MidiNotification& n) override { calls.push_back("added " + of(n)); }
    void disconnectMidiSource() override { calls.push_back("disconnectMidiSource"); }
    void midiObjectRemoved(const MidiNotification& n) override {
        calls.push_back("removed " + of(n));
    }
    void midiMessageError(const MidiNotification& n) override {
        calls.push_back("io error: " + n.text);
    }
    void midiError(int /*status*/, const std::string& message) override {
        calls.push_back("error " + message);
    }
    void sendErrorWithPacketList(std::span<const std::uint8_t> bytes, int /*status*/) override {
        calls.push_back("send error");
        failedSends.emplace_back(bytes.begin(), bytes.end());
    }

    // Waits up to five seconds for `count` received messages; returns what has arrived.
    std::vector<Bytes> waitForReceived(std::size_t count) {
        std::unique_lock lock(mLock);
        mArrived.wait_for(lock, std::chrono::seconds(5), [&] { return mReceived.size() >= count; });
        return mReceived;
    }

    std::vector<std::string> calls;
    std::vector<Bytes> failedSends;

private:
    static std::string of(const MidiNotification& n) {
        return n.displayName + (n.isSource ? " (source)" : " (destination)");
    }

    std::mutex mLock;
    std::condition_variable mArrived;
    std::vector<Bytes> mReceived;
};

}  // namespace tavrel::test
