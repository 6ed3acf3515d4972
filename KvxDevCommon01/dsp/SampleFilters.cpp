// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/SampleFilters.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>
#include <string>
#include <utility>

#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/detail/AlignedProcess.h>
#include <KvxDevCommon01/dsp/detail/FirCoefficients.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

constexpr __int64 kPiece = 4096;  // samples that a filter is fed at once

class Fir : public AlignedProcess {
public:
    Fir(const FirFilter& filter, Ends ends)
        : AlignedProcess(kPiece, Taps(filter), Taps(filter) + filter.delay, std::nullopt, ends) {
        // CMatFir takes the coefficient of the oldest sample first.
        const std::vector<double> turned(filter.coefficients.rbegin(), filter.coefficients.rend());
        if (!filter_.SetCoef(turned.data(), Taps(filter), 0.0) || !filter_.SetOutBufSize(kPiece) ||
            !filter_.PrepFir()) {
            throw std::bad_alloc();
        }
    }

private:
    static __int64 Taps(const FirFilter& filter) { return std::ssize(filter.coefficients); }

    void Run(std::span<const double> samples, std::vector<double>& results) override {
        if (!filter_.SetInputData(samples.data(), std::ssize(samples))) throw std::bad_alloc();
        results.resize(samples.size());
        filter_.GetOutputData(results.data(), std::ssize(samples));
    }

    CMatFir filter_;
};

class Butterworth : public SampleProcess {
public:
    Butterworth(const ButterworthFilter& filter, double corner, Ends ends)
        : isLowPass_(filter.pass == ButterworthFilter::Pass::low), isHeld_(ends == Ends::held) {
        const int isMade = isLowPass_ ? filter_.CalcCoefBwLPF(corner, filter.order)
                                      : filter_.CalcCoefBwHPF(corner, filter.order);
        if (!isMade) throw std::bad_alloc();
    }

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        if (samples.empty()) return;
        if (isHeld_ && !hasBegun_) {
            // Fed a constant for ever, a low-pass stands on it and a high-pass on 0.
            if (isLowPass_) {
                filter_.ClearBuf(samples.front());
            } else {
                level_ = samples.front();
            }
        }
        hasBegun_ = true;
        const std::size_t begin = results.size();
        results.insert(results.end(), samples.begin(), samples.end());
        double* const data = results.data() + begin;
        for (std::size_t i = 0; i < samples.size(); ++i) data[i] -= level_;
        filter_.Filtering(data, data, std::ssize(samples));
    }
    void Finish(std::vector<double>&) override {}

private:
    CMatIirNth filter_;
    const bool isLowPass_;
    const bool isHeld_;
    bool hasBegun_ = false;
    double level_ = 0.0;
};

bool IsLowPass(const ButterworthFilter& filter) {
    return filter.pass == ButterworthFilter::Pass::low;
}

}  // namespace

std::string FilterText(const ButterworthFilter& filter) {
    return std::string("butterworth ") + (IsLowPass(filter) ? "low" : "high") + "-pass of order " +
           std::to_string(filter.order) + " at " + FormatNumber(filter.cornerHz) + " Hz";
}

std::optional<double> LinearPhaseDelay(std::span<const double> coefficients) {
    constexpr double kPrinted = 1e-6;
    double largest = 0.0;
    for (const double coefficient : coefficients) largest = std::max(largest, std::abs(coefficient));
    const auto isMirrored = [&](double sign) {
        return std::equal(coefficients.begin(), coefficients.end(), coefficients.rbegin(),
                          [&](double a, double b) { return std::abs(a - sign * b) <= kPrinted * largest; });
    };
    if (coefficients.empty() || (!isMirrored(1.0) && !isMirrored(-1.0))) return std::nullopt;
    return 0.5 * static_cast<double>(coefficients.size() - 1);
}

