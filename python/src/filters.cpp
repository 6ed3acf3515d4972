// SPDX-License-Identifier: MIT
#include "filters.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/PolyphaseResampling.h>
#include <KvxDevCommon01/dsp/Resampling.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>
#include <KvxDevCommon01/dsp/SpectralFilter.h>
#include <KvxDevCommon01/dsp/ZeroPhase.h>
#include <KvxDevCommon01/text/PlainText.h>

#include "calls.h"
#include "results.h"

namespace kvx::python {
namespace {

using Process = std::unique_ptr<SampleProcess>;
using MakeProcess = std::function<Process()>;

/// A process that a caller feeds as samples come.
struct Stream {
    Process process;
    std::mutex mutex = {};

    /// The results of a call that may be the last one.
    std::vector<double> Feed(std::span<const double> samples, bool isLast) {
        const std::lock_guard alone(mutex);
        if (!process) Refuse("the process is finished, or part of a chain");
        std::vector<double> results;
        if (!samples.empty()) process->Feed(samples, results);
        if (isLast) {
            process->Finish(results);
            process.reset();
        }
        return results;
    }
};

/// What becomes of a signal as a whole.
std::vector<double> Run(SampleProcess& process, std::span<const double> samples, std::size_t expected) {
    std::vector<double> results;
    results.reserve(expected);
    process.Feed(samples, results);
    process.Finish(results);
    return results;
}

/// Runs each row through a process of its own.
py::array FilterRows(const Rows& rows, std::size_t length, const MakeProcess& make) {
    if (rows.Count() == 1 && rows.IsSingle()) {
        return ArrayOf(Unlocked([&] {
            rows.RequireValues();
            return Run(*make(), rows.Row(0), length);
        }));
    }
    return MapRows<double>(rows, length, [&](auto samples, auto out) {
        std::ranges::copy(Run(*make(), samples, length), out.begin());
    });
}

Ends EndsOf(const std::string& ends) {
    if (ends == "held") return Ends::held;
    if (ends == "zero") return Ends::zero;
    throw Error(ErrorKind::kUnknownName, "there are no ends " + Quote(ends) + ", only held and zero");
}

// ---- FIR and recursive filters ----

FirFilter FirOf(const ArrayLike& b, std::optional<__int64> delay) {
    std::vector<double> coefficients = NumbersOf(b, "b");
    return delay ? FirFilter{std::move(coefficients), *delay} : CentredFir(std::move(coefficients));
}

MakeProcess FirProcess(const ArrayLike& b, const std::string& ends, std::optional<__int64> delay) {
    return [filter = FirOf(b, delay), end = EndsOf(ends)] { return MakeFir(filter, end); };
}

Extension ExtensionOf(const std::optional<std::string>& padtype) {
    if (!padtype) return Extension::none;
    if (*padtype == "odd") return Extension::odd;
    if (*padtype == "even") return Extension::even;
    if (*padtype == "constant") return Extension::constant;
    throw Error(ErrorKind::kUnknownName,
                "there is no padtype " + Quote(*padtype) + ", only odd, even, constant and None");
}

/// What makes a recursive filter.
struct IirChoice {
    std::int32_t order;
    ArrayLike corners;
    std::string btype;
    std::string family = "butterworth";
    std::optional<double> ripple = {};
    std::optional<double> attenuation = {};
    std::string norm = "mag";
};

MakeProcess IirProcess(const IirChoice& choice, double fs, const std::string& ends) {
    IirFilter filter = IirOf(FamilyOf(choice.family), choice.order, choice.corners, choice.btype,
                             choice.ripple, choice.attenuation);
    filter.norm = NormOf(choice.norm);
    RequireFilter(filter, RequireRate(fs));
    return [filter, delta = 1.0 / fs, end = EndsOf(ends)] { return MakeIir(filter, delta, end); };
}

MakeProcess SosProcess(const ArrayLike& sos, const std::string& ends) {
    const std::vector<Biquad> sections = SectionsOf(sos);
    RequireStable(sections);
    return [sections, end = EndsOf(ends)] { return MakeSections(sections, end); };
}

py::array Filtered(const ArrayLike& x, py::ssize_t axis, const MakeProcess& make) {
    const Rows rows(x, "x", axis);
    return FilterRows(rows, rows.Length(), make);
}

py::array FirFiltered(const ArrayLike& b, const ArrayLike& x, py::ssize_t axis, const std::string& ends,
                      std::optional<__int64> delay) {
    return Filtered(x, axis, FirProcess(b, ends, delay));
}

py::array ButterworthFiltered(const ArrayLike& x, std::int32_t order, const ArrayLike& corners,
                              const std::string& btype, double fs, const std::string& ends,
                              py::ssize_t axis) {
    return Filtered(x, axis, IirProcess({order, corners, btype}, fs, ends));
}

std::vector<double> BuiltIn(int ratio, bool isShort) {
    const int set = ratio == 2 ? CMatFir::FIR_COEF_2 : ratio == 4 ? CMatFir::FIR_COEF_4 : CMatFir::FIR_COEF_5;
    if (ratio != 2 && ratio != 4 && ratio != 5)
        throw Error(ErrorKind::kUnknownName, "there are built-in filters for the ratios 2, 4 and 5");
    return BuiltInFir(static_cast<CMatFir::FIR_COEF>(set + (isShort ? 1 : 0))).coefficients;
}

// ---- through spectra ----

struct SpectralChoice {
    double fs;
    std::optional<double> lowpass;
    std::optional<double> highpass;
    std::string kind;
    double order;
    std::optional<double> q;
    std::optional<std::string> ends;
    std::optional<__int64> block;
};

MakeProcess SpectralProcess(const SpectralChoice& choice) {
    SpectralFilter filter;
    const auto named = std::ranges::find(kFilterKinds, choice.kind, &NamedFilterKind::name);
    if (named == kFilterKinds.end()) {
        throw Error(ErrorKind::kUnknownName, "there is no kind " + Quote(choice.kind) +
                                                 ", only first, second, butterworth, slope and cut");
    }
    filter.kind = named->kind;
    filter.lowPassHz = choice.lowpass;
    filter.highPassHz = choice.highpass;
    filter.order = choice.order;
    filter.q = choice.q.value_or(filter.q);
    if (!choice.lowpass && !choice.highpass) Refuse("lowpass or highpass says where the filter begins");
    const std::string ends = choice.ends.value_or(choice.highpass ? "zero" : "held");
    const auto term = ends == "periodic"           ? CMatBasic::TERM_PERIODIC
                      : EndsOf(ends) == Ends::held ? CMatBasic::TERM_HOLD
                                                   : CMatBasic::TERM_ZERO;
    const auto response = std::make_shared<const SpectralResponse>(
        Unlocked([&] { return DesignSpectralFilter(filter, RequireRate(choice.fs), choice.block); }));
    return [response, term] { return MakeSpectralFilter(response, term); };
}

// ---- rates ----

/// "up 4" or "down 4".
RateChange ChangeBy(CMatFir::RATE_CONV mode, std::int64_t ratio) {
    const auto change = FindRateChange(mode, ratio);
    if (change) return *change;
    std::string ratios;
    for (const RateChange& each : RateChanges()) {
        if (each.mode == CMatFir::RATE_DECIMATE)
            ratios += (ratios.empty() ? "" : ", ") + std::to_string(each.Ratio());
    }
    throw Error(ErrorKind::kUnsupported,
                "the rate cannot change by " + std::to_string(ratio) + ", only by " + ratios);
}

py::array Resample(const Rows& rows, const ResamplingPlan& plan, const std::string& ends) {
    return FilterRows(rows, static_cast<std::size_t>(plan.after.samples),
                      [&plan, end = EndsOf(ends)] { return MakeResampler(plan, end); });
}

/// The place of the first sample, of so many whose distance is 1/fs.
SampleTimes TimesOf(double fs, double start, std::size_t samples) {
    const double place = start * RequireRate(fs);
    if (!(std::abs(place) < 1e15)) Refuse("start is too far from 0 s");
    return {1.0 / fs, static_cast<__int64>(std::llround(place)), static_cast<__int64>(samples)};
}

/// What changes a rate: one of the suite's cascades where it leads there and nothing is shifted, else any
/// ratio.
struct RatePlan {
    std::optional<ResamplingPlan> cascade = {};
    std::optional<PolyphasePlan> polyphase = {};

