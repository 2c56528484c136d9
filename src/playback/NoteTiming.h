// How closely notes kept to the tick clock's schedule: each note's error against the time its
// tick fell due, summed up as percentiles and drift. The timing harness and the preview test
// over the sequencer judge the preview by these same figures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavrel {

class NoteTiming {
public:
    struct Figures {
        std::size_t notes = 0;
        double p50 = 0, p99 = 0, p999 = 0;     // of the signed error, us
        double max = 0;                        // largest error either way, us
        double driftPerMinute = 0;             // slope of the error over the run, us per minute
        double firstTenth = 0, lastTenth = 0;  // mean error of the first and last tenth, us
    };

    // When tick `tick`, counted from the clock's start, falls due at `tempo`, in us after the
    // start: the clock raises it on its millisecond step 1 + floor(625 tick / tempo).
    static std::int64_t dueMicros(std::int64_t tick, int tempo);

    // One note, due at `dueMicros` and played at `atMicros` on the same clock; notes are
    // added in the order they were due.
    void add(std::int64_t dueMicros, std::int64_t atMicros);
    Figures figures() const;

private:
    std::vector<double> mDue;     // minutes
    std::vector<double> mErrors;  // us
};

}  // namespace tavrel
