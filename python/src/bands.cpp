// SPDX-License-Identifier: MIT
#include "bands.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/FrequencyWeighting.h>
#include <KvxDevCommon01/dsp/LevelMeter.h>
#include <KvxDevCommon01/dsp/LevelReference.h>
#include <KvxDevCommon01/dsp/MovingRms.h>
#include <KvxDevCommon01/dsp/OctaveBands.h>
#include <KvxDevCommon01/dsp/OctaveFilters.h>
#include <KvxDevCommon01/text/NearNames.h>

#include "results.h"
#include "units.h"

namespace kvx::python {
namespace {

template <class Table>
auto Named(const Table& table, const std::string& name) {
    const auto row = std::ranges::find_if(table, [&](const auto& each) { return each.name == name; });
    if (row != table.end()) return row->weighting;
    std::vector<std::string> names;
    for (const auto& each : table) names.emplace_back(each.name);
    throw Error(ErrorKind::kUnknownName, NoSuchName(name, names));
}

FrequencyWeighting WeightingOf(const std::string& name) {
    return Named(kWeightings, name);
}

std::vector<OctaveBand> Bands(std::int32_t fraction, double low, std::optional<double> high,
                              std::optional<double> fs) {
    if (high.has_value() == fs.has_value()) Refuse("either high or fs says where the bands end");
    return high ? OctaveBandsBetween(fraction, low, *high) : OctaveBandsUpTo(fraction, low, *fs);
}

std::vector<py::array> OctaveFiltered(const ArrayLike& x, double fs, const std::vector<OctaveBand>& bands) {
    const Rows rows = OneRow(x, "x");
    std::vector<std::vector<double>> results(bands.size());
    Unlocked([&] {
        rows.RequireValues();
        OctaveFilterBank bank(fs, bands);
        const auto take = [&](std::size_t band, std::span<const double> more) {
            results[band].insert(results[band].end(), more.begin(), more.end());
        };
        bank.Add(rows.Row(0), take);
        bank.Finish(take);
    });
    std::vector<py::array> arrays;
    for (std::vector<double>& band : results) arrays.push_back(ArrayOf(std::move(band)));
    return arrays;
}

py::array OctaveMeanSquares(const ArrayLike& x, double fs, const std::vector<OctaveBand>& bands,
                            py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    return MapRows<double>(rows, bands.size(), [&](std::span<const double> samples, std::span<double> out) {
        OctaveFilterBank bank(fs, bands);
        std::vector<double> counts(bands.size());
        std::ranges::fill(out, 0.0);
        const auto take = [&](std::size_t band, std::span<const double> more) {
            for (const double result : more) out[band] += result * result;
            counts[band] += static_cast<double>(more.size());
        };
        // In pieces, so that what runs at low rates needs little memory.
        constexpr std::size_t kPiece = 65536;
        for (std::span<const double> rest = samples; !rest.empty();
             rest = rest.subspan(std::min(kPiece, rest.size())))
            bank.Add(rest.first(std::min(kPiece, rest.size())), take);
        bank.Finish(take);
        for (std::size_t b = 0; b < out.size(); ++b)
            if (counts[b] > 0.0) out[b] /= counts[b];
    });
}

py::array_t<double> DensityPowers(const ArrayLike& lines, double df, const std::vector<OctaveBand>& bands) {
    LineSpectrum spectrum;
    spectrum.kind = LineKind::kDensity;
    spectrum.spacingHz = df;
    spectrum.real = NumbersOf(lines, "Pxx");
    if (!(df > 0.0)) Refuse("df is not above 0");
    std::vector<double> powers;
    for (const std::optional<double>& power : PowersInBands(spectrum, bands))
        powers.push_back(power.value_or(std::numeric_limits<double>::quiet_NaN()));
    return ArrayOf(std::move(powers));
}

/// Each row through a process of its own that gives `length` results.
template <class Make>
py::array Processed(const Rows& rows, std::size_t length, Make make) {
    Unlocked([&] { make(); });  // refuses what is wrong also of no rows
    return MapRows<double>(rows, length, [&](std::span<const double> samples, std::span<double> out) {
        std::vector<double> results;
        results.reserve(length);
        const std::unique_ptr<SampleProcess> process = make();
        process->Feed(samples, results);
        process->Finish(results);
        std::ranges::copy(results, out.begin());
    });
}

py::array Weight(const ArrayLike& x, double fs, const std::string& weighting, py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    return Processed(rows, rows.Length(),
                     [fs, kind = WeightingOf(weighting)] { return MakeWeighting(kind, fs); });
}

py::array TimeWeight(const ArrayLike& x, double fs, const std::string& weighting, std::int64_t step,
                     py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    if (step < 1) Refuse("step is below 1");
    return Processed(
        rows, rows.Length() / static_cast<std::size_t>(step),
        [=, kind = Named(kTimeWeightings, weighting)] { return MakeTimeWeighting(kind, fs, step); });
}

py::array MovingRmsOf(const ArrayLike& x, std::int64_t window, std::optional<std::int64_t> step,
                      py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    const MovingWindow moving = {window, step.value_or(window)};
    if (moving.samples < 1 || moving.step < 1) Refuse("window and step are 1 sample or more");
    const auto length =
        static_cast<std::size_t>(CountMoving(moving, static_cast<std::int64_t>(rows.Length())));
    if (length == 0) Refuse("the window is longer than the signal");
    return Processed(rows, length, [moving] { return MakeMovingRms(moving); });
}

LevelsResult Levels(const ArrayLike& x, double fs, const std::string& weighting, const std::string& time,
                    const std::string& peak, const std::vector<double>& exceeded) {
    const Rows rows = OneRow(x, "x");
    const LevelChoice choice = {WeightingOf(weighting), Named(kTimeWeightings, time), WeightingOf(peak)};
    LevelFigures figures;
    std::vector<std::optional<double>> levels;
    Unlocked([&] {
        rows.RequireValues();
        LevelMeter meter(fs, choice);
        meter.Add(rows.Row(0));
        figures = meter.Figures();
        for (const double percent : exceeded) levels.push_back(meter.Exceeded(percent));
    });
    return LevelsResult::Of(figures.seconds, figures.meanSquare, figures.exposure, figures.peakSquare,
                            figures.maxSquare, figures.minSquare, levels);
}

py::object GainsAt(const Floats& frequencies, const std::string& weighting) {
    const FrequencyWeighting kind = WeightingOf(weighting);
    if (py::isinstance<py::float_>(frequencies) || py::isinstance<py::int_>(frequencies))
        return py::float_(WeightingGain(kind, py::cast<double>(frequencies)));
    const Rows rows(frequencies, "f");
    return MapRows<double>(rows, rows.Length(), [&](std::span<const double> hz, std::span<double> out) {
        std::ranges::transform(hz, out.begin(), [&](double f) { return WeightingGain(kind, f); });
    });
}

}  // namespace

void BindBands(py::module_& module) {
    py::class_<OctaveBand>(module, "OctaveBand",
                           R"(A band of 1/fraction octave (IEC 61260-1:2014, base 10).

number: x, counted from that at or above 1 kHz)")
        .def(py::init(&OctaveBandAt), py::arg("fraction"), py::arg("number"))
        .def_readonly("fraction", &OctaveBand::fraction, "Bands per octave.")
        .def_readonly("number", &OctaveBand::number, "Its number; 0 is that of 1 kHz.")
        .def_readonly("low", &OctaveBand::lowHz, "Lower edge, Hz.")
        .def_readonly("mid", &OctaveBand::midHz, "Exact mid-band frequency, Hz.")
        .def_readonly("high", &OctaveBand::highHz, "Upper edge, Hz.")
        .def_readonly("nominal", &OctaveBand::nominalHz, "Nominal frequency, by which it is called, Hz.")
        .def(
            "__eq__",
            [](const OctaveBand& self, const py::object& other) {
                if (!py::isinstance<OctaveBand>(other)) return false;
                const auto& that = py::cast<const OctaveBand&>(other);
                return self.fraction == that.fraction && self.number == that.number;
            },
            py::arg("other"))
        .def("__hash__", [](const OctaveBand& self) { return self.fraction * 100003 + self.number; })
        .def(py::pickle([](const OctaveBand& self) { return py::make_tuple(self.fraction, self.number); },
                        [](const py::tuple& state) {
                            return OctaveBandAt(state[0].cast<std::int32_t>(), state[1].cast<std::int32_t>());
                        }));
    module.def(
        "octave_bands", &Bands, py::arg("fraction"), py::arg("low"), py::arg("high") = py::none(),
        py::arg("fs") = py::none(),
        R"(The bands from the one of frequency low to that of high, or to the highest that filters at the rate fs have.

low, high: Hz; fs: Hz, for bands that end below 0.47 fs)");
    module.def("octave_filter", &OctaveFiltered, py::arg("x"), py::arg("fs"), py::arg("bands"),
               R"(The signal in each band: a list of arrays, by filters of class 1 of IEC 61260-1:2014.

x: one signal; fs: Hz. Each band comes at a rate of its own: fs times len(result)/len(x), but for rounding up.)");
    module.def("octave_mean_squares", &OctaveMeanSquares, py::arg("x"), py::arg("fs"), py::arg("bands"),
               py::arg("axis") = -1,
               "The mean square of x in each band, along the axis, by the filters of octave_filter.");
    module.def("powers_in_bands", &DensityPowers, py::arg("Pxx"), py::arg("df"), py::arg("bands"),
               R"(The power of a density in each band: each line k df by the part of its cell that lies in it.

Pxx: a one-sided density per hertz from 0 Hz on; the line at 0 Hz is not counted. NaN above the last line.)");
    module.def("weighting_gain", &GainsAt, py::arg("f"), py::arg("weighting") = "A",
               R"(The gain of the frequency weighting A, C or Z (IEC 61672-1:2013) at frequencies, Hz.)");
    module.def("weighting_filter", &Weight, py::arg("x"), py::arg("fs"), py::arg("weighting") = "A",
               py::arg("axis") = -1,
               R"(The samples, weighted by A, C or Z, from rest: within 0.07 dB up to 0.47 fs.)");
    module.def("time_weighting", &TimeWeight, py::arg("x"), py::arg("fs"), py::arg("weighting") = "F",
               py::arg("step") = 1, py::arg("axis") = -1,
               R"(The root of the time-weighted mean square after each step samples, from rest.

weighting: F (0.125 s), S (1 s) or I (impulse))");
    module.def("moving_rms", &MovingRmsOf, py::arg("x"), py::arg("window"), py::arg("step") = py::none(),
               py::arg("axis") = -1,
               "The rms over windows of so many samples that begin every step samples; step is the window "
               "unless given.");
    module.def("levels", &Levels, py::arg("x"), py::arg("fs"), py::arg("weighting") = "A",
               py::arg("time_weighting") = "F", py::arg("peak_weighting") = "C",
               py::arg("exceeded") = std::vector<double>{10.0, 50.0, 90.0},
               R"(What a level meter tells of a signal, as mean squares (IEC 61672-1:2013).

exceeded: percentages of the time. 10 log10(mean_square/x0**2) is the level, x0 of level_reference.)");
    module.def(
        "level_reference",
        [](const UnitLike& unit) {
            const CUnitCtrl of = UnitOf(unit);
            const LevelReference reference = LevelReferenceOf(of);
            return py::make_tuple(of.ConvDtoI(reference.value, 1.0, 0), reference.text);
        },
        py::arg("unit"),
        "The reference of 0 dB for a unit, in it, and as a text (ISO 1683): (2e-05, '20 µPa').");
}

}  // namespace kvx::python
