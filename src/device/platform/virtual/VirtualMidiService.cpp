#include "device/platform/virtual/VirtualMidiService.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace tavrel {

VirtualMidiService::~VirtualMidiService() {
    closeClient();
}

MidiService::Status VirtualMidiService::createClient(const std::string& name, Listener& listener) {
    std::lock_guard lock(mLock);
    if (Status s = refused(Fault::CreateClient, "create client"); !s.ok()) return s;
    if (mClientName) return {-EBUSY, "a client exists already"};
    mClientName = name;
    mStop = false;
    mDeliveryThread = std::thread([this, l = &listener] { deliverLoop(l); });
    return {};
}

MidiService::Status VirtualMidiService::createOutputPort(const std::string& /*name*/) {
    std::lock_guard lock(mLock);
    if (Status s = refused(Fault::CreateOutputPort, "create output port"); !s.ok()) return s;
    if (!mClientName) return {-ENODEV, "no client"};
    mHasOutputPort = true;
    return {};
}

MidiService::Status VirtualMidiService::createInputPort(const std::string& /*name*/) {
    std::lock_guard lock(mLock);
    if (Status s = refused(Fault::CreateInputPort, "create input port"); !s.ok()) return s;
    if (!mClientName) return {-ENODEV, "no client"};
    mHasInputPort = true;
    return {};
}

void VirtualMidiService::closeClient() {
    std::unique_lock lock(mLock);
    if (!mClientName) return;
    mStop = true;
    mChanged.notify_all();
    lock.unlock();
    mDeliveryThread.join();
    lock.lock();
    mQueue.clear();
    mClientName.reset();
    mHasOutputPort = mHasInputPort = false;
    for (Port& port : mPorts) port.connected = false;
    mChanged.notify_all();  // flush() has nothing left to wait for
}

std::vector<MidiService::Endpoint> VirtualMidiService::sources() {
    std::lock_guard lock(mLock);
    return listed(true);
}

std::vector<MidiService::Endpoint> VirtualMidiService::destinations() {
    std::lock_guard lock(mLock);
    return listed(false);
}

std::optional<MidiService::Endpoint> VirtualMidiService::findByUniqueId(std::int64_t uniqueId) {
    std::lock_guard lock(mLock);
    const Port* port = findPort(uniqueId);
    if (port == nullptr) return std::nullopt;
    return port->endpoint;
}

MidiService::Status VirtualMidiService::connectSource(std::int64_t uniqueId) {
    std::lock_guard lock(mLock);
    if (Status s = refused(Fault::Connect, "connect source"); !s.ok()) return s;
    if (!mHasInputPort) return {-ENODEV, "no input port"};
    Port* port = findPort(uniqueId);
    if (port == nullptr || !port->isSource) {
        return {-ENOENT, "no source with id " + std::to_string(uniqueId)};
    }
    port->connected = true;
    return {};
}

MidiService::Status VirtualMidiService::disconnectSource(std::int64_t uniqueId) {
    std::lock_guard lock(mLock);
    if (Status s = refused(Fault::Disconnect, "disconnect source"); !s.ok()) return s;
    // A source that is gone or was never connected leaves nothing to undo.
    if (Port* port = findPort(uniqueId)) port->connected = false;
    return {};
}

MidiService::Status VirtualMidiService::send(std::int64_t destination,
                                             std::span<const std::uint8_t> bytes) {
    DestinationCallback callback;
    {
        std::lock_guard lock(mLock);
        if (Status s = refused(Fault::Send, "send"); !s.ok()) return s;
        if (!mHasOutputPort) return {-ENODEV, "no output port"};
        Port* port = findPort(destination);
        if (port == nullptr || port->isSource) {
            return {-ENOENT, "no destination with id " + std::to_string(destination)};
        }
        port->backlog.push_back({std::chrono::steady_clock::now(),
                                 std::vector<std::uint8_t>(bytes.begin(), bytes.end())});
        if (port->backlog.size() > kBacklogKept) port->backlog.pop_front();
        callback = port->callback;
    }
    if (callback) callback(bytes);
    return {};
}

std::int64_t VirtualMidiService::addSource(const std::string& name) {
    std::lock_guard lock(mLock);
    Port& port = mPorts.emplace_back(Port{{name, mNextId++}, true, false, {}, {}});
    announce(port, MidiNotification::Kind::ObjectAdded);
    return port.endpoint.uniqueId;
}

