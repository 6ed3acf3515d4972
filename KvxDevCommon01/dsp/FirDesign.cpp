// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/FirDesign.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

using std::numbers::pi;

/// The modified Bessel function of order 0 by its series, all of whose terms are above 0.
double BesselI0(double x) {
    const double quarter = 0.25 * x * x;
    double term = 1.0;
    double sum = 1.0;
    for (int k = 1; term > 1e-17 * sum; ++k) {
        term *= quarter / (static_cast<double>(k) * k);
        sum += term;
    }
    return sum;
}

void RequireBands(std::span<const FirBand> bands) {
    double end = -1.0;
    for (const FirBand& band : bands) {
        const bool isInOrder = band.low >= 0.0 && band.low > end && band.low < band.high && band.high <= 0.5;
        if (!isInOrder || !std::isfinite(band.gain) || !(band.weight > 0.0) || !std::isfinite(band.weight)) {
            throw Error(ErrorKind::kBadValue, "the band from " + FormatNumber(band.low) + " to " +
                                                  FormatNumber(band.high) +
                                                  " of the rate is out of order, range or weight");
        }
        end = band.high;
    }
    if (bands.empty()) throw Error(ErrorKind::kBadValue, "a filter has one or more bands");
}

void RequireTaps(std::size_t taps, std::size_t least, std::size_t most, std::span<const FirBand> bands) {
    if (taps < least || taps > most) {
        throw Error(ErrorKind::kBadValue, std::to_string(taps) + " taps are not from " +
                                              std::to_string(least) + " to " + std::to_string(most));
    }
    if (taps % 2 == 0 && bands.back().high == 0.5 && bands.back().gain != 0.0) {
        throw Error(ErrorKind::kBadValue, "an even number of taps, " + std::to_string(taps) +
                                              ", lets nothing pass at half the rate");
    }
}

/// The gain of symmetric coefficients, which has a sign.
double Amplitude(std::span<const double> h, double part) {
    const double middle = 0.5 * static_cast<double>(h.size() - 1);
    double sum = 0.0;
    for (std::size_t k = 0; k < h.size(); ++k)
        sum += h[k] * std::cos(2.0 * pi * part * (static_cast<double>(k) - middle));
    return sum;
}

// ---- the exchange of Remez ----

using Exact = long double;

/// A frequency with what is wanted there of the polynomial in cos(2 pi part).
struct GridPoint {
    double part;
    Exact x;
    Exact wanted;
    Exact weight;
};

/// The polynomial through values at extremal points, by barycentric interpolation.
class Interpolation {
public:
    /// Of `points`, whose x fall: the polynomial of one degree less that misses what is wanted by a level
    /// over the weight, up and down in turn.
    explicit Interpolation(const std::vector<GridPoint>& points) : x_(points.size()), value_(points.size()) {
        std::vector<Exact> logs(points.size(), 0.0L);
        for (std::size_t k = 0; k < points.size(); ++k) {
            x_[k] = points[k].x;
            for (std::size_t j = 0; j < points.size(); ++j) {
                if (j != k) logs[k] -= std::log(2.0L * std::abs(points[k].x - points[j].x));
            }
        }
        const Exact largest = *std::ranges::max_element(logs);
        Exact above = 0.0L;
        Exact below = 0.0L;
        for (std::size_t k = 0; k < points.size(); ++k) {
            const Exact sign = k % 2 == 0 ? 1.0L : -1.0L;
            weight_.push_back(sign * std::exp(logs[k] - largest));
            above += weight_[k] * points[k].wanted;
            below += sign * weight_[k] / points[k].weight;
        }
        level_ = above / below;
        for (std::size_t k = 0; k < points.size(); ++k)
            value_[k] = points[k].wanted - (k % 2 == 0 ? level_ : -level_) / points[k].weight;
    }
    Exact Level() const { return level_; }
    Exact At(Exact x) const {
        Exact above = 0.0L;
        Exact below = 0.0L;
        for (std::size_t k = 0; k < x_.size(); ++k) {
            const Exact distance = x - x_[k];
            if (distance == 0.0L) return value_[k];
            const Exact part = weight_[k] / distance;
            above += part * value_[k];
            below += part;
        }
        return above / below;
    }

private:
    std::vector<Exact> x_, value_, weight_;
    Exact level_ = 0.0L;
};

