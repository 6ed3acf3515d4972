// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/ShockSpectrum.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <map>
#include <new>
#include <numbers>
#include <string>
#include <utility>

#include <KvxDevCommon01/dsp/MatMrf.h>
#include <KvxDevCommon01/dsp/OctaveBands.h>
#include <KvxDevCommon01/dsp/Resampling.h>
#include <KvxDevCommon01/dsp/kernels/ShockKernels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitNames.h>

namespace kvx {
namespace {

using std::numbers::pi;

// clang-format off
constexpr std::array kResponses = {
    NamedShockResponse{"acceleration",          ShockResponse::kAcceleration},
    NamedShockResponse{"relative-velocity",     ShockResponse::kRelativeVelocity},
    NamedShockResponse{"relative-displacement", ShockResponse::kRelativeDisplacement},
    NamedShockResponse{"pseudo-velocity",       ShockResponse::kPseudoVelocity},
    NamedShockResponse{"static-acceleration",   ShockResponse::kStaticAcceleration},
};
constexpr std::array kExtremes = {
    NamedShockExtreme{"maximax",           ShockExtreme::kMaximax},
    NamedShockExtreme{"positive",          ShockExtreme::kPositive},
    NamedShockExtreme{"negative",          ShockExtreme::kNegative},
    NamedShockExtreme{"primary",           ShockExtreme::kPrimary},
    NamedShockExtreme{"residual",          ShockExtreme::kResidual},
    NamedShockExtreme{"primary-positive",  ShockExtreme::kPrimaryPositive},
    NamedShockExtreme{"primary-negative",  ShockExtreme::kPrimaryNegative},
    NamedShockExtreme{"residual-positive", ShockExtreme::kResidualPositive},
    NamedShockExtreme{"residual-negative", ShockExtreme::kResidualNegative},
};
// clang-format on

constexpr std::size_t kLanes = kShockOscillators;
constexpr std::int64_t kPiece = 8192;    // samples that are kept of an interpolated signal
constexpr std::int64_t kHushed = 1024;   // samples after which states below kSilence become 0
constexpr double kSilence = 0x1p-512;    // far above the subnormal numbers, which are slow
constexpr double kRippleError = 0.0025;  // of the cascades: ripple in their band, and images

[[noreturn]] void Refuse(const std::string& why) {
    throw Error(ErrorKind::kBadValue, why);
}

bool IsAboveZero(double value) {
    return value > 0.0 && std::isfinite(value);
}

/// What the displacement p = omega^2 d of an undisturbed oscillator does until omega t = angle: `impulse`
/// after an impulse of the excitation of area 1, `step` after a step to 1, and `ramp` under a ramp t. The
/// velocity after a step is `impulse`, that under a ramp `step`.
struct Courses {
    double impulse, step, ramp;
};

/// Series in powers of the angle; the terms are the derivatives of the impulse response at 0 over factorials.
Courses SeriesOfCourses(double angle, double damping) {
    constexpr int kTerms = 24;  // of which the last is below 1e-23 of the first up to an angle of 1
    double before = 0.0, derivative = 1.0;
    double power = angle;  // angle^n/n!
    Courses sums = {0.0, 0.0, 0.0};
    for (int n = 1; n < kTerms; ++n) {
        const double term = derivative * power;
        sums.impulse += term;
        sums.step += term * angle / (n + 1);
        sums.ramp += term * angle * angle / ((n + 1) * (n + 2));
        power *= angle / (n + 1);
        before = std::exchange(derivative, -2.0 * damping * derivative - before);
    }
    return sums;
}

Courses CoursesOf(double angle, double damping) {
    // Above, sums of the closed form lose nothing that counts.
    constexpr double kSmall = 1.0;
    if (angle < kSmall) return SeriesOfCourses(angle, damping);
    const double beat = std::sqrt((1.0 - damping) * (1.0 + damping));
    const double fade = std::exp(-damping * angle);
    const double impulse = fade * std::sin(beat * angle) / beat;
    const double step = 1.0 - (fade * std::cos(beat * angle) + damping * impulse);
    return {impulse, step, angle - 2.0 * damping * step - impulse};
}

/// One of the two quantities of a state: how it grows by itself and the other one, and by the excitation at
/// the start and the end of a step.
struct Growth {
    double own, other, start, end;
};

/// The response and its companion: p and the velocity v = omega d' of it, v and p, or the absolute
/// acceleration p + 2 damping v and v. All are accelerations.
std::pair<Growth, Growth> GrowthsOf(double angle, const ShockSettings& settings) {
    const double zeta = settings.damping;
    const auto [impulse, step, ramp] = CoursesOf(angle, zeta);
    const Growth p = {-step, impulse, step - ramp / angle, ramp / angle};
    const Growth v = {-step - 2.0 * zeta * impulse, -impulse, impulse - step / angle, step / angle};
    switch (settings.response) {
        case ShockResponse::kRelativeVelocity:
            return {v, p};
        case ShockResponse::kAcceleration:
            return {{v.own, impulse, p.start + 2.0 * zeta * v.start, p.end + 2.0 * zeta * v.end},
                    {p.own, -impulse, v.start, v.end}};
        default:
            return {p, v};
    }
}

/// The highest and the lowest value of the response of a free oscillator from y, z on.
std::pair<double, double> FreeExtremes(double y, double z, const ShockSettings& settings) {
    const double zeta = settings.damping;
    const double beat = std::sqrt((1.0 - zeta) * (1.0 + zeta));
    double slope = z;  // of y, by the angle
    if (settings.response == ShockResponse::kAcceleration) slope = z - 2.0 * zeta * y;
    if (settings.response == ShockResponse::kRelativeVelocity) slope = -z - 2.0 * zeta * y;
    const double sine = (slope + zeta * y) / beat;
    // The slope is 0 where the tangent of the angle is that of this one, first within half a turn.
    double angle = std::atan2(beat * slope, y + zeta * slope);
    if (angle < 0.0) angle += pi;
    const auto at = [&](double turn) {
        return std::exp(-zeta * turn / beat) * (y * std::cos(turn) + sine * std::sin(turn));
    };
    const auto [low, high] = std::minmax({y, at(angle), at(angle + pi)});
    return {high, low};
}

/// From an acceleration to the response, by omega.
double ScaleOf(ShockResponse response, double omega) {
    switch (response) {
        case ShockResponse::kRelativeVelocity:
        case ShockResponse::kPseudoVelocity:
            return 1.0 / omega;
        case ShockResponse::kRelativeDisplacement:
            return 1.0 / omega / omega;
        default:
            return 1.0;
    }
}

/// The oscillators that take the signal at one rate.
struct Bank {
    RateChange change;
    CMatMrf cascade = {};
    std::int64_t late = 0;   // results of the cascade that come before the first sample does
    std::int64_t count = 0;  // samples taken, at this rate
    double before = 0.0;
    std::vector<ShockGroup> groups = {};
    std::vector<std::size_t> places = {};  // of the oscillators among the frequencies
    std::vector<double> interpolated = {};

