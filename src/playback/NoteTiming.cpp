#include "playback/NoteTiming.h"

#include <algorithm>
#include <cmath>

namespace tavrel {

namespace {

double percentile(const std::vector<double>& sorted, double p) {
    const auto i = static_cast<std::size_t>(std::ceil(p * static_cast<double>(sorted.size()))) - 1;
    return sorted[std::min(i, sorted.size() - 1)];
}

double slope(const std::vector<double>& x, const std::vector<double>& y) {
    double mx = 0, my = 0;
    for (std::size_t i = 0; i < x.size(); ++i) mx += x[i], my += y[i];
    mx /= static_cast<double>(x.size());
    my /= static_cast<double>(y.size());
    double sxy = 0, sxx = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sxy += (x[i] - mx) * (y[i] - my);
        sxx += (x[i] - mx) * (x[i] - mx);
    }
    return sxx > 0 ? sxy / sxx : 0;
}

double mean(const std::vector<double>& v, std::size_t from, std::size_t to) {
    double s = 0;
    for (std::size_t i = from; i < to; ++i) s += v[i];
    return to > from ? s / static_cast<double>(to - from) : 0;
}

}  // namespace

std::int64_t NoteTiming::dueMicros(std::int64_t tick, int tempo) {
    return (1 + 625 * tick / tempo) * 1000;
}

void NoteTiming::add(std::int64_t dueMicros, std::int64_t atMicros) {
    mDue.push_back(static_cast<double>(dueMicros) / 60e6);
    mErrors.push_back(static_cast<double>(atMicros - dueMicros));
}

NoteTiming::Figures NoteTiming::figures() const {
    Figures f;
    f.notes = mErrors.size();
    if (mErrors.empty()) return f;
    f.driftPerMinute = slope(mDue, mErrors);
    const std::size_t tenth = std::max<std::size_t>(1, mErrors.size() / 10);
    f.firstTenth = mean(mErrors, 0, tenth);
    f.lastTenth = mean(mErrors, mErrors.size() - tenth, mErrors.size());
    std::vector<double> sorted = mErrors;
    std::sort(sorted.begin(), sorted.end());
    f.p50 = percentile(sorted, 0.50);
    f.p99 = percentile(sorted, 0.99);
    f.p999 = percentile(sorted, 0.999);
    f.max = std::max(std::abs(sorted.front()), std::abs(sorted.back()));
    return f;
}

}  // namespace tavrel
