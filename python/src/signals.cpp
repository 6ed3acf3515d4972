// SPDX-License-Identifier: MIT
#include "signals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <KvxDevCommon01/dsp/ProfileEditing.h>
#include <KvxDevCommon01/dsp/RandomWave.h>
#include <KvxDevCommon01/dsp/SampleQueue.h>
#include <KvxDevCommon01/dsp/SineFit.h>
#include <KvxRecording01/ProfileText.h>

#include "calls.h"
#include "results.h"
#include "spectra.h"
#include "units.h"

namespace kvx::python {
namespace {

// ---- profiles ----

Profile MakeProfile(const ArrayLike& frequencies, const ArrayLike& levels, const UnitLike& unit) {
    const Rows f = OneRow(frequencies, "frequencies");
    const Rows l = OneRow(levels, "levels");
    return {PsdProfile(f.Row(0), l.Row(0)), unit.is_none() ? std::nullopt : std::optional(UnitOf(unit))};
}

Profile FromText(const ProfileText& text) {
    return {text.profile, text.signalUnit, text.tolerance, text.abort};
}

std::string TextOf(const Profile& self) {
    return FormatProfileText({self.profile, self.unit, self.tolerance, self.abort});
}

/// The same limits and unit around other levels.
Profile Changed(Profile self, PsdProfile profile) {
    self.profile = std::move(profile);
    return self;
}

std::vector<LimitResult> LimitsOf(const std::vector<DensityLimit>& limits) {
    std::vector<LimitResult> results;
    for (const DensityLimit& limit : limits)
        results.push_back(LimitResult::Of(limit.upperDb, limit.lowerDb, limit.fromHz, limit.toHz));
    return results;
}

py::object LevelsAt(const Profile& self, const Floats& frequencies) {
    if (py::isinstance<py::float_>(frequencies) || py::isinstance<py::int_>(frequencies))
        return py::float_(self.profile.LevelAt(py::cast<double>(frequencies)));
    const Rows rows(frequencies, "frequencies");
    py::array_t<double> levels = rows.Make<double>(rows.Length());
    double* out = levels.mutable_data();
    Unlocked([&] {
        for (std::size_t r = 0; r < rows.Count(); ++r)
            for (const double f : rows.Row(r)) *out++ = self.profile.LevelAt(f);
    });
    return std::move(levels);
}

struct NamedPsdFilter {
    const char* name;
    CMatSpec::PSD_FILTER low;
    CMatSpec::PSD_FILTER high;
};
// clang-format off
constexpr std::array kPsdFilters = {
    NamedPsdFilter{"first",       CMatSpec::FILTER_LPF1,      CMatSpec::FILTER_HPF1},
    NamedPsdFilter{"second",      CMatSpec::FILTER_LPF2,      CMatSpec::FILTER_HPF2},
    NamedPsdFilter{"butterworth", CMatSpec::FILTER_BW_LPF,    CMatSpec::FILTER_BW_HPF},
    NamedPsdFilter{"slope",       CMatSpec::FILTER_LIN_LPF,   CMatSpec::FILTER_LIN_HPF},
    NamedPsdFilter{"cut",         CMatSpec::FILTER_TRANC_LPF, CMatSpec::FILTER_TRANC_HPF},
};
// clang-format on

CDataArrayDouble ArrayFrom(std::span<const double> numbers) {
    CDataArrayDouble array;
    if (!numbers.empty() && !array.SetData(std::ssize(numbers), numbers.data())) throw std::bad_alloc();
    return array;
}

Profile Filtered(const Profile& self, double corner, const std::string& btype, const std::string& kind,
                 double parameter) {
    const auto named =
        std::ranges::find_if(kPsdFilters, [&](const NamedPsdFilter& each) { return kind == each.name; });
    if (named == kPsdFilters.end() || (btype != "low" && btype != "high"))
        throw Error(ErrorKind::kUnknownName,
                    "kind is one of first, second, butterworth, slope and cut, and btype low or high");
    CDataArrayDouble frequencies = ArrayFrom(self.profile.Frequencies());
    CDataArrayDouble levels = ArrayFrom(self.profile.Levels());
    if (!CMatSpec::FilteringPsd(corner, static_cast<int>(btype == "low" ? named->low : named->high),
                                &frequencies, &levels, parameter))
        Refuse("the corner or parameter is out of range, or less than two points remain");
    return Changed(self, PsdProfile(Samples(frequencies), Samples(levels)));
}

void BindProfile(py::module_& module) {
    py::class_<Profile> profile(
        module, "Profile",
        R"(A power spectral density by breakpoints, straight between them on log-log axes and 0 outside.

frequencies: Hz, above 0 and ascending, at least two
levels:      above 0, in the square of `unit` per hertz
unit:        that of the signals, such as "g"; None where it does not matter

A value that does not change; its methods make changed ones.)");
    profile.def(py::init(&MakeProfile), py::arg("frequencies"), py::arg("levels"),
                py::arg("unit") = py::none());
    profile.def_property_readonly(
        "frequencies",
        [](const py::object& self) {
            return ViewOf(std::span<const double>(py::cast<const Profile&>(self).profile.Frequencies()),
                          self);
        },
        "Of the breakpoints, Hz; a view.");
    profile.def_property_readonly(
        "levels",
        [](const py::object& self) {
            return ViewOf(std::span<const double>(py::cast<const Profile&>(self).profile.Levels()), self);
        },
        "Of the breakpoints; a view.");
    profile.def_property_readonly(
        "unit", [](const Profile& self) { return self.unit; }, "Of the signals, or None.");
    profile.def_property_readonly(
        "rms", [](const Profile& self) { return self.profile.Rms(); },
        "Of a signal of this density: the root of the exact integral.");
    profile.def_property_readonly(
        "random_rate", [](const Profile& self) { return RandomWaveRate(self.profile); },
        "The least power of two in hertz that is 2.56 times its highest frequency or more.");
    profile.def(
        "rms_of_integral",
        [](const Profile& self, int times) {
            if (times < 0) Refuse("times is 0 or more");
            return self.profile.RmsOfIntegral(times);
        },
        py::arg("times"),
        R"(Rms of the signal integrated so many times over time, in closed form.

With levels of an acceleration in (m/s2)2/Hz that of the velocity, m/s, for 1 and of the displacement, m, for 2.)");
    profile.def_property_readonly(
        "tolerance", [](const Profile& self) { return LimitsOf(self.tolerance); },
        "The limits of what is acceptable; of those that overlap the last one holds.");
    profile.def_property_readonly(
        "abort", [](const Profile& self) { return LimitsOf(self.abort); }, "The limits where a test ends.");
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const auto addLimits = [&](const char* name, std::vector<DensityLimit> Profile::*kind, const char* text) {
        profile.def(
            name,
            [kind](Profile self, double upper, double lower, double low, double high) {
                (self.*kind).push_back({upper, lower, low, high});
                return self;
            },
            py::arg("upper"), py::arg("lower"), py::arg("low") = 0.0, py::arg("high") = kInfinity, text);
    };
    addLimits(
        "with_tolerance", &Profile::tolerance,
        "The profile with a limit of what is acceptable, in dB above and below it, from low to high, Hz.");
    addLimits("with_abort", &Profile::abort, "The same for a limit where a test ends.");
    profile.def("level_at", &LevelsAt, py::arg("frequencies"),
                "Levels at a frequency or an array of them; 0 outside the profile.");
    profile.def(
        "lines",
        [](const Profile& self, double df, std::size_t count) {
            if (count > (std::size_t{1} << 40)) Refuse("count is too large");
            return ArrayOf(Unlocked([&] { return self.profile.Lines(df, count); }));
        },
        py::arg("df"), py::arg("count"),
        R"(The profile on lines k df, k = 0 to count-1: the mean over the cell of each, so that df times their sum is the power.)");
    profile.def(
        "with_level",
        [](const Profile& self, double low, double high, double level) {
            return Changed(self, WithLevel(self.profile, low, high, level));
        },
        py::arg("low"), py::arg("high"), py::arg("level"),
        "The profile with this level from low to high, Hz.");
    profile.def(
        "with_level_ratio",
        [](const Profile& self, double low, double high, double ratio, double slope) {
            return Changed(self, WithLevelRatio(self.profile, low, high, ratio, slope));
        },
        py::arg("low"), py::arg("high"), py::arg("ratio"), py::arg("slope") = 0.0,
        R"(The profile with the levels from low to high multiplied by ratio.

With a slope other than 0 the factor goes back to 1 beside the band as (f/corner)^slope.)");
    profile.def(
        "with_rms", [](const Profile& self, double rms) { return Changed(self, WithRms(self.profile, rms)); },
        py::arg("rms"), "The profile scaled so that its rms becomes this.");
    profile.def("filtered", &Filtered, py::arg("corner"), py::arg("btype") = "low",
                py::arg("kind") = "butterworth", py::arg("parameter") = 4.0,
                R"(The profile shaped by the squared magnitude of a filter, within 0.02 dB.

kind: as spectral_filter; parameter: the quality of "second", the order of "butterworth" (1 to 16) and "slope".)");
    profile.def_static(
        "from_lines",
        [](const ArrayLike& lines, double df, const UnitLike& unit) {
            const Rows rows = OneRow(lines, "lines");
            return Profile{ProfileOfLines(rows.Row(0), df),
                           unit.is_none() ? std::nullopt : std::optional(UnitOf(unit))};
        },
        py::arg("lines"), py::arg("df"), py::arg("unit") = py::none(),
        "The lines k df, k = 1, 2 ..., of a density that are above 0 as breakpoints.");
    profile.def_static(
        "parse", [](const std::string& text) { return FromText(ParseProfileText(text)); }, py::arg("text"),
        R"(Reads a text: a line per fact, comments behind #.

20 0.01               a breakpoint; without its level the slope beside it tells that
+3 dB/oct             the slope from one breakpoint to the next
unit g2/Hz            of the levels
tolerance +3 -3 dB    a limit, "none" for an open side; two frequencies behind it for a part
abort +6 -6 dB        the same for where a test ends)");
    profile.def_static(
        "read",
        [](const PathLike& path) {
            const std::string name = PathOf(path);
            return FromText(UnlockedOn(name, [&] { return ReadProfileText(name); }));
        },
        py::arg("path"), "Reads such a text from a file.");
    profile.def("text", &TextOf, "The text that reads back as the same profile.");
    profile.def(
        "__eq__",
        [](const Profile& self, const py::object& other) {
            if (!py::isinstance<Profile>(other)) return false;
            const auto& that = py::cast<const Profile&>(other);
            return std::ranges::equal(self.profile.Frequencies(), that.profile.Frequencies()) &&
                   std::ranges::equal(self.profile.Levels(), that.profile.Levels()) &&
                   py::cast(self.unit).equal(py::cast(that.unit)) &&
                   py::cast(LimitsOf(self.tolerance)).equal(py::cast(LimitsOf(that.tolerance))) &&
                   py::cast(LimitsOf(self.abort)).equal(py::cast(LimitsOf(that.abort)));
        },
        py::arg("other"));
    profile.def("__len__", [](const Profile& self) { return self.profile.Frequencies().size(); });
    profile.def(py::pickle(
        [](const Profile& self) {
            const auto f = self.profile.Frequencies();
            const auto l = self.profile.Levels();
            return py::make_tuple(std::vector<double>(f.begin(), f.end()),
                                  std::vector<double>(l.begin(), l.end()), self.unit,
                                  LimitsOf(self.tolerance), LimitsOf(self.abort));
        },
        [](const py::tuple& state) {
            const auto f = state[0].cast<std::vector<double>>();
            const auto l = state[1].cast<std::vector<double>>();
            const auto limits = [](const py::handle& list) {
                std::vector<DensityLimit> made;
                for (const auto& each : list.cast<std::vector<std::array<double, 4>>>())
                    made.push_back({each[0], each[1], each[2], each[3]});
                return made;
            };
            return Profile{f.empty() ? PsdProfile() : PsdProfile(f, l),
                           state[2].cast<std::optional<CUnitCtrl>>(), limits(state[3]), limits(state[4])};
        }));
}

// ---- signals ----

RandomWaveResult MakeRandomWave(const Profile& profile, std::optional<std::int64_t> samples,
                                std::optional<double> duration, std::optional<double> fs,
                                std::optional<double> rms, std::int64_t frame, std::uint32_t seed) {
    const double rate = fs ? *fs : RandomWaveRate(profile.profile);
    if (samples.has_value() == duration.has_value())
        Refuse("either samples or duration says how long the signal is");
    const double wanted = samples ? static_cast<double>(*samples) : *duration * rate;
    if (!(wanted >= 1.0 && wanted < 1e15)) Refuse("the signal has 1 sample or more");
    py::array_t<double> wave(static_cast<py::ssize_t>(std::llround(wanted)));
    const std::span<double> span(wave.mutable_data(), static_cast<std::size_t>(wave.size()));
    const RandomWaveFigures figures = Unlocked([&] {
        return GenerateRandomWave(span, profile.profile,
                                  {.rateHz = rate, .targetRms = rms, .frameSize = frame, .seed = seed});
    });
    return RandomWaveResult::Of(wave, rate, figures.rms, figures.peak, figures.nextSeed);
}

FiguresResult Statistics(const ArrayLike& x) {
    const Rows rows(x, "x");
    return ResultOf(Unlocked([&] {
        const auto figuresOf = [](std::span<const double> samples) {
            SampleStatistics statistics;
            statistics.Add(samples);
            return statistics.Figures();
        };
        const SampleFigures figures = figuresOf(rows.All());
        if (!std::isnan(figures.mean)) return figures;
        // NaN is a missing value of Python.
        std::vector<double> marked(rows.All().begin(), rows.All().end());
        MarkMissing(marked);
        return figuresOf(marked);
    }));
}

using StatisticsStream = Guarded<SampleStatistics>;
using Queue = Guarded<SampleQueue>;

void BindStreams(py::module_& module) {
    py::class_<StatisticsStream>(
        module, "SampleStatistics",
        "The figures of a signal that comes in pieces, with the same bits however it is cut.")
        .def(py::init(
            [] { return std::unique_ptr<StatisticsStream>(new StatisticsStream{SampleStatistics()}); }))
        .def(
            "add",
            [](StatisticsStream& self, const ArrayLike& x) {
                std::vector<double> samples = NumbersOf(x, "x");
                self.Use([&](SampleStatistics& statistics) {
                    MarkMissing(samples);
                    statistics.Add(samples);
                });
            },
            py::arg("x"), "Takes the next samples, in one dimension; NaN is a missing one.")
        .def(
            "figures",
            [](StatisticsStream& self) { return ResultOf(self.Use([](auto& s) { return s.Figures(); })); },
            "The figures of what came so far.");
    py::class_<Queue>(module, "SampleQueue",
                      "A first-in first-out buffer of samples with a fixed size; when more come in than it "
                      "holds, the newest stay.")
        .def(py::init([](std::int64_t size) {
                 if (size < 0) Refuse("a queue has a size of 0 or more");
                 auto queue = std::unique_ptr<Queue>(new Queue{SampleQueue()});
                 queue->object.SetSize(size);
                 return queue;
             }),
             py::arg("size"))
        .def(
            "put",
            [](Queue& self, const ArrayLike& x) {
                const Rows rows = OneRow(x, "x");
                return self.Use([&](SampleQueue& queue) { return queue.Put(rows.Row(0)); });
            },
            py::arg("x"), "Puts samples in; False when some were lost.")
        .def(
            "take",
            [](Queue& self, std::optional<std::int64_t> count) {
                if (count && *count < 0) Refuse("count is below 0");
                return ArrayOf(self.Use([&](SampleQueue& queue) {
                    std::vector<double> taken(
                        static_cast<std::size_t>(std::min(count.value_or(queue.GetNum()), queue.GetNum())));
                    queue.Take(taken);
                    return taken;
                }));
            },
            py::arg("count") = py::none(), "Takes the next samples, at most all that wait.")
        .def(
            "clear", [](Queue& self) { self.Use([](SampleQueue& queue) { queue.Clear(); }); },
            "Drops what waits.")
        .def_property_readonly(
            "size", [](Queue& self) { return self.Use([](auto& q) { return q.GetSize(); }); },
            "Samples that it holds.")
        .def("__len__", [](Queue& self) { return self.Use([](auto& q) { return q.GetNum(); }); });
}

}  // namespace

void BindSignals(py::module_& module) {
    BindProfile(module);
    module.def(
        "random_wave", &MakeRandomWave, py::arg("profile"), py::arg("samples") = py::none(),
        py::arg("duration") = py::none(), py::arg("fs") = py::none(), py::arg("rms") = py::none(),
        py::arg("frame") = 0, py::arg("seed") = 1,
        R"(Gaussian noise of the density of a profile, reproducible: (samples, rate, rms, peak, next_seed).

samples, duration: one of them; the duration in s
fs:    sampling rate, Hz; without it profile.random_rate
rms:   that the signal is scaled to; without it that of the profile on average
frame: samples of the frames it is put together from, a power of two from 16 to 131072; 0 for one that suits
seed:  the same seed gives the same signal; next_seed goes on where it ends

Frames with lines of the profile's amplitudes and random phases are laid over each other by half, under a sine window.)");
    module.def(
        "fit_sine",
        [](const ArrayLike& x, double fs, std::optional<double> frequency) {
            const Rows rows = OneRow(x, "x");
            return ResultOf(Unlocked([&] { return FitSine(rows.Row(0), fs, frequency); }));
        },
        py::arg("x"), py::arg("fs"), py::arg("frequency") = py::none(),
        R"(The sine that fits samples best, by least squares (the four-parameter fit of IEEE Std 1057).

frequency: Hz; without it the strongest sine above 0 Hz. At least 16 samples and two periods.)");
    DefineQuick(module, "statistics", &Statistics,
                "Mean, rms, moments and extremes of all samples that hold a value; NaN is a missing one.",
                py::arg("x"));
    BindStreams(module);
}

}  // namespace kvx::python