    bool IsDirect() const { return change.mode != CMatFir::RATE_INTERPOLATE; }

    /// The samples at the rate of the bank.
    std::span<const double> Taken(std::span<const double> samples) {
        if (IsDirect()) return samples;
        if (!cascade.SetInputData(samples.data(), 0, std::ssize(samples), std::ssize(samples)))
            throw std::bad_alloc();
        const std::int64_t waiting = cascade.GetNumOutputData();
        interpolated.resize(static_cast<std::size_t>(waiting));
        cascade.GetOutputData(interpolated.data(), 0, waiting, waiting);
        const std::int64_t dropped = std::min(late, waiting);
        late -= dropped;
        return std::span<const double>(interpolated).subspan(static_cast<std::size_t>(dropped));
    }

    void RunGroup(std::size_t group, std::span<const double> samples) {
        ShockGroup& oscillators = groups[group];
        std::int64_t at = count;
        double last = before;
        while (!samples.empty()) {
            const auto next = std::min(samples.size(), static_cast<std::size_t>(kHushed - at % kHushed));
            ActiveKernels<ShockKernels>().run(&oscillators, last, samples.data(),
                                              static_cast<std::int64_t>(next));
            last = samples[next - 1];
            at += static_cast<std::int64_t>(next);
            samples = samples.subspan(next);
            if (at % kHushed == 0) Hush(oscillators);
        }
    }

