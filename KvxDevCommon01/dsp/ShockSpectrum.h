// SPDX-License-Identifier: MIT
//
// Shock response spectra: the largest responses of oscillators of one degree of freedom, each with a natural
// frequency f and the damping ratio zeta, to the acceleration u of the base on which they all stand. With
// omega = 2 pi f an oscillator obeys
//
//     d'' + 2 zeta omega d' + omega^2 d = u,
//
// d being the displacement of the base relative to the mass, so that all responses to a slow acceleration
// have its sign. The oscillators are ramp-invariant filters (D. O. Smallwood, "An improved recursive formula
// for calculating shock response spectra", Shock and Vibration Bulletin 51-2, 1981; ISO 18431-4): exact for
// an excitation that runs straight from sample to sample and is 0 at the samples before the first and after
// the last. They are evaluated by the two quantities of their state, of which neither is lost at low
// frequencies.
//
// A signal may come in calls of any length, in constant memory, with the same bits for every cut, on every
// machine and any number of threads. Values are in the unit of the samples, times s or s^2 where the response
// is a velocity or displacement.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// The response that a spectrum tells of.
enum class ShockResponse {
    kAcceleration = 0,          ///< absolute acceleration of the mass, omega^2 d + 2 zeta omega d'
    kRelativeVelocity = 1,      ///< d'
    kRelativeDisplacement = 2,  ///< relative displacement d
    kPseudoVelocity = 3,        ///< omega d
    kStaticAcceleration = 4,    ///< relative displacement as equivalent static acceleration, omega^2 d
};

struct NamedShockResponse {
    std::string_view name;  ///< "pseudo-velocity"
    ShockResponse response;
};
KVX_API std::span<const NamedShockResponse> NamedShockResponses();

/// Which of the extremes a spectrum holds, all as magnitudes. Primary is the time of the excitation, up to
/// the zero behind its last sample; residual is the free vibration from then on, for ever.
enum class ShockExtreme {
    kMaximax = 0,   ///< largest magnitude at any time
    kPositive = 1,  ///< largest value at any time
    kNegative = 2,  ///< lowest value at any time
    kPrimary = 3,   ///< largest magnitude
    kResidual = 4,
    kPrimaryPositive = 5,
    kPrimaryNegative = 6,
    kResidualPositive = 7,
    kResidualNegative = 8,
};

struct NamedShockExtreme {
    std::string_view name;  ///< "maximax"
    ShockExtreme extreme;
};
KVX_API std::span<const NamedShockExtreme> NamedShockExtremes();

/// The damping ratio of a quality factor, 1/(2 Q); throws Error (kBadValue) unless the factor is above 0.5.
KVX_API double DampingOfQ(double q);

/// Frequencies 1/`perOctave` octave apart, the exact ones of OctaveMiddle, from `fromHz` to `toHz`, where a
/// twentieth of a step outside counts as inside, as nominal values stray from the exact ones. Throws Error
/// (kBadValue) for bounds that are not above 0 or leave none, fewer than 1 or more than 1000 per octave, and
/// more than kMostShockFrequencies.
KVX_API std::vector<double> FrequenciesPerOctave(double fromHz, double toHz, int perOctave);

/// `fromHz`, `fromHz` + `stepHz` ... up to `toHz`, as which a millionth of a step outside counts. Throws
/// Error (kBadValue) as above, and for a step that is not above 0.
KVX_API std::vector<double> FrequenciesPerStep(double fromHz, double toHz, double stepHz);

inline constexpr std::size_t kMostShockFrequencies = 100000;

/// By how much, at most, the peak of an oscillation at `frequencyHz` comes out too low where the signal runs
/// straight between samples at `rateHz` and peaks are looked for at the samples: 1 - sinc(x)^2 cos(pi x) of
/// x = frequency/rate; 1 from half the rate on.
KVX_API double ShockPeakError(double frequencyHz, double rateHz);

struct ShockSettings {
    double rateHz = 0.0;
    std::vector<double> frequencies = {};  ///< natural frequencies [Hz] in any order, above 0
    double damping = 0.05;                 ///< from 0 to below 1
    ShockResponse response = ShockResponse::kAcceleration;
    /// How much too low a peak may come out. Where the rate is too low for that, the signal is interpolated
    /// by a cascade of CMatMrf, in the band up to rate/2.56. Without a value it runs straight between its
    /// samples at every frequency, as in ISO 18431-4.
    std::optional<double> peakError = 0.01;
};

/// The least that can be asked of ShockSettings::peakError: the ripple of the interpolation is part of it.
inline constexpr double kLeastShockPeakError = 0.005;

/// By how much the signal is interpolated for a frequency: a ratio of RateChanges, 1 where that is not
/// needed. Throws Error (kBadValue) for settings that ShockSpectrum refuses.
KVX_API std::int32_t ShockOversampling(const ShockSettings& settings, double frequencyHz);

/// The unit of such responses to a signal in `unit`. Throws Error (kUnsupported) for a velocity or
/// displacement of what is no acceleration.
KVX_API CUnitCtrl ShockUnit(ShockResponse response, const CUnitCtrl& unit);

/// The extremes of the responses, as magnitudes in the order of the frequencies.
struct ShockExtremes {
    std::vector<double> primaryPositive = {};
    std::vector<double> primaryNegative = {};
    std::vector<double> residualPositive = {};
    std::vector<double> residualNegative = {};

    KVX_API std::vector<double> Of(ShockExtreme extreme) const;
};

class KVX_API ShockSpectrum {
public:
    /// Throws Error (kBadValue) for a rate that is not above 0, no frequencies, too many or one that is no
    /// number above 0, a damping ratio and a peak error outside their ranges, and a frequency that no ratio
    /// of interpolation suffices for.
    explicit ShockSpectrum(const ShockSettings& settings);
    ~ShockSpectrum();
    ShockSpectrum(ShockSpectrum&& other) noexcept;
    ShockSpectrum& operator=(ShockSpectrum&& other) noexcept;

    /// Takes the next samples of the signal. Frequencies are calculated side by side on the cores.
    void Add(std::span<const double> samples);

    /// The extremes of the responses to the samples so far, as if these were all. Throws Error (kBadValue)
    /// when a response leaves the range of numbers, as it does for a sample that is no number.
    ShockExtremes Extremes() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace kvx
