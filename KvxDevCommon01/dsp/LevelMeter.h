// SPDX-License-Identifier: MIT
//
// What a sound or vibration level meter tells of a signal of any length, IEC 61672-1:2013: time-weighted and
// time-averaged levels, exposure, peak and percentiles. All are mean squares here; LevelReference.h makes
// decibels of them. The figures have the same bits for every cut.
//
// Time weighting is the exponential average s' = (x^2 - s)/tau from rest, in steps of the sampling interval:
// s += (1 - exp(-1/(tau rate))) (x^2 - s). Fast and slow are tau = 0.125 s and 1 s. Impulse, of 35 ms, holds
// what it has reached and lets it fall with 1.5 s, 2.9 dB per second (IEC 61672-1:2002, Annex C).
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/FrequencyWeighting.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>

namespace kvx {

enum class TimeWeighting { kFast, kSlow, kImpulse };

struct NamedTimeWeighting {
    std::string_view name;    ///< "F"
    std::string_view spoken;  ///< "fast"
    TimeWeighting weighting;
    double seconds;      ///< tau
    double fallSeconds;  ///< of what was reached; 0 where nothing is held
};
inline constexpr std::array kTimeWeightings = {
    NamedTimeWeighting{"F", "fast", TimeWeighting::kFast, 0.125, 0.0},
    NamedTimeWeighting{"S", "slow", TimeWeighting::kSlow, 1.0, 0.0},
    NamedTimeWeighting{"I", "impulse", TimeWeighting::kImpulse, 0.035, 1.5},
};
KVX_API const NamedTimeWeighting& RowOf(TimeWeighting weighting);

/// The time-weighted mean square of samples, one value at a time.
class KVX_API TimeAverage {
public:
    /// Throws Error (kBadValue) for a rate that is not above 0 and finite.
    TimeAverage(TimeWeighting weighting, double rateHz);

    /// Takes the next sample and returns the time-weighted mean square.
    double Step(double sample) {
        mean_ += share_ * (sample * sample - mean_);
        if (mean_ < kSilence) mean_ = 0.0;
        if (fall_ == 0.0) return mean_;
        held_ = held_ * fall_ > mean_ ? held_ * fall_ : mean_;
        return held_;
    }

private:
    static constexpr double kSilence = 0x1p-900;

    double share_;
    double fall_ = 0.0;
    double mean_ = 0.0;
    double held_ = 0.0;
};

/// A process that gives the root of the time-weighted mean square once every `step` samples: that after the
/// last sample of each step. Throws Error (kBadValue) for a step below 1 and as TimeAverage.
KVX_API std::unique_ptr<SampleProcess> MakeTimeWeighting(TimeWeighting weighting, double rateHz,
                                                         std::int64_t step);

struct LevelChoice {
    FrequencyWeighting frequency = FrequencyWeighting::kA;
    TimeWeighting time = TimeWeighting::kFast;
    FrequencyWeighting peak = FrequencyWeighting::kC;
};

/// In the square of the unit of the samples.
struct LevelFigures {
    std::int64_t count = 0;
    double seconds = 0.0;
    double meanSquare = 0.0;  ///< frequency-weighted, over the whole signal: Leq
    double exposure = 0.0;    ///< meanSquare times seconds: LE, over x0^2 times 1 s
    double peakSquare = 0.0;  ///< of the weighting chosen for the peak: Lpeak
    double maxSquare = 0.0;   ///< the largest frequency- and time-weighted mean square: Lmax
    /// The smallest one once the average has settled, after five times its time constant: Lmin; none of a
    /// signal that is over before.
    std::optional<double> minSquare = std::nullopt;
};

/// An object that was moved from can only be assigned to or destroyed.
class KVX_API LevelMeter {
public:
    /// Throws Error (kBadValue) for a rate that is not above 0 and finite.
    LevelMeter(double rateHz, const LevelChoice& choice);
    ~LevelMeter();
    LevelMeter(LevelMeter&& other) noexcept;
    LevelMeter& operator=(LevelMeter&& other) noexcept;

    void Add(std::span<const double> samples);
    LevelFigures Figures() const;
    /// The time-weighted mean square that was exceeded in `percent` of the time, 0 to 100, from where
    /// minSquare counts on: L10, L50, L90. The average is looked at every 10 ms, or at every sample where
    /// these are further apart, and counted in classes of 0.01 dB, so that the level is within 0.01 dB. None
    /// where minSquare is none. Throws Error (kBadValue) for another percentage.
    std::optional<double> Exceeded(double percent) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kvx