    /// The samples have been run.
    void Pass(std::span<const double> samples) {
        if (samples.empty()) return;
        before = samples.back();
        count += std::ssize(samples);
    }

private:
    static void Hush(ShockGroup& group) {
        const auto hush = [](double& value) {
            if (std::abs(value) < kSilence) value = 0.0;
        };
        std::ranges::for_each(group.y, hush);
        std::ranges::for_each(group.z, hush);
    }
};

void RequireBounds(double fromHz, double toHz) {
    if (!IsAboveZero(fromHz) || !IsAboveZero(toHz)) Refuse("natural frequencies lie above 0 Hz");
}

std::vector<double> RequireFrequencies(std::vector<double> frequencies, double fromHz, double toHz) {
    if (!frequencies.empty()) return frequencies;
    Refuse("there is no natural frequency from " + FormatNumber(fromHz) + " Hz to " + FormatNumber(toHz) +
           " Hz");
}

void RequireCount(double count) {
    if (count <= static_cast<double>(kMostShockFrequencies)) return;
    Refuse("more than " + std::to_string(kMostShockFrequencies) + " natural frequencies are too many");
}

void RequireSettings(const ShockSettings& settings) {
    if (!IsAboveZero(settings.rateHz)) Refuse("a rate of " + FormatNumber(settings.rateHz) + " Hz is none");
    if (!(settings.damping >= 0.0 && settings.damping < 1.0))
        Refuse("a damping ratio of " + FormatNumber(settings.damping) + " is not from 0 to below 1");
    if (settings.peakError && !(*settings.peakError >= kLeastShockPeakError && *settings.peakError < 1.0)) {
        Refuse("a peak error of " + FormatNumber(*settings.peakError) + " is not from " +
               FormatNumber(kLeastShockPeakError) + " to below 1");
    }
}

std::optional<RateChange> InterpolationFor(const ShockSettings& settings, double frequencyHz) {
    std::vector<RateChange> changes = RateChanges();
    std::erase_if(changes, [](const RateChange& c) { return c.mode == CMatFir::RATE_DECIMATE; });
    std::ranges::reverse(changes);  // the ratio 1 is first now
    if (!settings.peakError) return changes.front();
    const double bound = *settings.peakError - kRippleError;
    const auto found = std::ranges::find_if(changes, [&](const RateChange& change) {
        return ShockPeakError(frequencyHz, change.RateAfter(settings.rateHz)) <= bound;
    });
    return found == changes.end() ? std::nullopt : std::optional(*found);
}

RateChange RequireInterpolation(const ShockSettings& settings, double frequencyHz) {
    if (!IsAboveZero(frequencyHz))
        Refuse("a natural frequency of " + FormatNumber(frequencyHz) + " Hz is none");
    const std::optional<RateChange> change = InterpolationFor(settings, frequencyHz);
    if (change) return *change;
    Refuse("a natural frequency of " + FormatNumber(frequencyHz) + " Hz is too high for a rate of " +
           FormatNumber(settings.rateHz) + " Hz");
}

std::vector<double> Larger(const std::vector<double>& a, const std::vector<double>& b) {
    std::vector<double> larger(a.size());
    std::ranges::transform(a, b, larger.begin(), [](double x, double y) { return std::max(x, y); });
    return larger;
}

}  // namespace

std::span<const NamedShockResponse> NamedShockResponses() {
    return kResponses;
}

std::span<const NamedShockExtreme> NamedShockExtremes() {
    return kExtremes;
}

double DampingOfQ(double q) {
    if (!(q > 0.5)) Refuse("a quality factor of " + FormatNumber(q) + " is not above 0.5");
    return 0.5 / q;
}

std::vector<double> FrequenciesPerOctave(double fromHz, double toHz, int perOctave) {
    constexpr double kTolerance = 0.05;  // of a step
    RequireBounds(fromHz, toHz);
    if (perOctave < 1 || perOctave > 1000) Refuse("an octave has 1 to 1000 natural frequencies");
    const double reference = OctaveMiddle(perOctave, 0);
    const double steps = perOctave / 0.3;  // in a decade
    const double first = std::ceil(steps * std::log10(fromHz / reference) - kTolerance);
    const double last = std::floor(steps * std::log10(toHz / reference) + kTolerance);
    RequireCount(last - first);
    std::vector<double> frequencies;
    for (double number = first; number <= last; number += 1.0)
        frequencies.push_back(OctaveMiddle(perOctave, static_cast<std::int32_t>(number)));
    return RequireFrequencies(std::move(frequencies), fromHz, toHz);
}

std::vector<double> FrequenciesPerStep(double fromHz, double toHz, double stepHz) {
    constexpr double kTolerance = 1e-6;  // of a step
    RequireBounds(fromHz, toHz);
    if (!IsAboveZero(stepHz)) Refuse("natural frequencies are apart by more than 0 Hz");
    const double last = std::floor((toHz - fromHz) / stepHz + kTolerance);
    RequireCount(last);
    std::vector<double> frequencies;
    for (double step = 0.0; step <= last; step += 1.0) frequencies.push_back(fromHz + step * stepHz);
    return RequireFrequencies(std::move(frequencies), fromHz, toHz);
}

double ShockPeakError(double frequencyHz, double rateHz) {
    const double x = pi * frequencyHz / rateHz;
    if (!(x < pi / 2.0)) return 1.0;
    // 1 - (1 - a)^2 (1 - b), whose parts keep their digits where x is small.
    const double a = x < 1e-4 ? x * x / 6.0 : 1.0 - std::sin(x) / x;
    const double half = std::sin(x / 2.0);
    const double b = 2.0 * half * half;
    const double straight = a * (2.0 - a);
    return straight + b - straight * b;
}

std::int32_t ShockOversampling(const ShockSettings& settings, double frequencyHz) {
    RequireSettings(settings);
    return RequireInterpolation(settings, frequencyHz).Ratio();
}

CUnitCtrl ShockUnit(ShockResponse response, const CUnitCtrl& unit) {
    if (response == ShockResponse::kAcceleration || response == ShockResponse::kStaticAcceleration)
        return unit;
    if (!unit.IsAcc()) {
        throw Error(ErrorKind::kUnsupported,
                    "only of an acceleration are there spectra of velocity and displacement");
    }
    return SingleUnit(response == ShockResponse::kRelativeDisplacement ? units::kMillimetre
                                                                       : units::kMetrePerSecond);
}

std::vector<double> ShockExtremes::Of(ShockExtreme extreme) const {
    switch (extreme) {
        case ShockExtreme::kPositive:
            return Larger(primaryPositive, residualPositive);
        case ShockExtreme::kNegative:
            return Larger(primaryNegative, residualNegative);
        case ShockExtreme::kPrimary:
            return Larger(primaryPositive, primaryNegative);
        case ShockExtreme::kResidual:
            return Larger(residualPositive, residualNegative);
        case ShockExtreme::kPrimaryPositive:
            return primaryPositive;
        case ShockExtreme::kPrimaryNegative:
            return primaryNegative;
        case ShockExtreme::kResidualPositive:
            return residualPositive;
        case ShockExtreme::kResidualNegative:
            return residualNegative;
        case ShockExtreme::kMaximax:
            break;
    }
    return Larger(Of(ShockExtreme::kPrimary), Of(ShockExtreme::kResidual));
}

struct ShockSpectrum::State {
    ShockSettings settings;
    std::vector<Bank> banks;
    std::vector<std::pair<std::size_t, std::size_t>> groups;  // of all banks, as bank and group
    std::size_t piece;                                        // samples that are taken at once

