// Another program on the sequencer, made straight from alsa-lib: what it sees of our client
// and what it sends us does not pass through our own ALSA code, so the tests can hold that
// code against the sequencer itself.
#pragma once

#include <alsa/asoundlib.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tavrel::test {

class RawClient {
public:
    // Capabilities of a port that others may subscribe to for reading, or for writing.
    static constexpr unsigned int kReadable = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    static constexpr unsigned int kWritable = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;

    struct PortInfo {
        int client = -1;
        int port = -1;
        std::string clientName;
        std::string portName;
        unsigned int caps = 0;
    };

    // Opened and named at once; isOpen() says whether that worked.
    explicit RawClient(const std::string& name);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool isOpen() const { return mSeq != nullptr; }
    int client() const;
    // Results are alsa-lib's: a port number or 0 on success, a negative error code otherwise.
    int addPort(const std::string& name, unsigned int caps);
    int removePort(int port);
    // Subscribes `client`:`destPort` to our `port`, as a patchbay connects two programs.
    int connectTo(int port, int client, int destPort);

    // Every port of every client, as any program on the sequencer sees them.
    std::vector<PortInfo> ports() const;

    // `bytes` as one system-exclusive event from `port` to its subscribers.
    int sendToSubscribers(int port, std::span<const std::uint8_t> bytes);
    // The events that reached our ports and wait unread, oldest first, without any data of
    // variable length. The kernel queues a direct event for us as it is sent, so once the sender
    // has ended everything it sent is here.
    std::vector<snd_seq_event_t> received();

private:
    static constexpr std::size_t kInputPool = 2000;  // the most the kernel grants a client
    snd_seq_t* mSeq = nullptr;
};

}  // namespace tavrel::test
