#include "alsa/link/AlsaRecorder.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

namespace tavrel::test {

namespace {

std::int64_t monotonicMicros() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000 + now.tv_nsec / 1000;
}

}  // namespace

AlsaRecorder::AlsaRecorder(const std::string& name) : mName(name) {
    if (snd_seq_open(&mSeq, "default", SND_SEQ_OPEN_INPUT, SND_SEQ_NONBLOCK) < 0) {
        mSeq = nullptr;
        return;
    }
    snd_seq_set_client_name(mSeq, name.c_str());
    const int port =
        snd_seq_create_simple_port(mSeq, "in", SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                   SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    mStopFd = ::eventfd(0, EFD_CLOEXEC);
    if (port < 0 || mStopFd < 0) return;
    mReading = std::thread([this] { read(); });
}

AlsaRecorder::~AlsaRecorder() {
    if (mReading.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(mStopFd, &one, sizeof one);
        mReading.join();
    }
    if (mStopFd >= 0) ::close(mStopFd);
    if (mSeq != nullptr) snd_seq_close(mSeq);
}

// Every event read after one wake is stamped with the time of that wake: it had arrived by
// then, and reading a batch must not make its later events look late.
void AlsaRecorder::read() {
    const int count = snd_seq_poll_descriptors_count(mSeq, POLLIN);
    std::vector<pollfd> fds(static_cast<std::size_t>(count) + 1);
    snd_seq_poll_descriptors(mSeq, fds.data(), static_cast<unsigned int>(count), POLLIN);
    fds.back() = {mStopFd, POLLIN, 0};
    while (::poll(fds.data(), fds.size(), -1) >= 0 || errno == EINTR) {
        const std::int64_t at = monotonicMicros();
        if (fds.back().revents != 0) return;
        snd_seq_event_t* event = nullptr;
        while (snd_seq_event_input(mSeq, &event) >= 0 && event != nullptr) take(*event, at);
    }
}

void AlsaRecorder::take(const snd_seq_event_t& event, std::int64_t at) {
    const bool note = event.type == SND_SEQ_EVENT_NOTEON || event.type == SND_SEQ_EVENT_NOTEOFF;
    const bool control =
        event.type == SND_SEQ_EVENT_PGMCHANGE || event.type == SND_SEQ_EVENT_CONTROLLER;
    if (!note && !control && event.type != SND_SEQ_EVENT_SYSEX) return;  // port announcements
    Event e{at, event.type, -1, 0, 0};
    if (note) {
        e = {at, event.type, event.data.note.channel, event.data.note.note,
             event.data.note.velocity};
    } else if (control) {
        e.channel = event.data.control.channel;
        e.note = event.data.control.value;
    }
    std::lock_guard lock(mLock);
    mEvents.push_back(e);
}

std::vector<AlsaRecorder::Event> AlsaRecorder::events() const {
    std::lock_guard lock(mLock);
    return mEvents;
}

}  // namespace tavrel::test
