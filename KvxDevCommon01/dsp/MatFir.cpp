// SPDX-License-Identifier: MIT
//
// The samples that a result is made of lie side by side: `work_` holds the last history_ samples and, behind
// them, those that came since, until it is full and the history moves to its front. So one loop serves every
// mode (see FirKernels.h), computing many results at once, and each result is the same sum whatever block its
// samples came in.
//
// Single samples would wait for one addition after another. So, without a rate change, the sums of the next
// results are kept running instead: each sample adds its term to all of them, side by side. A sum still gets
// its terms in the order of the taps. It stands in a ring, where every term has its place in coefficients
// that are turned around and stored twice.
//
// Decimating, result k needs x[kR + i] for tap i. The samples of a run are first dealt out to R rows, so that
// the results of the run find the samples of one tap side by side. Interpolating, result r of an input sample
// meets every R-th tap; the taps are stored phase after phase.

#include <KvxDevCommon01/dsp/MatFir.h>

#include <KvxDevCommon01/dsp/detail/FirCoefficients.h>
#include <KvxDevCommon01/dsp/detail/IntegerSamples.h>
#include <KvxDevCommon01/dsp/kernels/KernelSets.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>
#include <utility>

namespace {

constexpr __int64 kBlock = 1024;  // input or results that are worked on at once
constexpr __int64 kFew = 8;       // samples that running sums take faster than a block does
using Block = std::array<double, kBlock + kvx::kFirOverrun>;

/// Calls use(step) with the usual steps as constants, which make vector code of the loops over them.
template <class Use>
void WithStep(__int64 step, Use use) {
    switch (step) {
        case 2:
            return use(std::integral_constant<__int64, 2>());
        case 4:
            return use(std::integral_constant<__int64, 4>());
        case 5:
            return use(std::integral_constant<__int64, 5>());
        default:
            return use(step);
    }
}

/// Makes an array `count` zeros; one that has the count keeps its block.
template <class Array>
int SetZeros(Array* array, __int64 count) {
    if (array->GetNum() != count) return array->SetData(count, nullptr);
    std::fill_n(array->GetData(), count, 0);
    return 1;
}

double GroupDelay(double delay, __int64 taps) {
    return std::isfinite(delay) && delay > 0.0 ? delay : 0.5 * static_cast<double>(taps - 1);
}

}  // namespace

int CMatFir::SetCoef(const double* coef, __int64 n, double delay) {
    if (coef == nullptr || n < 1) return 0;
    isPrepared_ = false;
    isDelayOnly_ = false;
    delay_ = 0.0;
    if (!coef_.SetData(n, coef)) return 0;
    delay_ = GroupDelay(delay, n);
    return 1;
}

int CMatFir::SetCoef(const CDataArrayDouble& coef, double delay) {
    return SetCoef(coef.GetData(), coef.GetNum(), delay);
}

int CMatFir::SetStdCoef(FIR_COEF set, int delayOnly) {
    const auto toCentre = kvx::StdCoefToCentre(set);
    if (toCentre.empty()) return 0;
    isPrepared_ = false;
    isDelayOnly_ = delayOnly != 0;
    delay_ = 0.0;
    const auto centre = static_cast<__int64>(toCentre.size()) - 1;
    if (!coef_.SetData(isDelayOnly_ ? centre + 1 : 2 * centre + 1, nullptr)) return 0;
    delay_ = static_cast<double>(centre);
    if (isDelayOnly_) {
        coef_[0] = 1.0;
    } else {
        std::copy(toCentre.begin(), toCentre.end(), coef_.GetData());
        std::copy(toCentre.rbegin(), toCentre.rend(), coef_.GetData() + centre);
    }
    return 1;
}

double CMatFir::GetCoef(CDataArrayDouble* out) const {
    if (out != nullptr) *out = coef_;
    return delay_;
}

int CMatFir::SetRateConv(RATE_CONV mode, __int64 ratio) {
    const bool isChange = (mode == RATE_INTERPOLATE || mode == RATE_DECIMATE) && ratio >= 2;
    isPrepared_ = false;
    mode_ = isChange ? mode : RATE_NONE;
    ratio_ = isChange ? ratio : 1;
    return 1;
}

__int64 CMatFir::GetRateConv(RATE_CONV* mode) const {
    if (mode != nullptr) *mode = mode_;
    return ratio_;
}

int CMatFir::SetOutBufSize(__int64 size) {
    if (size < 1) return 0;
    outBufSize_ = size;
    return 1;
}

