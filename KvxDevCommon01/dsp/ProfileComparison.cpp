// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <numeric>
#include <string>

namespace kvx {
namespace {

[[noreturn]] void Refuse(const std::string& sentence) {
    throw Error(ErrorKind::kBadValue, sentence);
}

double Decibels(double measured, double target) {
    return 10.0 * std::log10(measured / target);
}

double RatioOf(double decibels) {
    return std::pow(10.0, decibels / 10.0);
}

void RequireLimits(std::span<const DensityLimit> limits) {
    for (const DensityLimit& limit : limits) {
        if (!(limit.upperDb >= 0.0 && limit.lowerDb <= 0.0 && limit.fromHz >= 0.0 &&
              limit.fromHz < limit.toHz)) {
            Refuse(
                "a limit has an upper level of 0 dB or more, a lower one of 0 dB or less and rising "
                "frequencies");
        }
    }
}

/// The power that limits leave to a band of the profile: from the least to the most.
struct PowerRange {
    double least = 0.0;
    double most = 0.0;
};

PowerRange PowerWithin(const PsdProfile& target, std::span<const DensityLimit> limits, double fromHz,
                       double toHz) {
    std::vector<double> cuts = {fromHz, toHz};
    for (const DensityLimit& limit : limits) {
        for (const double hz : {limit.fromHz, limit.toHz})
            if (fromHz < hz && hz < toHz) cuts.push_back(hz);
    }
    std::ranges::sort(cuts);
    PowerRange range;
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
        const double power = target.Power(cuts[i], cuts[i + 1]);
        if (!(power > 0.0)) continue;
        const DensityLimit limit = LimitAt(limits, std::midpoint(cuts[i], cuts[i + 1]));
        range.least += power * RatioOf(limit.lowerDb);
        range.most += power * RatioOf(limit.upperDb);
    }
    return range;
}

bool IsWithin(double power, const PowerRange& range) {
    return range.least <= power && power <= range.most;
}

/// The part of a measured density that is compared: lines and the range of frequencies.
class ComparedPart {
public:
    ComparedPart(std::span<const double> lines, double spacingHz, const TestProfile& profile,
                 const ComparisonChoice& choice)
        : lines_(lines), spacingHz_(spacingHz), profile_(profile) {
        const std::span<const double> points = profile.target.Frequencies();
        fromHz_ = std::max(points.front(), choice.fromHz);
        toHz_ = std::min(points.back(), choice.toHz.value_or(points.back()));
        if (!(fromHz_ < toHz_)) {
            Refuse("nothing of the profile, which goes from " + FormatNumber(points.front()) + " Hz to " +
                   FormatNumber(points.back()) + " Hz, is to be compared");
        }
        const double firstHz = spacingHz / 2.0;
        const double lastHz = (static_cast<double>(lines.size()) - 0.5) * spacingHz;
        const double slack = 1e-6 * spacingHz;
        if (fromHz_ < firstHz - slack || toHz_ > lastHz + slack) {
            Refuse("the lines tell of " + FormatNumber(firstHz) + " Hz to " + FormatNumber(lastHz) +
                   " Hz, not of all from " + FormatNumber(fromHz_) + " Hz to " + FormatNumber(toHz_) + " Hz");
        }
    }

    std::vector<double> Edges(const std::vector<double>& chosen) const {
        std::vector<double> edges = chosen;
        if (edges.empty()) {
            edges = {fromHz_};
            for (const double hz : profile_.target.Frequencies())
                if (fromHz_ < hz && hz < toHz_) edges.push_back(hz);
            edges.push_back(toHz_);
        }
        const double slack = 1e-9 * toHz_;
        if (edges.size() < 2 ||
            std::ranges::adjacent_find(edges, std::not_fn(std::ranges::less())) != edges.end() ||
            edges.front() < fromHz_ - slack || edges.back() > toHz_ + slack) {
            Refuse("bands need two rising edges or more from " + FormatNumber(fromHz_) + " Hz to " +
                   FormatNumber(toHz_) + " Hz");
        }
        return edges;
    }

    /// The power of the lines in a band, of each the part of its cell that is inside.
    double MeasuredPower(double fromHz, double toHz) const {
        double power = 0.0;
        const double first = std::max(1.0, std::floor(fromHz / spacingHz_ + 0.5));
        for (auto k = static_cast<std::size_t>(first); k < lines_.size(); ++k) {
            const double lower = std::max(fromHz, (static_cast<double>(k) - 0.5) * spacingHz_);
            const double upper = std::min(toHz, (static_cast<double>(k) + 0.5) * spacingHz_);
            if (lower >= toHz) break;
            if (lower < upper) power += lines_[k] * (upper - lower);
        }
        return power;
    }

    ComparedBand Band(double fromHz, double toHz) const {
        const double target = profile_.target.Power(fromHz, toHz);
        const double measured = MeasuredPower(fromHz, toHz);
        Verdict verdict = Verdict::kWithin;
        if (!IsWithin(measured, PowerWithin(profile_.target, profile_.abort, fromHz, toHz))) {
            verdict = Verdict::kBeyondAbort;
        } else if (!IsWithin(measured, PowerWithin(profile_.target, profile_.tolerance, fromHz, toHz))) {
            verdict = Verdict::kOutOfTolerance;
        }
        const double width = toHz - fromHz;
        return {fromHz, toHz, target / width, measured / width, Decibels(measured, target), verdict};
    }

