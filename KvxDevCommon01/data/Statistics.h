// SPDX-License-Identifier: MIT
//
// Mean, rms, extremes and gaps of a signal of any length that comes in calls of any length: the figures have
// the same bits for every cut, those of the operations of CDataArrayDouble on the samples that hold a value.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// Of the samples that hold a value; all 0 when none does.
struct SampleFigures {
    std::int64_t count = 0;    ///< of those samples
    std::int64_t missing = 0;  ///< samples that are the no-value marker
    double mean = 0.0;
    double rms = 0.0;
    double min = 0.0;
    double max = 0.0;
    double peak = 0.0;  ///< the largest magnitude
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
