// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/ZeroPhase.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

/// Makes the causal filter, which begins settled on its first sample.
using MakeFilter = std::function<std::unique_ptr<SampleProcess>()>;

class ZeroPhase : public SampleProcess {
public:
    ZeroPhase(MakeFilter make, std::size_t memory, Extension extension, std::size_t padding)
        : make_(std::move(make)),
          memory_(memory),
          block_(std::max<std::size_t>(memory, kSmallestBlock)),
          extension_(extension),
          padding_(extension == Extension::none ? 0 : padding),
          forward_(make_()) {}

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        for (; !samples.empty(); samples = samples.subspan(std::min(samples.size(), block_)))
            FeedPiece(samples.first(std::min(samples.size(), block_)), results);
    }

    void Finish(std::vector<double>& results) override {
        if (edge_.empty()) return;
        if (!hasBegun_) Begin(edge_.size() - 1);
        std::reverse(edge_.begin(), edge_.end());
        std::vector<double> beyond = Extended(edge_);
        std::reverse(beyond.begin(), beyond.end());
        const std::size_t due = passed_.size();
        forward_->Feed(beyond, passed_);
        Backward(passed_.size(), due, results);
        passed_.clear();
    }

private:
    static constexpr std::size_t kSmallestBlock = 4096;

    void FeedPiece(std::span<const double> samples, std::vector<double>& results) {
        edge_.insert(edge_.end(), samples.begin(), samples.end());
        if (hasBegun_) {
            forward_->Feed(samples, passed_);
        } else if (edge_.size() > padding_) {
            Begin(padding_);
        }
        if (hasBegun_ && edge_.size() > padding_ + 1)
            edge_.erase(edge_.begin(), edge_.end() - static_cast<std::ptrdiff_t>(padding_ + 1));
        while (passed_.size() >= block_ + memory_) {
            Backward(block_ + memory_, block_, results);
            passed_.erase(passed_.begin(), passed_.begin() + static_cast<std::ptrdiff_t>(block_));
        }
    }

    /// The samples in front of `edge`, which begins at the end of the signal, in the order of time towards
    /// it.
    std::vector<double> Extended(const std::vector<double>& edge) const {
        std::vector<double> beyond(padding_);
        for (std::size_t k = 1; k <= padding_; ++k) {
            double& sample = beyond[padding_ - k];
            if (extension_ == Extension::odd) sample = 2.0 * edge.front() - edge[k];
            if (extension_ == Extension::even) sample = edge[k];
            if (extension_ == Extension::constant) sample = edge.front();
        }
        return beyond;
    }

    /// Takes what waits through the filter, after `padding` samples in front of it.
    void Begin(std::size_t padding) {
        padding_ = std::min(padding_, padding);
        hasBegun_ = true;
        forward_->Feed(Extended(edge_), passed_);
        passed_.clear();
        forward_->Feed(edge_, passed_);
    }

    /// Filters the first `count` of what passed from the last of them on, and appends the first `due`.
    void Backward(std::size_t count, std::size_t due, std::vector<double>& results) {
        turned_.assign(passed_.rend() - static_cast<std::ptrdiff_t>(count), passed_.rend());
        filtered_.clear();
        make_()->Feed(turned_, filtered_);
        results.insert(results.end(), filtered_.rbegin(),
                       filtered_.rbegin() + static_cast<std::ptrdiff_t>(due));
    }

    MakeFilter make_;
    std::size_t memory_;
    std::size_t block_;
    Extension extension_;
    std::size_t padding_;
    std::unique_ptr<SampleProcess> forward_;
    bool hasBegun_ = false;
    std::vector<double> edge_;  ///< the first samples until it begins, then the last ones
    std::vector<double> passed_;
    std::vector<double> turned_;
    std::vector<double> filtered_;
};

std::unique_ptr<SampleProcess> MakeZeroPhase(MakeFilter make, double memory, std::size_t order,
                                             const ZeroPhaseEnds& ends) {
    if (!(memory <= static_cast<double>(kMostZeroPhaseSamples))) {
        throw Error(ErrorKind::kUnsupported, "the filter takes " + FormatNumber(memory) +
                                                 " samples to forget, more than the " +
                                                 std::to_string(kMostZeroPhaseSamples) + " of a zero phase");
    }
    const std::int64_t padding = ends.samples.value_or(static_cast<std::int64_t>(3 * (order + 1)));
    if (padding < 0 || padding > kMostZeroPhaseSamples) {
        throw Error(ErrorKind::kBadValue,
                    "a signal cannot be extended by " + std::to_string(padding) + " samples");
    }
    return std::make_unique<ZeroPhase>(std::move(make), static_cast<std::size_t>(std::ceil(memory)),
                                       ends.extension, static_cast<std::size_t>(padding));
}

/// The zeros or poles that do not lie at 0 in z, whichever are more.
std::size_t OrderOf(std::span<const Biquad> sections) {
    constexpr double kRounding = 1e-15;
    std::size_t zeros = 0;
    std::size_t poles = 0;
    for (const Biquad& section : sections) {
        const SosRow row = RowOf(section);
        zeros += std::abs(row[2]) <= kRounding * std::abs(row[0]) ? 1U : 2U;
        poles += std::abs(row[5]) <= kRounding ? 1U : 2U;
    }
    return std::max(zeros, poles);
}

}  // namespace

std::unique_ptr<SampleProcess> MakeZeroPhase(const SampleFilters& filters, double delta,
                                             const ZeroPhaseEnds& ends) {
    SampleFilters causal = filters;
    causal.ends = Ends::held;
    double memory = 0.0;
    std::size_t order = 0;
    for (FirFilter& fir : causal.firs) {
        fir.delay = 0;
        memory += static_cast<double>(fir.coefficients.size());
        order += std::max<std::size_t>(fir.coefficients.size(), 1) - 1;
    }
    for (const IirFilter& iir : causal.iirs) {
        const std::vector<Biquad> sections = DesignIir(iir, 1.0 / delta);
        memory += SettlingSamples(sections);
        order += OrderOf(sections);
    }
    return MakeZeroPhase([causal, delta] { return MakeSampleFilters(causal, delta); }, memory, order, ends);
}

std::unique_ptr<SampleProcess> MakeZeroPhase(std::span<const Biquad> sections, const ZeroPhaseEnds& ends) {
    RequireStable(sections);
    const std::vector<Biquad> kept(sections.begin(), sections.end());
    return MakeZeroPhase([kept] { return MakeSections(kept, Ends::held); }, SettlingSamples(sections),
                         OrderOf(sections), ends);
}

}  // namespace kvx
