#include "device/MidiLib.h"

#include "model/Context.h"
#include "model/Log.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace tavrel {

namespace {

// Like assert, but kept in release builds: a caller that breaks the contract must not send
// a truncated block to the unit.
[[noreturn]] void contractBroken(const char* expression, int line) {
    std::fprintf(stderr, "MidiLib.cpp:%d: MidiLib: check failed: %s\n", line, expression);
    std::fflush(stderr);
    std::abort();
}

}  // namespace

MidiLib::MidiLib(MidiService& service, MainThreadPoster postToMain)
    : mService(service), mPostToMain(std::move(postToMain)) {
    mReady = setup();
}

MidiLib::~MidiLib() {
    if (m_inputEndPointRef != kNoEndpoint) mService.disconnectSource(m_inputEndPointRef);
    // After this the service no longer calls in, so the drain can be stopped safely.
    if (mHasClient) mService.closeClient();
}

MidiLib* MidiLib::sharedInstance() {
    return Context::exists() ? Context::current().find<MidiLib>() : nullptr;
}

bool MidiLib::setup() {
    if (failed(mService.createClient(kClientName, *this), "Init-MIDIClientCreate")) return false;
    mHasClient = true;
    if (failed(mService.createOutputPort(kOutPortName), "Init-MIDIOutputPortCreate")) {
        return false;
    }
    return !failed(mService.createInputPort(kInPortName), "Init-MIDIInputPortCreate");
}

bool MidiLib::failed(const MidiService::Status& status, const char* label) {
    if (status.ok()) return false;
    Log::linef("device", "%s: %s", label, status.what.c_str());
    errorStatus(status.code, label);
    return true;
}

void MidiLib::setDelegate(MidiLibDelegate* delegate) {
    std::lock_guard lock(mRxDelegateLock);
    mDelegate.store(delegate);
}

void MidiLib::searchDevice() {
    m_inputPort.clear();
    m_outputPort.clear();
    if (!mReady) return;
    for (auto& source : mService.sources()) {
        m_inputPort.emplace_back(std::move(source.displayName), source.uniqueId);
    }
    for (auto& destination : mService.destinations()) {
        m_outputPort.emplace_back(std::move(destination.displayName), destination.uniqueId);
    }
}

bool MidiLib::selectInputDevice(std::int64_t index) {
    if (!mReady || index < 0 || index >= std::ssize(m_inputPort)) return false;
    const auto found = mService.findByUniqueId(m_inputPort[index].uniqueID());
    if (!found) return false;
    if (m_inputEndPointRef != kNoEndpoint && failed(mService.disconnectSource(m_inputEndPointRef),
                                                    "Disconnect-MIDIPortDisconnectSource")) {
        return false;
    }
    // Kept even when connecting fails, so that the next selection disconnects it first.
    m_inputEndPointRef = found->uniqueId;
    if (failed(mService.connectSource(found->uniqueId), "Connect-MIDIPortConnectSource")) {
        return false;
    }
    m_curInputPort = index;
    mSelectionGone = false;
    return true;
}

bool MidiLib::selectOutputDevice(std::int64_t index) {
    if (!mReady || index < 0 || index >= std::ssize(m_outputPort)) return false;
    const auto found = mService.findByUniqueId(m_outputPort[index].uniqueID());
    if (!found) return false;
    m_outputEndPointRef.store(found->uniqueId);
    m_curOutputPort = index;
    mSelectionGone = false;
    return true;
}

void MidiLib::sendMidiWithData(const std::uint8_t* data, std::int64_t size) {
    if (!(size < kSendLimit)) contractBroken("size < 65536", __LINE__);
    if (!(size >= 0)) contractBroken("size >= 0", __LINE__);
    sendPacketList({data, static_cast<std::size_t>(size)});
}

void MidiLib::sendMidi(const MidiPacket& packet) {
    const std::size_t length = std::min<std::size_t>(packet.length, packet.data.size());
    sendPacketList({packet.data.data(), length});
}

void MidiLib::sendPacketList(std::span<const std::uint8_t> bytes) {
    const std::int64_t destination = m_outputEndPointRef.load();
    if (destination == kNoEndpoint) return;
    const MidiService::Status status = mService.send(destination, bytes);
    if (status.ok()) return;
    if (MidiLibDelegate* d = mDelegate.load()) d->sendErrorWithPacketList(bytes, status.code);
}

int MidiLib::errorStatus(int status, const std::string& message) {
    if (status == 0) return status;
    postToMain([this, status, message] {
        if (MidiLibDelegate* d = mDelegate.load()) d->midiError(status, message);
    });
    return status;
}

// A block can be longer than the ring: the ALSA sequencer hands over a long exclusive message as
// one event, which would lose its end however quick the drain. So a full ring waits for the drain
// to empty it; that holds up only this service thread, whose platform buffers meanwhile.
void MidiLib::midiReceived(std::span<const std::uint8_t> bytes) {
    const bool due = mReceiver.receive(bytes, [this] {
        mDrain.wake();
        mDrain.waitIdle();
    });
    if (due) mDrain.wake();
}

void MidiLib::midiNotified(const MidiNotification& notification) {
    postToMain([this, notification] { handleNotification(notification); });
    // Marked only once the removal is queued: a main thread that sees the selection gone and
    // then runs its queue must find the removal there, to read the unit as not connected.
    if (notification.kind == MidiNotification::Kind::ObjectRemoved &&
        notification.uniqueId ==
            (notification.isSource ? m_inputEndPointRef : m_outputEndPointRef).load()) {
        mSelectionGone = true;
    }
}

void MidiLib::handleNotification(const MidiNotification& notification) {
    MidiLibDelegate* d = mDelegate.load();
    switch (notification.kind) {
        case MidiNotification::Kind::ObjectAdded:
            if (d == nullptr) return;
            d->connectMidiSource();
            d->midiObjectAdded(notification);
            break;
        case MidiNotification::Kind::ObjectRemoved:
            if (d == nullptr) return;
            d->disconnectMidiSource();
            d->midiObjectRemoved(notification);
            break;
        case MidiNotification::Kind::PropertyChanged:
            Log::line("device", notification.text);
            break;
        case MidiNotification::Kind::IOError:
            if (d != nullptr) d->midiMessageError(notification);
            break;
    }
}

void MidiLib::receiveProcess() {
    mReceiver.drain([this](const MidiPacket& message) {
        std::lock_guard lock(mRxDelegateLock);
        if (MidiLibDelegate* d = mDelegate.load()) d->rxMidiData(message);
    });
}

void MidiLib::postToMain(std::function<void()> task) {
    auto guarded = [alive = std::weak_ptr<const bool>(mAlive), task = std::move(task)] {
        if (!alive.expired()) task();
    };
    if (mPostToMain) {
        mPostToMain(std::move(guarded));
    } else {
        guarded();
    }
}

}  // namespace tavrel
