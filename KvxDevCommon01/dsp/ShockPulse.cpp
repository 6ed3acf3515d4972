// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/ShockPulse.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numbers>
#include <string>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

using std::numbers::pi;

// clang-format off
constexpr std::array kShapes = {
    NamedPulseShape{"half-sine",         PulseShape::kHalfSine},
    NamedPulseShape{"haversine",         PulseShape::kHaversine},
    NamedPulseShape{"terminal-sawtooth", PulseShape::kTerminalSawtooth},
    NamedPulseShape{"initial-sawtooth",  PulseShape::kInitialSawtooth},
    NamedPulseShape{"triangle",          PulseShape::kTriangle},
    NamedPulseShape{"trapezoid",         PulseShape::kTrapezoid},
    NamedPulseShape{"rectangle",         PulseShape::kRectangle},
};
constexpr std::array kCompensations = {
    NamedPulseCompensation{"none",      PulseCompensation::kNone},
    NamedPulseCompensation{"half-sine", PulseCompensation::kHalfSine},
    NamedPulseCompensation{"rectangle", PulseCompensation::kRectangle},
};
// clang-format on

[[noreturn]] void Refuse(const std::string& why) {
    throw Error(ErrorKind::kBadValue, why);
}

void RequireInRange(const std::string& what, double value, bool isInRange, const char* range) {
    if (!isInRange || !std::isfinite(value)) Refuse(what + " of " + FormatNumber(value) + " is not " + range);
}

void RequirePulse(const Pulse& pulse) {
    RequireInRange("a peak", pulse.peak, pulse.peak != 0.0, "a number other than 0");
    RequireInRange("a duration", pulse.durationSeconds, pulse.durationSeconds > 0.0, "above 0");
    if (pulse.shape != PulseShape::kTrapezoid) return;
    if (!(pulse.rise > 0.0 && pulse.fall > 0.0 && pulse.rise + pulse.fall <= 1.0))
        Refuse("a trapezoid rises and falls within its duration, and not at once");
}

void RequireSettings(const PulseWaveSettings& settings) {
    RequireInRange("a rate", settings.rateHz, settings.rateHz > 0.0, "above 0");
    RequireInRange("a lead", settings.leadSeconds, settings.leadSeconds >= 0.0, "0 or more");
    RequireInRange("a tail", settings.tailSeconds, settings.tailSeconds >= 0.0, "0 or more");
    if (settings.compensation == PulseCompensation::kNone) {
        if (settings.isCentred) Refuse("without a compensation there is no stroke to be centred");
        return;
    }
    for (const double part : {settings.before, settings.after})
        RequireInRange("a compensation", part, part > 0.0 && part <= 1.0, "above 0 and at most 1");
}

/// A pulse of the wave, whose start is a time from that of the main pulse on.
struct Part {
    Pulse pulse;
    double start;
};

/// What compensates a pulse, in the order of time, apart by the side on which it stands.
struct Compensation {
    std::vector<Part> before = {};
    std::vector<Part> after = {};
    double beforeSeconds = 0.0;
    double afterSeconds = 0.0;
};

/// Two pulses of one side bring the table from rest by `way` to rest.
void AddPair(std::vector<Part>& parts, Pulse first, double start) {
    parts.push_back({first, start});
    start += first.durationSeconds;
    first.peak = -first.peak;
    parts.push_back({first, start});
}

/// How far the table moves to one side: in front of the pulse, where its velocity changes its sign within it.
double StrokeOf(const Pulse& pulse, const Pulse& front) {
    const double velocity = PulseVelocity(front);  // in front of the pulse, against its direction
    const double way = velocity * front.durationSeconds / 2.0;
    // The velocity within the pulse is that in front plus the area so far, and its own integral the way.
    // Simpson's rule on the samples of the pulse is far better than the stroke need be.
    constexpr int kSteps = 4096;
    const double step = pulse.durationSeconds / kSteps;
    double speed = velocity, place = way, farthest = std::abs(way);
    for (int i = 0; i < kSteps; ++i) {
        const double start = PulseValue(pulse, i * step);
        const double middle = PulseValue(pulse, (i + 0.5) * step);
        const double end = i + 1 < kSteps ? PulseValue(pulse, (i + 1) * step) : middle;
        place += step * (speed + step * (start + 2.0 * middle) / 6.0);
        speed += step * (start + 4.0 * middle + end) / 6.0;
        farthest = std::max(farthest, std::abs(place));
    }
    return farthest;
}

