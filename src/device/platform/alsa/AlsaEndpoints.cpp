#include "device/platform/alsa/AlsaEndpoints.h"

#include <string>

namespace tavrel {

namespace {

bool hasAll(unsigned int caps, unsigned int wanted) {
    return (caps & wanted) == wanted;
}

// Names are read afresh every time: a client that has just started may still carry the
// kernel's placeholder name ("Client-128") and be renamed without an announce event.
std::optional<AlsaEndpoints::Port> fromInfo(snd_seq_client_info_t* client,
                                            snd_seq_port_info_t* port) {
    const unsigned int caps = snd_seq_port_info_get_capability(port);
    AlsaEndpoints::Port result;
    if ((caps & SND_SEQ_PORT_CAP_NO_EXPORT) == 0) {
        result.isSource = hasAll(caps, SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ);
        result.isDestination = hasAll(caps, SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE);
    }
    if (!result.isSource && !result.isDestination) return std::nullopt;
    result.endpoint.displayName =
        std::string(snd_seq_client_info_get_name(client)) + ":" + snd_seq_port_info_get_name(port);
    result.endpoint.uniqueId = AlsaEndpoints::uniqueId(snd_seq_port_info_get_client(port),
                                                       snd_seq_port_info_get_port(port));
    return result;
}

}  // namespace

bool AlsaEndpoints::address(std::int64_t uniqueId, int& client, int& port) {
    if (uniqueId < 0 || uniqueId > 0xFFFF) return false;
    client = static_cast<int>(uniqueId >> 8);
    port = static_cast<int>(uniqueId & 0xFF);
    return true;
}

std::optional<AlsaEndpoints::Port> AlsaEndpoints::describe(snd_seq_t* seq, int client, int port) {
    snd_seq_client_info_t* clientInfo = nullptr;
    snd_seq_port_info_t* portInfo = nullptr;
    snd_seq_client_info_alloca(&clientInfo);
    snd_seq_port_info_alloca(&portInfo);
    if (snd_seq_get_any_client_info(seq, client, clientInfo) < 0) return std::nullopt;
    if (snd_seq_get_any_port_info(seq, client, port, portInfo) < 0) return std::nullopt;
    return fromInfo(clientInfo, portInfo);
}

std::vector<AlsaEndpoints::Port> AlsaEndpoints::list(snd_seq_t* seq, int ownClient) {
    std::vector<Port> ports;
    snd_seq_client_info_t* clientInfo = nullptr;
    snd_seq_port_info_t* portInfo = nullptr;
    snd_seq_client_info_alloca(&clientInfo);
    snd_seq_port_info_alloca(&portInfo);
    snd_seq_client_info_set_client(clientInfo, -1);
    while (snd_seq_query_next_client(seq, clientInfo) >= 0) {
        const int client = snd_seq_client_info_get_client(clientInfo);
        if (client == SND_SEQ_CLIENT_SYSTEM || client == ownClient) continue;
        snd_seq_port_info_set_client(portInfo, client);
        snd_seq_port_info_set_port(portInfo, -1);
        while (snd_seq_query_next_port(seq, portInfo) >= 0) {
            if (auto port = fromInfo(clientInfo, portInfo)) ports.push_back(std::move(*port));
        }
    }
    return ports;
}

}  // namespace tavrel
