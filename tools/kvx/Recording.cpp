// SPDX-License-Identifier: MIT
#include "Recording.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "Failure.h"
#include "Format.h"

namespace kvx::tool {
namespace {

/// A stamp may differ by this part of a step from where it should stand: less is rounding or harmless jitter.
constexpr double kJitter = 0.01;
/// A given rate that differs by more than this from the time column's deserves a note.
constexpr double kRateDoubt = 0.01;

double MeanStep(const std::vector<double>& times) {
    return (times.back() - times.front()) / static_cast<double>(times.size() - 1);
}

/// Index of the first stamp that stands where it should not; the number of stamps when all are right.
std::size_t FirstUnevenStamp(const std::vector<double>& times, double resolution) {
    const double step = MeanStep(times);
    const double tolerance = std::max(resolution, kJitter * step);
    for (std::size_t i = 1; i < times.size(); ++i) {
        const double expected = times.front() + static_cast<double>(i) * step;
        if (!(std::abs(times[i] - expected) <= tolerance) || times[i] < times[i - 1]) return i;
    }
    return times.size();
}

double RateOfStamps(const std::vector<double>& times, double resolution) {
    if (times.size() < 2) throw Reason("one sample has no sampling rate; give it with --rate");
    const double step = MeanStep(times);
    if (!(step > 0.0)) throw Reason("the time column does not rise; give the sampling rate with --rate");
    const std::size_t uneven = FirstUnevenStamp(times, resolution);
    if (uneven < times.size()) {
        const double expected = times.front() + static_cast<double>(uneven) * step;
        throw Reason("the time column is not evenly spaced: sample " + std::to_string(uneven + 1) +
                     " is stamped " + FormatNumber(times[uneven], 9) + " s where " +
                     FormatNumber(expected, 9) + " s was expected; give the true sampling rate with --rate");
    }
    return 1.0 / step;
}

}  // namespace

bool IsEven(const std::vector<double>& times, double resolution) {
    return times.size() >= 2 && MeanStep(times) > 0.0 && FirstUnevenStamp(times, resolution) == times.size();
}

TimeAxis SettleAxis(Recording& recording, std::optional<double> rateHz) {
    const std::vector<double>& times = recording.times;
    TimeAxis axis;
    if (rateHz) {
        axis.rateHz = *rateHz;
        if (IsEven(times, recording.timeResolution)) {
            const double stamped = 1.0 / MeanStep(times);
            if (std::abs(stamped / *rateHz - 1.0) > kRateDoubt) {
                recording.notes.push_back("the time column says " + FormatNumber(stamped, 7) +
                                          " Hz; --rate " + FormatNumber(*rateHz, 10) + " is used");
            }
        }
    } else if (recording.rateHz > 0.0) {
        axis.rateHz = recording.rateHz;
    } else if (!times.empty()) {
        axis.rateHz = RateOfStamps(times, recording.timeResolution);
    } else {
        throw Reason("it has no time column; give the sampling rate with --rate" + recording.rateHint);
    }
    if (!std::isfinite(axis.rateHz) || !std::isfinite(1.0 / axis.rateHz)) {
        throw Reason("a sampling rate of " + FormatNumber(axis.rateHz) + " Hz cannot be stored");
    }
    if (times.empty()) return axis;
    const double offset = std::round(times.front() * axis.rateHz);
    if (std::abs(offset) > std::numeric_limits<std::int32_t>::max()) {
        recording.notes.push_back("the first stamp, " + FormatNumber(times.front(), 12) +
                                  " s, is too far from 0; the record starts at 0 s");
    } else {
        axis.offset = static_cast<__int64>(offset);
    }
    return axis;
}

}  // namespace kvx::tool