FirFilter CentredFir(std::vector<double> coefficients) {
    const auto delay = static_cast<__int64>(LinearPhaseDelay(coefficients).value_or(0.0));
    return {std::move(coefficients), delay};
}

FirFilter BuiltInFir(CMatFir::FIR_COEF set) {
    const std::span<const double> toCentre = StdCoefToCentre(set);
    if (toCentre.empty()) {
        throw Error(ErrorKind::kUnknownName, "there is no built-in filter " + std::to_string(set));
    }
    FirFilter filter = {{toCentre.begin(), toCentre.end()}, std::ssize(toCentre) - 1};
    filter.coefficients.insert(filter.coefficients.end(), toCentre.rbegin() + 1, toCentre.rend());
    return filter;
}

PassedBand BandOf(std::span<const ButterworthFilter> filters) {
    PassedBand band;
    for (const ButterworthFilter& filter : filters) {
        if (IsLowPass(filter)) {
            band.highestHz = std::min(band.highestHz, filter.cornerHz);
        } else {
            band.lowestHz = std::max(band.lowestHz, filter.cornerHz);
        }
    }
    return band;
}

void RequireCorner(double cornerHz, double rateHz) {
    if (!(cornerHz > 0.0)) {
        throw Error(ErrorKind::kBadValue, "a corner of " + FormatNumber(cornerHz) + " Hz is not above 0");
    }
    if (cornerHz < 0.5 * rateHz && std::isfinite(rateHz)) return;
    throw Error(ErrorKind::kBadValue, "a corner of " + FormatNumber(cornerHz) +
                                          " Hz is not below half its rate of " + FormatNumber(rateHz, 10) +
                                          " Hz");
}

bool KeepsLevels(const SampleFilters& filters) {
    constexpr double kRounded = 0.01;
    const auto isLowPass = [](const ButterworthFilter& filter) {
        return filter.pass == ButterworthFilter::Pass::low;
    };
    double gain = 1.0;
    for (const FirFilter& fir : filters.firs)
        gain *= std::accumulate(fir.coefficients.begin(), fir.coefficients.end(), 0.0);
    return std::ranges::all_of(filters.butterworths, isLowPass) && std::abs(gain - 1.0) <= kRounded;
}

std::unique_ptr<SampleProcess> MakeFir(const FirFilter& filter, Ends ends) {
    if (filter.coefficients.empty()) throw Error(ErrorKind::kBadValue, "the filter has no coefficients");
    if (filter.delay < 0) {
        throw Error(ErrorKind::kBadValue,
                    "a delay of " + std::to_string(filter.delay) + " samples cannot be taken out");
    }
    return std::make_unique<Fir>(filter, ends);
}

std::unique_ptr<SampleProcess> MakeButterworth(const ButterworthFilter& filter, double delta, Ends ends) {
    if (filter.order < 1) {
        throw Error(ErrorKind::kBadValue, "an order of " + std::to_string(filter.order) + " is below 1");
    }
    if (filter.order > CMatIirNth::kMaxOrder) {
        throw Error(ErrorKind::kBadValue, "an order of " + std::to_string(filter.order) +
                                              " is above the limit of " +
                                              std::to_string(CMatIirNth::kMaxOrder));
    }
    RequireCorner(filter.cornerHz, 1.0 / delta);
    return std::make_unique<Butterworth>(filter, filter.cornerHz * delta, ends);
}

std::unique_ptr<SampleProcess> MakeSampleFilters(const SampleFilters& filters, double delta) {
    const Ends ends =
        filters.ends.value_or(std::ranges::all_of(filters.butterworths, IsLowPass) ? Ends::held : Ends::zero);
    std::vector<std::unique_ptr<SampleProcess>> links;
    for (const FirFilter& filter : filters.firs) links.push_back(MakeFir(filter, ends));
    for (const ButterworthFilter& filter : filters.butterworths) {
        links.push_back(MakeButterworth(filter, delta, ends));
    }
    return MakeChain(std::move(links));
}

}  // namespace kvx
