// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/PolyphaseResampling.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <numeric>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/FirDesign.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

using std::numbers::pi;

// The design aims beyond what is promised, as rows that add up to 1 and a table between rows cost a little.
constexpr double kDesignDb = 126.0;
constexpr std::int64_t kMostExactTaps = std::int64_t{1} << 21;  // of all rows
constexpr double kRowsPerCrossing = 512.0;

/// A sum in one order, eight terms side by side.
double Dot(const double* a, const double* b, std::size_t count) {
    std::array<double, 8> sums = {};
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        for (std::size_t lane = 0; lane < 8; ++lane) sums[lane] += a[i + lane] * b[i + lane];
    }
    for (; i < count; ++i) sums[i % 8] += a[i] * b[i];
    return ((sums[0] + sums[4]) + (sums[2] + sums[6])) + ((sums[1] + sums[5]) + (sums[3] + sums[7]));
}

/// The windowed sinc, its time in samples before.
struct Kernel {
    double cutoff;  // of the rate before
    double reach;   // samples to either side
    double beta = KaiserBeta(kDesignDb);

    explicit Kernel(double step) {
        const double half = 0.5 / std::max(step, 1.0);  // of the lower rate
        cutoff = 0.5 * (1.0 + kPolyphaseBand) * half;
        reach = std::ceil(0.5 * KaiserTaps(kDesignDb, (1.0 - kPolyphaseBand) * half) + 1.0);
    }
    double At(double time) const {
        const double part = time / reach;
        if (std::abs(part) >= 1.0) return 0.0;
        const double angle = 2.0 * pi * cutoff * time;
        const double sinc = std::abs(angle) < 1e-9 ? 1.0 : std::sin(angle) / angle;
        return 2.0 * cutoff * sinc * KaiserWindow(part, beta);
    }
    std::size_t Taps() const { return 2 * static_cast<std::size_t>(reach); }
    /// The weights of the samples from reach - 1 before the one at or before a time to reach behind it, which
    /// lies `part` of a sample ahead. They add up to 1.
    void Write(double part, double* row) const {
        double sum = 0.0;
        for (std::size_t tap = 0; tap < Taps(); ++tap) {
            row[tap] = At(part + reach - 1.0 - static_cast<double>(tap));
            sum += row[tap];
        }
        for (std::size_t tap = 0; tap < Taps(); ++tap) row[tap] /= sum;
    }
};

/// A place among the samples before: a whole number and 2^-64ths, which add up without rounding.
struct Place {
    std::int64_t whole;
    std::uint64_t part;

    static Place Of(double samples) {
        const double floor = std::floor(samples);
        const double part = std::ldexp(samples - floor, 64);
        return {static_cast<std::int64_t>(floor), part < 0x1p64 ? static_cast<std::uint64_t>(part) : ~0ULL};
    }
    void Add(const Place& step) {
        part += step.part;
        whole += step.whole + (part < step.part ? 1 : 0);
    }
    double Part() const { return std::ldexp(static_cast<double>(part), -64); }
};

std::int64_t FloorDivide(std::int64_t value, std::int64_t step) {
    return value / step - (value % step < 0 ? 1 : 0);
}

