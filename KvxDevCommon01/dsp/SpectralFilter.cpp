// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/SpectralFilter.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/detail/AlignedProcess.h>
#include <KvxDevCommon01/dsp/detail/FrameConvolution.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

constexpr __int64 kPiece = 4096;  // samples that pass at once

using Kind = SpectralFilter::Kind;
using Response = std::shared_ptr<const SpectralResponse>;

/// Throws Error for values outside the ranges that the declaration gives.
void Require(const SpectralFilter& filter, double rateHz, std::optional<__int64> block) {
    const auto refuse = [](const std::string& sentence) { throw Error(ErrorKind::kBadValue, sentence); };
    if (!filter.lowPassHz && !filter.highPassHz) refuse("the filter has no corner");
    for (const std::optional<double>& corner : {filter.lowPassHz, filter.highPassHz}) {
        if (corner) RequireCorner(*corner, rateHz);
    }
    if (filter.lowPassHz && filter.highPassHz && *filter.lowPassHz < *filter.highPassHz) {
        refuse("a low-pass at " + FormatNumber(*filter.lowPassHz) + " Hz and a high-pass at " +
               FormatNumber(*filter.highPassHz) + " Hz leave no band");
    }
    const bool isOrder = filter.kind == Kind::butterworth ? filter.order == std::floor(filter.order) &&
                                                                filter.order >= 1.0 && filter.order <= 16.0
                                                          : filter.order > 0.0 && std::isfinite(filter.order);
    if (!isOrder) refuse("the filter cannot have the order " + FormatNumber(filter.order));
    if (!(filter.q > 0.0 && std::isfinite(filter.q))) {
        refuse("the filter cannot have the quality " + FormatNumber(filter.q));
    }
    if (block && !(*block >= kSmallestSpectralBlock && *block <= kLargestSpectralBlock &&
                   CMatBasic::GreaterEqPow2(*block) == *block)) {
        refuse("a block of " + std::to_string(*block) + " samples is not a power of two from " +
               std::to_string(kSmallestSpectralBlock) + " to " + std::to_string(kLargestSpectralBlock));
    }
}

/// Periods of the lowest corner that a block must hold, so that an analogue filter's impulse response falls
/// by the factor e^decay within the quarter of a block that counts, and a gain is as sharp beside its corner.
double BlockPeriods(const SpectralFilter& filter, double decay) {
    if (!filter.IsAnalogue()) return 2.0 * decay;
    double q = 0.5;
    // The least damped section of a Butterworth filter; below 1/2 the slower of two real poles.
    if (filter.kind == Kind::butterworth) {
        q = std::max(q, 0.5 / std::sin(0.5 * std::numbers::pi / filter.order));
    } else if (filter.kind == Kind::second) {
        const double damping = 0.5 / filter.q;
        q = damping < 1.0 ? filter.q : 0.5 * (damping + std::sqrt(damping * damping - 1.0));
    }
    return 4.0 * decay * q / std::numbers::pi;
}

__int64 ChooseBlock(const SpectralFilter& filter, double rateHz, std::optional<__int64> wish) {
    // To a millionth where blocks can be that long, to a thousandth everywhere.
    constexpr double kWanted = 13.8;
    constexpr double kRequired = 6.9;
    constexpr double kUsual = 4096.0;
    constexpr double kLargest = kLargestSpectralBlock;
    const double lowestHz = std::min(filter.lowPassHz.value_or(rateHz), filter.highPassHz.value_or(rateHz));
    const double required = BlockPeriods(filter, kRequired) * rateHz / lowestHz;
    const double wanted = std::max(BlockPeriods(filter, kWanted) * rateHz / lowestHz, kUsual);
    const __int64 block =
        wish.value_or(CMatBasic::GreaterEqPow2(static_cast<__int64>(std::min(std::ceil(wanted), kLargest))));
    if (static_cast<double>(block) < required) {
        throw Error(ErrorKind::kUnsupported, "a corner of " + FormatNumber(lowestHz) + " Hz at its rate of " +
                                                 FormatNumber(rateHz, 10) + " Hz needs blocks of more than " +
                                                 std::to_string(block) + " samples");
    }
    return block;
}

/// Multiplies the lines by the low-pass or the high-pass. A gain that ends beyond the last line leaves all
/// lines alone, and says so.
void Apply(const SpectralFilter& filter, bool isLowPass, double spacingHz, double cornerHz,
           CDataArrayDoubleCplx* lines) {
    const auto apply = [&](auto lowPass, auto highPass, auto... parameter) {
        (isLowPass ? lowPass : highPass)(lines, 0.0, spacingHz, cornerHz, parameter...);
    };
    switch (filter.kind) {
        case Kind::first:
            return apply(CMatBasic::SpecLPF1Ex, CMatBasic::SpecHPF1Ex);
        case Kind::second:
            return apply(CMatBasic::SpecLPF2Ex, CMatBasic::SpecHPF2Ex, filter.q);
        case Kind::butterworth:
            return apply(CMatBasic::SpecBwLPFN, CMatBasic::SpecBwHPFN,
                         static_cast<std::int32_t>(filter.order));
        case Kind::slope:
            return apply(CMatBasic::SpecLinLPFN, CMatBasic::SpecLinHPFN, filter.order);
        case Kind::cut:
            return apply(CMatBasic::SpecTrancLPF, CMatBasic::SpecTrancHPF);
    }
}

