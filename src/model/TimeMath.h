// Conversions of the bar and beat arithmetic: doubles truncated toward zero, bars rounded up.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace tavrel::timemath {

// Truncates toward zero. A value that no 32-bit integer holds (NaN, infinities, huge values)
// becomes INT32_MIN, as the processor's own conversion gives, instead of undefined behaviour.
inline std::int32_t truncToInt(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(v);
}

// Ticks of one beat at 96 per quarter note: 96 for quarter beats, 48 for eighths.
inline double ticksPerBeat(std::int32_t denominator) {
    return 4.0 / denominator * 96.0;
}

// beats / numerator, plus one when something is left over. A numerator of 0 counts no bars.
inline std::int32_t barsRoundedUp(std::int32_t beats, std::int32_t numerator) {
    if (numerator == 0) return 0;
    const std::int64_t q = std::int64_t{beats} / numerator;
    const std::int64_t r = std::int64_t{beats} % numerator;
    return static_cast<std::int32_t>(r != 0 ? q + 1 : q);
}

// Whole bars of a phrase of `ticks` counted in the given time signature.
inline std::int32_t totalBars(std::int32_t ticks, std::int32_t numerator,
                              std::int32_t denominator) {
    const std::int32_t beats = truncToInt(ticks / ticksPerBeat(denominator));
    return barsRoundedUp(beats, numerator);
}

}  // namespace tavrel::timemath
