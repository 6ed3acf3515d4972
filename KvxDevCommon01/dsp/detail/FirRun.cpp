// SPDX-License-Identifier: MIT
//
// The samples that a result is made of lie side by side in a line, so that one loop (see FirKernels.h) serves
// every mode, computing many results at once, and each result is the same sum whatever block its samples came
// in.

#include <KvxDevCommon01/dsp/detail/FirRun.h>

#include <KvxDevCommon01/dsp/kernels/FirKernels.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

namespace kvx {
namespace {

constexpr __int64 kBlock = 512;  // samples or results that are worked on at once
using Block = std::array<double, kBlock + kFirOverrun>;

std::vector<double> Zeros(__int64 count) {
    return std::vector<double>(static_cast<std::size_t>(count));
}

bool PutBlock(const Block& block, __int64 count, SampleQueue* results) {
    return results->Put(std::span(block).first(static_cast<std::size_t>(count)));
}

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

/// The last `history` samples and, behind them, those that came since, until the line is full and the history
/// moves to its front.
class Line {
public:
    explicit Line(__int64 history)
        : samples_(Zeros(history + kBlock + kFirOverrun)), history_(history), end_(history) {}

    void Reset() {
        std::ranges::fill(samples_, 0.0);
        end_ = history_;
    }

    /// Appends `count` samples times `gain` and calls use(samples, run), which says whether all results were
    /// kept, for each run of them: `history` samples lie in front of each.
    template <class Use>
    bool Feed(const double* x, __int64 count, double gain, Use use) {
        bool kept = true;
        while (count > 0) {
            double* const line = samples_.data();
            if (end_ == history_ + kBlock) {
                std::copy(line + kBlock, line + end_, line);
                end_ = history_;
            }
            const __int64 run = std::min(count, history_ + kBlock - end_);
            double* const first = line + end_;
            if (gain == 1.0) {
                std::copy_n(x, run, first);
            } else {
                std::transform(x, x + run, first, [gain](double sample) { return sample * gain; });
            }
            end_ += run;
            kept &= use(first, run);
            x += run;
            count -= run;
        }
        return kept;
    }

private:
    std::vector<double> samples_;
    __int64 history_;
    __int64 end_;  // where the next sample goes
};

/// Tells which of a stream's samples complete a result when only every ratio-th does.
class Decimation {
public:
    explicit Decimation(__int64 ratio) : ratio_(ratio) {}

    void Reset() { sinceResult_ = 0; }

    /// Results that the next `count` samples complete; `first` becomes the sample that completes the first.
    __int64 Count(__int64 count, __int64* first) {
        const __int64 untilResult = ratio_ - sinceResult_;
        if (count < untilResult) {
            sinceResult_ += count;
            return 0;
        }
        *first = untilResult - 1;
        sinceResult_ = (count - untilResult) % ratio_;
        return 1 + (count - untilResult) / ratio_;
    }

private:
    __int64 ratio_;
    __int64 sinceResult_ = 0;
};

template <class Self>
class Cloneable : public FirRun {
public:
    std::unique_ptr<FirRun> Clone() const override {
        return std::make_unique<Self>(static_cast<const Self&>(*this));
    }
};

/// Without a rate change. Single samples would wait for one addition after another. So, when samples come in
/// small blocks, the sums of the next results are kept instead: each sample adds its term to all of them,
/// side by side. A sum still gets its terms in the order of the taps.
class PlainRun : public Cloneable<PlainRun> {
public:
    explicit PlainRun(__int64 taps)
        : taps_(taps),
          line_(taps - 1),
          coef_(Zeros(taps)),
          turned_(Zeros(taps + kFirOverrun)),
          offsets_(static_cast<std::size_t>(taps)),
          sums_(Zeros(taps + kFirOverrun)) {
        std::iota(offsets_.begin(), offsets_.end(), 0);
    }

    void Reset(std::span<const double> coef) override {
        std::ranges::copy(coef, coef_.begin());
        std::reverse_copy(coef.begin(), coef.end(), turned_.begin());
        line_.Reset();
        singles_ = taps_;
        areSumsKept_ = false;
    }

    bool Feed(const double* x, __int64 count, SampleQueue* results) override {
        return line_.Feed(x, count, 1.0, [&](const double* first, __int64 run) {
            // To start the sums costs as much as to use them for as many samples as there are taps, so that
            // many must have come singly.
            constexpr __int64 kFew = 8;
            singles_ = run < kFew ? std::min(singles_ + run, taps_) : 0;
            if (singles_ == taps_) return FeedSingly(first, run, results);
            areSumsKept_ = false;
            Block out;
            ActiveKernels<FirKernels>().weightedSums(coef_.data(), offsets_.data(), taps_,
                                                     first - (taps_ - 1), out.data(), run);
            return PutBlock(out, run, results);
        });
    }

private:
    bool FeedSingly(const double* first, __int64 count, SampleQueue* results) {
        if (!areSumsKept_) {
            std::ranges::fill(sums_, kNothing);
            for (const double* x = first - (taps_ - 1); x < first; ++x) Step(*x);
            areSumsKept_ = true;
        }
        bool kept = true;
        for (const double* x = first; x < first + count; ++x) kept &= results->Put(Step(*x));
        return kept;
    }