int CMatFir::PrepFir() {
    const __int64 taps = coef_.GetNum();
    isPrepared_ = false;
    results_.Clear();
    if (taps == 0) return 0;

    history_ = mode_ == RATE_INTERPOLATE ? (taps - 1) / ratio_ + 1 : taps - 1;
    lineSize_ = history_ + kBlock;
    lineEnd_ = history_;
    sinceResult_ = 0;
    rowLength_ = mode_ == RATE_DECIMATE ? kBlock / ratio_ + (taps - 1) / ratio_ + 1 : 0;
    const __int64 rows = std::min(ratio_, taps);
    isRunning_ = false;
    singles_ = taps;
    // Without a rate change the work holds the running sums behind the line, and the coefficients are there
    // turned around and twice as well.
    const bool isPlain = mode_ == RATE_NONE;
    const __int64 behindLine = isPlain ? taps : rows * rowLength_;
    isPrepared_ = SetZeros(&work_, lineSize_ + behindLine + kvx::kFirOverrun) && SetZeros(&offsets_, taps) &&
                  SetZeros(&sums_, isPlain ? 3 * taps + kvx::kFirOverrun : taps) &&
                  results_.SetSize(outBufSize_);
    if (!isPrepared_) return 0;

    double* const sums = sums_.GetData();
    for (__int64 tap = 0; tap < taps; ++tap) {
        sums[tap] = coef_[tap];
        offsets_[tap] = mode_ == RATE_DECIMATE ? tap % ratio_ * rowLength_ + tap / ratio_ : tap;
    }
    if (isPlain) {
        std::reverse_copy(sums, sums + taps, sums + taps);
        std::copy_n(sums + taps, taps, sums + 2 * taps);
    } else if (mode_ == RATE_INTERPOLATE) {
        double* sum = sums;
        for (__int64 phase = 0; phase < rows; ++phase) {
            for (__int64 tap = (taps - 1 - phase) % ratio_; tap < taps; tap += rows) *sum++ = coef_[tap];
        }
    }
    return 1;
}

int CMatFir::SetInputData(double x) {
    return SetInputData(&x, 1);
}

int CMatFir::SetInputData(const double* x, __int64 n) {
    if (n < 0 || (x == nullptr && n > 0) || !Prepare()) return 0;
    // Interpolation makes up for the zeros between the samples; what is only delayed is repeated instead.
    const double gain = mode_ == RATE_INTERPOLATE && !isDelayOnly_ ? static_cast<double>(ratio_) : 1.0;
    int kept = 1;
    while (n > 0) {
        double* const line = work_.GetData();
        if (lineEnd_ == lineSize_) {
            std::copy(line + lineEnd_ - history_, line + lineEnd_, line);
            lineEnd_ = history_;
        }
        const __int64 run = std::min(n, lineSize_ - lineEnd_);
        const __int64 first = lineEnd_;
        std::transform(x, x + run, line + first, [gain](double sample) { return sample * gain; });
        lineEnd_ += run;
        kept &= mode_ == RATE_DECIMATE      ? DecimateRun(first, run)
                : mode_ == RATE_INTERPOLATE ? InterpolateRun(first, run)
                                            : FilterRun(first, run);
        x += run;
        n -= run;
    }
    return kept;
}

int CMatFir::SetInputData(const CDataArrayDouble& x) {
    return SetInputData(x.GetData(), x.GetNum());
}

int CMatFir::SetInputDataLong(std::int32_t x) {
    return SetInputData(static_cast<double>(x));
}

int CMatFir::SetInputDataLong(const std::int32_t* x, __int64 n) {
    if (n < 0 || (x == nullptr && n > 0) || !Prepare()) return 0;
    return kvx::FeedIntegers(
        x, n, [this](const double* samples, __int64 count) { return SetInputData(samples, count); });
}

int CMatFir::SetInputDataLong(const CDataArrayLong& x) {
    return SetInputDataLong(x.GetData(), x.GetNum());
}

std::int32_t CMatFir::GetOutputDataLong() {
    return kvx::RoundToInteger(GetOutputData());
}

__int64 CMatFir::GetOutputDataLong(std::int32_t* out, __int64 n) {
    if (out == nullptr) return 0;
    return kvx::TakeIntegers(
        out, n, [this](double* samples, __int64 count) { return GetOutputData(samples, count); });
}

int CMatFir::ClearResult() {
    if (!Prepare()) return 0;
    results_.Clear();
    return 1;
}

template <class Use>
void CMatFir::RunSums(__int64 first, __int64 count, Use use) {
    const auto addScaled = kvx::ActiveKernels().fir->addScaled;
    const __int64 taps = coef_.GetNum();
    double* const sums = work_.GetData() + lineSize_;
    const double* const turned = sums_.GetData() + taps;
    for (const double* x = work_.GetData() + first; count > 0; ++x, --count) {
        addScaled(turned + taps - completing_, *x, sums, taps);
        // Of all numbers -0 alone leaves whatever is added to it as it is.
        use(std::exchange(sums[completing_], -0.0));
        if (++completing_ == taps) completing_ = 0;
    }
}

