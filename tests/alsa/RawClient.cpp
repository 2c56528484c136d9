#include "alsa/RawClient.h"

namespace tavrel::test {

RawClient::RawClient(const std::string& name) {
    if (snd_seq_open(&mSeq, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) < 0) {
        mSeq = nullptr;
        return;
    }
    snd_seq_set_client_name(mSeq, name.c_str());
    // Room for a whole preview's notes to wait until the test reads them (the default is 200).
    snd_seq_set_client_pool_input(mSeq, kInputPool);
}

RawClient::~RawClient() {
    if (mSeq != nullptr) snd_seq_close(mSeq);
}

int RawClient::client() const {
    return snd_seq_client_id(mSeq);
}

int RawClient::addPort(const std::string& name, unsigned int caps) {
    return snd_seq_create_simple_port(
        mSeq, name.c_str(), caps, SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
}

int RawClient::removePort(int port) {
    return snd_seq_delete_simple_port(mSeq, port);
}

int RawClient::connectTo(int port, int client, int destPort) {
    return snd_seq_connect_to(mSeq, port, client, destPort);
}

std::vector<RawClient::PortInfo> RawClient::ports() const {
    std::vector<PortInfo> found;
    snd_seq_client_info_t* clientInfo = nullptr;
    snd_seq_port_info_t* portInfo = nullptr;
    snd_seq_client_info_alloca(&clientInfo);
    snd_seq_port_info_alloca(&portInfo);
    snd_seq_client_info_set_client(clientInfo, -1);
    while (snd_seq_query_next_client(mSeq, clientInfo) >= 0) {
        snd_seq_port_info_set_client(portInfo, snd_seq_client_info_get_client(clientInfo));
        snd_seq_port_info_set_port(portInfo, -1);
        while (snd_seq_query_next_port(mSeq, portInfo) >= 0) {
            found.push_back(
                {snd_seq_port_info_get_client(portInfo), snd_seq_port_info_get_port(portInfo),
                 snd_seq_client_info_get_name(clientInfo), snd_seq_port_info_get_name(portInfo),
                 snd_seq_port_info_get_capability(portInfo)});
        }
    }
    return found;
}

int RawClient::sendToSubscribers(int port, std::span<const std::uint8_t> bytes) {
    snd_seq_event_t event;
    snd_seq_ev_clear(&event);
    snd_seq_ev_set_source(&event, static_cast<unsigned char>(port));
    snd_seq_ev_set_subs(&event);
    snd_seq_ev_set_direct(&event);
    snd_seq_ev_set_sysex(&event, static_cast<unsigned int>(bytes.size()),
                         const_cast<std::uint8_t*>(bytes.data()));
    return snd_seq_event_output_direct(mSeq, &event);
}

std::vector<snd_seq_event_t> RawClient::received() {
    std::vector<snd_seq_event_t> events;
    snd_seq_event_t* event = nullptr;
    while (snd_seq_event_input(mSeq, &event) >= 0 && event != nullptr) events.push_back(*event);
    return events;
}

}  // namespace tavrel::test