class Polyphase : public SampleProcess {
public:
    Polyphase(const PolyphasePlan& plan, Ends ends, double shift)
        : kernel_(plan.step), ends_(ends), due_(plan.after.samples) {
        const std::size_t taps = kernel_.Taps();
        const auto& exact = plan.exact;
        if (exact && exact->up <= kMostExactTaps / static_cast<std::int64_t>(taps)) {
            // Place k lies at ((offset after + k) down - offset before up)/up less the shift.
            up_ = exact->up;
            down_ = exact->down;
            const std::int64_t first = plan.after.offset * down_ - plan.before.offset * up_;
            const double whole = std::floor(-shift);
            const double part = -shift - whole;
            phase_ = first - FloorDivide(first, up_) * up_;
            place_ = {FloorDivide(first, up_) + static_cast<std::int64_t>(whole), 0};
            rows_.resize(static_cast<std::size_t>(up_) * taps);
            ahead_.resize(static_cast<std::size_t>(up_));
            for (std::size_t row = 0; row < ahead_.size(); ++row) {
                const double at = static_cast<double>(row) / static_cast<double>(up_) + part;
                ahead_[row] = at >= 1.0 ? 1 : 0;
                kernel_.Write(at - ahead_[row], rows_.data() + row * taps);
            }
        } else {
            const double first = static_cast<double>(plan.after.offset) * plan.step -
                                 static_cast<double>(plan.before.offset) - shift;
            place_ = Place::Of(first);
            step_ = Place::Of(plan.step);
            // Rows between which a cubic runs, one more before the first and two behind the last.
            count_ = std::max(16.0, std::ceil(kRowsPerCrossing * std::min(1.0, 2.0 * kernel_.cutoff)));
            rows_.resize((static_cast<std::size_t>(count_) + 3) * taps);
            for (std::size_t row = 0; row < static_cast<std::size_t>(count_) + 3; ++row)
                kernel_.Write((static_cast<double>(row) - 1.0) / count_, rows_.data() + row * taps);
        }
        begin_ = std::min<std::int64_t>(place_.whole, 0) - static_cast<std::int64_t>(kernel_.reach) - 1;
    }

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        if (samples.empty()) return;
        if (!hasBegun_) {
            hasBegun_ = true;
            waiting_.assign(static_cast<std::size_t>(-begin_), ends_ == Ends::held ? samples.front() : 0.0);
        }
        last_ = samples.back();
        for (; !samples.empty(); samples = samples.subspan(std::min(samples.size(), kPiece))) {
            const auto piece = samples.first(std::min(samples.size(), kPiece));
            waiting_.insert(waiting_.end(), piece.begin(), piece.end());
            Drain(results);
        }
    }

    void Finish(std::vector<double>& results) override {
        while (due_ > 0) {
            waiting_.insert(waiting_.end(), kPiece, ends_ == Ends::held ? last_ : 0.0);
            Drain(results);
        }
    }

private:
    static constexpr std::size_t kPiece = 4096;

    void Drain(std::vector<double>& results) {
        const auto reach = static_cast<std::int64_t>(kernel_.reach);
        for (; due_ > 0; --due_) {
            const std::int64_t from = place_.whole - reach + 1 - begin_;
            if (from + 2 * reach + 1 > std::ssize(waiting_)) break;
            results.push_back(Next(waiting_.data() + from));
        }
        const std::int64_t gone =
            std::clamp<std::int64_t>(place_.whole - reach - begin_, 0, std::ssize(waiting_));
        if (gone < static_cast<std::int64_t>(kPiece)) return;
        waiting_.erase(waiting_.begin(), waiting_.begin() + gone);
        begin_ += gone;
    }

    /// The result of the samples around the place, which moves on.
    double Next(const double* samples) {
        const std::size_t taps = kernel_.Taps();
        if (up_ > 0) {
            const auto row = static_cast<std::size_t>(phase_);
            const double result = Dot(samples + ahead_[row], rows_.data() + row * taps, taps);
            phase_ += down_;
            place_.whole += phase_ / up_;
            phase_ %= up_;
            return result;
        }
        const double at = place_.Part() * count_;
        const double floor = std::min(std::floor(at), count_ - 1.0);
        const double t = at - floor;
        const double* const row = rows_.data() + static_cast<std::size_t>(floor) * taps;
        const double result = (-t * (t - 1.0) * (t - 2.0) / 6.0) * Dot(samples, row, taps) +
                              ((t + 1.0) * (t - 1.0) * (t - 2.0) / 2.0) * Dot(samples, row + taps, taps) +
                              (-(t + 1.0) * t * (t - 2.0) / 2.0) * Dot(samples, row + 2 * taps, taps) +
                              ((t + 1.0) * t * (t - 1.0) / 6.0) * Dot(samples, row + 3 * taps, taps);
        place_.Add(step_);
        return result;
    }

    Kernel kernel_;
    Ends ends_;
    std::int64_t due_;
    std::int64_t up_ = 0;  ///< 0 where rows are interpolated
    std::int64_t down_ = 0;
    std::int64_t phase_ = 0;
    Place place_ = {};
    Place step_ = {};
    double count_ = 0.0;  ///< of rows that are interpolated
    std::vector<double> rows_;
    std::vector<unsigned char> ahead_;  ///< of each row, whether its samples begin one later, for a shift
    bool hasBegun_ = false;
    double last_ = 0.0;
    std::int64_t begin_ = 0;  ///< place of the first sample that waits
    std::vector<double> waiting_;
};

