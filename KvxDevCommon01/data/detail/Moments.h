// SPDX-License-Identifier: MIT
//
// Central moments of a sequence in one pass, with one order of operations however it is cut. Blocks of
// kBlock values are centred on their own means, so that an offset costs no digits; blocks are joined in
// pairs, pairs of blocks in pairs and so on, by the formulas of P. Pebay, "Formulas for robust, one-pass
// parallel computation of covariances and arbitrary-order statistical moments", Sandia Report SAND2008-6212
// (2008).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include <KvxDevCommon01/data/kernels/ReductionKernels.h>

namespace kvx {

/// Of `count` values: their mean less an origin, and the sums of the powers of value - mean.
struct CentralSums {
    double count = 0.0;
    double mean = 0.0;
    double second = 0.0;
    double third = 0.0;
    double fourth = 0.0;

    static CentralSums Join(const CentralSums& a, const CentralSums& b) {
        const double n = a.count + b.count;
        const double ra = a.count / n;
        const double rb = b.count / n;
        const double d = b.mean - a.mean;
        const double between = d * d * ra * b.count;  // what the distance of the means adds to the squares
        CentralSums sums;
        sums.count = n;
        sums.mean = a.mean + d * rb;
        sums.second = a.second + b.second + between;
        sums.third = a.third + b.third + between * d * (ra - rb) + 3.0 * d * (ra * b.second - rb * a.second);
        sums.fourth = a.fourth + b.fourth + between * d * d * (ra * ra - ra * rb + rb * rb) +
                      6.0 * d * d * (ra * ra * b.second + rb * rb * a.second) +
                      4.0 * d * (ra * b.third - rb * a.third);
        return sums;
    }
};

class Moments {
public:
    void Add(std::span<const double> values) {
        if (values.empty()) return;
        if (isEmpty_) origin_ = values.front();
        isEmpty_ = false;
        while (!values.empty()) {
            if (waiting_ == 0 && values.size() >= kBlock) {
                Push(SumsOf(values.first(kBlock)));
                values = values.subspan(kBlock);
                continue;
            }
            const std::size_t taken = std::min(values.size(), kBlock - waiting_);
            std::copy_n(values.begin(), taken, block_.begin() + static_cast<std::ptrdiff_t>(waiting_));
            values = values.subspan(taken);
            waiting_ = (waiting_ + taken) % kBlock;
            if (waiting_ == 0) Push(SumsOf(block_));
        }
    }

    /// Of all values; their mean is relative to the first one.
    CentralSums Total() const {
        CentralSums total;
        if (waiting_ > 0) total = SumsOf(std::span(block_).first(waiting_));
        std::uint64_t blocks = blocks_;
        for (std::size_t level = 0; blocks != 0; ++level, blocks /= 2) {
            if (blocks % 2 == 0) continue;
            total = total.count > 0.0 ? CentralSums::Join(levels_[level], total) : levels_[level];
        }
        return total;
    }

private:
    static constexpr std::size_t kBlock = 1024;

    /// Level l joins 2^l blocks.
    void Push(CentralSums sums) {
        std::size_t level = 0;
        for (std::uint64_t full = blocks_; full % 2 != 0; full /= 2, ++level)
            sums = CentralSums::Join(levels_[level], sums);
        levels_[level] = sums;
        ++blocks_;
    }

    CentralSums SumsOf(std::span<const double> values) const {
        const ReductionKernels& kernels = ActiveKernels<ReductionKernels>();
        const auto n = static_cast<double>(values.size());
        const double centre = kernels.sum(values.data(), std::ssize(values)) / n;
        constexpr auto kLanes = static_cast<std::size_t>(kSumLanes);
        std::array<double, 4 * kLanes> rows{};
        const std::size_t whole = values.size() / kLanes * kLanes;
        kernels.addPowersToLanes(rows.data(), values.data(), static_cast<std::int64_t>(whole / kLanes),
                                 centre);
        for (std::size_t i = whole; i < values.size(); ++i) {
            const double d = values[i] - centre;
            double* const lane = rows.data() + i - whole;
            lane[0] += d;
            lane[kLanes] += d * d;
            lane[2 * kLanes] += d * d * d;
            lane[3 * kLanes] += (d * d) * (d * d);
        }
        std::array<double, 4> s;
        for (std::size_t power = 0; power < s.size(); ++power)
            s[power] = kernels.sum(rows.data() + power * kLanes, kSumLanes);
        // The centre is the mean but for its rounding.
        const double e = s[0] / n;
        CentralSums sums;
        sums.count = n;
        sums.mean = (centre - origin_) + e;
        sums.second = s[1] - n * e * e;
        sums.third = s[2] - 3.0 * e * s[1] + 2.0 * n * e * e * e;
        sums.fourth = s[3] - 4.0 * e * s[2] + 6.0 * e * e * s[1] - 3.0 * n * e * e * e * e;
        return sums;
    }

    double origin_ = 0.0;
    bool isEmpty_ = true;
    std::array<double, kBlock> block_;
    std::size_t waiting_ = 0;
    std::array<CentralSums, 64> levels_;
    std::uint64_t blocks_ = 0;
};

}  // namespace kvx
