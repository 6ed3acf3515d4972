// SPDX-License-Identifier: MIT
//
// Sums with one order of additions on every machine: term i is added to lane i mod 8, and the lanes are added
// up pairwise at the end. The compiler may keep the lanes in vector registers of any width; the bits do not
// depend on it.
#pragma once

#include <array>
#include <cstddef>

#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

template <typename Real>
class LaneSum {
public:
    /// Adds term(values[i]) for every i; successive calls continue one sequence.
    template <class Term>
    void Add(const Real* values, __int64 count, Term term) {
        __int64 i = 0;
        for (; i < count && next_ != 0; ++i) AddToNext(term(values[i]));
        std::array<Real, kLanes> lanes = lanes_;
        for (; count - i >= static_cast<__int64>(kLanes); i += static_cast<__int64>(kLanes)) {
            const Real* group = values + i;
            for (std::size_t lane = 0; lane < kLanes; ++lane) lanes[lane] += term(group[lane]);
        }
        lanes_ = lanes;
        for (; i < count; ++i) AddToNext(term(values[i]));
    }

    Real Total() const {
        return ((lanes_[0] + lanes_[4]) + (lanes_[2] + lanes_[6])) +
               ((lanes_[1] + lanes_[5]) + (lanes_[3] + lanes_[7]));
    }

private:
    static constexpr std::size_t kLanes = 8;

    void AddToNext(Real term) {
        lanes_[next_] += term;
        next_ = (next_ + 1) % kLanes;
    }

    std::array<Real, kLanes> lanes_{};
    std::size_t next_ = 0;
};

}  // namespace kvx