/// The exchange for symmetric coefficients; with an even number cos(pi part) is a factor of the gain.
class Exchange {
public:
    Exchange(std::size_t taps, std::span<const FirBand> bands)
        : taps_(taps), isOdd_(taps % 2 != 0), count_(isOdd_ ? (taps + 1) / 2 : taps / 2) {
        const double step = 0.5 / (kDensity * static_cast<double>(count_));
        for (const FirBand& band : bands) {
            const double high = !isOdd_ && band.high == 0.5 ? 0.5 - 0.01 * step : band.high;
            const auto points = static_cast<std::size_t>(std::ceil((high - band.low) / step)) + 1;
            starts_.push_back(grid_.size());
            for (std::size_t i = 0; i < points; ++i) {
                const double part = static_cast<double>(i) / static_cast<double>(points - 1);
                grid_.push_back(PointAt(band.low + (high - band.low) * part, band));
            }
            bands_.push_back(band);
        }
        starts_.push_back(grid_.size());
        if (grid_.size() < count_ + 1)
            throw Error(ErrorKind::kBadValue, "the bands are too narrow for the taps");
    }

    EquirippleFir Run() {
        constexpr int kMostRounds = 100;
        constexpr Exact kEqual = 1e-9L;
        std::vector<GridPoint> extremes = FirstExtremes();
        for (int round = 0; round < kMostRounds; ++round) {
            const Interpolation polynomial(extremes);
            Exact largest = 0.0L;
            std::vector<GridPoint> next = ExtremesOf(polynomial, extremes, largest);
            if (next.size() != count_ + 1) break;
            const Exact level = std::abs(polynomial.Level());
            extremes = std::move(next);
            if (!(largest > level * (1.0L + kEqual)) || largest < 1e-15L) {
                found_ = extremes;
                return {CoefficientsOf(polynomial), static_cast<double>(largest)};
            }
        }
        throw Error(ErrorKind::kUnsupported,
                    "the exchange for " + std::to_string(taps_) +
                        " taps does not settle; fewer taps, or wider transitions, help");
    }

private:
    static constexpr double kDensity = 16.0;

    GridPoint PointAt(double part, const FirBand& band) const {
        const Exact factor = isOdd_ ? 1.0L : std::cos(std::numbers::pi_v<Exact> * static_cast<Exact>(part));
        return {part, std::cos(2.0L * std::numbers::pi_v<Exact> * static_cast<Exact>(part)),
                static_cast<Exact>(band.gain) / factor, static_cast<Exact>(band.weight) * factor};
    }
    static Exact ErrorAt(const Interpolation& polynomial, const GridPoint& point) {
        return point.weight * (point.wanted - polynomial.At(point.x));
    }

    /// Where the exchange begins: evenly on the grid or, of many taps, spread as the extremes for half as
    /// many lie. Even points can be so far from the extremes that the error at them is lost to rounding.
    std::vector<GridPoint> FirstExtremes() const {
        constexpr std::size_t kFew = 24;
        std::vector<GridPoint> points;
        if (count_ <= kFew) {
            for (std::size_t k = 0; k <= count_; ++k)
                points.push_back(grid_[k * (grid_.size() - 1) / count_]);
            return points;
        }
        const std::size_t half = count_ / 2;
        Exchange coarse(isOdd_ ? 2 * half - 1 : 2 * half, bands_);
        coarse.Run();
        std::size_t left = count_ + 1;
        std::size_t from = coarse.found_.size();
        auto first = coarse.found_.begin();
        for (const FirBand& band : bands_) {
            const auto end = std::find_if(first, coarse.found_.end(),
                                          [&](const GridPoint& point) { return point.part > band.high; });
            const auto own = static_cast<std::size_t>(end - first);
            const std::size_t count = from == 0 ? 0 : (left * own + from / 2) / from;
            for (std::size_t k = 0; k < count; ++k) {
                // Between the extremes of the band or, where these are not two, its ends.
                double part = band.low + (band.high - band.low) * (static_cast<double>(k) + 0.5) /
                                             static_cast<double>(count);
                if (own > 1 && count > 1) {
                    const double at = static_cast<double>(k * (own - 1)) / static_cast<double>(count - 1);
                    const auto before = std::min(static_cast<std::size_t>(at), own - 2);
                    const double low = first[static_cast<std::ptrdiff_t>(before)].part;
                    const double high = first[static_cast<std::ptrdiff_t>(before) + 1].part;
                    part = low + (high - low) * (at - static_cast<double>(before));
                }
                points.push_back(PointAt(part, band));
            }
            left -= count;
            from -= own;
            first = end;
        }
        return points;
    }