    /// Adds the terms of a sample and returns the sum that it completes.
    double Step(double x) {
        double* const sums = sums_.data();
        const double completed = sums[0] + turned_[0] * x;
        ActiveKernels<FirKernels>().addScaledShifted(turned_.data() + 1, x, sums, taps_ - 1);
        sums[taps_ - 1] = kNothing;
        return completed;
    }

    // Of all numbers -0 alone leaves whatever is added to it as it is.
    static constexpr double kNothing = -0.0;

    __int64 taps_;
    Line line_;
    std::vector<double> coef_;
    std::vector<double> turned_;
    std::vector<std::int64_t> offsets_;
    std::vector<double> sums_;  // of the next results
    bool areSumsKept_ = false;
    __int64 singles_ = 0;  // samples in a row that came in small blocks, at most as many as taps
};

/// Result k needs x[k ratio + i] for tap i. The samples of a run are first dealt out to rows, so that the
/// results find the samples of one tap side by side.
class DecimatingRun : public Cloneable<DecimatingRun> {
public:
    DecimatingRun(__int64 taps, __int64 ratio)
        : taps_(taps),
          ratio_(ratio),
          rowLength_(kBlock / ratio + (taps - 1) / ratio + 1),
          line_(taps - 1),
          decimation_(ratio),
          coef_(Zeros(taps)),
          offsets_(static_cast<std::size_t>(taps)),
          rows_(Zeros(std::min(ratio, taps) * rowLength_ + kFirOverrun)) {
        for (__int64 tap = 0; tap < taps; ++tap) {
            offsets_[static_cast<std::size_t>(tap)] = tap % ratio * rowLength_ + tap / ratio;
        }
    }

    void Reset(std::span<const double> coef) override {
        std::ranges::copy(coef, coef_.begin());
        line_.Reset();
        decimation_.Reset();
    }

    bool Feed(const double* x, __int64 count, SampleQueue* results) override {
        return line_.Feed(x, count, 1.0, [&](const double* first, __int64 run) {
            __int64 completing = 0;
            const __int64 due = decimation_.Count(run, &completing);
            if (due == 0) return true;
            const double* const oldest = first + completing - (taps_ - 1);
            WithStep(ratio_, [&](auto step) {
                for (__int64 row = 0; row < std::min<__int64>(step, taps_); ++row) {
                    const __int64 length = due + (taps_ - 1 - row) / step;
                    const double* const from = oldest + row;
                    double* const to = rows_.data() + row * rowLength_;
                    for (__int64 k = 0; k < length; ++k) to[k] = from[k * step];
                }
            });
            Block out;
            ActiveKernels<FirKernels>().weightedSums(coef_.data(), offsets_.data(), taps_, rows_.data(),
                                                     out.data(), due);
            return PutBlock(out, due, results);
        });
    }

private:
    __int64 taps_;
    __int64 ratio_;
    __int64 rowLength_;
    Line line_;
    Decimation decimation_;
    std::vector<double> coef_;
    std::vector<std::int64_t> offsets_;
    std::vector<double> rows_;
};

/// Result r of an input sample, its phase, meets every ratio-th tap. The samples are multiplied by the ratio,
/// which makes up for the zeros between them.
class InterpolatingRun : public Cloneable<InterpolatingRun> {
public:
    InterpolatingRun(__int64 taps, __int64 ratio)
        : taps_(taps),
          ratio_(ratio),
          line_((taps - 1) / ratio + 1),
          coef_(Zeros(taps)),
          offsets_(static_cast<std::size_t>((taps - 1) / ratio + 1)) {
        std::iota(offsets_.begin(), offsets_.end(), 0);
    }

    void Reset(std::span<const double> coef) override {
        auto to = coef_.begin();
        for (__int64 phase = 0; phase < std::min(ratio_, taps_); ++phase) {
            for (__int64 tap = (taps_ - 1 - phase) % ratio_;;) {
                *to++ = coef[static_cast<std::size_t>(tap)];
                if (taps_ - tap <= ratio_) break;
                tap += ratio_;
            }
        }
        line_.Reset();
    }