std::int64_t VirtualMidiService::addDestination(const std::string& name,
                                                DestinationCallback callback) {
    std::lock_guard lock(mLock);
    Port& port =
        mPorts.emplace_back(Port{{name, mNextId++}, false, false, std::move(callback), {}});
    announce(port, MidiNotification::Kind::ObjectAdded);
    return port.endpoint.uniqueId;
}

bool VirtualMidiService::removeEndpoint(std::int64_t uniqueId) {
    std::lock_guard lock(mLock);
    const auto it = std::find_if(mPorts.begin(), mPorts.end(), [&](const Port& port) {
        return port.endpoint.uniqueId == uniqueId;
    });
    if (it == mPorts.end()) return false;
    announce(*it, MidiNotification::Kind::ObjectRemoved);
    mPorts.erase(it);
    return true;
}

bool VirtualMidiService::inject(std::int64_t source, std::span<const std::uint8_t> bytes) {
    std::lock_guard lock(mLock);
    const Port* port = findPort(source);
    if (port == nullptr || !port->isSource || !port->connected) return false;
    queue({std::vector<std::uint8_t>(bytes.begin(), bytes.end()), std::nullopt});
    return true;
}

void VirtualMidiService::injectIOError(const std::string& text) {
    std::lock_guard lock(mLock);
    MidiNotification notification;
    notification.kind = MidiNotification::Kind::IOError;
    notification.text = text;
    queue({{}, std::move(notification)});
}

std::vector<VirtualMidiService::Received> VirtualMidiService::backlog(
    std::int64_t destination) const {
    std::lock_guard lock(mLock);
    const Port* port = findPort(destination);
    if (port == nullptr) return {};
    return {port->backlog.begin(), port->backlog.end()};
}

bool VirtualMidiService::isConnected(std::int64_t source) const {
    std::lock_guard lock(mLock);
    const Port* port = findPort(source);
    return port != nullptr && port->connected;
}

std::optional<std::string> VirtualMidiService::clientName() const {
    std::lock_guard lock(mLock);
    return mClientName;
}

void VirtualMidiService::setFault(Fault fault) {
    std::lock_guard lock(mLock);
    mFault = fault;
}

void VirtualMidiService::flush() {
    std::unique_lock lock(mLock);
    mChanged.wait(lock, [this] { return mQueue.empty() && !mDelivering; });
}

MidiService::Status VirtualMidiService::refused(Fault fault, const char* what) const {
    if (mFault != fault) return {};
    return {-EIO, std::string(what) + ": refused by the fault switch"};
}

VirtualMidiService::Port* VirtualMidiService::findPort(std::int64_t uniqueId) {
    return const_cast<Port*>(std::as_const(*this).findPort(uniqueId));
}

const VirtualMidiService::Port* VirtualMidiService::findPort(std::int64_t uniqueId) const {
    for (const Port& port : mPorts) {
        if (port.endpoint.uniqueId == uniqueId) return &port;
    }
    return nullptr;
}

std::vector<MidiService::Endpoint> VirtualMidiService::listed(bool isSource) const {
    std::vector<Endpoint> endpoints;
    for (const Port& port : mPorts) {
        if (port.isSource == isSource) endpoints.push_back(port.endpoint);
    }
    return endpoints;
}

void VirtualMidiService::announce(const Port& port, MidiNotification::Kind kind) {
    MidiNotification notification;
    notification.kind = kind;
    notification.displayName = port.endpoint.displayName;
    notification.uniqueId = port.endpoint.uniqueId;
    notification.isSource = port.isSource;
    queue({{}, std::move(notification)});
}

void VirtualMidiService::queue(Delivery delivery) {
    // Nobody to tell before there is a client, as with the real service.
    if (!mClientName || mStop) return;
    mQueue.push_back(std::move(delivery));
    mChanged.notify_all();
}

void VirtualMidiService::deliverLoop(Listener* listener) {
    std::unique_lock lock(mLock);
    for (;;) {
        mChanged.wait(lock, [this] { return mStop || !mQueue.empty(); });
        if (mStop) return;
        Delivery delivery = std::move(mQueue.front());
        mQueue.pop_front();
        mDelivering = true;
        lock.unlock();
        if (delivery.notification) {
            listener->midiNotified(*delivery.notification);
        } else {
            listener->midiReceived(delivery.bytes);
        }
        lock.lock();
        mDelivering = false;
        mChanged.notify_all();
    }
}

}  // namespace tavrel