    /// Adds the points of a band where the error is larger than beside, by a parabola through three of the
    /// grid.
    void AddPeaks(const Interpolation& polynomial, std::size_t band, std::vector<GridPoint>& peaks) const {
        const std::span<const GridPoint> grid =
            std::span(grid_).subspan(starts_[band], starts_[band + 1] - starts_[band]);
        std::vector<Exact> error;
        for (const GridPoint& point : grid) error.push_back(ErrorAt(polynomial, point));
        for (std::size_t i = 0; i < error.size(); ++i) {
            const bool isFirst = i == 0, isLast = i + 1 == error.size();
            const auto isHigher = [&](Exact other) { return other * error[i] > error[i] * error[i]; };
            if ((!isFirst && isHigher(error[i - 1])) || (!isLast && isHigher(error[i + 1]))) continue;
            peaks.push_back(grid[i]);
            if (error.size() < 3) continue;
            // By parabolas, ever narrower; at an end of the band the top may lie beside it.
            const FirBand& own = bands_[band];
            double part = grid[std::clamp<std::size_t>(i, 1, error.size() - 2)].part;
            double step = grid[1].part - grid[0].part;
            for (int round = 0; round < 4; ++round) {
                part = std::clamp(part, own.low + step, grid.back().part - step);
                const auto at = [&](double place) { return ErrorAt(polynomial, PointAt(place, own)); };
                const Exact left = at(part - step), middle = at(part), right = at(part + step);
                const Exact curve = left - 2.0L * middle + right;
                if (curve == 0.0L) break;
                part += std::clamp(static_cast<double>(0.5L * (left - right) / curve), -1.0, 1.0) * step;
                step *= 0.25;
            }
            peaks.push_back(PointAt(part, own));
        }
    }

    /// The extremes of the error, of alternating sign, one more than there are coefficients of the
    /// polynomial. The points that the polynomial was made of are among those they are taken from: there the
    /// error alternates, so that there are enough. `largest` becomes the largest error of all.
    std::vector<GridPoint> ExtremesOf(const Interpolation& polynomial, std::vector<GridPoint> candidates,
                                      Exact& largest) const {
        for (std::size_t b = 0; b < bands_.size(); ++b) AddPeaks(polynomial, b, candidates);
        std::ranges::sort(candidates, {}, &GridPoint::part);
        std::vector<GridPoint> points;
        std::vector<Exact> errors;
        for (const GridPoint& point : candidates) {
            const Exact error = ErrorAt(polynomial, point);
            largest = std::max(largest, std::abs(error));
            if (!errors.empty() && errors.back() * error > 0.0L) {
                if (std::abs(error) <= std::abs(errors.back())) continue;
                points.pop_back();
                errors.pop_back();
            }
            points.push_back(point);
            errors.push_back(error);
        }
        while (points.size() > count_ + 1) {
            const auto drop = [&](std::size_t first, std::size_t number) {
                const auto begin = static_cast<std::ptrdiff_t>(first),
                           end = begin + static_cast<std::ptrdiff_t>(number);
                points.erase(points.begin() + begin, points.begin() + end);
                errors.erase(errors.begin() + begin, errors.begin() + end);
            };
            const std::size_t smallest = static_cast<std::size_t>(
                std::ranges::min_element(errors, {}, [](Exact error) { return std::abs(error); }) -
                errors.begin());
            if (points.size() == count_ + 2 || smallest == 0 || smallest + 1 == points.size()) {
                drop(std::abs(errors.front()) < std::abs(errors.back()) ? 0 : points.size() - 1, 1);
            } else {
                // With a neighbour, so that the signs go on in turn.
                drop(
                    std::abs(errors[smallest - 1]) < std::abs(errors[smallest + 1]) ? smallest - 1 : smallest,
                    2);
            }
        }
        return points;
    }

    /// By the transform of the gain at `taps` frequencies.
    std::vector<double> CoefficientsOf(const Interpolation& polynomial) const {
        std::vector<Exact> gains;
        const Exact turn = 2.0L * std::numbers::pi_v<Exact> / static_cast<Exact>(taps_);
        for (std::size_t m = 0; 2 * m < taps_; ++m) {
            const Exact angle = turn * static_cast<Exact>(m);
            gains.push_back(polynomial.At(std::cos(angle)) * (isOdd_ ? 1.0L : std::cos(0.5L * angle)));
        }
        std::vector<double> h(taps_);
        const Exact middle = 0.5L * static_cast<Exact>(taps_ - 1);
        for (std::size_t n = 0; 2 * n < taps_ + 1; ++n) {
            Exact sum = gains[0];
            for (std::size_t m = 1; m < gains.size(); ++m) {
                sum += 2.0L * gains[m] *
                       std::cos(turn * static_cast<Exact>(m) * (static_cast<Exact>(n) - middle));
            }
            h[n] = h[taps_ - 1 - n] = static_cast<double>(sum / static_cast<Exact>(taps_));
        }
        return h;
    }