/// Frame by frame, with the arithmetic of CMatBasic::SpecFiltering.
class FrameFilter : public AlignedProcess {
public:
    FrameFilter(Response response, Ends ends)
        // The first frame lies before the signal. What comes out lags by two frames.
        : AlignedProcess(kPiece, Hop(*response), 3 * Hop(*response), std::nullopt, ends),
          response_(std::move(response)),
          line_(static_cast<std::size_t>(2 * Hop(*response_))),
          hop_(line_.size() / 2) {
        if (!convolver_.Begin(response_->block, response_->lines)) throw std::bad_alloc();
    }

private:
    static __int64 Hop(const SpectralResponse& response) { return response.block / 4; }

    void Run(std::span<const double> samples, std::vector<double>& results) override {
        if (filled_ == 0) {  // with what lies before the signal
            std::fill_n(line_.begin(), hop_, samples.front());
            filled_ = hop_;
        }
        while (!samples.empty()) {
            const std::size_t count = std::min(samples.size(), line_.size() - filled_);
            std::ranges::copy(samples.first(count), line_.begin() + static_cast<std::ptrdiff_t>(filled_));
            samples = samples.subspan(count);
            filled_ += count;
            if (filled_ < line_.size()) continue;
            std::ranges::copy(line_, convolver_.Frame());
            const double* const completed = convolver_.Convolve();
            if (completed == nullptr) throw std::bad_alloc();
            results.insert(results.end(), completed, completed + hop_);
            std::copy_n(line_.end() - static_cast<std::ptrdiff_t>(hop_), hop_, line_.begin());
            filled_ = hop_;
        }
    }

    const Response response_;
    FrameConvolver convolver_;
    std::vector<double> line_;  ///< the samples of the next frame
    const std::size_t hop_;
    std::size_t filled_ = 0;
};

class PeriodicFilter : public SampleProcess {
public:
    explicit PeriodicFilter(Response response) : response_(std::move(response)) {}

    void Feed(std::span<const double> samples, std::vector<double>&) override {
        samples_.insert(samples_.end(), samples.begin(), samples.end());
    }
    void Finish(std::vector<double>& results) override {
        if (samples_.empty()) return;
        const std::size_t begin = results.size();
        results.resize(begin + samples_.size());
        const CDataArrayDoubleCplx& lines = response_->lines;
        if (!FilterStretch(samples_.data(), results.data() + begin, std::ssize(samples_),
                           CMatBasic::TERM_PERIODIC, {lines.GetReal(), lines.GetImaginary(), lines.GetNum()},
                           response_->block, 0, std::ssize(samples_) - 1)) {
            throw std::bad_alloc();
        }
        samples_ = {};
    }

private:
    const Response response_;
    std::vector<double> samples_;
};

}  // namespace

std::string FilterText(const SpectralFilter& filter) {
    const auto* const named = std::ranges::find(kFilterKinds, filter.kind, &NamedFilterKind::kind);
    std::string text(named != kFilterKinds.end() ? named->name : "");
    if (filter.HasQ()) text += " q " + FormatNumber(filter.q, 4);
    if (filter.HasOrder()) text += " order " + FormatNumber(filter.order, 4);
    if (filter.highPassHz) text += ", high-pass " + FormatNumber(*filter.highPassHz) + " Hz";
    if (filter.lowPassHz) text += ", low-pass " + FormatNumber(*filter.lowPassHz) + " Hz";
    return text;
}

SpectralResponse DesignSpectralFilter(const SpectralFilter& filter, double rateHz,
                                      std::optional<__int64> wish) {
    Require(filter, rateHz, wish);
    const __int64 block = ChooseBlock(filter, rateHz, wish);
    // A gain has no end in time of its own. Designed on a block of half the size, it is given one.
    const __int64 designBlock = filter.IsAnalogue() ? block : block / 2;
    const double spacingHz = rateHz / static_cast<double>(designBlock);
    SpectralResponse response = {block, CDataArrayDoubleCplx(1, designBlock / 2)};
    if (response.lines.GetImaginary() == nullptr) throw std::bad_alloc();
    std::fill_n(response.lines.GetReal(), response.lines.GetNum(), 1.0);
    if (filter.lowPassHz) Apply(filter, true, spacingHz, *filter.lowPassHz, &response.lines);
    if (filter.highPassHz) Apply(filter, false, spacingHz, *filter.highPassHz, &response.lines);
    if (filter.IsAnalogue()) return response;

    CDataArrayDoubleCplx limited, workSpectrum;
    CDataArrayDouble workWave, workImaginary;
    const auto dcMode = filter.highPassHz ? CMatBasic::IXFR_DC_ZERO : CMatBasic::IXFR_DC_FIRST_LINE;
    if (!CMatBasic::CalcConvolCoef(response.lines, &limited, &workSpectrum, &workWave, designBlock,
                                   &workImaginary, 0.5, 0.5, dcMode, 0.0, 0.0)) {
        throw std::bad_alloc();
    }
    response.lines = std::move(limited);
    return response;
}

std::unique_ptr<SampleProcess> MakeSpectralFilter(Response response, CMatBasic::DATA_TERM term) {
    if (!response) throw Error(ErrorKind::kBadValue, "a spectral filter needs a response");
    const CDataArrayDoubleCplx& lines = response->lines;
    if (!IsTerm(term) || !IsFrameBlock(response->block) || lines.GetNum() < response->block / 2 ||
        lines.GetReal() == nullptr || lines.GetImaginary() == nullptr) {
        throw Error(ErrorKind::kBadValue, "the response does not fit its block, or the ends are unknown");
    }
    if (term == CMatBasic::TERM_PERIODIC) return std::make_unique<PeriodicFilter>(std::move(response));
    return std::make_unique<FrameFilter>(std::move(response),
                                         term == CMatBasic::TERM_HOLD ? Ends::held : Ends::zero);
}

}  // namespace kvx
