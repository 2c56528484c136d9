// A MidiLib delegate that records every message it gets, in order, and lets a test wait for
// received messages, which arrive on the drain thread.
#pragma once

#include "device/MidiLibDelegate.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace tavrel::test {

class MidiRecorder : public MidiLibDelegate {
public:
    using Bytes = std::vector<std::uint8_t>;

    void rxMidiData(const MidiPacket& packet) override {
        std::lock_guard lock(mLock);
        mReceived.emplace_back(packet.data.begin(), packet.data.begin() + packet.length);
        mArrived.notify_all();
    }
    void connectMidiSource() override { calls.push_back("connectMidiSource"); }
    void midiObjectAdded(const MidiNotification& n) override {
        calls.push_back("added " + n.displayName + (n.isSource ? " (source)" : " (destination)"));
    }
    void disconnectMidiSource() override { calls.push_back("disconnectMidiSource"); }
    void midiObjectRemoved(const MidiNotification& n) override {
        calls.push_back("removed " + n.displayName + (n.isSource ? " (source)" : " (destination)"));
    }
    void midiMessageError(const MidiNotification& n) override {
        calls.push_back("io error: " + n.text);
    }
    void midiError(int status, const std::string& message) override {
        calls.push_back("error " + message);
        lastErrorStatus = status;
    }
    void sendErrorWithPacketList(std::span<const std::uint8_t> bytes, int status) override {
        calls.push_back("send error");
        failedSends.emplace_back(bytes.begin(), bytes.end());
        lastErrorStatus = status;
    }

    // Waits up to five seconds for `count` received messages and returns what has arrived.
    std::vector<Bytes> waitForReceived(std::size_t count) {
        std::unique_lock lock(mLock);
        mArrived.wait_for(lock, std::chrono::seconds(5), [&] { return mReceived.size() >= count; });
        return mReceived;
    }
    std::vector<Bytes> received() {
        std::lock_guard lock(mLock);
        return mReceived;
    }

    // Written on the test's own thread (main-thread messages run from its queue, send errors
    // on the sending thread).
    std::vector<std::string> calls;
    std::vector<Bytes> failedSends;
    int lastErrorStatus = 0;

private:
    std::mutex mLock;
    std::condition_variable mArrived;
    std::vector<Bytes> mReceived;
};

}  // namespace tavrel::test
