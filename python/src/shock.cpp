// SPDX-License-Identifier: MIT
#include "shock.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/ShockPulse.h>
#include <KvxDevCommon01/dsp/ShockSpectrum.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxRecording01/RecordingShock.h>

#include "recordings.h"
#include "records.h"
#include "results.h"
#include "spectra.h"

namespace kvx::python {
namespace {

/// The row of a table of names; throws Error for a name that it has not.
template <class Table>
auto Named(const Table& table, const std::string& name) {
    std::vector<std::string> names;
    for (const auto& row : table) {
        if (row.name == name) return row;
        names.emplace_back(row.name);
    }
    throw Error(ErrorKind::kUnknownName, NoSuchName(name, names));
}

ShockExtreme ExtremeOf(const std::string& name) {
    return Named(NamedShockExtremes(), name).extreme;
}

std::vector<double> Frequencies(double low, double high, int perOctave, std::optional<double> step) {
    return step ? FrequenciesPerStep(low, high, *step) : FrequenciesPerOctave(low, high, perOctave);
}

ShockSettings SettingsOf(double fs, const ArrayLike& frequencies, double q, std::optional<double> damping,
                         const std::string& response, std::optional<double> peakError) {
    constexpr double kSpan = 1000.0;
    ShockSettings settings = {fs};
    if (!frequencies.is_none()) {
        settings.frequencies = NumbersOf(frequencies, "frequencies");
    } else if (fs > 0.0) {
        settings.frequencies = FrequenciesPerOctave(fs / kRateOverBand / kSpan, fs / kRateOverBand, 12);
    }
    settings.damping = damping ? *damping : DampingOfQ(q);
    settings.response = Named(NamedShockResponses(), response).response;
    settings.peakError = peakError;
    return settings;
}

std::tuple<py::array_t<double>, py::array> Spectrum(const ArrayLike& x, double fs,
                                                    const ArrayLike& frequencies, double q,
                                                    const std::string& response, const std::string& extreme,
                                                    std::optional<double> damping,
                                                    std::optional<double> peakError, py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    const ShockSettings settings = SettingsOf(fs, frequencies, q, damping, response, peakError);
    const ShockExtreme wanted = ExtremeOf(extreme);
    py::array levels = MapRows<double>(rows, settings.frequencies.size(), [&](auto samples, auto out) {
        ShockSpectrum spectrum(settings);
        spectrum.Add(samples);
        std::ranges::copy(spectrum.Extremes().Of(wanted), out.begin());
    });
    return {ArrayOf(settings.frequencies), std::move(levels)};
}

struct Stream {
    ShockSpectrum spectrum;
    std::vector<double> frequencies;
};
using SpectrumStream = Guarded<Stream>;

void BindStream(py::module_& module) {
    py::class_<SpectrumStream>(module, "ShockSpectrum",
                               R"(The shock response spectrum of a signal that comes in pieces of any length.

The result has the same bits however the signal is cut; what is kept does not grow with it. Any number of threads may
use one object, one at a time.)")
        .def(py::init([](double fs, const ArrayLike& frequencies, double q, const std::string& response,
                         std::optional<double> damping, std::optional<double> peakError) {
                 const ShockSettings settings = SettingsOf(fs, frequencies, q, damping, response, peakError);
                 return std::unique_ptr<SpectrumStream>(
                     new SpectrumStream{{ShockSpectrum(settings), settings.frequencies}});
             }),
             py::arg("fs"), py::arg("frequencies") = py::none(), py::arg("q") = 10.0,
             py::arg("response") = "acceleration", py::arg("damping") = py::none(),
             py::arg("peak_error") = 0.01, "Arguments as shock_spectrum.")
        .def(
            "add",
            [](SpectrumStream& self, const ArrayLike& x) {
                const Rows rows = OneRow(x, "x");
                self.Use([&](Stream& stream) {
                    rows.RequireValues();
                    stream.spectrum.Add(rows.Row(0));
                });
            },
            py::arg("x"), "Takes the next samples, in one dimension.")
        .def(
            "levels",
            [](SpectrumStream& self, const std::string& extreme) {
                const ShockExtreme wanted = ExtremeOf(extreme);
                return ArrayOf(self.Use([&](Stream& s) { return s.spectrum.Extremes().Of(wanted); }));
            },
            py::arg("extreme") = "maximax", "The spectrum of what came so far, as if it were all.")
        .def_property_readonly(
            "frequencies",
            [](SpectrumStream& self) { return ArrayOf(self.Use([](Stream& s) { return s.frequencies; })); },
            "The natural frequencies, Hz.");
}

ShockPulseResult MakePulse(const std::string& shape, double peak, double duration, double fs, double rise,
                           double fall, const std::string& compensation, double before, double after,
                           bool centred, double lead, double tail) {
    const Pulse pulse = {Named(NamedPulseShapes(), shape).shape, peak, duration, rise, fall};
    const PulseWaveSettings settings = {
        fs, Named(NamedPulseCompensations(), compensation).compensation, before, after, centred, lead, tail};
    PulseWave wave = Unlocked([&] { return MakePulseWave(pulse, settings); });
    return ShockPulseResult::Of(ArrayOf(std::move(wave.samples)), wave.start, wave.velocityChange,
                                wave.beforeSeconds, wave.afterSeconds,
                                std::make_tuple(wave.lowestVelocity, wave.highestVelocity),
                                std::make_tuple(wave.lowestDisplacement, wave.highestDisplacement));
}

PulseFiguresResult ResultOf(const PulseFigures& f) {
    return PulseFiguresResult::Of(f.peak, f.peakSeconds, f.startSeconds, f.durationSeconds, f.isWhole,
                                  f.velocityChange, f.fromSeconds, f.toSeconds);
}

PulseFiguresResult Measure(const ArrayLike& x, double fs, double threshold, double before, double after) {
    const Rows rows = OneRow(x, "x");
    return ResultOf(Unlocked([&] {
        rows.RequireValues();
        return MeasurePulse(rows.Row(0), fs, {threshold, before, after});
    }));
}

// ---- of recordings ----

std::vector<RecordPointer> SpectraOfRecording(Recording& recording, const ArrayLike& frequencies, double q,
                                              const std::string& response, const Listed& extremes,
                                              std::optional<double> damping, std::optional<double> peakError,
                                              double baseline) {
    ShockChoice choice;
    if (!frequencies.is_none()) choice.frequencies = NumbersOf(frequencies, "frequencies");
    choice.damping = damping ? *damping : DampingOfQ(q);
    choice.response = Named(NamedShockResponses(), response).response;
    choice.peakError = peakError;
    choice.baselineSeconds = baseline;
    std::vector<ShockExtreme> wanted;
    for (const py::object& each : PiecesOf(extremes))
        wanted.push_back(ExtremeOf(py::cast<std::string>(each)));
    if (wanted.empty()) Refuse("extremes names none");
    const auto records = UnlockedOn(recording.Path(), [&] {
        return DataRecords(ShockSpectraOf(*recording.Waveforms(), choice, Interruptible()), wanted);
    });
    std::vector<RecordPointer> results;
    for (const CComDataBase& record : records) results.push_back(std::make_shared<CComDataBase>(record));
    return results;
}

std::vector<std::tuple<std::string, CUnitCtrl, PulseFiguresResult>> PulsesOfRecording(
    Recording& recording, double threshold, double before, double after, double baseline) {
    const PulseChoice choice = {{threshold, before, after}, baseline};
    const auto pulses = UnlockedOn(recording.Path(),
                                   [&] { return PulsesOf(*recording.Waveforms(), choice, Interruptible()); });
    std::vector<std::tuple<std::string, CUnitCtrl, PulseFiguresResult>> results;
    for (const ChannelPulse& pulse : pulses) {
        const CUnitCtrl& unit = pulse.channel.unit;
        PulseFigures figures = pulse.figures;
        figures.peak = unit.ConvDtoI(figures.peak, 1.0, 0);
        if (!unit.IsAcc()) figures.velocityChange = unit.ConvDtoI(figures.velocityChange, 1.0, 0);
        results.emplace_back(ToUtf8(pulse.channel.name), unit, ResultOf(figures));
    }
    return results;
}

void BindOfRecordings(py::module_& module) {
    using Class = py::class_<Recording, RecordingPointer>;
    auto recording = py::reinterpret_borrow<Class>(module.attr("Recording"));
    recording.def(
        "shock_spectra", &SpectraOfRecording, py::arg("frequencies") = py::none(), py::arg("q") = 10.0,
        py::arg("response") = "acceleration", py::arg("extremes") = "maximax",
        py::arg("damping") = py::none(), py::arg("peak_error") = 0.01, py::arg("baseline") = 0.0,
        R"(Shock response spectra of all channels, as records over frequency: one per unit, a row for each extreme of a channel.

extremes: one or a list of those of kvx.shock_spectrum, whose other arguments are the same
baseline: the mean of so many seconds at the start is taken off

Velocities are shown in m/s, displacements in mm. Signals are read block by block.)");
    recording.def("pulses", &PulsesOfRecording, py::arg("threshold") = 0.1, py::arg("before") = 0.4,
                  py::arg("after") = 0.1, py::arg("baseline") = 0.0,
                  R"(The highest pulse of each channel, (name, unit, figures) of each, as kvx.measure_pulse.

Times are those of the axis. The change of velocity is in m/s where the channel is an acceleration, else in its unit times s.
baseline: as shock_spectra.)");
}

}  // namespace

void BindShock(py::module_& module) {
    BindOfRecordings(module);
    module.def(
        "shock_frequencies",
        [](double low, double high, int perOctave, std::optional<double> step) {
            return ArrayOf(Frequencies(low, high, perOctave, step));
        },
        py::arg("low"), py::arg("high"), py::arg("per_octave") = 12, py::arg("step") = py::none(),
        R"(Natural frequencies from low to high, Hz: per_octave in an octave, or step apart.

Those per octave lie on the grid of IEC 61260-1 (1000 Hz, 10^(0.3/n) from one to the next, half a step beside it for
even n) and are not rounded to their nominal values.)");
    module.def(
        "shock_spectrum", &Spectrum, py::arg("x"), py::arg("fs") = 1.0, py::arg("frequencies") = py::none(),
        py::arg("q") = 10.0, py::arg("response") = "acceleration", py::arg("extreme") = "maximax",
        py::arg("damping") = py::none(), py::arg("peak_error") = 0.01, py::arg("axis") = -1,
        R"(The shock response spectrum of base accelerations, (frequencies, levels) (ISO 18431-4; Smallwood 1981).

x:           real samples of any shape; every row along the axis is a signal, 0 before and after
fs:          sampling rate, Hz
frequencies: natural frequencies, Hz; without a choice 12 per octave over three decades up to fs/2.56
q, damping:  quality factor above 0.5, or the damping ratio 1/(2 q), from 0 to below 1
response:    "acceleration" (absolute), "relative-velocity", "relative-displacement", "pseudo-velocity" (2 pi f times
             the displacement) or "static-acceleration" (that times 2 pi f), with the sign of a slow acceleration
extreme:     "maximax", "positive", "negative", "primary" (while the signal lasts), "residual" (after it), or
             "primary-positive" and so on; all are magnitudes
peak_error:  by how much the peak of an oscillation may come out too low, 0.005 or more; x is interpolated for it where
             fs is too low. None: x runs straight between its samples, as in ISO 18431-4.

levels are in the unit of x, times s for velocities and s2 for displacements.)");
    BindStream(module);
    module.def(
        "shock_pulse", &MakePulse, py::arg("shape"), py::arg("peak"), py::arg("duration"), py::arg("fs"),
        py::arg("rise") = 0.1, py::arg("fall") = 0.1, py::arg("compensation") = "none",
        py::arg("before") = 0.1, py::arg("after") = 0.1, py::arg("centred") = false, py::arg("lead") = 0.0,
        py::arg("tail") = 0.0,
        R"(The pulse of a shock test, with what leaves a shaker at rest where it began (see kvx.results.ShockPulse).

shape:         "half-sine", "haversine", "terminal-sawtooth", "initial-sawtooth", "triangle", "trapezoid" or
               "rectangle"
peak:          in any unit, of either sign
duration:      s
rise, fall:    parts of the duration in which a trapezoid rises and falls
compensation:  "none", "half-sine" or "rectangle": pulses of the other sign before and after, after which velocity and
               displacement are 0
before, after: their peaks, as parts of the peak
centred:       whether the table begins and ends in the middle of its stroke
lead, tail:    rest before and after all pulses, s)");
    module.def(
        "measure_pulse", &Measure, py::arg("x"), py::arg("fs"), py::arg("threshold") = 0.1,
        py::arg("before") = 0.4, py::arg("after") = 0.1,
        R"(Peak, duration and change of velocity of the highest pulse of a signal (see kvx.results.PulseFigures).

threshold:     the pulse lasts as long as its magnitude is above this part of the peak
before, after: the velocity is integrated from so many durations before the pulse to so many after it (IEC 60068-2-27))");
}

}  // namespace kvx::python
