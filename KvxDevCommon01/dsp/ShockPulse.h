// SPDX-License-Identifier: MIT
//
// Pulses of shock tests: made, with what a shaker needs before and after them to end at rest, and measured.
// Accelerations in any unit; a velocity is in that unit times s, a displacement in it times s^2.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// Over the duration D, of the peak A, x = t/D.
enum class PulseShape {
    kHalfSine = 0,          ///< A sin(pi x)
    kHaversine = 1,         ///< versed sine, A (1 - cos(2 pi x))/2
    kTerminalSawtooth = 2,  ///< A x, with the peak at the end
    kInitialSawtooth = 3,   ///< A (1 - x)
    kTriangle = 4,          ///< up to the peak at D/2 and down
    kTrapezoid = 5,         ///< straight to the peak, along it and back to 0
    kRectangle = 6,         ///< A
};

struct NamedPulseShape {
    std::string_view name;  ///< "half-sine"
    PulseShape shape;
};
KVX_API std::span<const NamedPulseShape> NamedPulseShapes();

struct Pulse {
    PulseShape shape = PulseShape::kHalfSine;
    double peak = 0.0;  ///< of either sign
    double durationSeconds = 0.0;
    /// Of a trapezoid: the parts of the duration in which it rises and falls, above 0 and together at most 1.
    double rise = 0.1;
    double fall = 0.1;
};

/// Functions of a pulse throw Error (kBadValue) for a peak that is 0 or no number, a duration that is not
/// above 0, and for parts of a trapezoid outside their range.
///
/// The value at a time from its start, 0 outside the pulse; at a jump the one within it, of a rectangle that
/// of the start.
KVX_API double PulseValue(const Pulse& pulse, double seconds);
/// The change of velocity, which is the area: 2/pi, 1/2, 1/2, 1/2, 1/2, 1 - (rise + fall)/2 or 1 times A D.
KVX_API double PulseVelocity(const Pulse& pulse);
/// The centre of the area, from the start.
KVX_API double PulseCentre(const Pulse& pulse);

/// What stands before and after a pulse so that velocity and displacement end at 0. Pulses of the other sign
/// bring the table to half of the velocity in front of the pulse and take the other half away behind it; what
/// is asymmetric in the pulse is so in their durations.
enum class PulseCompensation {
    kNone = 0,
    kHalfSine = 1,
    kRectangle = 2,
};

struct NamedPulseCompensation {
    std::string_view name;  ///< "half-sine"
    PulseCompensation compensation;
};
KVX_API std::span<const NamedPulseCompensation> NamedPulseCompensations();

struct PulseWaveSettings {
    double rateHz = 0.0;
    PulseCompensation compensation = PulseCompensation::kNone;
    double before = 0.1;  ///< peaks of the pulses before and after, of that of the pulse, above 0 to 1
    double after = 0.1;
    /// Whether the table starts and ends in the middle of its stroke: a pair of pulses before all others
    /// brings it to one end of the stroke, and a pair behind them back. It then moves as far to either side;
    /// otherwise to one side only, as far as both together. For a compensation only.
    bool isCentred = false;
    double leadSeconds = 0.0;  ///< of rest before everything and after it, at least a sample each
    double tailSeconds = 0.0;
};

struct PulseWave {
    std::vector<double> samples = {};
    std::int64_t start = 0;       ///< the sample at which the pulse itself starts
    double velocityChange = 0.0;  ///< of the pulse itself, in closed form
    double beforeSeconds = 0.0;   ///< of the compensation before the pulse, and after it; 0 without one
    double afterSeconds = 0.0;
    /// Of the samples, between which the acceleration runs straight, from rest at the first one on.
    double lowestVelocity = 0.0;
    double highestVelocity = 0.0;
    double lowestDisplacement = 0.0;
    double highestDisplacement = 0.0;
    double endVelocity = 0.0;
    double endDisplacement = 0.0;
};

inline constexpr std::int64_t kLeastPulseSamples = 8;
inline constexpr std::int64_t kMostPulseSamples = 100'000'000;

/// The samples of the pulse. The heights of the pulses before and after are adjusted to the samples, by a
/// fraction that vanishes as the rate grows, so that these end at rest to rounding. Throws Error (kBadValue)
/// for a rate with which the pulse or one that compensates it has fewer than kLeastPulseSamples, for more
/// than kMostPulseSamples in all, and for values outside the ranges above.
KVX_API PulseWave MakePulseWave(const Pulse& pulse, const PulseWaveSettings& settings);

/// How a pulse is measured.
struct PulseMeasure {
    /// The pulse lasts as long as its magnitude is above this part of the peak, without a break; above 0,
    /// below 1. Places between samples are interpolated along straight lines.
    double threshold = 0.1;
    /// The velocity is integrated from so many durations before the pulse to so many behind it, the limits of
    /// IEC 60068-2-27; 0 or more.
    double before = 0.4;
    double after = 0.1;
};

struct PulseFigures {
    double peak = 0.0;          ///< the sample of the largest magnitude, with its sign; the first of several
    double peakSeconds = 0.0;   ///< where it stands; all times from the first sample on
    double startSeconds = 0.0;  ///< where the magnitude rises above the threshold
    double durationSeconds = 0.0;
    bool isWhole = false;  ///< whether the signal is below the threshold on both sides of the pulse
    /// The integral of the signal, which runs straight from sample to sample, between these places, which
    /// lie within the signal.
    double velocityChange = 0.0;
    double fromSeconds = 0.0;
    double toSeconds = 0.0;
};

/// The highest pulse of a signal. Throws Error (kBadValue) for a rate that is not above 0, values outside
/// the ranges above, a sample that is no number, and samples that are all 0 or none.
KVX_API PulseFigures MeasurePulse(std::span<const double> samples, double rateHz,
                                  const PulseMeasure& measure = {});

}  // namespace kvx
