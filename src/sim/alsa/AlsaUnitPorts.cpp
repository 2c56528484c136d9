#include "sim/alsa/AlsaUnitPorts.h"

#include "device/platform/alsa/AlsaCheck.h"
#include "device/platform/alsa/AlsaReceiveThread.h"

#include <alsa/asoundlib.h>

#include <mutex>
#include <utility>
#include <vector>

namespace tavrel::sim {

namespace {

constexpr unsigned int kCaps = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ |
                               SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
constexpr unsigned int kType = SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_HARDWARE;

}  // namespace

class AlsaUnitPorts::Session : public MidiService::Listener {
public:
    ~Session() override {
        receiver.reset();  // joined before the sequencer it reads goes
        if (seq != nullptr) snd_seq_close(seq);
    }

    void setReceiver(Receiver r) {
        std::lock_guard guard(mLock);
        mReceiver = std::move(r);
    }

    // Called without the lock: the receiver may reopen the ports, which sets a new receiver.
    void midiReceived(std::span<const std::uint8_t> bytes) override {
        Receiver r;
        {
            std::lock_guard guard(mLock);
            r = mReceiver;
        }
        if (r) r(bytes);
    }
    // No announcements are asked for; a failing sequencer is logged by the receive thread.
    void midiNotified(const MidiNotification& /*notification*/) override {}

    snd_seq_t* seq = nullptr;
    int client = -1;
    std::unique_ptr<AlsaReceiveThread> receiver;

private:
    std::mutex mLock;
    Receiver mReceiver;
};

AlsaUnitPorts::AlsaUnitPorts() = default;

AlsaUnitPorts::~AlsaUnitPorts() {
    close();
}

bool AlsaUnitPorts::open(const std::string& model, Receiver receiver) {
    close();
    if (!mSession) {
        auto session = std::make_unique<Session>();
        if (!check(snd_seq_open(&session->seq, "default", SND_SEQ_OPEN_DUPLEX, 0),
                   "open the ALSA sequencer")
                 .ok()) {
            session->seq = nullptr;
            return false;
        }
        if (!check(snd_seq_set_client_name(session->seq, model.c_str()), "name the client").ok()) {
            return false;
        }
        session->client = snd_seq_client_id(session->seq);
        session->receiver = std::make_unique<AlsaReceiveThread>(
            session->seq, session->client, *session, std::vector<AlsaEndpoints::Port>{});
        if (!session->receiver->running()) return false;
        mSession = std::move(session);
    }
    mSession->setReceiver(std::move(receiver));
    const std::string name = model + " MIDI 1";
    const int port = snd_seq_create_simple_port(mSession->seq, name.c_str(), kCaps, kType);
    if (!check(port, "create the port " + name).ok()) return false;
    mPort = port;
    return true;
}

void AlsaUnitPorts::close() {
    if (mPort < 0) return;
    // Subscriptions go with the port; subscribers learn of it from System:Announce.
    check(snd_seq_delete_simple_port(mSession->seq, mPort), "delete the unit's port");
    mSession->setReceiver({});
    mPort = -1;
}

bool AlsaUnitPorts::send(std::span<const std::uint8_t> bytes) {
    if (mPort < 0) return false;
    snd_seq_event_t event;
    snd_seq_ev_clear(&event);
    snd_seq_ev_set_sysex(&event, static_cast<unsigned int>(bytes.size()),
                         const_cast<std::uint8_t*>(bytes.data()));
    snd_seq_ev_set_source(&event, static_cast<unsigned char>(mPort));
    snd_seq_ev_set_subs(&event);
    snd_seq_ev_set_direct(&event);
    return check(snd_seq_event_output_direct(mSession->seq, &event), "send a reply").ok();
}

int AlsaUnitPorts::client() const {
    return mSession ? mSession->client : -1;
}

}  // namespace tavrel::sim
