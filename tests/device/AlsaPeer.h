// A second ALSA sequencer client in the test's own process, standing in for a MIDI device:
// one port that others may read from and write to, and more ports on request.
#pragma once

#include <alsa/asoundlib.h>
#include <poll.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavrel::test {

class AlsaPeer {
public:
    static constexpr const char* kName = "TavrelTestPeer";

    AlsaPeer() {
        if (snd_seq_open(&mSeq, "default", SND_SEQ_OPEN_DUPLEX, 0) < 0) return;
        snd_seq_set_client_name(mSeq, kName);
        client = snd_seq_client_id(mSeq);
        port = addPort("io");
        snd_midi_event_new(256, &mCodec);
        snd_midi_event_no_status(mCodec, 1);
    }
    ~AlsaPeer() {
        if (mCodec != nullptr) snd_midi_event_free(mCodec);
        if (mSeq != nullptr) snd_seq_close(mSeq);
    }
    AlsaPeer(const AlsaPeer&) = delete;
    AlsaPeer& operator=(const AlsaPeer&) = delete;

    bool valid() const { return mSeq != nullptr && port >= 0 && mCodec != nullptr; }

    int addPort(const char* name) {
        return snd_seq_create_simple_port(
            mSeq, name,
            SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ | SND_SEQ_PORT_CAP_WRITE |
                SND_SEQ_PORT_CAP_SUBS_WRITE,
            SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_HARDWARE);
    }
    void deletePort(int p) { snd_seq_delete_simple_port(mSeq, p); }

    // Sends one whole message from the io port to whoever is subscribed to it.
    bool send(const std::vector<std::uint8_t>& message) {
        snd_seq_event_t event;
        snd_seq_ev_clear(&event);
        if (message.front() == 0xF0) {
            snd_seq_ev_set_sysex(&event, static_cast<unsigned int>(message.size()),
                                 const_cast<std::uint8_t*>(message.data()));
        } else {
            snd_midi_event_reset_encode(mCodec);
            if (snd_midi_event_encode(mCodec, message.data(), static_cast<long>(message.size()),
                                      &event) <= 0) {
                return false;
            }
        }
        snd_seq_ev_set_source(&event, static_cast<unsigned char>(port));
        snd_seq_ev_set_subs(&event);
        snd_seq_ev_set_direct(&event);
        return snd_seq_event_output_direct(mSeq, &event) >= 0;
    }

    // The bytes of the next MIDI event that reaches the peer, or none within two seconds.
    std::optional<std::vector<std::uint8_t>> read() {
        for (;;) {
            if (snd_seq_event_input_pending(mSeq, 0) == 0 && !wait()) return std::nullopt;
            snd_seq_event_t* event = nullptr;
            if (snd_seq_event_input(mSeq, &event) < 0) return std::nullopt;
            if (event->type == SND_SEQ_EVENT_SYSEX) {
                const auto* p = static_cast<const std::uint8_t*>(event->data.ext.ptr);
                return std::vector<std::uint8_t>(p, p + event->data.ext.len);
            }
            unsigned char bytes[16];
            const long n = snd_midi_event_decode(mCodec, bytes, sizeof bytes, event);
            if (n > 0) return std::vector<std::uint8_t>(bytes, bytes + n);
        }
    }

    int client = -1;
    int port = -1;

private:
    bool wait() {
        const int count = snd_seq_poll_descriptors_count(mSeq, POLLIN);
        std::vector<pollfd> fds(static_cast<std::size_t>(count));
        snd_seq_poll_descriptors(mSeq, fds.data(), static_cast<unsigned int>(count), POLLIN);
        return poll(fds.data(), fds.size(), 2000) > 0;
    }

    snd_seq_t* mSeq = nullptr;
    snd_midi_event_t* mCodec = nullptr;
};

}  // namespace tavrel::test
