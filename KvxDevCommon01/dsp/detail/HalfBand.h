// SPDX-License-Identifier: MIT
//
// Half-band FIR filters that halve or double a rate, with their delay taken out: sample 2j of the higher rate
// and sample j of the lower one stand at the same time. Every second coefficient but the one in the middle is
// 0. Results are the same bits however the samples are cut.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <vector>

namespace kvx {

/// A half-band low-pass by the window of Kaiser, with a gain of 1 at 0 Hz.
class HalfBand {
public:
    /// `pairs` coefficients to either side of the middle, without those that are 0; `beta` of the window.
    HalfBand(std::size_t pairs, double beta) {
        const double reach = 2.0 * static_cast<double>(pairs);
        double sum = 0.0;
        for (std::size_t k = 0; k < pairs; ++k) {
            const double n = 2.0 * static_cast<double>(k) + 1.0;
            const double sine = k % 2 == 0 ? 1.0 : -1.0;
            const double window = Bessel(beta * std::sqrt(1.0 - n * n / (reach * reach))) / Bessel(beta);
            side_.push_back(sine / (std::numbers::pi * n) * window);
            sum += side_.back();
        }
        for (double& coefficient : side_) coefficient *= 0.25 / sum;
    }

    std::size_t Pairs() const { return side_.size(); }
    /// The coefficients at the odd distances 1, 3, 5 ... from the middle, where it is 1/2.
    const std::vector<double>& Side() const { return side_; }
    /// The gain, which has no phase, at a frequency as a fraction of the higher rate.
    double Gain(double frequency) const {
        double gain = 0.5;
        for (std::size_t k = 0; k < side_.size(); ++k) {
            const double n = 2.0 * static_cast<double>(k) + 1.0;
            gain += 2.0 * side_[k] * std::cos(2.0 * std::numbers::pi * frequency * n);
        }
        return gain;
    }

private:
    /// The modified Bessel function of order 0 by its series.
    static double Bessel(double x) {
        double term = 1.0;
        double sum = 1.0;
        for (double k = 1.0; term > 1e-17 * sum; k += 1.0) {
            term *= (0.5 * x / k) * (0.5 * x / k);
            sum += term;
        }
        return sum;
    }

    std::vector<double> side_;
};

/// Adds to each of `count` results the coefficients times the pairs of samples around it: those before
/// `middle` and those from it on.
inline void AddPairs(const std::vector<double>& side, double scale, const double* middle, std::size_t count,
                     double* results) {
    for (std::size_t k = 0; k < side.size(); ++k) {
        const double coefficient = scale * side[k];
        const double* const before = middle - k - 1;
        const double* const after = middle + k;
        for (std::size_t j = 0; j < count; ++j) results[j] += coefficient * (before[j] + after[j]);
    }
}

class HalvedRate {
public:
    explicit HalvedRate(const HalfBand& filter) : filter_(filter), odd_(filter.Pairs(), 0.0) {}

    /// Appends the results that are due.
    void Feed(std::span<const double> samples, std::vector<double>& results) {
        for (const double sample : samples) {
            (isOdd_ ? odd_ : even_).push_back(sample);
            isOdd_ = !isOdd_;
        }
        // Result j needs the odd samples up to number j + pairs - 1.
        const std::size_t pairs = filter_.Pairs();
        const std::size_t ready = odd_.size() < 2 * pairs ? 0 : odd_.size() - 2 * pairs + 1;
        const std::size_t count = std::min(ready, even_.size());
        const std::size_t begin = results.size();
        results.resize(begin + count);
        for (std::size_t j = 0; j < count; ++j) results[begin + j] = 0.5 * even_[j];
        AddPairs(filter_.Side(), 1.0, odd_.data() + pairs, count, results.data() + begin);
        odd_.erase(odd_.begin(), odd_.begin() + static_cast<std::ptrdiff_t>(count));
        even_.erase(even_.begin(), even_.begin() + static_cast<std::ptrdiff_t>(count));
    }
    /// Appends the results for the even samples that are left.
    void Finish(std::vector<double>& results) {
        odd_.insert(odd_.end(), filter_.Pairs(), 0.0);
        Feed({}, results);
    }

private:
    const HalfBand& filter_;
    std::vector<double> even_;
    std::vector<double> odd_;  ///< those before the first even one as well
    bool isOdd_ = false;
};

class DoubledRate {
public:
    explicit DoubledRate(const HalfBand& filter) : filter_(filter), waiting_(filter.Pairs() - 1, 0.0) {}

    /// Appends the results that are due: each sample and what lies between it and the next.
    void Feed(std::span<const double> samples, std::vector<double>& results) {
        waiting_.insert(waiting_.end(), samples.begin(), samples.end());
        const std::size_t pairs = filter_.Pairs();
        const std::size_t count = waiting_.size() < 2 * pairs ? 0 : waiting_.size() - 2 * pairs + 1;
        between_.assign(count, 0.0);
        AddPairs(filter_.Side(), 2.0, waiting_.data() + pairs, count, between_.data());
        for (std::size_t i = 0; i < count; ++i) {
            results.push_back(waiting_[pairs - 1 + i]);
            results.push_back(between_[i]);
        }
        waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(count));
    }
    void Finish(std::vector<double>& results) { Feed(std::vector<double>(filter_.Pairs()), results); }

private:
    const HalfBand& filter_;
    std::vector<double> waiting_;
    std::vector<double> between_;
};

}  // namespace kvx
