// The desktop's MIDI through the ALSA sequencer. The program is the client "Tavrel" with the
// ports "MidiLib-InPort" (others may write to it and connect to it) and "MidiLib-OutPort";
// it shows up in aconnect -l and every patchbay like any other MIDI program.
//
// Sources and destinations are other clients' ports that may be subscribed to for reading or
// writing; the System client and our own ports are left out. Display names are
// "client name:port name"; unique ids are sequencer addresses (see AlsaEndpoints). Changes of
// the setup come from the System:Announce port.
//
// Where the kernel has no sequencer (no /dev/snd/seq) this says so once in the log, refuses to
// make a client and lists nothing.
#pragma once

#include "device/platform/MidiService.h"

#include <memory>
#include <mutex>

namespace tavrel {

class AlsaMidiService : public MidiService {
public:
    AlsaMidiService();
    ~AlsaMidiService() override;
    AlsaMidiService(const AlsaMidiService&) = delete;
    AlsaMidiService& operator=(const AlsaMidiService&) = delete;

    Status createClient(const std::string& name, Listener& listener) override;
    Status createOutputPort(const std::string& name) override;
    Status createInputPort(const std::string& name) override;
    void closeClient() override;
    std::vector<Endpoint> sources() override;
    std::vector<Endpoint> destinations() override;
    std::optional<Endpoint> findByUniqueId(std::int64_t uniqueId) override;
    // Connecting a source that is connected already, or disconnecting one that is gone or
    // not connected, succeeds: the routing is then as asked.
    Status connectSource(std::int64_t uniqueId) override;
    Status disconnectSource(std::int64_t uniqueId) override;
    // Sent as direct events, not queued, with our output port subscribed to the destination
    // (a kernel MIDI device's port drops events while no one is): system-exclusive bytes as
    // they are, from F0 up to and including F7 (or the end of the block) in events of at most
    // 1 KiB, other messages encoded one by one. A block that starts with data bytes while the
    // block before ended inside an exclusive message goes on with that message up to its F7.
    Status send(std::int64_t destination, std::span<const std::uint8_t> bytes) override;

private:
    class Session;  // the sequencer's objects, kept out of this header
    std::vector<Endpoint> listed(bool sources);
    Status subscription(std::int64_t uniqueId, bool connect);

    // Guards the session. The receive thread does not take it: it only reads events, and
    // reading and writing the sequencer use separate buffers.
    std::mutex mLock;
    std::unique_ptr<Session> mSession;
    bool mSaidUnavailable = false;
};

}  // namespace tavrel