    /// Those whose whole cell is inside.
    std::vector<ComparedLine> Lines() const {
        const double slack = 1e-6;
        const double first = std::ceil(fromHz_ / spacingHz_ + 0.5 - slack);
        const double last = std::floor(toHz_ / spacingHz_ - 0.5 + slack);
        std::vector<ComparedLine> compared;
        if (!(first <= last)) return compared;
        const std::vector<double> targets = profile_.target.Lines(spacingHz_, lines_.size());
        const std::size_t end = std::min(static_cast<std::size_t>(last) + 1, lines_.size());
        for (auto k = static_cast<std::size_t>(first); k < end; ++k) {
            const double hz = static_cast<double>(k) * spacingHz_;
            const double difference = Decibels(lines_[k], targets[k]);
            const auto isWithin = [&](std::span<const DensityLimit> limits) {
                const DensityLimit limit = LimitAt(limits, hz);
                return limit.lowerDb <= difference && difference <= limit.upperDb;
            };
            const Verdict verdict = !isWithin(profile_.abort)       ? Verdict::kBeyondAbort
                                    : !isWithin(profile_.tolerance) ? Verdict::kOutOfTolerance
                                                                    : Verdict::kWithin;
            compared.push_back({hz, targets[k], lines_[k], difference, verdict});
        }
        return compared;
    }

    double FromHz() const { return fromHz_; }
    double ToHz() const { return toHz_; }

private:
    std::span<const double> lines_;
    double spacingHz_;
    const TestProfile& profile_;
    double fromHz_;
    double toHz_;
};

/// Counts verdicts and gives the one of all.
void Judge(const auto& compared, double allowedPercent, ProfileComparison* result) {
    for (const auto& each : compared) {
        if (each.verdict != Verdict::kWithin) ++result->outOfTolerance;
        if (each.verdict == Verdict::kBeyondAbort) ++result->beyondAbort;
    }
    const double percent =
        100.0 * static_cast<double>(result->outOfTolerance) / static_cast<double>(std::ssize(compared));
    if (result->beyondAbort > 0) {
        result->verdict = Verdict::kBeyondAbort;
    } else if (percent > allowedPercent) {
        result->verdict = Verdict::kOutOfTolerance;
    }
}

}  // namespace

DensityLimit LimitAt(std::span<const DensityLimit> limits, double hz) {
    const auto holds = [&](const DensityLimit& limit) { return limit.fromHz <= hz && hz <= limit.toHz; };
    const auto last = std::find_if(limits.rbegin(), limits.rend(), holds);
    return last != limits.rend() ? *last : DensityLimit();
}

ProfileComparison CompareWithProfile(std::span<const double> lines, double spacingHz,
                                     const TestProfile& profile, const ComparisonChoice& choice) {
    if (profile.target.Frequencies().empty()) Refuse("a profile without breakpoints has nothing to compare");
    RequireLimits(profile.tolerance);
    RequireLimits(profile.abort);
    if (!(spacingHz > 0.0) || !std::isfinite(spacingHz)) Refuse("the spacing of lines is above 0");
    if (!std::ranges::all_of(lines, [](double level) { return level >= 0.0 && std::isfinite(level); }))
        Refuse("densities are numbers of 0 or more");
    if (!(choice.allowedPercent >= 0.0 && choice.allowedPercent <= 100.0))
        Refuse("the share that may be out of tolerance is from 0 % to 100 %");

    const ComparedPart part(lines, spacingHz, profile, choice);
    const std::vector<ComparedLine> compared = part.Lines();
    if (compared.empty()) {
        Refuse("no line lies wholly between " + FormatNumber(part.FromHz()) + " Hz and " +
               FormatNumber(part.ToHz()) + " Hz");
    }
    ProfileComparison result = {};
    const std::vector<double> edges = part.Edges(choice.edgesHz);
    for (std::size_t i = 0; i + 1 < edges.size(); ++i)
        result.bands.push_back(part.Band(edges[i], edges[i + 1]));
    result.lines = std::ssize(compared);
    result.highest = *std::ranges::max_element(compared, {}, &ComparedLine::differenceDb);
    result.lowest = *std::ranges::min_element(compared, {}, &ComparedLine::differenceDb);
    const ComparedBand whole = part.Band(part.FromHz(), part.ToHz());
    const double width = whole.toHz - whole.fromHz;
    result.targetRms = std::sqrt(whole.target * width);
    result.measuredRms = std::sqrt(whole.measured * width);
    result.differenceDb = whole.differenceDb;
    if (choice.judgesBands) {
        Judge(result.bands, choice.allowedPercent, &result);
    } else {
        Judge(compared, choice.allowedPercent, &result);
    }
    return result;
}

}  // namespace kvx