Compensation CompensationOf(const Pulse& pulse, const PulseWaveSettings& settings) {
    if (settings.compensation == PulseCompensation::kNone) return {};
    const bool isSine = settings.compensation == PulseCompensation::kHalfSine;
    const PulseShape shape = isSine ? PulseShape::kHalfSine : PulseShape::kRectangle;
    // The area of a pulse of peak and duration 1, and with it all areas over the peak of the main pulse.
    const double unit = PulseVelocity({shape, 1.0, 1.0});
    const double before = unit * settings.before, after = unit * settings.after;
    const double area = PulseVelocity(pulse) / pulse.peak;
    const double length = pulse.durationSeconds;
    // With areas m behind the pulse and area - m in front of it the velocity ends at 0. The displacement does
    // when the first moments agree,
    //   area centre = m (length + m/(2 after)) - (area - m)^2/(2 before),
    // whose right side grows with m from below to above: the root of a quadratic equation.
    const double a = 0.5 / after - 0.5 / before;
    const double b = length + area / before;
    const double c = -0.5 * area * area / before - area * PulseCentre(pulse);
    const double behind = -2.0 * c / (b + std::sqrt(b * b - 4.0 * a * c));
    const Pulse front = {shape, -settings.before * pulse.peak, (area - behind) / before};
    const Pulse back = {shape, -settings.after * pulse.peak, behind / after};
    Compensation result;
    result.beforeSeconds = front.durationSeconds;
    result.afterSeconds = back.durationSeconds;
    const double end = length + back.durationSeconds;
    result.after.push_back({back, length});
    if (settings.isCentred) {
        // A pulse of the duration T and an opposite one move the table by unit peak T^2.
        const double way = StrokeOf(pulse, front) / (2.0 * std::abs(pulse.peak));
        const Pulse lead = {shape, -front.peak, std::sqrt(way / before)};
        const Pulse tail = {shape, back.peak, std::sqrt(way / after)};
        result.beforeSeconds += 2.0 * lead.durationSeconds;
        result.afterSeconds += 2.0 * tail.durationSeconds;
        AddPair(result.before, lead, -result.beforeSeconds);
        AddPair(result.after, tail, end);
    }
    result.before.push_back({front, -front.durationSeconds});
    return result;
}

/// The samples of parts, at `index` over the rate from the start of the main pulse on.
struct Grid {
    double rateHz;
    std::int64_t first;  // index of the first sample
    std::int64_t count;

    std::vector<double> Sample(const std::vector<Part>& parts) const {
        constexpr double kTolerance = 1e-6;  // within which an end of a part counts as on a sample
        std::vector<double> samples(static_cast<std::size_t>(count));
        for (const auto& [pulse, start] : parts) {
            const double end = (start + pulse.durationSeconds) * rateHz;
            double index = std::ceil(start * rateHz - kTolerance);
            for (; index <= end + kTolerance; index += 1.0) {
                const bool isEnd = index >= end - kTolerance;
                const double at = isEnd ? pulse.durationSeconds : std::max(0.0, index / rateHz - start);
                samples[static_cast<std::size_t>(static_cast<std::int64_t>(index) - first)] +=
                    PulseValue(pulse, at);
            }
        }
        return samples;
    }
};

/// Sum and first moment about the first sample of the main pulse, in samples.
struct Moments {
    double area = 0.0;
    double first = 0.0;
};

Moments MomentsOf(const std::vector<double>& samples, std::int64_t first) {
    Moments moments;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        moments.area += samples[i];
        moments.first += samples[i] * static_cast<double>(first + static_cast<std::int64_t>(i));
    }
    return moments;
}

void RequireSamples(const Pulse& pulse, double rateHz) {
    const double samples = pulse.durationSeconds * rateHz;
    if (samples >= static_cast<double>(kLeastPulseSamples)) return;
    Refuse("a pulse of " + FormatNumber(pulse.durationSeconds) + " s has fewer than " +
           std::to_string(kLeastPulseSamples) + " samples at " + FormatNumber(rateHz) + " Hz");
}

