#include "device/platform/alsa/AlsaReceiveThread.h"

#include "device/platform/alsa/AlsaCheck.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace tavrel {

namespace {

std::string addressText(int client, int port) {
    return std::to_string(client) + ":" + std::to_string(port);
}

}  // namespace

AlsaReceiveThread::AlsaReceiveThread(snd_seq_t* seq, int ownClient, MidiService::Listener& listener,
                                     const std::vector<AlsaEndpoints::Port>& known)
    : mSeq(seq), mOwnClient(ownClient), mListener(listener) {
    for (const auto& port : known) mKnown.emplace(port.endpoint.uniqueId, port);
    // Sized for one channel message; system-exclusive events are passed on as they come.
    if (!check(snd_midi_event_new(16, &mDecoder), "make MIDI decoder").ok()) return;
    // The parser after us does not rebuild running status, so every message carries its own.
    snd_midi_event_no_status(mDecoder, 1);
    if (mStop.valid()) mThread = std::thread([this] { run(); });
}

AlsaReceiveThread::~AlsaReceiveThread() {
    if (mThread.joinable()) {
        mStop.raise();
        mThread.join();
    }
    if (mDecoder != nullptr) snd_midi_event_free(mDecoder);
}

void AlsaReceiveThread::run() {
    const auto count =
        static_cast<unsigned int>(std::max(snd_seq_poll_descriptors_count(mSeq, POLLIN), 0));
    std::vector<pollfd> fds(count + 1);
    snd_seq_poll_descriptors(mSeq, fds.data(), count, POLLIN);
    fds.back() = {mStop.fd(), POLLIN, 0};
    for (;;) {
        if (poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) continue;
            notify(MidiNotification::Kind::IOError,
                   std::string("wait for MIDI input: ") + std::strerror(errno));
            return;
        }
        if (fds.back().revents != 0) return;
        const bool broken = std::any_of(fds.begin(), fds.end() - 1, [](const pollfd& fd) {
            return (fd.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
        });
        if (broken || !readEvents()) {
            // Nothing more will come; the program goes on without MIDI input.
            notify(MidiNotification::Kind::IOError, "MIDI input stopped: the sequencer failed");
            return;
        }
    }
}

// Reads what poll() announced and what alsa-lib has buffered beyond it. False when reading
// cannot go on.
bool AlsaReceiveThread::readEvents() {
    do {
        snd_seq_event_t* event = nullptr;
        const int rc = snd_seq_event_input(mSeq, &event);
        if (rc == -EAGAIN) break;
        if (rc == -EINTR) continue;
        if (rc == -ENOSPC) {
            // The kernel's input pool overflowed while we were not reading; events are lost.
            flushBlock();
            notify(MidiNotification::Kind::IOError, "MIDI input overrun: events were lost");
            continue;
        }
        if (!check(rc, "read MIDI event").ok()) {
            flushBlock();
            return false;
        }
        handle(*event);
    } while (snd_seq_event_input_pending(mSeq, 0) > 0);
    flushBlock();
    return true;
}

void AlsaReceiveThread::handle(const snd_seq_event_t& event) {
    if (event.source.client == SND_SEQ_CLIENT_SYSTEM) {
        flushBlock();  // keep bytes and setup changes in the order they came
        handleAnnounce(event);
        return;
    }
    if (event.type == SND_SEQ_EVENT_SYSEX) {
        // Raw bytes; a long message comes in several events, only the first with F0.
        deliver({static_cast<const std::uint8_t*>(event.data.ext.ptr), event.data.ext.len});
        return;
    }
    unsigned char bytes[16];
    const long length = snd_midi_event_decode(mDecoder, bytes, sizeof bytes, &event);
    // Events that are not MIDI bytes (a subscription notice, a timer tick) decode to nothing.
    if (length > 0) deliver({bytes, static_cast<std::size_t>(length)});
}

void AlsaReceiveThread::handleAnnounce(const snd_seq_event_t& event) {
    const snd_seq_addr_t& addr = event.data.addr;
    switch (event.type) {
        case SND_SEQ_EVENT_PORT_START:
            portStarted(addr.client, addr.port);
            break;
        case SND_SEQ_EVENT_PORT_EXIT:
            portExited(addr.client, addr.port);
            break;
        case SND_SEQ_EVENT_PORT_CHANGE:
            portChanged(addr.client, addr.port);
            break;
        case SND_SEQ_EVENT_CLIENT_EXIT:
            clientExited(addr.client);
            break;
        case SND_SEQ_EVENT_CLIENT_CHANGE:
            notify(MidiNotification::Kind::PropertyChanged,
                   "MIDI client " + std::to_string(addr.client) + " changed");
            break;
        default:  // a client's ports come with their own events
            break;
    }
}

