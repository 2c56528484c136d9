#include "device/platform/alsa/AlsaMidiService.h"

#include "device/platform/alsa/AlsaCheck.h"
#include "device/platform/alsa/AlsaEndpoints.h"
#include "device/platform/alsa/AlsaReceiveThread.h"
#include "model/Log.h"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace tavrel {

namespace {

constexpr std::uint8_t kSysEx = 0xF0;
constexpr std::uint8_t kEndOfSysEx = 0xF7;
constexpr unsigned int kPortType = SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION;

void silentAlsaLib(const char*, int, const char*, int, const char*, ...) {}

// alsa-lib prints its own line for some failures, snd_seq_open without a sequencer among
// them. Every failing call is logged by check() already, and a computer without a sequencer
// is to be told so once, so its own printing is turned off.
void quietAlsaLib() {
    static std::once_flag once;
    std::call_once(once, [] { snd_lib_error_set_handler(silentAlsaLib); });
}

std::string addressText(std::int64_t uniqueId) {
    return std::to_string(uniqueId >> 8) + ":" + std::to_string(uniqueId & 0xFF);
}

}  // namespace

class AlsaMidiService::Session {
public:
    ~Session() {
        receiver.reset();
        if (encoder != nullptr) snd_midi_event_free(encoder);
        if (seq != nullptr) snd_seq_close(seq);  // takes our ports and subscriptions along
    }

    Status send(int destClient, int destPort, std::span<const std::uint8_t> bytes);

    snd_seq_t* seq = nullptr;
    int client = -1;
    int inPort = -1;
    int outPort = -1;
    Listener* listener = nullptr;
    // Builds events from the bytes of channel and system-common messages. System-exclusive
    // bytes never pass through it, so a few bytes of room are enough.
    snd_midi_event_t* encoder = nullptr;
    std::unique_ptr<AlsaReceiveThread> receiver;

private:
    Status output(snd_seq_event_t& event, int destClient, int destPort);
};

MidiService::Status AlsaMidiService::Session::send(int destClient, int destPort,
                                                   std::span<const std::uint8_t> bytes) {
    // Each block starts afresh: a message cut off in the last one must not run into this one.
    snd_midi_event_reset_encode(encoder);
    std::size_t i = 0;
    while (i < bytes.size()) {
        snd_seq_event_t event;
        snd_seq_ev_clear(&event);
        if (bytes[i] == kSysEx) {
            const auto end =
                std::find(bytes.begin() + static_cast<std::ptrdiff_t>(i), bytes.end(), kEndOfSysEx);
            const std::size_t stop = end == bytes.end()
                                         ? bytes.size()
                                         : static_cast<std::size_t>(end - bytes.begin()) + 1;
            snd_seq_ev_set_sysex(&event, static_cast<unsigned int>(stop - i),
                                 const_cast<std::uint8_t*>(&bytes[i]));
            i = stop;
        } else if (snd_midi_event_encode_byte(encoder, bytes[i++], &event) != 1) {
            continue;  // the message is not complete yet
        }
        if (Status s = output(event, destClient, destPort); !s.ok()) return s;
    }
    return {};
}

MidiService::Status AlsaMidiService::Session::output(snd_seq_event_t& event, int destClient,
                                                     int destPort) {
    snd_seq_ev_set_source(&event, static_cast<unsigned char>(outPort));
    snd_seq_ev_set_dest(&event, static_cast<unsigned char>(destClient),
                        static_cast<unsigned char>(destPort));
    snd_seq_ev_set_direct(&event);
    return check(snd_seq_event_output_direct(seq, &event),
                 "send to " + std::to_string(destClient) + ":" + std::to_string(destPort));
}

AlsaMidiService::AlsaMidiService() {
    quietAlsaLib();
}

AlsaMidiService::~AlsaMidiService() {
    closeClient();
}

MidiService::Status AlsaMidiService::createClient(const std::string& name, Listener& listener) {
    std::lock_guard lock(mLock);
    if (mSession) return {-EBUSY, "a client exists already"};
    auto session = std::make_unique<Session>();
    const int rc = snd_seq_open(&session->seq, "default", SND_SEQ_OPEN_DUPLEX, 0);
    if (rc < 0) {
        session->seq = nullptr;
        const std::string why = std::string("ALSA sequencer not available: ") + snd_strerror(rc);
        if (!mSaidUnavailable) Log::line("device", why);
        mSaidUnavailable = true;
        return {rc, why};
    }
    if (Status s = check(snd_seq_set_client_name(session->seq, name.c_str()), "name the client");
        !s.ok()) {
        return s;
    }
    session->client = snd_seq_client_id(session->seq);
    if (Status s = check(snd_midi_event_new(16, &session->encoder), "make MIDI encoder"); !s.ok()) {
        return s;
    }
    session->listener = &listener;
    mSession = std::move(session);
    return {};
}

