// The program's one gateway to MIDI. It owns a client with one input and one output port on
// the platform's MIDI service, keeps the lists of sources and destinations, connects exactly
// one source (the input device) and remembers one destination (the output device), sends
// bytes to that destination, and turns what the input device sends into whole messages for
// its delegate. The device link is the delegate; the device choice and the preview's note
// output use the same object, which is installed in the Context at start-up.
//
// Threads: made, set up, searched and selected on the main thread. Sending is safe from any
// thread (the preview sends from its sequencer thread). Received bytes pass through a
// lock-free ring from the service's thread to one drain thread, which calls rxMidiData; all
// other delegate messages but send errors reach the main thread through the poster.
#pragma once

#include "device/CportProperties.h"
#include "device/DrainThread.h"
#include "device/MidiLibDelegate.h"
#include "device/MidiPacket.h"
#include "device/MidiReceiver.h"
#include "device/platform/MidiService.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

class MidiLib : private MidiService::Listener {
public:
    // Runs a task on the main thread without waiting for it. The desktop queues it on its
    // event loop; the command-line tool and tests may run it at once or queue it themselves.
    using MainThreadPoster = std::function<void(std::function<void()> task)>;

    static constexpr const char* kClientName = "Tavrel";
    static constexpr const char* kInPortName = "MidiLib-InPort";
    static constexpr const char* kOutPortName = "MidiLib-OutPort";
    // The largest block sendMidiWithData takes, plus one.
    static constexpr std::int64_t kSendLimit = 65536;

    // Sets up client and ports on `service`, which must outlive this object. When a step
    // fails it is logged with its label and the transport stays without ports: it then lists
    // nothing, selects nothing and sends nothing, so the rest of the program needs no special
    // case for a computer without MIDI. Without a poster, main-thread tasks run at once on
    // whichever thread raises them.
    explicit MidiLib(MidiService& service, MainThreadPoster postToMain = {});
    ~MidiLib() override;
    MidiLib(const MidiLib&) = delete;
    MidiLib& operator=(const MidiLib&) = delete;

    // The transport installed in the current Context, or null.
    static MidiLib* sharedInstance();

    // Whether client and both ports were made.
    bool isReady() const { return mReady; }

    // Not owned. Once setDelegate returns, the previous delegate gets no further rxMidiData.
    void setDelegate(MidiLibDelegate* delegate);
    MidiLibDelegate* delegate() const { return mDelegate.load(); }

    // Reads the service's sources and destinations into the lists. The selections are kept
    // by index, so after a rescan they may name another entry; callers select again.
    void searchDevice();
    const std::vector<CportProperties>& getInputPortList() const { return m_inputPort; }
    const std::vector<CportProperties>& getOutputPortList() const { return m_outputPort; }
    // Indexes into the lists; -1 while nothing is selected.
    std::int64_t getCurInputPort() const { return m_curInputPort; }
    std::int64_t getCurOutputPort() const { return m_curOutputPort; }
    static const std::string& getDeviceName(const CportProperties& port) {
        return port.deviceName();
    }
    static std::int64_t getUniqId(const CportProperties& port) { return port.uniqueID(); }

    // Connects the listed source at `index`, disconnecting the one before. False when the
    // index is outside the list or the endpoint is gone (quietly), or when the service
    // refuses (reported through midiError).
    bool selectInputDevice(std::int64_t index);
    // Remembers the listed destination at `index`; false as above. No service call is made.
    bool selectOutputDevice(std::int64_t index);

    // True once the connected source or the chosen destination has left the service, until
    // the next selection. Set on the service's thread as the removal arrives, just after the
    // rescan it causes is posted, so a wait on the main thread can end at once rather than
    // sit out its time for an answer that can no longer come, and then find the rescan
    // waiting in its queue. Any thread.
    bool selectionGone() const { return mSelectionGone.load(); }

    // Sends `size` bytes as one block. A size outside 0..65535 is a programming error and
    // ends the program, in release builds too.
    void sendMidiWithData(const std::uint8_t* data, std::int64_t size);
    // Sends the packet's `length` bytes, at most its 256; the timestamp is ignored.
    void sendMidi(const MidiPacket& packet);
    // Sends `bytes` to the output device. Dropped without a word while none is selected;
    // a failure goes to the delegate's sendErrorWithPacketList and is not retried.
    void sendPacketList(std::span<const std::uint8_t> bytes);

    // Returns once every byte the service has handed over so far has been parsed and its
    // messages given to the delegate. Tests on a manual clock call it before time moves on.
    void waitIdle() { mDrain.waitIdle(); }

    // Hands a non-zero status to the delegate's midiError on the main thread, with `message`
    // as the reason. Returns `status` unchanged.
    int errorStatus(int status, const std::string& message);

private:
    static constexpr std::int64_t kNoEndpoint = std::numeric_limits<std::int64_t>::min();

    bool setup();
    bool failed(const MidiService::Status& status, const char* label);
    void midiReceived(std::span<const std::uint8_t> bytes) override;
    void midiNotified(const MidiNotification& notification) override;
    void handleNotification(const MidiNotification& notification);
    void receiveProcess();
    void postToMain(std::function<void()> task);

    MidiService& mService;
    const MainThreadPoster mPostToMain;
    bool mReady = false;
    bool mHasClient = false;  // the client is ours to close
    // Unique ids of the connected source and the chosen destination, or kNoEndpoint. The
    // destination is read by every sending thread, and both by the service's thread when an
    // endpoint goes.
    std::atomic<std::int64_t> m_inputEndPointRef{kNoEndpoint};
    std::atomic<std::int64_t> m_outputEndPointRef{kNoEndpoint};
    std::atomic<bool> mSelectionGone{false};
    std::vector<CportProperties> m_inputPort;   // sources, in the service's order
    std::vector<CportProperties> m_outputPort;  // destinations, in the service's order
    std::int64_t m_curInputPort = -1;
    std::int64_t m_curOutputPort = -1;

    std::atomic<MidiLibDelegate*> mDelegate{nullptr};
    std::mutex mRxDelegateLock;  // held while rxMidiData runs, so setDelegate can wait for it
    // Tasks posted to the main thread hold a weak reference and do nothing once this is gone.
    std::shared_ptr<const bool> mAlive = std::make_shared<const bool>(true);

    MidiReceiver mReceiver;
    DrainThread mDrain{[this] { receiveProcess(); }};  // last: stopped before the rest goes
};

}  // namespace tavrel
