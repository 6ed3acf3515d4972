// SPDX-License-Identifier: MIT
//
// How the spectra of blocks are averaged, and how sure such an average is.
//
// Degrees of freedom count the independent squares in an averaged power of a Gaussian signal: two for each
// independent block, one on the lines at 0 Hz and N/2. Blocks that overlap are not independent: the powers of
// two blocks m steps of D samples apart correlate by
//
//     rho(m) = (sum w[n] w[n + m D] / sum w[n]^2)^2
//
// (Welch 1967; Harris 1978, equation 19), and the average of blocks with the weights a[i], which add up to 1,
// varies as one of 1/(sum over i and j of a[i] a[j] rho(i - j)) independent blocks does.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// What the blocks become together.
enum class AverageMode {
    kLinear = 0,       ///< their mean
    kExponential = 1,  ///< a mean in which older blocks count less and less
    kPeakHold = 2,     ///< the highest of each line
    kMinimum = 3,      ///< the lowest of each line
};

/// What is taken out of each block before its window.
enum class Detrend {
    kNone = 0,
    kMean = 1,    ///< its mean
    kLinear = 2,  ///< the straight line of least squares
};

/// The names of these, as options and arguments have them: "linear", "exponential", "peak-hold", "minimum";
/// "none", "mean" (also found as "constant"), "linear". Throw Error (kUnknownName) for any other.
KVX_API std::vector<std::string> AverageModeNames();
KVX_API AverageMode NamedAverageMode(std::string_view name);
KVX_API std::string_view NameOf(AverageMode mode);
KVX_API std::vector<std::string> DetrendNames();
KVX_API Detrend NamedDetrend(std::string_view name);
KVX_API std::string_view NameOf(Detrend detrend);

struct Averaging {
    AverageMode mode = AverageMode::kLinear;
    /// Of the newest block in an exponential average, above 0 and at most 1. The first 1/weight blocks are
    /// averaged linearly, so that the average starts from no zero.
    double weight = 0.125;
    Detrend detrend = Detrend::kNone;
    /// Points of the transform, a block size: zeros follow each block, which may then have any size up to it.
    /// 0 for as many as the block has.
    std::int64_t transformSize = 0;
    bool hasMiddleLine = false;  ///< whether the line N/2, at half the rate, is kept
};

/// The weight with which an exponential average forgets to 1/e within the time constant: 1 -
/// e^(-interval/time constant), `intervalSeconds` from block to block. Throws Error (kBadValue) unless both
/// are above 0.
KVX_API double ExponentialWeight(double timeConstantSeconds, double intervalSeconds);

/// rho(1), rho(2) ... up to the last one above 0, at most `most`, of blocks under that window `step` >= 1
/// samples apart.
KVX_API std::vector<double> BlockCorrelations(std::span<const double> window, std::int64_t step,
                                              std::int64_t most);

/// Factors on an averaged power between which the power of the process lies with the probability `level`.
struct ConfidenceLimits {
    double lower;
    double upper;
};

/// v/X(1/2 + level/2) and v/X(1/2 - level/2), X the quantile of the chi-square distribution with v degrees of
/// freedom, v > 0. Throws Error (kBadValue) for other v and levels that are not between 0 and 1.
KVX_API ConfidenceLimits ConfidenceOf(double degreesOfFreedom, double level);

/// The quantile of the chi-square distribution: below it lies the part `probability`, between 0 and 1.
KVX_API double ChiSquareQuantile(double probability, double degreesOfFreedom);

}  // namespace kvx
