// SPDX-License-Identifier: MIT
#include "commands/Processes.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include <KvxDevCommon01/dsp/MatIir.h>

#include "cli/Failure.h"

namespace kvx::tool {
namespace {

/// Samples that a filter is fed, or gives, at once.
constexpr __int64 kPiece = 4096;

class AlignedProcess : public ChannelProcess {
public:
    AlignedProcess(const Alignment& alignment, Ends ends) : alignment_(alignment), ends_(ends) {}

    void Feed(std::span<const double> samples, std::vector<double>* out) override {
        if (!hasBegun_) {
            hasBegun_ = true;
            for (__int64 left = alignment_.lead; left > 0; left -= kPiece) {
                FeedConstant(samples.front(), std::min(left, kPiece), out);
            }
        }
        FeedPieces(samples, out);
        last_ = samples.back();
    }

    void Finish(std::vector<double>* out) override {
        while (alignment_.due > 0) FeedConstant(last_, kPiece, out);
    }

protected:
    /// Appends the results of at most kPiece samples.
    virtual void Run(std::span<const double> samples, std::vector<double>* results) = 0;

private:
    void FeedConstant(double value, __int64 count, std::vector<double>* out) {
        const double level = ends_ == Ends::held ? value : 0.0;
        FeedPieces(std::vector<double>(static_cast<std::size_t>(count), level), out);
    }

    void FeedPieces(std::span<const double> samples, std::vector<double>* out) {
        while (!samples.empty()) {
            const std::size_t count = std::min(samples.size(), static_cast<std::size_t>(kPiece));
            results_.clear();
            Run(samples.first(count), &results_);
            samples = samples.subspan(count);
            const __int64 dropped = std::min(alignment_.skip, std::ssize(results_));
            const __int64 taken = std::min(alignment_.due, std::ssize(results_) - dropped);
            alignment_.skip -= dropped;
            alignment_.due -= taken;
            const auto begin = results_.begin() + dropped;
            out->insert(out->end(), begin, begin + taken);
        }
    }

    Alignment alignment_;
    Ends ends_;
    bool hasBegun_ = false;
    double last_ = 0.0;
    std::vector<double> results_;
};

class Resampler : public AlignedProcess {
public:
    Resampler(const RateChange& change, const Alignment& alignment, Ends ends)
        : AlignedProcess(alignment, ends),
          pieceSize_(change.mode == CMatFir::RATE_INTERPOLATE ? std::max<__int64>(1, kPiece / change.Ratio())
                                                              : kPiece) {
        if (!cascade_.SetConvCond(change.mode, change.code, kPiece, 0)) throw std::bad_alloc();
    }

private:
    void Run(std::span<const double> samples, std::vector<double>* results) override {
        const __int64 total = std::ssize(samples);
        for (__int64 done = 0; done < total; done += pieceSize_) {
            const __int64 count = std::min(pieceSize_, total - done);
            if (!cascade_.SetInputData(samples.data(), done, count, total)) throw std::bad_alloc();
            const __int64 waiting = cascade_.GetNumOutputData();
            const auto begin = std::ssize(*results);
            results->resize(static_cast<std::size_t>(begin + waiting));
            cascade_.GetOutputData(results->data() + begin, 0, waiting, waiting);
        }
    }

    CMatMrf cascade_;
    __int64 pieceSize_;
};

class Fir : public AlignedProcess {
public:
    Fir(const CDataArrayDouble& coefficients, const Alignment& alignment, Ends ends)
        : AlignedProcess(alignment, ends) {
        if (!filter_.SetCoef(coefficients, 0.0) || !filter_.SetOutBufSize(kPiece) || !filter_.PrepFir()) {
            throw std::bad_alloc();
        }
    }

private:
    void Run(std::span<const double> samples, std::vector<double>* results) override {
        if (!filter_.SetInputData(samples.data(), std::ssize(samples))) throw std::bad_alloc();
        results->resize(samples.size());
        filter_.GetOutputData(results->data(), std::ssize(samples));
    }

    CMatFir filter_;
};

class Butterworth : public ChannelProcess {
public:
    Butterworth(bool isLowPass, std::int32_t order, double corner, Ends ends)
        : isLowPass_(isLowPass), isHeld_(ends == Ends::held) {
        if (order > CMatIirNth::kMaxOrder) {
            throw Error(ErrorKind::kBadValue, "an order of " + std::to_string(order) +
                                                  " is above the limit of " +
                                                  std::to_string(CMatIirNth::kMaxOrder));
        }
        const int isMade =
            isLowPass ? filter_.CalcCoefBwLPF(corner, order) : filter_.CalcCoefBwHPF(corner, order);
        if (!isMade) throw std::bad_alloc();
    }

