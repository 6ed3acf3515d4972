// SPDX-License-Identifier: MIT
//
// Sums with one order of additions on every machine: term i is added to lane i mod kSumLanes, and at the end
// the upper half of the lanes is added to the lower half until one is left. The lanes may lie in vector
// registers of any width; the bits do not depend on it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include <KvxDevCommon01/data/kernels/ReductionKernels.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

class LaneSum {
public:
    /// Adds every value; successive calls, also of AddSquares, continue one sequence.
    void Add(const double* values, __int64 count) {
        AddTerms(values, count, &ReductionKernels::addToLanes, [](double value) { return value; });
    }
    /// Adds the square of every value, likewise.
    void AddSquares(const double* values, __int64 count) {
        AddTerms(values, count, &ReductionKernels::addSquaresToLanes,
                 [](double value) { return value * value; });
    }

    double Total() const {
        std::array<double, kSumLanes> sums = lanes_;
        for (std::size_t half = sums.size() / 2; half > 0; half /= 2) {
            for (std::size_t lane = 0; lane < half; ++lane) sums[lane] += sums[lane + half];
        }
        return sums[0];
    }

private:
    template <class Term>
    void AddTerms(const double* values, __int64 count,
                  decltype(ReductionKernels::addToLanes) ReductionKernels::*groups, Term term) {
        const auto addWithinGroup = [&](__int64 length) {
            double* const lanes = lanes_.data() + next_;
            for (__int64 i = 0; i < length; ++i) lanes[i] += term(values[i]);
            next_ = (next_ + length) % kSumLanes;
            values += length;
            count -= length;
        };
        if (next_ != 0) addWithinGroup(std::min(count, kSumLanes - next_));
        if (count >= kSumLanes) {
            const __int64 whole = count / kSumLanes;
            (ActiveKernels<ReductionKernels>().*groups)(lanes_.data(), values, whole);
            values += whole * kSumLanes;
            count -= whole * kSumLanes;
        }
        addWithinGroup(count);
    }

    std::array<double, kSumLanes> lanes_{};
    __int64 next_ = 0;  // the lane of the next term
};

}  // namespace kvx
