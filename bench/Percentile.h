#pragma once

// The nearest-rank percentile of a set of measurements: the smallest value
// that at least fraction of them do not exceed (0.5 the median, 0.99 the
// p99). The latency measurements report with it, so their figures compare.

#include <algorithm>
#include <cmath>
#include <iterator>

template<typename Values> double percentile(Values values, double fraction)
{
    std::sort(values.begin(), values.end());
    const auto count = static_cast<std::ptrdiff_t>(std::size(values));
    const auto rank = static_cast<std::ptrdiff_t>(std::ceil(fraction * static_cast<double>(count)));
    return values[std::clamp<std::ptrdiff_t>(rank - 1, 0, count - 1)];
}
