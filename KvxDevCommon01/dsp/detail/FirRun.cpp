// SPDX-License-Identifier: MIT
//
// The samples that a result is made of lie side by side in a line, so that the loops (see FirKernels.h)
// compute many results at once, and each result is the same sum whatever block its samples came in.

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

const FirKernels& Kernels() {
    return ActiveKernels<FirKernels>();
}

std::vector<double> Zeros(__int64 count) {
    return std::vector<double>(static_cast<std::size_t>(count));
}

/// Puts `count` results into the queue that make(to, first, run) writes: in the queue itself where they lie
/// side by side there, or else by way of `block`. Results come in whole groups of `group`, at most as many as
/// the block holds.
template <class Make>
bool PutMade(SampleQueue* results, __int64 count, __int64 group, std::span<double> block, Make make) {
    if (double* const to = results->Room(count)) {
        make(to, 0, count);
        results->AddMade(count);
        return true;
    }
    bool kept = true;
    const __int64 most = std::ssize(block) / group * group;
    for (__int64 first = 0; first < count; first += most) {
        const __int64 run = std::min(most, count - first);
        make(block.data(), first, run);
        kept &= results->Put(block.first(static_cast<std::size_t>(run)));
    }
    return kept;
}

/// The last `history` samples and, behind them, those that came since, until the line is full and the history
/// moves to its front.
class Line {
public:
    explicit Line(__int64 history)
        : samples_(Zeros(2 * history + kBlock)), history_(history), end_(history) {}

    void Reset() {
        std::ranges::fill(samples_, 0.0);
        end_ = history_;
    }

    /// Takes in `count` samples and calls use(samples, run), which says whether all results were kept, for
    /// each run of them: `history` samples lie in front of each. Of many samples only the first ones, whose
    /// history is here, are copied; the others, as many as fill whole vectors, are read where they are.
    template <class Use>
    bool Feed(const double* x, __int64 count, Use use) {
        constexpr __int64 kVectors = 64;
        const bool isLong = count >= 2 * history_ + kBlock;
        const __int64 copied = isLong ? history_ + (count - history_) % kVectors : count;
        bool kept = FeedCopies(x, copied, use);
        if (isLong) {
            kept &= use(x + copied, count - copied);
            std::copy_n(x + count - history_, history_, samples_.begin());
            end_ = history_;
        }
        return kept;
    }

private:
    template <class Use>
    bool FeedCopies(const double* x, __int64 count, Use use) {
        bool kept = true;
        while (count > 0) {
            double* const line = samples_.data();
            if (end_ == std::ssize(samples_)) {
                std::copy(line + end_ - history_, line + end_, line);
                end_ = history_;
            }
            const __int64 run = std::min(count, std::ssize(samples_) - end_);
            double* const first = line + end_;
            std::copy_n(x, run, first);
            end_ += run;
            kept &= use(first, run);
            x += run;
            count -= run;
        }
        return kept;
    }

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
          sums_(Zeros(taps + kFirOverrun)) {}

    void Reset(std::span<const double> coef) override {
        std::ranges::copy(coef, coef_.begin());
        std::reverse_copy(coef.begin(), coef.end(), turned_.begin());
        line_.Reset();
        singles_ = taps_;
        areSumsKept_ = false;
    }

