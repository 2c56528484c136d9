// The thread that reads the sequencer: MIDI events that arrive at the input port go to the
// listener as bytes, and the System:Announce events that come to the same port go to it as
// endpoints added, removed or changed. It sleeps in poll() until the sequencer has events or
// it is told to stop.
#pragma once

#include "device/platform/MidiService.h"
#include "device/platform/alsa/AlsaEndpoints.h"
#include "device/platform/alsa/StopSignal.h"

#include <alsa/asoundlib.h>

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <thread>
#include <vector>

namespace tavrel {

class AlsaReceiveThread {
public:
    // Starts at once. `known` are the endpoints that exist now, so that one that goes away
    // later can still be named. The sequencer and the listener must outlive this object.
    AlsaReceiveThread(snd_seq_t* seq, int ownClient, MidiService::Listener& listener,
                      const std::vector<AlsaEndpoints::Port>& known);
    // Returns once the listener is no longer being called.
    ~AlsaReceiveThread();
    AlsaReceiveThread(const AlsaReceiveThread&) = delete;
    AlsaReceiveThread& operator=(const AlsaReceiveThread&) = delete;

    // False when the thread could not be started (the reason is logged).
    bool running() const { return mThread.joinable(); }

private:
    void run();
    bool readEvents();
    void handle(const snd_seq_event_t& event);
    void handleAnnounce(const snd_seq_event_t& event);
    void portStarted(int client, int port);
    void portExited(int client, int port);
    void clientExited(int client);
    void portChanged(int client, int port);
    void announce(MidiNotification::Kind kind, const AlsaEndpoints::Port& port);
    void notify(MidiNotification::Kind kind, std::string text);
    void deliver(std::span<const std::uint8_t> bytes);
    void flushBlock();

    snd_seq_t* mSeq;
    int mOwnClient;
    MidiService::Listener& mListener;
    // Endpoints by unique id, as last seen; touched by this thread only.
    std::map<std::int64_t, AlsaEndpoints::Port> mKnown;
    snd_midi_event_t* mDecoder = nullptr;
    // Bytes of the events read in one wake-up, handed over as one block.
    std::array<std::uint8_t, 1024> mBlock{};
    std::size_t mBlockLength = 0;
    StopSignal mStop;
    std::thread mThread;  // last: starts once everything it uses exists
};

}  // namespace tavrel
