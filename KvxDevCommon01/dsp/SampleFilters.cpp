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
#include <KvxDevCommon01/dsp/detail/IirCascade.h>
#include <KvxDevCommon01/platform/Error.h>

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

/// What recursive filters share: fed a constant for ever, they stand on their gain at 0 Hz times it.
class Recursive : public SampleProcess {
public:
    void Finish(std::vector<double>&) override {}

protected:
    explicit Recursive(Ends ends) : isHeld_(ends == Ends::held) {}

    /// Whether this is where a held signal begins.
    bool BeginsHeld() { return !std::exchange(hasBegun_, true) && isHeld_; }

private:
    const bool isHeld_;
    bool hasBegun_ = false;
};

class Butterworth : public Recursive {
public:
    Butterworth(const IirFilter& filter, double corner, Ends ends)
        : Recursive(ends), isLowPass_(filter.pass == IirFilter::Pass::low) {
        const int isMade = isLowPass_ ? filter_.CalcCoefBwLPF(corner, filter.order)
                                      : filter_.CalcCoefBwHPF(corner, filter.order);
        if (!isMade) throw std::bad_alloc();
    }

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        if (samples.empty()) return;
        if (BeginsHeld()) {
            // Fed a constant for ever, a low-pass stands on it and a high-pass on 0.
            if (isLowPass_) {
                filter_.ClearBuf(samples.front());
            } else {
                level_ = samples.front();
            }
        }
        const std::size_t begin = results.size();
        results.insert(results.end(), samples.begin(), samples.end());
        double* const data = results.data() + begin;
        for (std::size_t i = 0; i < samples.size(); ++i) data[i] -= level_;
        filter_.Filtering(data, data, std::ssize(samples));
    }

private:
    CMatIirNth filter_;
    const bool isLowPass_;
    double level_ = 0.0;
};

/// A section for the loop of IirKernels.h. The pole pair lies nearer to side, 1 or -1, than to -side; the
/// differences that decide there, |side - pole|^2 = leak and those of the numerators, are taken in s, where
/// nothing cancels. Zeros that crowd at side as well are what is left of y - direct x.
IirSection RunningForm(const Biquad& section) {
    const auto& [n0, n1, n2] = section.numerator;
    const auto& [d0, d1, d2] = section.denominator;
    const SosRow row = RowOf(section);
    const double sum = d2 + d1 + d0;
    IirSection running;
    running.side = d0 <= (d2 == 0.0 ? d1 : d2) ? 1.0 : -1.0;
    const bool isLow = running.side > 0.0;
    if (n2 == 0.0 && d2 == 0.0) {
        running.leak = 2.0 * (isLow ? d0 : d1) / sum;
        running.glide = -running.side * running.leak;
        running.n0 = row[0];
        running.n1 = row[1];
        return running;
    }
    running.leak = 4.0 * (isLow ? d0 : d2) / sum;
    running.glide = running.side * (row[5] - running.leak);
    const bool areZerosAtSide = isLow ? std::abs(n0) < std::abs(n2) : std::abs(n2) < std::abs(n0);
    if (!areZerosAtSide) {
        running.n0 = row[0];
        running.n1 = row[1];
        running.n2 = row[2];
        return running;
    }
    // b1 - b0 a1 and b2 - b0 a2, and the sum of the first and side times the second.
    running.direct = row[0];
    running.n2 = 2.0 * (d1 / sum * ((n2 + n0) / sum) - n1 / sum * ((d2 + d0) / sum));
    const double both = isLow ? 4.0 * (n0 / sum * ((d2 + d1) / sum) - d0 / sum * ((n2 + n1) / sum))
                              : 4.0 * (d2 / sum * ((n0 + n1) / sum) - n2 / sum * ((d1 + d0) / sum));
    running.n1 = both - running.side * running.n2;
    return running;
}

class Sections : public Recursive {
public:
    Sections(std::span<const Biquad> sections, Ends ends)
        : Recursive(ends),
          groups_(static_cast<std::size_t>(IirCascade::GroupsFor(static_cast<int>(sections.size())))),
          count_(static_cast<int>(sections.size())) {
        IirCascade::Filler filler({groups_.data(), count_});
        for (const Biquad& section : sections) {
            filler.Add(RunningForm(section));
            constantGain_ *= section.numerator[0] / section.denominator[0];
        }
    }

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        if (samples.empty()) return;
        // What the filter makes of the first sample for ever is known; it filters what differs from that.
        if (BeginsHeld()) {
            level_ = samples.front();
            rest_ = level_ * constantGain_;
        }
        const std::size_t begin = results.size();
        results.insert(results.end(), samples.begin(), samples.end());
        double* const data = results.data() + begin;
        for (std::size_t i = 0; i < samples.size(); ++i) data[i] -= level_;
        IirCascade{groups_.data(), count_}.Filter(data, data, std::ssize(samples));
        for (std::size_t i = 0; i < samples.size(); ++i) data[i] += rest_;
    }

private:
    std::vector<IirGroup> groups_;
    int count_;
    double constantGain_ = 1.0;
    double level_ = 0.0;
    double rest_ = 0.0;
};

bool IsPlainButterworth(const IirFilter& filter) {
    using Pass = IirFilter::Pass;
    return filter.family == IirFilter::Family::butterworth &&
           (filter.pass == Pass::low || filter.pass == Pass::high);
}

}  // namespace

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

bool KeepsLevels(const SampleFilters& filters) {
    constexpr double kRounded = 0.01;
    double gain = 1.0;
    for (const FirFilter& fir : filters.firs)
        gain *= std::accumulate(fir.coefficients.begin(), fir.coefficients.end(), 0.0);
    for (const IirFilter& iir : filters.iirs) gain *= GainAtZero(iir);
    return std::abs(gain - 1.0) <= kRounded;
}

std::unique_ptr<SampleProcess> MakeFir(const FirFilter& filter, Ends ends) {
    if (filter.coefficients.empty()) throw Error(ErrorKind::kBadValue, "the filter has no coefficients");
    if (filter.delay < 0) {
        throw Error(ErrorKind::kBadValue,
                    "a delay of " + std::to_string(filter.delay) + " samples cannot be taken out");
    }
    return std::make_unique<Fir>(filter, ends);
}

std::unique_ptr<SampleProcess> MakeIir(const IirFilter& filter, double delta, Ends ends) {
    RequireFilter(filter, 1.0 / delta);
    if (IsPlainButterworth(filter))
        return std::make_unique<Butterworth>(filter, filter.cornerHz * delta, ends);
    return std::make_unique<Sections>(DesignIir(filter, 1.0 / delta), ends);
}

std::unique_ptr<SampleProcess> MakeSections(std::span<const Biquad> sections, Ends ends) {
    RequireStable(sections);
    return std::make_unique<Sections>(sections, ends);
}

std::unique_ptr<SampleProcess> MakeSampleFilters(const SampleFilters& filters, double delta) {
    const bool blocks = std::ranges::any_of(filters.iirs, &IirFilter::BlocksConstants);
    const Ends ends = filters.ends.value_or(blocks ? Ends::zero : Ends::held);
    std::vector<std::unique_ptr<SampleProcess>> links;
    for (const FirFilter& filter : filters.firs) links.push_back(MakeFir(filter, ends));
    for (const IirFilter& filter : filters.iirs) links.push_back(MakeIir(filter, delta, ends));
    return MakeChain(std::move(links));
}

}  // namespace kvx