/// The motion from rest under samples between which the acceleration runs straight.
void AddMotion(PulseWave& wave, double rateHz) {
    const double step = 1.0 / rateHz;
    double before = 0.0, velocity = 0.0, displacement = 0.0;
    const auto take = [&] {
        wave.lowestVelocity = std::min(wave.lowestVelocity, velocity);
        wave.highestVelocity = std::max(wave.highestVelocity, velocity);
        wave.lowestDisplacement = std::min(wave.lowestDisplacement, displacement);
        wave.highestDisplacement = std::max(wave.highestDisplacement, displacement);
    };
    for (const double sample : wave.samples) {
        displacement += step * (velocity + step * (2.0 * before + sample) / 6.0);
        velocity += step * (before + sample) / 2.0;
        before = sample;
        take();
    }
    wave.endVelocity = velocity;
    wave.endDisplacement = displacement;
}

/// The integral of a signal that runs straight from sample to sample, from one place in samples to another.
double Integral(std::span<const double> samples, double from, double to) {
    const auto valueAt = [&](double place) {
        const auto at = std::min(static_cast<std::size_t>(place), samples.size() - 1);
        const double rest = place - static_cast<double>(at);
        return rest > 0.0 ? samples[at] + rest * (samples[at + 1] - samples[at]) : samples[at];
    };
    double sum = 0.0, place = from, value = valueAt(from);
    while (place < to) {
        const double next = std::min(std::floor(place) + 1.0, to);
        const double end = valueAt(next);
        sum += (next - place) * (value + end) / 2.0;
        place = next;
        value = end;
    }
    return sum;
}

}  // namespace

std::span<const NamedPulseShape> NamedPulseShapes() {
    return kShapes;
}

std::span<const NamedPulseCompensation> NamedPulseCompensations() {
    return kCompensations;
}

double PulseValue(const Pulse& pulse, double seconds) {
    RequirePulse(pulse);
    const double x = seconds / pulse.durationSeconds;
    if (!(x >= 0.0 && x <= 1.0)) return 0.0;
    const double sine = std::sin(pi * std::min(x, 1.0 - x));
    switch (pulse.shape) {
        case PulseShape::kHalfSine:
            return pulse.peak * sine;
        case PulseShape::kHaversine:
            return pulse.peak * sine * sine;
        case PulseShape::kTerminalSawtooth:
            return pulse.peak * x;
        case PulseShape::kInitialSawtooth:
            return pulse.peak * (1.0 - x);
        case PulseShape::kTriangle:
            return pulse.peak * 2.0 * std::min(x, 1.0 - x);
        case PulseShape::kTrapezoid:
            return pulse.peak * std::min({x / pulse.rise, 1.0, (1.0 - x) / pulse.fall});
        case PulseShape::kRectangle:
            break;
    }
    return x < 1.0 ? pulse.peak : 0.0;
}

double PulseVelocity(const Pulse& pulse) {
    RequirePulse(pulse);
    const double whole = pulse.peak * pulse.durationSeconds;
    switch (pulse.shape) {
        case PulseShape::kHalfSine:
            return 2.0 / pi * whole;
        case PulseShape::kTrapezoid:
            return whole * (1.0 - (pulse.rise + pulse.fall) / 2.0);
        case PulseShape::kRectangle:
            return whole;
        default:
            return whole / 2.0;
    }
}

double PulseCentre(const Pulse& pulse) {
    RequirePulse(pulse);
    const double rise = pulse.rise, fall = pulse.fall;
    switch (pulse.shape) {
        case PulseShape::kTerminalSawtooth:
            return pulse.durationSeconds * 2.0 / 3.0;
        case PulseShape::kInitialSawtooth:
            return pulse.durationSeconds / 3.0;
        case PulseShape::kTrapezoid: {
            // The rectangle less the triangles that are missing at its ends.
            const double moment = 0.5 - rise * rise / 6.0 - fall / 2.0 * (1.0 - fall / 3.0);
            return pulse.durationSeconds * moment / (1.0 - (rise + fall) / 2.0);
        }
        default:
            return pulse.durationSeconds / 2.0;
    }
}