MidiService::Status AlsaMidiService::createOutputPort(const std::string& name) {
    std::lock_guard lock(mLock);
    if (!mSession) return {-ENODEV, "no client"};
    // Readable only: sends go straight to the chosen destination, never to subscribers.
    const int port =
        snd_seq_create_simple_port(mSession->seq, name.c_str(), SND_SEQ_PORT_CAP_READ, kPortType);
    if (Status s = check(port, "create output port"); !s.ok()) return s;
    mSession->outPort = port;
    return {};
}

MidiService::Status AlsaMidiService::createInputPort(const std::string& name) {
    std::lock_guard lock(mLock);
    if (!mSession) return {-ENODEV, "no client"};
    Session& s = *mSession;
    const int port = snd_seq_create_simple_port(
        s.seq, name.c_str(), SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE, kPortType);
    if (Status status = check(port, "create input port"); !status.ok()) return status;
    s.inPort = port;
    // Announcements arrive at the input port too; the receive thread tells them apart by
    // their sender. Without them the lists are only as fresh as the last search, which is
    // worth a line in the log but no reason to fail.
    check(snd_seq_connect_from(s.seq, port, SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE),
          "subscribe to System:Announce");
    // Listed after subscribing, so a port that comes meanwhile is not missed.
    const auto known = AlsaEndpoints::list(s.seq, s.client);
    s.receiver = std::make_unique<AlsaReceiveThread>(s.seq, s.client, *s.listener, known);
    if (!s.receiver->running()) return {-EAGAIN, "start the MIDI receive thread"};
    return {};
}

void AlsaMidiService::closeClient() {
    std::unique_ptr<AlsaReceiveThread> receiver;
    {
        std::lock_guard lock(mLock);
        if (!mSession) return;
        receiver = std::move(mSession->receiver);
    }
    // Joined without the lock: the listener may call back into this service until it stops.
    receiver.reset();
    std::lock_guard lock(mLock);
    mSession.reset();
}

std::vector<MidiService::Endpoint> AlsaMidiService::sources() {
    return listed(true);
}

std::vector<MidiService::Endpoint> AlsaMidiService::destinations() {
    return listed(false);
}

std::vector<MidiService::Endpoint> AlsaMidiService::listed(bool sources) {
    std::lock_guard lock(mLock);
    std::vector<Endpoint> endpoints;
    if (!mSession) return endpoints;
    for (auto& port : AlsaEndpoints::list(mSession->seq, mSession->client)) {
        if (sources ? port.isSource : port.isDestination) endpoints.push_back(port.endpoint);
    }
    return endpoints;
}

std::optional<MidiService::Endpoint> AlsaMidiService::findByUniqueId(std::int64_t uniqueId) {
    std::lock_guard lock(mLock);
    int client = 0;
    int port = 0;
    if (!mSession || !AlsaEndpoints::address(uniqueId, client, port)) return std::nullopt;
    if (client == SND_SEQ_CLIENT_SYSTEM || client == mSession->client) return std::nullopt;
    const auto found = AlsaEndpoints::describe(mSession->seq, client, port);
    if (!found) return std::nullopt;
    return found->endpoint;
}

MidiService::Status AlsaMidiService::connectSource(std::int64_t uniqueId) {
    return subscription(uniqueId, true);
}

MidiService::Status AlsaMidiService::disconnectSource(std::int64_t uniqueId) {
    return subscription(uniqueId, false);
}

MidiService::Status AlsaMidiService::subscription(std::int64_t uniqueId, bool connect) {
    std::lock_guard lock(mLock);
    int client = 0;
    int port = 0;
    if (!mSession || mSession->inPort < 0) return {-ENODEV, "no input port"};
    if (!AlsaEndpoints::address(uniqueId, client, port)) {
        return {-EINVAL, "no source with id " + std::to_string(uniqueId)};
    }
    const std::string what =
        (connect ? "connect source " : "disconnect source ") + addressText(uniqueId);
    if (connect) {
        const int rc = snd_seq_connect_from(mSession->seq, mSession->inPort, client, port);
        return check(rc == -EBUSY ? 0 : rc, what);  // EBUSY: subscribed already
    }
    const int rc = snd_seq_disconnect_from(mSession->seq, mSession->inPort, client, port);
    // ENOENT: not subscribed; ENXIO: the port or its client is gone, and its routes with it.
    return check(rc == -ENOENT || rc == -ENXIO ? 0 : rc, what);
}

MidiService::Status AlsaMidiService::send(std::int64_t destination,
                                          std::span<const std::uint8_t> bytes) {
    std::lock_guard lock(mLock);
    int client = 0;
    int port = 0;
    if (!mSession || mSession->outPort < 0) return {-ENODEV, "no output port"};
    if (!AlsaEndpoints::address(destination, client, port)) {
        return {-EINVAL, "no destination with id " + std::to_string(destination)};
    }
    return mSession->send(client, port, bytes);
}

}  // namespace tavrel