    RatePlan(const SampleTimes& times, double newRate, bool keepDelay, double shift,
             const std::string& method) {
        if (method != "auto" && method != "cascade" && method != "polyphase") {
            throw Error(ErrorKind::kUnknownName,
                        "there is no method " + Quote(method) + ", only auto, cascade and polyphase");
        }
        if (!(newRate > 0.0)) Refuse("new_fs is not above 0");
        const double fs = 1.0 / times.delta;
        const auto change = FindRateChange(fs, newRate);
        if (method == "cascade" && !change) RefuseRate(fs, newRate);
        const bool isCascade = change && method != "polyphase" && (method == "cascade" || shift == 0.0);
        if (keepDelay && !isCascade) Refuse("keep_delay is for the rates of rate_changes()");
        if (isCascade && shift != 0.0) Refuse("shift is for method polyphase");
        if (isCascade) {
            cascade = PlanResampling(times, *change, keepDelay);
        } else {
            polyphase = PlanPolyphase(times, newRate);
        }
    }
    const SampleTimes& After() const { return cascade ? cascade->after : polyphase->after; }
    double Band() const { return cascade ? cascade->bandHz : polyphase->bandHz; }
    double Delay() const { return cascade ? cascade->delaySeconds : 0.0; }
    MakeProcess Make(const std::string& ends, double shift) const {
        const Ends end = EndsOf(ends);
        if (cascade) return [plan = *cascade, end] { return MakeResampler(plan, end); };
        return [plan = *polyphase, end, shift] { return MakePolyphase(plan, end, shift); };
    }

private:
    [[noreturn]] static void RefuseRate(double fs, double newRate) {
        std::string near;
        for (const RateChange& each : NearestRateChanges(fs, newRate))
            near += (near.empty() ? "" : " and ") + FormatNumber(each.RateAfter(fs), 10) + " Hz";
        throw Error(ErrorKind::kUnsupported, FormatNumber(fs, 10) + " Hz cannot become " +
                                                 FormatNumber(newRate, 10) +
                                                 " Hz by a cascade; the nearest are " + near);
    }
};

ResampledResult Resampled(const ArrayLike& x, double fs, double newRate, const std::string& ends,
                          bool keepDelay, double start, py::ssize_t axis, double shift,
                          const std::string& method) {
    const Rows rows(x, "x", axis);
    const RatePlan plan(TimesOf(fs, start, rows.Length()), newRate, keepDelay, shift, method);
    const SampleTimes& after = plan.After();
    return ResampledResult::Of(
        FilterRows(rows, static_cast<std::size_t>(after.samples), plan.Make(ends, shift)), 1.0 / after.delta,
        static_cast<double>(after.offset) * after.delta, plan.Delay(), plan.Band());
}

py::array ResampledBy(const ArrayLike& x, std::int64_t up, std::int64_t down, py::ssize_t axis,
                      const std::string& ends) {
    const Rows rows(x, "x", axis);
    const PolyphasePlan plan =
        PlanPolyphase({1.0, 0, static_cast<__int64>(rows.Length())}, RateRatio{up, down});
    return FilterRows(rows, static_cast<std::size_t>(plan.after.samples),
                      [plan, end = EndsOf(ends)] { return MakePolyphase(plan, end); });
}

template <CMatFir::RATE_CONV mode>
py::array ChangedBy(const ArrayLike& x, std::int64_t ratio, const std::string& ends, bool keepDelay,
                    py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    const RateChange change = ratio == 1 ? RateChange{} : ChangeBy(mode, ratio);
    return Resample(rows, PlanResampling(TimesOf(1.0, 0.0, rows.Length()), change, keepDelay), ends);
}

// ---- as they come ----

using StreamPointer = std::unique_ptr<Stream>;

StreamPointer StreamOf(const MakeProcess& make) {
    return StreamPointer(new Stream{Unlocked(make)});
}

StreamPointer ChainOf(const std::vector<Stream*>& streams) {
    std::vector<Process> links;
    for (std::size_t s = 0; s < streams.size(); ++s) {
        if (streams[s] == nullptr) Refuse("a link is None");
        if (!streams[s]->process || std::ranges::count(streams, streams[s]) > 1)
            Refuse("a link is finished, or part of a chain");
    }
    for (Stream* const stream : streams) {
        const std::lock_guard alone(stream->mutex);
        links.push_back(std::move(stream->process));
    }
    return StreamPointer(new Stream{MakeChain(std::move(links))});
}

void BindStreams(py::module_& module) {
    py::class_<Stream>(
        module, "SampleProcess",
        R"(What becomes of a signal that comes in pieces of any length: a filter, another rate, a chain of such.

The results have the same bits however the signal is cut, and may come later than the samples they belong to. Any
number of threads may use one object, one at a time. Objects are made by fir_process, butter_process,
spectral_process, resample_process and chain.)")
        .def(
            "feed",
            [](Stream& self, const ArrayLike& x) {
                const Rows rows = OneRow(x, "x");
                return ArrayOf(Unlocked([&] {
                    rows.RequireValues();
                    return self.Feed(rows.Row(0), false);
                }));
            },
            py::arg("x"), "Takes the next samples, in one dimension; the results that are due.")
        .def(
            "finish", [](Stream& self) { return ArrayOf(Unlocked([&] { return self.Feed({}, true); })); },
            "What is due after the last sample. Nothing may be fed from then on.");
    module.def(
        "fir_process",
        [](const ArrayLike& b, const std::string& ends, std::optional<__int64> delay) {
            return StreamOf(FirProcess(b, ends, delay));
        },
        py::arg("b"), py::arg("ends") = "zero", py::arg("delay") = 0,
        "fir_filter for a signal that comes in pieces.");
    module.def(
        "butter_process",
        [](std::int32_t order, const ArrayLike& corners, const std::string& btype, double fs,
           const std::string& ends) {
            return StreamOf(IirProcess({order, corners, btype}, fs, ends));
        },
        py::arg("N"), py::arg("Wn"), py::arg("btype") = "low", py::arg("fs") = 2.0, py::arg("ends") = "zero",
        "butter_filter for a signal that comes in pieces.");
    module.def(
        "iir_process",
        [](std::int32_t order, const ArrayLike& corners, const std::string& btype, const std::string& family,
           std::optional<double> ripple, std::optional<double> attenuation, const std::string& norm,
           double fs, const std::string& ends) {
            return StreamOf(IirProcess({order, corners, btype, family, ripple, attenuation, norm}, fs, ends));
        },
        py::arg("N"), py::arg("Wn"), py::arg("btype") = "low", py::arg("family") = "butterworth",
        py::arg("rp") = py::none(), py::arg("rs") = py::none(), py::arg("norm") = "mag", py::arg("fs") = 2.0,
        py::arg("ends") = "zero", "iir_filter for a signal that comes in pieces.");
    module.def(
        "sos_process",
        [](const ArrayLike& sos, const std::string& ends) { return StreamOf(SosProcess(sos, ends)); },
        py::arg("sos"), py::arg("ends") = "zero", "sosfilt for a signal that comes in pieces.");
    module.def(
        "spectral_process",
        [](double fs, std::optional<double> lowpass, std::optional<double> highpass, const std::string& kind,
           double order, std::optional<double> q, const std::optional<std::string>& ends,
           std::optional<__int64> block) {
            return StreamOf(SpectralProcess({fs, lowpass, highpass, kind, order, q, ends, block}));
        },
        py::arg("fs"), py::arg("lowpass") = py::none(), py::arg("highpass") = py::none(),
        py::arg("kind") = "butterworth", py::arg("order") = 4.0, py::arg("q") = py::none(),
        py::arg("ends") = py::none(), py::arg("block") = py::none(),
        "spectral_filter for a signal that comes in pieces.");
    module.def(
        "resample_process",
        [](double fs, double newRate, __int64 samples, const std::string& ends, bool keepDelay, double shift,
           const std::string& method) {
            const RatePlan plan({1.0 / RequireRate(fs), 0, samples}, newRate, keepDelay, shift, method);
            return StreamOf(plan.Make(ends, shift));
        },
        py::arg("fs"), py::arg("new_fs"), py::arg("samples"), py::arg("ends") = "held",
        py::arg("keep_delay") = false, py::arg("shift") = 0.0, py::arg("method") = "auto",
        "resample for a signal of so many samples that comes in pieces.");
    module.def("chain", &ChainOf, py::arg("links"),
               "One process after the other, which belong to the chain from then on; without any, samples "
               "pass as they are.");
}

}  // namespace

double RequireRate(double fs) {
    if (!(fs > 0.0) || !(1.0 / fs > 0.0)) Refuse("fs is not above 0");
    return fs;
}

void BindFilters(py::module_& module) {
    DefineQuick(module, "fir_filter", &FirFiltered,
                R"(Filters by y[n] = sum of b[k] x[n - k], as scipy.signal.lfilter(b, 1, x).

b:     coefficients, in one dimension
x:     real samples of any shape; every row along the axis is a signal
ends:  what x is taken to be beyond its ends: "zero", or "held" for its first and last value
delay: whole samples by which the result is moved forward in time; None for the delay of b, if it delays all
       frequencies alike)",
                py::arg("b"), py::arg("x"), py::arg("axis") = -1, py::arg("ends") = "zero",
                py::arg("delay") = 0);
    DefineQuick(module, "butter_filter", &ButterworthFiltered,
                R"(Filters by a digital Butterworth filter of order N, -3 dB at Wn, by the bilinear transform.

Wn:    corner in Hz, of a band both; with the usual fs of 2 a part of half the rate, as SciPy has it
btype: "low", "high", "band" or "stop"
ends:  "zero", as scipy.signal.sosfilt(butter(N, Wn, btype, fs=fs, output="sos"), x), or "held": settled on the
       first sample

Causal, sample by sample; N up to 1024 for low and high, else 32.)",
                py::arg("x"), py::arg("N"), py::arg("Wn"), py::arg("btype") = "low", py::arg("fs") = 2.0,
                py::arg("ends") = "zero", py::arg("axis") = -1);
    module.def(
        "iir_filter",
        [](const ArrayLike& x, std::int32_t order, const ArrayLike& corners, const std::string& btype,
           const std::string& family, std::optional<double> ripple, std::optional<double> attenuation,
           const std::string& norm, double fs, const std::string& ends, py::ssize_t axis) {
            return Filtered(x, axis,
                            IirProcess({order, corners, btype, family, ripple, attenuation, norm}, fs, ends));
        },
        py::arg("x"), py::arg("N"), py::arg("Wn"), py::arg("btype") = "low",
        py::arg("family") = "butterworth", py::arg("rp") = py::none(), py::arg("rs") = py::none(),
        py::arg("norm") = "mag", py::arg("fs") = 2.0, py::arg("ends") = "zero", py::arg("axis") = -1,
        R"(Filters by a digital recursive filter of any family, as precisely for a corner of a millionth of the rate.

Wn, btype, ends: as butter_filter has them
family: "butterworth", "chebyshev1" (rp), "chebyshev2" (rs), "elliptic" (rp and rs) or "bessel" (norm)
rp:     ripple in dB, without a choice 0.5
rs:     attenuation in dB, without a choice 60
norm:   "mag" (-3 dB at the corner), "phase" or "delay", as scipy.signal.bessel has them

Causal, sample by sample; N up to 32, for Butterworth low-passes and high-passes 1024.)");
    module.def(
        "sosfiltfilt",
        [](const ArrayLike& sos, const ArrayLike& x, py::ssize_t axis,
           const std::optional<std::string>& padtype, std::optional<std::int64_t> padlen) {
            return Filtered(x, axis,
                            [sections = SectionsOf(sos), ends = ZeroPhaseEnds{ExtensionOf(padtype), padlen}] {
                                return MakeZeroPhase(sections, ends);
                            });
        },
        py::arg("sos"), py::arg("x"), py::arg("axis") = -1, py::arg("padtype") = "odd",
        py::arg("padlen") = py::none(),
        R"(Filters by second-order sections forward and backward, without delay, as scipy.signal.sosfiltfilt.

padtype: how the signal goes on beyond its ends: "odd", "even", "constant" or None
padlen:  by how many samples; without a choice 3 (order + 1)

Signals shorter than padlen are extended by all of themselves.)");
    module.def(
        "filtfilt",
        [](const ArrayLike& b, const ArrayLike& x, py::ssize_t axis,
           const std::optional<std::string>& padtype, std::optional<std::int64_t> padlen) {
            const SampleFilters filters = {{FirOf(b, 0)}, {}, {}};
            return Filtered(x, axis, [filters, ends = ZeroPhaseEnds{ExtensionOf(padtype), padlen}] {
                return MakeZeroPhase(filters, 1.0, ends);
            });
        },
        py::arg("b"), py::arg("x"), py::arg("axis") = -1, py::arg("padtype") = "odd",
        py::arg("padlen") = py::none(),
        "Filters by a FIR filter forward and backward, as scipy.signal.filtfilt(b, 1, x); see sosfiltfilt.");
    module.def(
        "sosfilt",
        [](const ArrayLike& sos, const ArrayLike& x, py::ssize_t axis, const std::string& ends) {
            return Filtered(x, axis, SosProcess(sos, ends));
        },
        py::arg("sos"), py::arg("x"), py::arg("axis") = -1, py::arg("ends") = "zero",
        R"(Filters by second-order sections, rows b0 b1 b2 a0 a1 a2, as scipy.signal.sosfilt(sos, x).

ends: "zero", or "held": settled on the first sample

The sections must be stable. Magnitudes below 2^-512 count as 0.)");
    module.def(
        "spectral_filter",
        [](const ArrayLike& x, double fs, std::optional<double> lowpass, std::optional<double> highpass,
           const std::string& kind, double order, std::optional<double> q,
           const std::optional<std::string>& ends, std::optional<__int64> block, py::ssize_t axis) {
            const Rows rows(x, "x", axis);
            return FilterRows(rows, rows.Length(),
                              SpectralProcess({fs, lowpass, highpass, kind, order, q, ends, block}));
        },
        py::arg("x"), py::arg("fs"), py::arg("lowpass") = py::none(), py::arg("highpass") = py::none(),
        py::arg("kind") = "butterworth", py::arg("order") = 4.0, py::arg("q") = py::none(),
        py::arg("ends") = py::none(), py::arg("block") = py::none(), py::arg("axis") = -1,
        R"(Filters through spectra of overlapping blocks; every sample stays in its place.

lowpass, highpass: corners in Hz, at least one
kind:  "first", "second" (the gain at the corner is q) and "butterworth" (order 1 to 16) are the analogue filters with
       their phase; "slope" (6 dB per octave and order beside the corner) and "cut" are gains without phase
ends:  "held", "zero" or "periodic"; without a choice "zero" with a high-pass, else "held"
block: samples per block, a power of two from 16 to 131072; without a choice by the lowest corner)");
    module.def(
        "builtin_fir", [](int ratio, bool isShort) { return ArrayOf(BuiltIn(ratio, isShort)); },
        py::arg("ratio"), py::arg("short") = false,
        R"(The coefficients of the built-in symmetric low-pass for a change of the rate by 2, 4 or 5.

The long ones pass up to fs/2.56, fs being the lower rate; short ones pass half of that.)");
    module.def(
        "linear_phase_delay", [](const ArrayLike& b) { return LinearPhaseDelay(NumbersOf(b, "b")); },
        py::arg("b"),
        "The delay in samples of coefficients that delay all frequencies alike; None for others.");
    module.def(
        "rate_changes",
        [] {
            std::vector<std::tuple<int, int>> changes;
            for (const RateChange& each : RateChanges()) {
                const bool isDown = each.mode == CMatFir::RATE_DECIMATE;
                changes.emplace_back(isDown ? 1 : each.Ratio(), isDown ? each.Ratio() : 1);
            }
            return changes;
        },
        "Every change of the rate as (up, down), from the one that gives the most samples on.");
    module.def(
        "nearest_rates",
        [](double fs, double wanted) {
            std::vector<double> rates;
            for (const RateChange& each : NearestRateChanges(RequireRate(fs), wanted))
                rates.push_back(each.RateAfter(fs));
            return rates;
        },
        py::arg("fs"), py::arg("new_fs"),
        "The rates that fs can become nearest to new_fs, from below and above.");
    module.def("resample", &Resampled, py::arg("x"), py::arg("fs"), py::arg("new_fs"),
               py::arg("ends") = "held", py::arg("keep_delay") = false, py::arg("start") = 0.0,
               py::arg("axis") = -1, py::arg("shift") = 0.0, py::arg("method") = "auto",
               R"(The signal at another rate: (samples, rate, start, delay, band).

new_fs:     any rate above 0
ends:       "held" or "zero"
keep_delay: whether the delay of the filters of a cascade stays; otherwise every event stays at its time, and samples
            stand at whole multiples of 1/new_fs
start:      time of the first sample of x, s
shift:      by how much later the signal becomes, s, also by parts of a sample; the times of the results stay
method:     "cascade": the multi-rate filters, for the ratios of rate_changes(), to a millionth; they pass up to the
            lower rate over 2.56. "polyphase": a windowed sinc for every ratio, which passes 0.9 of half the lower rate
            and takes away 120 dB of what lies above that half. "auto": a cascade where one leads to the rate and nothing
            is shifted, else polyphase)");
    module.def("resample_poly", &ResampledBy, py::arg("x"), py::arg("up"), py::arg("down"),
               py::arg("axis") = -1, py::arg("ends") = "zero",
               R"(The signal at up/down times its rate, as scipy.signal.resample_poly has it.

ends: "zero" or "held"

The filter is sharper than SciPy's default: it passes 0.9 of half the lower rate and takes away 120 dB from that half
on.)");
    module.def("decimate", &ChangedBy<CMatFir::RATE_DECIMATE>, py::arg("x"), py::arg("q"),
               py::arg("ends") = "held", py::arg("keep_delay") = false, py::arg("axis") = -1,
               "Every q-th sample behind a low-pass, as resample; q is one of the ratios of rate_changes().");
    module.def("interpolate", &ChangedBy<CMatFir::RATE_INTERPOLATE>, py::arg("x"), py::arg("p"),
               py::arg("ends") = "held", py::arg("keep_delay") = false, py::arg("axis") = -1,
               "p samples for each one, as resample; p is one of the ratios of rate_changes().");
    BindStreams(module);
}

}  // namespace kvx::python
