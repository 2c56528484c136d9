// MIDI endpoints that live inside the program: the simulated unit's and those of tests.
// An endpoint made with addSource sends to the program through inject(); one made with
// addDestination receives what the program sends, through its callback and a backlog with
// arrival times. Received bytes and setup changes reach the client on a delivery thread of
// this service, in the order they were raised, as they would from the real service's thread.
// All operations are safe from any thread.
#pragma once

#include "device/platform/MidiService.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {

class VirtualMidiService : public MidiService {
public:
    struct Received {
        std::chrono::steady_clock::time_point time;
        std::vector<std::uint8_t> bytes;
    };
    // Called on the sending thread, without any lock of this service held, so it may inject
    // an answer at once.
    using DestinationCallback = std::function<void(std::span<const std::uint8_t> bytes)>;
    // Operations that can be made to fail, for the paths that handle a refusing service.
    enum class Fault {
        None,
        CreateClient,
        CreateOutputPort,
        CreateInputPort,
        Connect,
        Disconnect,
        Send
    };

    VirtualMidiService() = default;
    ~VirtualMidiService() override;
    VirtualMidiService(const VirtualMidiService&) = delete;
    VirtualMidiService& operator=(const VirtualMidiService&) = delete;

    Status createClient(const std::string& name, Listener& listener) override;
    Status createOutputPort(const std::string& name) override;
    Status createInputPort(const std::string& name) override;
    void closeClient() override;
    std::vector<Endpoint> sources() override;
    std::vector<Endpoint> destinations() override;
    std::optional<Endpoint> findByUniqueId(std::int64_t uniqueId) override;
    Status connectSource(std::int64_t uniqueId) override;
    Status disconnectSource(std::int64_t uniqueId) override;
    Status send(std::int64_t destination, std::span<const std::uint8_t> bytes) override;

    // Endpoints are listed in the order they were made and announced to the client as added.
    // Unique ids are never given out twice.
    std::int64_t addSource(const std::string& name);
    std::int64_t addDestination(const std::string& name, DestinationCallback callback = {});
    // Takes the endpoint away as pulling a cable would; false when there is no such endpoint.
    bool removeEndpoint(std::int64_t uniqueId);

    // `source` sends `bytes` as one block. They reach the client only while the source is
    // connected to its input port; false when they do not.
    bool inject(std::int64_t source, std::span<const std::uint8_t> bytes);
    // The service reports trouble, as when a device's data is lost.
    void injectIOError(const std::string& text);

    // What the program has sent to `destination`, oldest first; the newest kBacklogKept
    // messages only, so that a long session does not grow without end.
    static constexpr std::size_t kBacklogKept = 65536;
    std::vector<Received> backlog(std::int64_t destination) const;
    bool isConnected(std::int64_t source) const;
    std::optional<std::string> clientName() const;
    // The named operation fails until the fault is set back to None.
    void setFault(Fault fault);
    // Returns once everything raised so far has been handed to the client.
    void flush();

private:
    struct Port {
        MidiService::Endpoint endpoint;
        bool isSource = false;
        bool connected = false;        // sources: routed to the client's input port
        DestinationCallback callback;  // destinations
        std::deque<Received> backlog;  // destinations
    };
    // One hand-over to the client: bytes, or a notification when `notification` is set.
    struct Delivery {
        std::vector<std::uint8_t> bytes;
        std::optional<MidiNotification> notification;
    };

    Status refused(Fault fault, const char* what) const;
    Port* findPort(std::int64_t uniqueId);
    const Port* findPort(std::int64_t uniqueId) const;
    std::vector<Endpoint> listed(bool isSource) const;
    void announce(const Port& port, MidiNotification::Kind kind);
    void queue(Delivery delivery);
    void deliverLoop(Listener* listener);

    mutable std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<Port> mPorts;
    std::int64_t mNextId = 1;
    Fault mFault = Fault::None;
    std::optional<std::string> mClientName;
    bool mHasOutputPort = false;
    bool mHasInputPort = false;
    std::deque<Delivery> mQueue;
    bool mDelivering = false;  // a delivery is in the listener's hands
    bool mStop = false;
    std::thread mDeliveryThread;
};

}  // namespace tavrel