    std::size_t taps_;
    bool isOdd_;
    std::size_t count_;  // coefficients of the polynomial
    std::vector<FirBand> bands_;
    std::vector<GridPoint> grid_;
    std::vector<std::size_t> starts_;  // of the bands in the grid
    std::vector<GridPoint> found_;     // the extremes that came of it
};

constexpr std::size_t kMostEquirippleTaps = 2000;
constexpr std::size_t kMostKaiserTaps = 100000;

/// The bands that requirements ask for, errors weighted by what is allowed.
std::vector<FirBand> BandsOf(const FirRequirements& wanted, double rateHz, double ripple, double rest) {
    using Pass = IirFilter::Pass;
    const double corner = wanted.cornerHz / rateHz, upper = wanted.upperHz / rateHz;
    const double width = wanted.transitionHz / rateHz;
    const auto pass = [&](double low, double high) { return FirBand{low, high, 1.0, rest / ripple}; };
    const auto stop = [](double low, double high) { return FirBand{low, high, 0.0, 1.0}; };
    switch (wanted.pass) {
        case Pass::low:
            return {pass(0.0, corner), stop(corner + width, 0.5)};
        case Pass::high:
            return {stop(0.0, corner - width), pass(corner, 0.5)};
        case Pass::band:
            return {stop(0.0, corner - width), pass(corner, upper), stop(upper + width, 0.5)};
        case Pass::stop:
            return {pass(0.0, corner), stop(corner + width, upper - width), pass(upper, 0.5)};
        default:
            throw Error(ErrorKind::kBadValue,
                        "a FIR filter is a low-pass, a high-pass, a band-pass or a band-stop");
    }
}

}  // namespace

double KaiserBeta(double attenuationDb) {
    if (attenuationDb > 50.0) return 0.1102 * (attenuationDb - 8.7);
    if (attenuationDb > 21.0)
        return 0.5842 * std::pow(attenuationDb - 21.0, 0.4) + 0.07886 * (attenuationDb - 21.0);
    return 0.0;
}

double KaiserTaps(double attenuationDb, double width) {
    return std::ceil((attenuationDb - 7.95) / (2.285 * 2.0 * pi * width) + 1.0);
}

double KaiserWindow(double part, double beta) {
    return BesselI0(beta * std::sqrt(std::max(0.0, 1.0 - part * part))) / BesselI0(beta);
}

std::vector<double> DesignKaiser(std::size_t taps, double beta, std::span<const FirBand> bands) {
    RequireBands(bands);
    RequireTaps(taps, 1, kMostKaiserTaps, bands);
    const double middle = 0.5 * static_cast<double>(taps - 1);
    std::vector<double> h(taps, 0.0);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        if (bands[b].gain == 0.0) continue;
        const double low =
            b == 0 ? (bands[b].low == 0.0 ? 0.0 : bands[b].low) : 0.5 * (bands[b - 1].high + bands[b].low);
        const double high = b + 1 == bands.size() ? bands[b].high : 0.5 * (bands[b].high + bands[b + 1].low);
        for (std::size_t k = 0; k < taps; ++k) {
            const double time = static_cast<double>(k) - middle;
            const auto sinc = [&](double edge) {
                return time == 0.0 ? 2.0 * edge : std::sin(2.0 * pi * edge * time) / (pi * time);
            };
            h[k] += bands[b].gain * (sinc(high) - sinc(low));
        }
    }
    for (std::size_t k = 0; k < taps; ++k)
        h[k] *= middle == 0.0 ? 1.0 : KaiserWindow((static_cast<double>(k) - middle) / middle, beta);
    const auto passing = std::ranges::find_if(bands, [](const FirBand& band) { return band.gain != 0.0; });
    if (passing == bands.end()) throw Error(ErrorKind::kBadValue, "no band of the filter passes");
    const double place = passing->low == 0.0    ? 0.0
                         : passing->high == 0.5 ? 0.5
                                                : 0.5 * (passing->low + passing->high);
    const double scale = passing->gain / Amplitude(h, place);
    for (double& coefficient : h) coefficient *= scale;
    return h;
}

EquirippleFir DesignEquiripple(std::size_t taps, std::span<const FirBand> bands) {
    RequireBands(bands);
    RequireTaps(taps, 3, kMostEquirippleTaps, bands);
    return Exchange(taps, bands).Run();
}

