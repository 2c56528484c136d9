// An eventfd that a poll loop watches beside its other descriptors: raising it wakes the loop
// at once, however long it would otherwise sleep, so a receive thread can be joined without a
// timeout or a flag it polls.
#pragma once

namespace tavrel {

class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    // False when the descriptor could not be made (the reason is logged).
    bool valid() const { return mFd >= 0; }
    int fd() const { return mFd; }
    void raise();

private:
    int mFd = -1;
};

}  // namespace tavrel
