// SPDX-License-Identifier: MIT
//
// Mean, rms, extremes with their places, moments and gaps of a signal of any length that comes in calls of
// any length: the figures have the same bits for every cut. Mean, rms and extremes are those of the
// operations of CDataArrayDouble on the samples that hold a value. Moments are taken about the mean: no
// offset, however large beside the deviation, costs them digits.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// Where extremes are: the first sample of that value, counted from 0 with those that hold none.
struct SamplePlaces {
    std::int64_t min = 0;
    std::int64_t max = 0;
    std::int64_t peak = 0;
};

/// Of the samples that hold a value; all 0 when none does.
struct SampleFigures {
    std::int64_t count = 0;    ///< of those samples
    std::int64_t missing = 0;  ///< samples that are the no-value marker
    double mean = 0.0;
    double rms = 0.0;
    double min = 0.0;
    double max = 0.0;
    double peak = 0.0;  ///< the largest magnitude
    SamplePlaces places = {};
    double deviation = 0.0;  ///< standard deviation: the rms of value - mean
    double skewness = 0.0;   ///< mean of (value - mean)^3 over deviation^3; not a number without deviation
    double kurtosis = 0.0;   ///< mean of (value - mean)^4 over deviation^4: 3 of Gaussian noise; likewise

    /// The crest factor, peak over rms; not a number of zeros.
    double Crest() const { return peak / rms; }
};

/// An object that was moved from can only be assigned to or destroyed.
class KVX_API SampleStatistics {
public:
    SampleStatistics();
    ~SampleStatistics();
    SampleStatistics(SampleStatistics&& other) noexcept;
    SampleStatistics& operator=(SampleStatistics&& other) noexcept;

    /// Takes the next samples.
    void Add(std::span<const double> samples);

    /// The figures of what was taken so far.
    SampleFigures Figures() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace kvx