    explicit State(const ShockSettings& wanted);
    void Add(std::span<const double> samples);
    void Run(const std::vector<std::span<const double>>& samples);
    void Finish();
};

ShockSpectrum::State::State(const ShockSettings& wanted) : settings(wanted) {
    RequireSettings(settings);
    RequireCount(static_cast<double>(settings.frequencies.size()));
    if (settings.frequencies.empty()) Refuse("a shock response spectrum has one natural frequency or more");
    std::map<std::int32_t, Bank> byRatio;
    for (std::size_t i = 0; i < settings.frequencies.size(); ++i) {
        const double frequency = settings.frequencies[i];
        const RateChange change = RequireInterpolation(settings, frequency);
        Bank& bank = byRatio.try_emplace(change.Ratio(), Bank{change}).first->second;
        const std::size_t lane = bank.places.size() % kLanes;
        if (lane == 0) bank.groups.emplace_back();
        const double angle = 2.0 * pi * frequency / change.RateAfter(settings.rateHz);
        const auto [y, z] = GrowthsOf(angle, settings);
        ShockGroup& group = bank.groups.back();
        group.yy[lane] = y.own;
        group.yz[lane] = y.other;
        group.y0[lane] = y.start;
        group.y1[lane] = y.end;
        group.zy[lane] = z.other;
        group.zz[lane] = z.own;
        group.z0[lane] = z.start;
        group.z1[lane] = z.end;
        bank.places.push_back(i);
    }
    piece = static_cast<std::size_t>(kPiece / byRatio.rbegin()->first);
    for (auto& [ratio, bank] : byRatio) {
        if (!bank.IsDirect()) {
            bank.late = CascadeDelay(bank.change.code);
            const std::int64_t room = static_cast<std::int64_t>(piece) * ratio;
            if (!bank.cascade.SetConvCond(bank.change.mode, bank.change.code, room, 0))
                throw std::bad_alloc();
        }
        for (std::size_t group = 0; group < bank.groups.size(); ++group)
            groups.emplace_back(banks.size(), group);
        banks.push_back(std::move(bank));
    }
}

void ShockSpectrum::State::Run(const std::vector<std::span<const double>>& samples) {
    // Below this a thread costs more than it takes over.
    constexpr std::size_t kWorthThreads = 16384;
    const std::size_t work = samples.back().size() * groups.size();
    const auto run = [&](std::size_t i) {
        const auto [bank, group] = groups[i];
        banks[bank].RunGroup(group, samples[bank]);
    };
    ForEachInParallel(groups.size(), run, work < kWorthThreads ? 1 : 0);
    for (std::size_t bank = 0; bank < banks.size(); ++bank) banks[bank].Pass(samples[bank]);
}

void ShockSpectrum::State::Add(std::span<const double> samples) {
    std::vector<std::span<const double>> taken(banks.size());
    while (!samples.empty()) {
        const std::span<const double> next = samples.first(std::min(piece, samples.size()));
        ForEachInParallel(
            banks.size(), [&](std::size_t b) { taken[b] = banks[b].Taken(next); },
            next.size() < piece ? 1 : 0);
        Run(taken);
        samples = samples.subspan(next.size());
    }
}

void ShockSpectrum::State::Finish() {
    std::vector<std::vector<double>> ends;
    for (Bank& bank : banks) {
        // What is still in the cascade, as far as it belongs to the last sample, and the zero behind it.
        std::vector<double>& end = ends.emplace_back();
        const std::vector<double> zeros(piece, 0.0);
        std::int64_t missing = bank.IsDirect() ? 0 : CascadeDelay(bank.change.code) - bank.late;
        while (missing > 0) {
            std::span<const double> next = bank.Taken(zeros);
            next = next.first(std::min(next.size(), static_cast<std::size_t>(missing)));
            end.insert(end.end(), next.begin(), next.end());
            missing -= std::ssize(next);
        }
        end.push_back(0.0);
    }
    Run({ends.begin(), ends.end()});
}

ShockSpectrum::ShockSpectrum(const ShockSettings& settings) : state_(new State(settings)) {}
ShockSpectrum::~ShockSpectrum() = default;
ShockSpectrum::ShockSpectrum(ShockSpectrum&& other) noexcept = default;
ShockSpectrum& ShockSpectrum::operator=(ShockSpectrum&& other) noexcept = default;

void ShockSpectrum::Add(std::span<const double> samples) {
    state_->Add(samples);
}

ShockExtremes ShockSpectrum::Extremes() const {
    State end = *state_;
    end.Finish();
    const std::vector<double>& frequencies = end.settings.frequencies;
    ShockExtremes extremes;
    for (auto* list : {&extremes.primaryPositive, &extremes.primaryNegative, &extremes.residualPositive,
                       &extremes.residualNegative})
        list->resize(frequencies.size());
    for (const Bank& bank : end.banks) {
        for (std::size_t i = 0; i < bank.places.size(); ++i) {
            const std::size_t place = bank.places[i];
            const ShockGroup& group = bank.groups[i / kLanes];
            const double y = group.y[i % kLanes], z = group.z[i % kLanes];
            if (!std::isfinite(y) || !std::isfinite(z)) Refuse("the responses leave the range of numbers");
            const double scale = ScaleOf(end.settings.response, 2.0 * pi * frequencies[place]);
            const auto [high, low] = FreeExtremes(y, z, end.settings);
            extremes.primaryPositive[place] = scale * group.highest[i % kLanes];
            extremes.primaryNegative[place] = scale * (0.0 - group.lowest[i % kLanes]);
            extremes.residualPositive[place] = scale * std::max(high, 0.0);
            extremes.residualNegative[place] = scale * (0.0 - std::min(low, 0.0));
        }
    }
    return extremes;
}

}  // namespace kvx