    bool Feed(const double* x, __int64 count, SampleQueue* results) override {
        return line_.Feed(x, count, [&](const double* samples, __int64 run) {
            // To start the sums costs as much as to use them for as many samples as there are taps, so that
            // many must have come singly.
            constexpr __int64 kFew = 8;
            singles_ = run < kFew ? std::min(singles_ + run, taps_) : 0;
            if (singles_ == taps_) return FeedSingly(samples, run, results);
            areSumsKept_ = false;
            std::array<double, kBlock> block;
            return PutMade(results, run, 1, block, [&](double* to, __int64 first, __int64 part) {
                Kernels().convolve(coef_.data(), taps_, samples + first - (taps_ - 1), to, part);
            });
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
        const double completed = Kernels().addTerms(turned_.data(), x, sums_.data(), taps_);
        sums_[static_cast<std::size_t>(taps_ - 1)] = kNothing;
        return completed;
    }

    // Of all numbers -0 alone leaves whatever is added to it as it is.
    static constexpr double kNothing = -0.0;

    __int64 taps_;
    Line line_;
    std::vector<double> coef_;
    std::vector<double> turned_;
    std::vector<double> sums_;  // of the next results
    bool areSumsKept_ = false;
    __int64 singles_ = 0;  // samples in a row that came in small blocks, at most as many as taps
};

/// Result k needs x[k ratio + i] for tap i. The samples of some results are first dealt out to rows, so that
/// the results find the samples of one tap side by side.
class DecimatingRun : public Cloneable<DecimatingRun> {
public:
    DecimatingRun(__int64 taps, __int64 ratio)
        : taps_(taps),
          ratio_(ratio),
          atOnce_(std::max<__int64>(kRowsSamples / ratio, 1)),
          rowLength_(atOnce_ + (taps - 1) / ratio),
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
        return line_.Feed(x, count, [&](const double* samples, __int64 run) {
            __int64 completing = 0;
            const __int64 due = decimation_.Count(run, &completing);
            if (due == 0) return true;
            const double* const oldest = samples + completing - (taps_ - 1);
            std::array<double, kBlock> block;
            return PutMade(results, due, 1, block, [&](double* to, __int64 first, __int64 part) {
                for (__int64 end = first + part; first < end; first += atOnce_, to += atOnce_)
                    Make(oldest + first * ratio_, to, std::min(atOnce_, end - first));
            });
        });
    }

private:
    static constexpr __int64 kRowsSamples = 640;  // vectors of any set are filled, whatever the usual ratio

    void Make(const double* oldest, double* to, __int64 count) {
        Kernels().deal(oldest, (count - 1) * ratio_ + taps_, ratio_, rows_.data(), std::min(ratio_, taps_),
                       rowLength_);
        Kernels().weightedSums(coef_.data(), offsets_.data(), taps_, ratio_, rows_.data(), to, count);
    }

    __int64 taps_;
    __int64 ratio_;
    __int64 atOnce_;  // results
    __int64 rowLength_;
    Line line_;
    Decimation decimation_;
    std::vector<double> coef_;
    std::vector<std::int64_t> offsets_;
    std::vector<double> rows_;
};

/// Result r of an input sample, its phase, meets every ratio-th tap. The coefficients are multiplied by the
/// ratio, which makes up for the zeros between the samples.
class InterpolatingRun : public Cloneable<InterpolatingRun> {
public:
    InterpolatingRun(__int64 taps, __int64 ratio)
        : taps_(taps), ratio_(ratio), line_((taps - 1) / ratio), coef_(Zeros(taps)) {
        if (ratio > kBlock) phases_ = Zeros(std::min(taps, ratio));
    }

    void Reset(std::span<const double> coef) override {
        const auto gain = static_cast<double>(ratio_);
        std::ranges::transform(coef, coef_.begin(), [gain](double tap) { return tap * gain; });
        line_.Reset();
    }

    bool Feed(const double* x, __int64 count, SampleQueue* results) override {
        return line_.Feed(x, count, [&](const double* first, __int64 run) {
            return ratio_ > kBlock ? PutSingly(first, run, results) : PutBlocks(first, run, results);
        });
    }

private:
    bool PutSingly(const double* first, __int64 count, SampleQueue* results) {
        bool kept = true;
        for (__int64 k = 0; k < count; ++k) {
            Kernels().interpolate(coef_.data(), taps_, ratio_, first + k, phases_.data(), 1);
            kept &= results->Put(phases_);
            // Behind the last tap the phases of an input sample are zeros.
            kept &= results->PutRepeated(0.0, std::max<__int64>(ratio_ - taps_, 0));
        }
        return kept;
    }

    bool PutBlocks(const double* samples, __int64 count, SampleQueue* results) const {
        std::array<double, kBlock> block;
        return PutMade(results, count * ratio_, ratio_, block, [&](double* to, __int64 first, __int64 part) {
            if (ratio_ > taps_) std::fill_n(to, part, 0.0);
            Kernels().interpolate(coef_.data(), taps_, ratio_, samples + first / ratio_, to, part / ratio_);
        });
    }

    __int64 taps_;
    __int64 ratio_;
    Line line_;
    std::vector<double> coef_;
    std::vector<double> phases_;  // of a sample
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
        return line_.Feed(x, count, [&](const double* first, __int64 run) {
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
