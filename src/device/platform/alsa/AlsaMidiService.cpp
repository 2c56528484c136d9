#include "device/platform/alsa/AlsaMidiService.h"

#include "device/platform/alsa/AlsaCheck.h"
#include "device/platform/alsa/AlsaEndpoints.h"
#include "device/platform/alsa/AlsaReceiveThread.h"
#include "model/Log.h"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>

namespace tavrel {

namespace {

constexpr std::uint8_t kSysEx = 0xF0;
constexpr std::uint8_t kEndOfSysEx = 0xF7;
// The most exclusive bytes one event carries: a fifth of a client's input pool as the kernel
// makes it, so a receiver that reads as events come can take a message of any length.
constexpr std::size_t kExclusiveEventBytes = 1024;
// Cells of the kernel's input pool for our client, each holding an event or 28 bytes of its
// data: the most the kernel allows, ten times its default. What arrives while the pool is
// full is lost together with everything still waiting in it, so the pool has to hold a long
// exclusive message while the receive thread is held up.
constexpr int kInputPoolCells = 2000;
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

// Also the listener of the receive thread, passing everything on: a port that starts may be a
// device plugged in again at the address it had, whose route must then be made anew.
class AlsaMidiService::Session : public MidiService::Listener {
public:
    ~Session() override {
        receiver.reset();
        if (encoder != nullptr) snd_midi_event_free(encoder);
        if (seq != nullptr) snd_seq_close(seq);  // takes our ports and subscriptions along
    }

    Status send(int destClient, int destPort, std::span<const std::uint8_t> bytes);

    void midiReceived(std::span<const std::uint8_t> bytes) override {
        listener->midiReceived(bytes);
    }
    void midiNotified(const MidiNotification& notification) override {
        if (notification.kind == MidiNotification::Kind::ObjectAdded) routeStale = true;
        listener->midiNotified(notification);
    }

    snd_seq_t* seq = nullptr;
    int client = -1;
    int inPort = -1;
    int outPort = -1;
    Listener* listener = nullptr;
    // Builds events from the bytes of channel and system-common messages. System-exclusive
    // bytes never pass through it, so a few bytes of room are enough.
    snd_midi_event_t* encoder = nullptr;
    // The last block ended inside an exclusive message: the next may go on with it, without F0.
    bool exclusiveOpen = false;
    std::unique_ptr<AlsaReceiveThread> receiver;

private:
    void route(int destClient, int destPort);
    Status sendExclusive(std::span<const std::uint8_t> message, int destClient, int destPort);
    Status output(snd_seq_event_t& event, int destClient, int destPort);

    // The destination our output port was last subscribed to; -1 for none.
    int routedClient = -1;
    int routedPort = -1;
    std::atomic<bool> routeStale{false};  // set by the receive thread
};

// A kernel client's port (a USB device, a raw MIDI card) opens its device only while someone
// is subscribed to write to it, and drops events sent to it before; so our output port is
// subscribed to the destination it sends to, and moved with it. A failed subscription still
// lets the events go, for the destinations that take them without one.
void AlsaMidiService::Session::route(int destClient, int destPort) {
    const bool stale = routeStale.exchange(false);
    const bool same = destClient == routedClient && destPort == routedPort;
    if (same && !stale) return;
    if (!same && routedClient >= 0) {
        snd_seq_disconnect_to(seq, outPort, routedClient, routedPort);  // may be gone already
    }
    // Tried once per destination, not at every send: a refusal is logged once.
    routedClient = destClient;
    routedPort = destPort;
    const int rc = snd_seq_connect_to(seq, outPort, destClient, destPort);
    check(rc == -EBUSY ? 0 : rc,  // EBUSY: subscribed already
          "subscribe to " + std::to_string(destClient) + ":" + std::to_string(destPort));
}

MidiService::Status AlsaMidiService::Session::send(int destClient, int destPort,
                                                   std::span<const std::uint8_t> bytes) {
    // Each block starts afresh: a channel message cut off in the last one must not run into this
    // one. Only an exclusive message may go on from one block to the next.
    snd_midi_event_reset_encode(encoder);
    route(destClient, destPort);
    std::size_t i = 0;
    while (i < bytes.size()) {
        const bool goesOn = i == 0 && exclusiveOpen && bytes[0] < 0x80;
        if (bytes[i] == kSysEx || goesOn) {
            const auto rest = bytes.subspan(i);
            const auto end = std::find(rest.begin(), rest.end(), kEndOfSysEx);
            const std::size_t length =
                static_cast<std::size_t>(end - rest.begin()) + (end == rest.end() ? 0 : 1);
            if (Status s = sendExclusive(rest.first(length), destClient, destPort); !s.ok()) {
                return s;
            }
            i += length;
            exclusiveOpen = end == rest.end();
            continue;
        }
        // Any status but real time ends an unfinished exclusive message.
        if (bytes[i] >= 0x80 && bytes[i] < 0xF8) exclusiveOpen = false;
        snd_seq_event_t event;
        snd_seq_ev_clear(&event);
        if (snd_midi_event_encode_byte(encoder, bytes[i++], &event) != 1) {
            continue;  // the message is not complete yet
        }
        if (Status s = output(event, destClient, destPort); !s.ok()) return s;
    }
    return {};
}

// The kernel refuses an event that is larger than the receiving client's whole input pool
// (about 5 kB of data by default), so a long message goes as consecutive events, which
// receivers join as they do those of the kernel's own MIDI ports.
MidiService::Status AlsaMidiService::Session::sendExclusive(std::span<const std::uint8_t> message,
                                                            int destClient, int destPort) {
    for (std::size_t at = 0; at < message.size(); at += kExclusiveEventBytes) {
        const std::size_t length = std::min(kExclusiveEventBytes, message.size() - at);
        snd_seq_event_t event;
        snd_seq_ev_clear(&event);
        snd_seq_ev_set_sysex(&event, static_cast<unsigned int>(length),
                             const_cast<std::uint8_t*>(&message[at]));
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
    // A smaller pool still works; long messages are then more easily lost.
    check(snd_seq_set_client_pool_input(session->seq, kInputPoolCells), "enlarge the input pool");
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
    // Readable only, so no one else subscribes to it: sends go straight to the chosen
    // destination, to which the port is subscribed by us alone.
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
    s.receiver = std::make_unique<AlsaReceiveThread>(s.seq, s.client, s, known);
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