int CMatFir::FilterSingly(__int64 first, __int64 count) {
    if (!isRunning_) {
        std::fill_n(work_.GetData() + lineSize_, coef_.GetNum(), -0.0);
        completing_ = 0;
        RunSums(first - history_, history_, [](double) {});
        isRunning_ = true;
    }
    int kept = 1;
    RunSums(first, count, [&](double y) { kept &= results_.Put(y); });
    return kept;
}

int CMatFir::FilterRun(__int64 first, __int64 count) {
    const double* const oldest = work_.GetData() + first - history_;
    if (isDelayOnly_) return results_.Put(oldest, count);
    // To start the running sums costs as much as to use them for as many samples as there are taps, so that
    // many must have come singly.
    const __int64 taps = coef_.GetNum();
    singles_ = count < kFew ? std::min(singles_ + count, taps) : 0;
    if (singles_ == taps) return FilterSingly(first, count);
    isRunning_ = false;
    Block out;
    kvx::ActiveKernels().fir->weightedSums(sums_.GetData(), offsets_.GetData(), taps, oldest, out.data(),
                                           count);
    return results_.Put(out.data(), count);
}

int CMatFir::DecimateRun(__int64 first, __int64 count) {
    const __int64 untilResult = ratio_ - sinceResult_;
    if (count < untilResult) {
        sinceResult_ += count;
        return 1;
    }
    const __int64 results = 1 + (count - untilResult) / ratio_;
    sinceResult_ = (count - untilResult) % ratio_;

    const double* const oldest = work_.GetData() + first + untilResult - 1 - history_;
    Block out;
    if (isDelayOnly_) {
        for (__int64 k = 0; k < results; ++k) out[static_cast<std::size_t>(k)] = oldest[k * ratio_];
        return results_.Put(out.data(), results);
    }
    const __int64 taps = coef_.GetNum();
    double* const rows = work_.GetData() + lineSize_;
    WithStep(ratio_, [&](auto step) {
        for (__int64 row = 0; row < std::min<__int64>(step, taps); ++row) {
            const __int64 length = results + (taps - 1 - row) / step;
            const double* const from = oldest + row;
            double* const to = rows + row * rowLength_;
            for (__int64 k = 0; k < length; ++k) to[k] = from[k * step];
        }
    });
    kvx::ActiveKernels().fir->weightedSums(sums_.GetData(), offsets_.GetData(), taps, rows, out.data(),
                                           results);
    return results_.Put(out.data(), results);
}

template <class Use>
void CMatFir::ForEachPhase(__int64 first, __int64 count, double* row, Use use) {
    const auto weightedSums = kvx::ActiveKernels().fir->weightedSums;
    const double* sum = sums_.GetData();
    const __int64 taps = coef_.GetNum();
    for (__int64 phase = 0; phase < std::min(ratio_, taps); ++phase) {
        const __int64 back = (taps - 1 - phase) / ratio_;
        weightedSums(sum, offsets_.GetData(), back + 1, work_.GetData() + first - back, row, count);
        sum += back + 1;
        use(phase);
    }
}

int CMatFir::InterpolateRun(__int64 first, __int64 count) {
    const double* const line = work_.GetData();
    const __int64 taps = coef_.GetNum();
    int kept = 1;
    if (isDelayOnly_) {
        const __int64 whole = (taps - 1) / ratio_, rest = (taps - 1) % ratio_;
        for (const double* x = line + first - whole; x < line + first - whole + count; ++x) {
            kept &= results_.PutRepeated(x[-1], rest) & results_.PutRepeated(x[0], ratio_ - rest);
        }
        return kept;
    }
    // Behind the last tap the phases of an input sample are zeros.
    const __int64 zeros = std::max<__int64>(ratio_ - taps, 0);
    Block row;
    if (ratio_ > kBlock) {
        for (__int64 k = 0; k < count; ++k) {
            ForEachPhase(first + k, 1, row.data(), [&](__int64) { kept &= results_.Put(row.data(), 1); });
            kept &= results_.PutRepeated(0.0, zeros);
        }
        return kept;
    }
    Block out;
    if (zeros > 0) out.fill(0.0);
    for (__int64 done = 0; done < count;) {
        const __int64 run = std::min(count - done, kBlock / ratio_);
        ForEachPhase(first + done, run, row.data(), [&](__int64 phase) {
            WithStep(ratio_, [&, to = out.data() + phase](auto step) {
                for (__int64 k = 0; k < run; ++k) to[k * step] = row[static_cast<std::size_t>(k)];
            });
        });
        kept &= results_.Put(out.data(), run * ratio_);
        done += run;
    }
    return kept;
}
