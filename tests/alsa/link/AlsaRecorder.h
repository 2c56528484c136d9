// A destination on the kernel's sequencer that keeps every event it receives with the
// CLOCK_MONOTONIC time it arrived, read on a thread of its own: the far end of a preview.
#pragma once

#include <alsa/asoundlib.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavrel::test {

class AlsaRecorder {
public:
    struct Event {
        std::int64_t atMicros;  // CLOCK_MONOTONIC
        snd_seq_event_type_t type;
        int channel;  // 0-based; -1 for events without one
        int note;
        int velocity;
    };

    // A client named `name` with one writable port "in". ok() tells whether it was made.
    explicit AlsaRecorder(const std::string& name);
    ~AlsaRecorder();
    AlsaRecorder(const AlsaRecorder&) = delete;
    AlsaRecorder& operator=(const AlsaRecorder&) = delete;

    bool ok() const { return mReading.joinable(); }
    // The port's name as other clients list it: "client:port".
    std::string portName() const { return mName + ":in"; }
    std::vector<Event> events() const;

private:
    void read();
    void take(const snd_seq_event_t& event, std::int64_t at);

    const std::string mName;
    snd_seq_t* mSeq = nullptr;
    int mStopFd = -1;
    mutable std::mutex mLock;
    std::vector<Event> mEvents;
    std::thread mReading;
};

}  // namespace tavrel::test