void AlsaReceiveThread::portStarted(int client, int port) {
    if (client == mOwnClient) return;
    const auto now = AlsaEndpoints::describe(mSeq, client, port);
    if (!now) return;
    mKnown[now->endpoint.uniqueId] = *now;
    announce(MidiNotification::Kind::ObjectAdded, *now);
}

void AlsaReceiveThread::portExited(int client, int port) {
    const auto it = mKnown.find(AlsaEndpoints::uniqueId(client, port));
    if (it == mKnown.end()) return;
    const AlsaEndpoints::Port gone = std::move(it->second);
    mKnown.erase(it);
    announce(MidiNotification::Kind::ObjectRemoved, gone);
}

// A client that goes takes its ports along; whether their own exit events come first is not
// something to rely on, so whatever is still known of it goes here.
void AlsaReceiveThread::clientExited(int client) {
    for (auto it = mKnown.begin(); it != mKnown.end();) {
        int c = 0;
        int p = 0;
        AlsaEndpoints::address(it->first, c, p);
        if (c != client) {
            ++it;
            continue;
        }
        const AlsaEndpoints::Port gone = std::move(it->second);
        it = mKnown.erase(it);
        announce(MidiNotification::Kind::ObjectRemoved, gone);
    }
}

// A port may gain or lose the right to be read or written; to the listener that is a source
// or destination coming or going.
void AlsaReceiveThread::portChanged(int client, int port) {
    if (client == mOwnClient) return;
    const std::int64_t id = AlsaEndpoints::uniqueId(client, port);
    const auto now = AlsaEndpoints::describe(mSeq, client, port);
    const auto it = mKnown.find(id);
    if (!now && it == mKnown.end()) return;
    const AlsaEndpoints::Port before = it != mKnown.end() ? it->second : AlsaEndpoints::Port{};
    AlsaEndpoints::Port after = now.value_or(AlsaEndpoints::Port{before.endpoint, false, false});
    announce(MidiNotification::Kind::ObjectRemoved,
             {before.endpoint, before.isSource && !after.isSource,
              before.isDestination && !after.isDestination});
    announce(MidiNotification::Kind::ObjectAdded,
             {after.endpoint, after.isSource && !before.isSource,
              after.isDestination && !before.isDestination});
    notify(MidiNotification::Kind::PropertyChanged,
           "MIDI port " + addressText(client, port) + " changed: " + after.endpoint.displayName);
    if (now) {
        mKnown[id] = *now;
    } else if (it != mKnown.end()) {
        mKnown.erase(it);
    }
}

// One notification for each role the port has.
void AlsaReceiveThread::announce(MidiNotification::Kind kind, const AlsaEndpoints::Port& port) {
    for (const bool source : {true, false}) {
        if (!(source ? port.isSource : port.isDestination)) continue;
        MidiNotification notification;
        notification.kind = kind;
        notification.displayName = port.endpoint.displayName;
        notification.uniqueId = port.endpoint.uniqueId;
        notification.isSource = source;
        mListener.midiNotified(notification);
    }
}

void AlsaReceiveThread::notify(MidiNotification::Kind kind, std::string text) {
    MidiNotification notification;
    notification.kind = kind;
    notification.text = std::move(text);
    mListener.midiNotified(notification);
}

void AlsaReceiveThread::deliver(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > mBlock.size() - mBlockLength) flushBlock();
    if (bytes.size() > mBlock.size()) {
        mListener.midiReceived(bytes);
        return;
    }
    std::copy(bytes.begin(), bytes.end(),
              mBlock.begin() + static_cast<std::ptrdiff_t>(mBlockLength));
    mBlockLength += bytes.size();
}

void AlsaReceiveThread::flushBlock() {
    if (mBlockLength == 0) return;
    mListener.midiReceived({mBlock.data(), mBlockLength});
    mBlockLength = 0;
}

}  // namespace tavrel