PulseWave MakePulseWave(const Pulse& pulse, const PulseWaveSettings& settings) {
    RequirePulse(pulse);
    RequireSettings(settings);
    const double rate = settings.rateHz;
    const Compensation compensation = CompensationOf(pulse, settings);
    RequireSamples(pulse, rate);
    for (const auto* parts : {&compensation.before, &compensation.after})
        for (const Part& part : *parts) RequireSamples(part.pulse, rate);
    // A sample of 0 at least on either side, so that the straight lines begin and end there.
    const double first = std::floor(-(compensation.beforeSeconds + settings.leadSeconds) * rate) - 1.0;
    const double last =
        std::ceil((pulse.durationSeconds + compensation.afterSeconds + settings.tailSeconds) * rate) + 1.0;
    if (!(last - first < static_cast<double>(kMostPulseSamples))) {
        Refuse("a pulse with all before and after it takes " + FormatNumber(last - first + 1.0) +
               " samples, more than " + std::to_string(kMostPulseSamples));
    }
    const Grid grid = {rate, static_cast<std::int64_t>(first), static_cast<std::int64_t>(last - first) + 1};
    PulseWave wave;
    wave.start = -grid.first;
    wave.velocityChange = PulseVelocity(pulse);
    wave.beforeSeconds = compensation.beforeSeconds;
    wave.afterSeconds = compensation.afterSeconds;
    wave.samples = grid.Sample({{pulse, 0.0}});
    if (!compensation.before.empty()) {
        const std::vector<double> before = grid.Sample(compensation.before);
        const std::vector<double> after = grid.Sample(compensation.after);
        // Of samples between which the acceleration runs straight the area is their sum, and the moment that
        // of the samples: two equations for the heights of both sides.
        const Moments m = MomentsOf(wave.samples, grid.first);
        const Moments p = MomentsOf(before, grid.first);
        const Moments q = MomentsOf(after, grid.first);
        const double determinant = p.area * q.first - q.area * p.first;
        const double heightBefore = (q.area * m.first - m.area * q.first) / determinant;
        const double heightAfter = (m.area * p.first - p.area * m.first) / determinant;
        for (std::size_t i = 0; i < wave.samples.size(); ++i)
            wave.samples[i] += heightBefore * before[i] + heightAfter * after[i];
    }
    AddMotion(wave, rate);
    return wave;
}

PulseFigures MeasurePulse(std::span<const double> samples, double rateHz, const PulseMeasure& measure) {
    RequireInRange("a rate", rateHz, rateHz > 0.0, "above 0");
    RequireInRange("a threshold", measure.threshold, measure.threshold > 0.0 && measure.threshold < 1.0,
                   "above 0 and below 1");
    for (const double limit : {measure.before, measure.after})
        RequireInRange("a limit", limit, limit >= 0.0, "0 or more durations");
    if (!std::ranges::all_of(samples, [](double sample) { return std::isfinite(sample); }))
        Refuse("a sample is not finite");
    const auto magnitude = [](double sample) { return std::abs(sample); };
    const auto highest = std::ranges::max_element(samples, {}, magnitude);
    if (highest == samples.end() || *highest == 0.0) Refuse("there is no pulse in samples that are all 0");
    PulseFigures figures;
    figures.peak = *highest;
    const double level = measure.threshold * *highest;
    const auto isBelow = [&](double sample) { return sample / *highest < measure.threshold; };
    const auto peak = static_cast<std::size_t>(highest - samples.begin());
    // From the peak outwards to the samples below the threshold, and back to the place where it is met.
    const auto crossing = [&](std::size_t outside, std::size_t inside) {
        const double part = (level - samples[outside]) / (samples[inside] - samples[outside]);
        const double from = static_cast<double>(outside), to = static_cast<double>(inside);
        return from + part * (to - from);
    };
    std::size_t first = peak, last = peak;
    while (first > 0 && !isBelow(samples[first])) --first;
    while (last + 1 < samples.size() && !isBelow(samples[last])) ++last;
    const bool isBegun = isBelow(samples[first]), isEnded = isBelow(samples[last]);
    const double start = isBegun ? crossing(first, first + 1) : static_cast<double>(first);
    const double end = isEnded ? crossing(last, last - 1) : static_cast<double>(last);
    const double from = std::max(0.0, start - measure.before * (end - start));
    const double to = std::min(static_cast<double>(samples.size() - 1), end + measure.after * (end - start));
    figures.peakSeconds = static_cast<double>(peak) / rateHz;
    figures.startSeconds = start / rateHz;
    figures.durationSeconds = (end - start) / rateHz;
    figures.isWhole = isBegun && isEnded;
    figures.fromSeconds = from / rateHz;
    figures.toSeconds = to / rateHz;
    figures.velocityChange = Integral(samples, from, to) / rateHz;
    return figures;
}

}  // namespace kvx