    void Feed(std::span<const double> samples, std::vector<double>* out) override {
        if (isHeld_ && !hasBegun_) {
            // Fed a constant for ever, a low-pass stands on it and a high-pass on 0.
            if (isLowPass_) {
                filter_.ClearBuf(samples.front());
            } else {
                level_ = samples.front();
            }
        }
        hasBegun_ = true;
        const std::size_t begin = out->size();
        out->insert(out->end(), samples.begin(), samples.end());
        double* const data = out->data() + begin;
        for (std::size_t i = 0; i < samples.size(); ++i) data[i] -= level_;
        filter_.Filtering(data, data, std::ssize(samples));
    }
    void Finish(std::vector<double>*) override {}

private:
    CMatIirNth filter_;
    bool isLowPass_;
    bool isHeld_;
    bool hasBegun_ = false;
    double level_ = 0.0;
};

class Chain : public ChannelProcess {
public:
    explicit Chain(std::vector<std::unique_ptr<ChannelProcess>> links) : links_(std::move(links)) {}

    void Feed(std::span<const double> samples, std::vector<double>* out) override {
        FeedFrom(0, samples, out);
    }
    void Finish(std::vector<double>* out) override {
        for (std::size_t link = 0; link < links_.size(); ++link) {
            std::vector<double> rest;
            links_[link]->Finish(&rest);
            FeedFrom(link + 1, rest, out);
        }
    }

private:
    void FeedFrom(std::size_t link, std::span<const double> samples, std::vector<double>* out) {
        std::vector<double> here(samples.begin(), samples.end());
        for (; link < links_.size() && !here.empty(); ++link) {
            std::vector<double> next;
            links_[link]->Feed(here, &next);
            here = std::move(next);
        }
        out->insert(out->end(), here.begin(), here.end());
    }

    std::vector<std::unique_ptr<ChannelProcess>> links_;
};

/// The largest multiple of `step` up to `value`, divided by `step`.
__int64 FloorDivide(__int64 value, __int64 step) {
    return value / step - (value % step < 0 ? 1 : 0);
}

}  // namespace

ResampledRun PlanResampling(const SignalRun& run, const RateChange& change, bool keepDelay) {
    const __int64 ratio = change.Ratio();
    const __int64 delay = CascadeDelay(change.code);  // in samples of the higher rate
    // Within these limits nothing that follows overflows.
    constexpr __int64 kMost = std::numeric_limits<std::int32_t>::max();
    constexpr __int64 kMostSamples = std::numeric_limits<__int64>::max() / 1024;
    ResampledRun plan = {run, {}, 0.0};
    Alignment& alignment = plan.alignment;
    if (run.samples > kMostSamples) throw Error(ErrorKind::kBadValue, "it has too many samples");
    if (change.mode == CMatFir::RATE_DECIMATE) {
        plan.run.delta = run.delta * static_cast<double>(ratio);
        plan.run.offset = FloorDivide(run.offset + (keepDelay ? 0 : ratio - 1), ratio);
        // Result k comes with sample k ratio + ratio - 1, the lead included, and shows sample
        // k ratio + ratio - 1 - delay - lead. The first one kept shows the first sample that stands where a
        // sample of the result may stand; the lead covers the memory of the filters before that.
        const __int64 first = plan.run.offset * ratio - run.offset;
        alignment.due = keepDelay ? run.samples / ratio : (run.samples - first + ratio - 1) / ratio;
        plan.delaySeconds = static_cast<double>(keepDelay ? delay + 1 - ratio + first : delay) * run.delta;
        if (!keepDelay) {
            const __int64 memory = 2 * delay;
            const __int64 shown = memory + first + delay + 1;
            alignment.lead = memory + (ratio - shown % ratio) % ratio;
            alignment.skip = (alignment.lead + first + delay + 1) / ratio - 1;
        }
    } else {
        plan.run.delta = run.delta / static_cast<double>(ratio);
        plan.delaySeconds = static_cast<double>(delay) * plan.run.delta;
        plan.run.offset = run.offset * ratio;
        alignment.due = run.samples * ratio;
        if (!keepDelay) {
            alignment.lead = 2 * delay / ratio + 1;
            alignment.skip = alignment.lead * ratio + delay;
        }
    }
    if (alignment.due < 1)
        throw Error(ErrorKind::kBadValue, "its samples are too few for a ratio of " + std::to_string(ratio));
    if (plan.run.offset > kMost || plan.run.offset < -kMost) {
        throw Error(ErrorKind::kBadValue, "it begins too far from 0 s for a record at the new rate");
    }
    plan.run.samples = alignment.due;
    return plan;
}

std::unique_ptr<ChannelProcess> MakeResampler(const RateChange& change, const Alignment& alignment,
                                              Ends ends) {
    return std::make_unique<Resampler>(change, alignment, ends);
}

std::unique_ptr<ChannelProcess> MakeFir(const CDataArrayDouble& coefficients, const Alignment& alignment,
                                        Ends ends) {
    return std::make_unique<Fir>(coefficients, alignment, ends);
}

std::unique_ptr<ChannelProcess> MakeButterworth(bool isLowPass, std::int32_t order, double corner,
                                                Ends ends) {
    return std::make_unique<Butterworth>(isLowPass, order, corner, ends);
}

std::unique_ptr<ChannelProcess> MakeChain(std::vector<std::unique_ptr<ChannelProcess>> links) {
    return std::make_unique<Chain>(std::move(links));
}

}  // namespace kvx::tool