PolyphasePlan Planned(const SampleTimes& times, double step, const std::optional<RateRatio>& exact) {
    constexpr double kMostRatio = 1e4;
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    constexpr double kMostSamples = 1e15;
    if (!(times.delta > 0.0) || !std::isfinite(times.delta))
        throw Error(ErrorKind::kBadValue, "the spacing of its samples is no number above 0");
    if (!(step >= 1.0 / kMostRatio && step <= kMostRatio)) {
        throw Error(ErrorKind::kUnsupported, "its rate of " + FormatNumber(1.0 / times.delta, 10) +
                                                 " Hz cannot become " +
                                                 FormatNumber(1.0 / (times.delta * step), 10) +
                                                 " Hz, more than 10000 times higher or lower");
    }
    const auto samples = static_cast<double>(times.samples);
    if (!(std::max(samples, samples / step) < kMostSamples))
        throw Error(ErrorKind::kUnsupported, "it has too many samples");
    const auto offset = static_cast<double>(times.offset);
    if (!(std::max(std::abs(offset), std::abs(offset / step)) < kMost))
        throw Error(ErrorKind::kUnsupported, "it begins too far from 0 s for a record at the new rate");
    PolyphasePlan plan = {times, {}, step, exact, 0.0};
    plan.after.delta = times.delta * step;
    if (exact) {
        const std::int64_t down = exact->down, up = exact->up;
        plan.after.offset = -FloorDivide(-times.offset * up, down);
        const std::int64_t first = plan.after.offset * down - times.offset * up;
        plan.after.samples = -FloorDivide(first - times.samples * up, down);
    } else {
        plan.after.offset = static_cast<std::int64_t>(std::ceil(offset / step));
        const double first = static_cast<double>(plan.after.offset) * step - offset;
        plan.after.samples = static_cast<std::int64_t>(std::ceil((samples - first) / step));
    }
    if (plan.after.samples < 1) throw Error(ErrorKind::kBadValue, "its samples are too few for the new rate");
    plan.bandHz = kPolyphaseBand * 0.5 / std::max(times.delta, plan.after.delta);
    return plan;
}

}  // namespace

std::optional<RateRatio> FindRatio(double ratio, std::int64_t most) {
    constexpr double kSame = 1e-12;
    if (!(ratio >= 1.0 / static_cast<double>(most) && ratio <= static_cast<double>(most)))
        return std::nullopt;
    // The continued fraction.
    RateRatio before = {1, 0};
    RateRatio now = {static_cast<std::int64_t>(ratio), 1};
    double rest = ratio - std::floor(ratio);
    while (std::abs(static_cast<double>(now.up) / static_cast<double>(now.down) / ratio - 1.0) > kSame) {
        if (!(rest > 1e-9)) return std::nullopt;
        const double turned = 1.0 / rest;
        const auto term = static_cast<std::int64_t>(turned);
        rest = turned - std::floor(turned);
        const RateRatio next = {term * now.up + before.up, term * now.down + before.down};
        if (next.up > most || next.down > most) return std::nullopt;
        before = now;
        now = next;
    }
    return now;
}

PolyphasePlan PlanPolyphase(const SampleTimes& times, double toHz) {
    if (!(toHz > 0.0) || !std::isfinite(toHz))
        throw Error(ErrorKind::kBadValue, "a rate of " + FormatNumber(toHz) + " Hz is not above 0");
    if (const auto ratio = FindRatio(toHz * times.delta)) return PlanPolyphase(times, *ratio);
    return Planned(times, 1.0 / (toHz * times.delta), std::nullopt);
}

PolyphasePlan PlanPolyphase(const SampleTimes& times, const RateRatio& ratio) {
    constexpr std::int64_t kMost = 10000;
    if (ratio.up < 1 || ratio.down < 1 || ratio.up > kMost || ratio.down > kMost) {
        throw Error(ErrorKind::kBadValue, "a ratio of " + std::to_string(ratio.up) + " to " +
                                              std::to_string(ratio.down) +
                                              " is not one of numbers from 1 to 10000");
    }
    const std::int64_t common = std::gcd(ratio.up, ratio.down);
    const RateRatio lowest = {ratio.up / common, ratio.down / common};
    return Planned(times, static_cast<double>(lowest.down) / static_cast<double>(lowest.up), lowest);
}

std::unique_ptr<SampleProcess> MakePolyphase(const PolyphasePlan& plan, Ends ends, double shiftSeconds) {
    constexpr double kMostShift = 1e6;
    const double shift = shiftSeconds / plan.before.delta;
    if (!(std::abs(shift) <= kMostShift)) {
        throw Error(ErrorKind::kBadValue,
                    "a shift of " + FormatNumber(shiftSeconds) + " s is more than a million samples");
    }
    return std::make_unique<Polyphase>(plan, ends, shift);
}

}  // namespace kvx