std::string FilterText(const FirRequirements& requirements) {
    using Pass = IirFilter::Pass;
    const bool isEquiripple = requirements.method == FirRequirements::Method::equiripple;
    const bool isBand = requirements.pass == Pass::band || requirements.pass == Pass::stop;
    constexpr std::array kPasses = {" low-pass", " high-pass", " band-pass", " band-stop"};
    return std::string(isEquiripple ? "equiripple" : "kaiser") +
           kPasses[static_cast<std::size_t>(requirements.pass) % kPasses.size()] +
           (isBand ? " from " : " at ") + FormatNumber(requirements.cornerHz) +
           (isBand ? " to " + FormatNumber(requirements.upperHz) : std::string()) + " Hz, transition " +
           FormatNumber(requirements.transitionHz) + " Hz";
}

DesignedFir DesignFir(const FirRequirements& wanted, double rateHz) {
    const auto require = [](double value, const char* what) {
        if (!(value > 0.0) || !std::isfinite(value))
            throw Error(ErrorKind::kBadValue,
                        std::string(what) + " of " + FormatNumber(value) + " is not above 0");
    };
    RequireCorner(wanted.cornerHz, rateHz);
    require(wanted.transitionHz, "a transition in Hz");
    require(wanted.rippleDb, "a ripple in dB");
    require(wanted.attenuationDb, "an attenuation in dB");
    // Half a ripple up and half down; down is more dB.
    const double ripple = -std::expm1(-wanted.rippleDb * std::numbers::ln10 / 20.0);
    const double rest = std::pow(10.0, wanted.attenuationDb / -20.0);
    const std::vector<FirBand> bands = BandsOf(wanted, rateHz, ripple, rest);
    RequireBands(bands);
    const double width = wanted.transitionHz / rateHz;
    const auto finished = [&](std::vector<double> h) {
        double up = 0.0;
        double left = 0.0;
        for (const FirBand& band : bands) {
            double& worst = band.gain > 0.0 ? up : left;
            worst = std::max(worst, WorstError(h, band));
        }
        return DesignedFir{CentredFir(std::move(h)), -20.0 * std::log10(1.0 - std::min(up, 1.0)),
                           -20.0 * std::log10(left)};
    };
    const auto keeps = [&](const DesignedFir& design) {
        constexpr double kRounding = 1e-6;
        return design.rippleDb <= wanted.rippleDb + kRounding &&
               design.attenuationDb >= wanted.attenuationDb - kRounding;
    };
    const auto isTooLong = [](double taps, std::size_t most) {
        if (!(taps <= static_cast<double>(most))) {
            throw Error(ErrorKind::kUnsupported,
                        "the filter takes more than " + std::to_string(most) + " taps");
        }
    };
    if (wanted.method == FirRequirements::Method::kaiser) {
        // The window makes both errors alike. Its formula is within a few taps.
        const double depth = -20.0 * std::log10(std::min(ripple, rest));
        for (double more = 0.0;; more += 0.25) {
            const double taps = 2.0 * std::floor(0.5 * KaiserTaps(std::max(depth + more, 10.0), width)) + 1.0;
            isTooLong(taps, kMostKaiserTaps);
            DesignedFir design = finished(DesignKaiser(static_cast<std::size_t>(taps),
                                                       KaiserBeta(std::max(depth + more, 10.0)), bands));
            if (keeps(design)) return design;
        }
    }
    const double estimate = (-20.0 * std::log10(std::sqrt(ripple * rest)) - 13.0) / (14.6 * width) + 1.0;
    isTooLong(estimate, kMostEquirippleTaps);
    auto taps = static_cast<std::size_t>(2.0 * std::floor(0.5 * std::max(estimate, 3.0)) + 1.0);
    for (;; taps += 2) {
        isTooLong(static_cast<double>(taps), kMostEquirippleTaps);
        DesignedFir design = finished(DesignEquiripple(taps, bands).coefficients);
        if (keeps(design)) return design;
    }
}

double WorstError(std::span<const double> coefficients, const FirBand& band) {
    const auto points = static_cast<std::size_t>(
        std::ceil(64.0 * static_cast<double>(coefficients.size()) * (band.high - band.low)) + 16.0);
    double worst = 0.0;
    for (std::size_t i = 0; i <= points; ++i) {
        const double part =
            band.low + (band.high - band.low) * static_cast<double>(i) / static_cast<double>(points);
        worst = std::max(worst, std::abs(std::abs(Amplitude(coefficients, part)) - std::abs(band.gain)));
    }
    return worst;
}

}  // namespace kvx