    bool Feed(const double* x, __int64 count, SampleQueue* results) override {
        return line_.Feed(x, count, static_cast<double>(ratio_), [&](const double* first, __int64 run) {
            return ratio_ > kBlock ? PutSingly(first, run, results) : PutBlocks(first, run, results);
        });
    }

private:
    /// Calls use(phase) for each phase that has taps, with the results of `count` samples in `row`.
    template <class Use>
    void ForEachPhase(const double* first, __int64 count, double* row, Use use) const {
        const double* coef = coef_.data();
        for (__int64 phase = 0; phase < std::min(ratio_, taps_); ++phase) {
            const __int64 back = (taps_ - 1 - phase) / ratio_;
            ActiveKernels<FirKernels>().weightedSums(coef, offsets_.data(), back + 1, first - back, row,
                                                     count);
            coef += back + 1;
            use(phase);
        }
    }

    bool PutSingly(const double* first, __int64 count, SampleQueue* results) const {
        bool kept = true;
        Block row;
        for (__int64 k = 0; k < count; ++k) {
            ForEachPhase(first + k, 1, row.data(), [&](__int64) { kept &= results->Put(row[0]); });
            // Behind the last tap the phases of an input sample are zeros.
            kept &= results->PutRepeated(0.0, std::max<__int64>(ratio_ - taps_, 0));
        }
        return kept;
    }

    bool PutBlocks(const double* first, __int64 count, SampleQueue* results) const {
        bool kept = true;
        Block row;
        Block out;
        if (ratio_ > taps_) out.fill(0.0);
        for (__int64 done = 0; done < count;) {
            const __int64 run = std::min(count - done, kBlock / ratio_);
            ForEachPhase(first + done, run, row.data(), [&](__int64 phase) {
                WithStep(ratio_, [&, to = out.data() + phase](auto step) {
                    for (__int64 k = 0; k < run; ++k) to[k * step] = row[static_cast<std::size_t>(k)];
                });
            });
            kept &= PutBlock(out, run * ratio_, results);
            done += run;
        }
        return kept;
    }

    __int64 taps_;
    __int64 ratio_;
    Line line_;
    std::vector<double> coef_;  // phase after phase
    std::vector<std::int64_t> offsets_;
};

/// Delays by taps - 1 results: decimation picks samples, interpolation repeats each.
class DelayRun : public Cloneable<DelayRun> {
public:
    DelayRun(const FirMode& mode, __int64 taps)
        : mode_(mode), delay_(taps - 1), line_(History(mode, taps)), decimation_(mode.ratio) {}

    void Reset(std::span<const double>) override {
        line_.Reset();
        decimation_.Reset();
    }

    bool Feed(const double* x, __int64 count, SampleQueue* results) override {
        return line_.Feed(x, count, 1.0, [&](const double* first, __int64 run) {
            if (mode_.rate == CMatFir::RATE_DECIMATE) return Pick(first, run, results);
            if (mode_.rate == CMatFir::RATE_INTERPOLATE) return Repeat(first, run, results);
            return results->Put(std::span(first - delay_, static_cast<std::size_t>(run)));
        });
    }

private:
    static __int64 History(const FirMode& mode, __int64 taps) {
        return mode.rate == CMatFir::RATE_INTERPOLATE ? (taps - 1) / mode.ratio + 1 : taps - 1;
    }

    bool Pick(const double* first, __int64 count, SampleQueue* results) {
        __int64 completing = 0;
        const __int64 due = decimation_.Count(count, &completing);
        bool kept = true;
        for (__int64 k = 0; k < due; ++k) kept &= results->Put(first[completing + k * mode_.ratio - delay_]);
        return kept;
    }

    bool Repeat(const double* first, __int64 count, SampleQueue* results) const {
        const __int64 whole = delay_ / mode_.ratio, rest = delay_ % mode_.ratio;
        bool kept = true;
        for (const double* x = first - whole; x < first - whole + count; ++x) {
            kept &= results->PutRepeated(x[-1], rest);
            kept &= results->PutRepeated(x[0], mode_.ratio - rest);
        }
        return kept;
    }

    FirMode mode_;
    __int64 delay_;
    Line line_;
    Decimation decimation_;
};

}  // namespace

std::unique_ptr<FirRun> MakeFirRun(const FirMode& mode, std::span<const double> coef) {
    const __int64 taps = std::ssize(coef);
    std::unique_ptr<FirRun> run;
    if (mode.isDelayOnly) {
        run = std::make_unique<DelayRun>(mode, taps);
    } else if (mode.rate == CMatFir::RATE_DECIMATE) {
        run = std::make_unique<DecimatingRun>(taps, mode.ratio);
    } else if (mode.rate == CMatFir::RATE_INTERPOLATE) {
        run = std::make_unique<InterpolatingRun>(taps, mode.ratio);
    } else {
        run = std::make_unique<PlainRun>(taps);
    }
    run->Reset(coef);
    return run;
}

}  // namespace kvx
