// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <numbers>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/FirDesign.h>
#include <KvxDevCommon01/dsp/FrequencyResponse.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/text/PlainText.h>

#include "filters.h"

namespace kvx::python {
namespace {

using Family = IirFilter::Family;
using Pass = IirFilter::Pass;
using Norm = IirFilter::BesselNorm;

/// A number, or a list of them.
std::vector<double> OneOrMore(const ArrayLike& numbers, const char* name) {
    if (py::isinstance<py::float_>(numbers) || py::isinstance<py::int_>(numbers))
        return {numbers.cast<double>()};
    return NumbersOf(py::module_::import("numpy").attr("atleast_1d")(numbers), name);
}

/// The names of SciPy for what passes, first the ones that are shown.
struct NamedPass {
    const char* name;
    Pass pass;
};
constexpr std::array kPasses = {
    NamedPass{"low", Pass::low},       NamedPass{"high", Pass::high},     NamedPass{"band", Pass::band},
    NamedPass{"stop", Pass::stop},     NamedPass{"lowpass", Pass::low},   NamedPass{"highpass", Pass::high},
    NamedPass{"bandpass", Pass::band}, NamedPass{"bandstop", Pass::stop}, NamedPass{"lp", Pass::low},
    NamedPass{"hp", Pass::high},       NamedPass{"bp", Pass::band},       NamedPass{"bs", Pass::stop},
};

/// What a design is given out as.
py::object Output(const std::vector<Biquad>& sections, const std::string& output) {
    if (output == "sos") return SosArray(sections);
    if (output != "zpk")
        throw Error(ErrorKind::kUnknownName, "there is no output " + Quote(output) + ", only sos and zpk");
    ZerosAndPoles result = ZerosAndPolesOf(sections);
    return py::make_tuple(ArrayOf(std::move(result.zeros)), ArrayOf(std::move(result.poles)), result.gain);
}

/// Coefficients of a notch or a peak as SciPy gives them, b and a.
std::tuple<py::array_t<double>, py::array_t<double>> Resonance(Pass pass, double w0, double q, double fs) {
    IirFilter filter;
    filter.pass = pass;
    filter.cornerHz = w0;
    filter.q = q;
    const SosRow row = RowOf(DesignIir(filter, RequireRate(fs)).front());
    return {ArrayOf(std::vector<double>(row.begin(), row.begin() + 3)),
            ArrayOf(std::vector<double>(row.begin() + 3, row.end()))};
}

/// worN of SciPy: frequencies, or how many from 0 to below half the rate.
std::vector<double> FrequenciesOf(const py::object& wanted, double fs) {
    RequireRate(fs);
    if (!py::isinstance<py::int_>(wanted)) return NumbersOf(wanted, "worN");
    const auto count = wanted.cast<std::ptrdiff_t>();
    if (count < 1) Refuse("worN is not above 0");
    std::vector<double> hz(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < hz.size(); ++i)
        hz[i] = 0.5 * fs * static_cast<double>(i) / static_cast<double>(count);
    return hz;
}

/// A filter of which a response is asked: rows of sections, or the coefficients of a FIR filter.
std::vector<ResponsePoint> Response(const py::object& filter, const py::object& wanted, double fs) {
    const std::vector<double> hz = FrequenciesOf(wanted, fs);
    const Rows rows(filter, "system");
    if (!rows.IsSingle()) return ResponseOf(SectionsOf(filter), fs, hz);
    return ResponseOf(FirFilter{NumbersOf(filter, "b"), 0}, fs, hz);
}

/// Bands by the edges of SciPy's remez.
std::vector<FirBand> BandsOf(const ArrayLike& edges, const ArrayLike& desired,
                             const std::optional<ArrayLike>& weight, double fs) {
    RequireRate(fs);
    const std::vector<double> ends = NumbersOf(edges, "bands"), gains = NumbersOf(desired, "desired");
    const std::vector<double> weights =
        weight ? NumbersOf(*weight, "weight") : std::vector<double>(gains.size(), 1.0);
    if (ends.size() != 2 * gains.size() || weights.size() != gains.size())
        Refuse("bands has not two edges, or weight not one number, for each gain of desired");
    std::vector<FirBand> bands;
    for (std::size_t b = 0; b < gains.size(); ++b)
        bands.push_back({ends[2 * b] / fs, ends[2 * b + 1] / fs, gains[b], weights[b]});
    return bands;
}

/// Bands between cut-offs, which touch each other but for a hair.
std::vector<FirBand> CutoffBands(const ArrayLike& cutoff, bool passZero, double fs) {
    constexpr double kHair = 1e-12;
    RequireRate(fs);
    std::vector<double> ends = NumbersOf(py::module_::import("numpy").attr("atleast_1d")(cutoff), "cutoff");
    ends.push_back(0.5 * fs);
    std::vector<FirBand> bands;
    double low = 0.0;
    for (const double end : ends) {
        const double high = end / fs;
        bands.push_back(
            {low, bands.size() + 1 == ends.size() ? high : high - kHair, passZero ? 1.0 : 0.0, 1.0});
        low = high + kHair;
        passZero = !passZero;
    }
    return bands;
}

using Lines = std::tuple<py::array_t<double>, py::array>;

Lines Gains(const py::object& filter, const py::object& wanted, double fs) {
    std::vector<double> hz;
    std::vector<std::complex<double>> gains;
    for (const ResponsePoint& point : Response(filter, wanted, fs)) {
        hz.push_back(point.hz);
        gains.push_back(point.gain);
    }
    return {ArrayOf(std::move(hz)), ArrayOf(std::move(gains))};
}

Lines Delays(const py::object& filter, const py::object& wanted, double fs) {
    std::vector<double> hz;
    std::vector<double> delays;
    for (const ResponsePoint& point : Response(filter, wanted, fs)) {
        hz.push_back(point.hz);
        delays.push_back(point.delaySamples);
    }
    return {ArrayOf(std::move(hz)), ArrayOf(std::move(delays))};
}

}  // namespace

IirFilter IirOf(Family family, std::int32_t order, const ArrayLike& corners, const std::string& btype,
                std::optional<double> ripple, std::optional<double> attenuation) {
    const auto named =
        std::ranges::find_if(kPasses, [&](const NamedPass& each) { return btype == each.name; });
    if (named == kPasses.end()) {
        throw Error(ErrorKind::kUnknownName,
                    "there is no btype " + Quote(btype) + ", only low, high, band and stop");
    }
    IirFilter filter;
    filter.pass = named->pass;
    filter.family = family;
    filter.order = order;
    const std::vector<double> hz = OneOrMore(corners, "Wn");
    if (hz.size() != (filter.IsBand() ? 2U : 1U)) {
        Refuse(filter.IsBand() ? "a band has two corners in Wn"
                               : "a low-pass or high-pass has one corner in Wn");
    }
    filter.cornerHz = hz.front();
    if (filter.IsBand()) filter.upperHz = hz.back();
    filter.rippleDb = ripple.value_or(filter.rippleDb);
    filter.attenuationDb = attenuation.value_or(filter.attenuationDb);
    return filter;
}

IirFilter::Family FamilyOf(const std::string& name) {
    const auto named = std::ranges::find(kIirFamilies, name, &NamedIirFamily::name);
    if (named != kIirFamilies.end()) return named->family;
    throw Error(ErrorKind::kUnknownName,
                "there is no family " + Quote(name) +
                    ", only butterworth, chebyshev1, chebyshev2, elliptic and bessel");
}

Norm NormOf(const std::string& norm) {
    if (norm == "phase") return Norm::phase;
    if (norm == "delay") return Norm::delay;
    if (norm == "mag") return Norm::magnitude;
    throw Error(ErrorKind::kUnknownName, "there is no norm " + Quote(norm) + ", only phase, delay and mag");
}

py::array_t<double> SosArray(const std::vector<Biquad>& sections) {
    py::array_t<double> rows({static_cast<py::ssize_t>(sections.size()), py::ssize_t{6}});
    double* to = rows.mutable_data();
    for (const Biquad& section : sections) to = std::ranges::copy(RowOf(section), to).out;
    return rows;
}

std::vector<Biquad> SectionsOf(const py::object& sos) {
    const Rows rows(sos, "sos");
    if (rows.Array().ndim() != 2 || rows.Length() != 6) Refuse("sos has no rows of six coefficients");
    std::vector<Biquad> sections;
    for (std::size_t r = 0; r < rows.Count(); ++r) {
        SosRow row;
        std::ranges::copy(rows.Row(r), row.begin());
        sections.push_back(SectionOf(row));
    }
    return sections;
}

void BindFilterDesign(py::module_& module) {
    module.def(
        "butter",
        [](std::int32_t order, const ArrayLike& corners, const std::string& btype, const std::string& output,
           double fs) {
            return Output(DesignIir(IirOf(Family::butterworth, order, corners, btype), RequireRate(fs)),
                          output);
        },
        py::arg("N"), py::arg("Wn"), py::arg("btype") = "low", py::kw_only(), py::arg("output") = "sos",
        py::arg("fs") = 2.0,
        R"(A digital Butterworth filter, -3 dB at its corners, as scipy.signal.butter.

N:      order; of a band that of the low-pass behind it
Wn:     corner in Hz, of a band both; with the usual fs of 2 a part of half the rate, as SciPy has it
btype:  "low", "high", "band" or "stop"
output: "sos", rows b0 b1 b2 1 a1 a2, each section of gain 1 where the filter passes; or "zpk"

The same response as SciPy's. The sections differ from SciPy's in their order and in how the gain is spread. Rows in
z lose precision below about 1e-4 of the rate; iir_filter, which keeps the design, does not.)");
    module.def(
        "cheby1",
        [](std::int32_t order, double ripple, const ArrayLike& corners, const std::string& btype,
           const std::string& output, double fs) {
            return Output(
                DesignIir(IirOf(Family::chebyshev1, order, corners, btype, ripple), RequireRate(fs)), output);
        },
        py::arg("N"), py::arg("rp"), py::arg("Wn"), py::arg("btype") = "low", py::kw_only(),
        py::arg("output") = "sos", py::arg("fs") = 2.0,
        "A digital Chebyshev filter with rp dB of ripple in the pass band, which ends at Wn, as "
        "scipy.signal.cheby1; see butter.");
    module.def(
        "cheby2",
        [](std::int32_t order, double attenuation, const ArrayLike& corners, const std::string& btype,
           const std::string& output, double fs) {
            return Output(
                DesignIir(IirOf(Family::chebyshev2, order, corners, btype, {}, attenuation), RequireRate(fs)),
                output);
        },
        py::arg("N"), py::arg("rs"), py::arg("Wn"), py::arg("btype") = "low", py::kw_only(),
        py::arg("output") = "sos", py::arg("fs") = 2.0,
        "A digital Chebyshev filter of the second kind, rs dB down in the stop band, which begins at Wn, as "
        "scipy.signal.cheby2; see butter.");
    module.def(
        "ellip",
        [](std::int32_t order, double ripple, double attenuation, const ArrayLike& corners,
           const std::string& btype, const std::string& output, double fs) {
            return Output(DesignIir(IirOf(Family::elliptic, order, corners, btype, ripple, attenuation),
                                    RequireRate(fs)),
                          output);
        },
        py::arg("N"), py::arg("rp"), py::arg("rs"), py::arg("Wn"), py::arg("btype") = "low", py::kw_only(),
        py::arg("output") = "sos", py::arg("fs") = 2.0,
        "A digital elliptic filter: rp dB of ripple in the pass band, which ends at Wn, rs dB down in the "
        "stop "
        "band, as scipy.signal.ellip; see butter.");
    module.def(
        "bessel",
        [](std::int32_t order, const ArrayLike& corners, const std::string& btype, const std::string& output,
           const std::string& norm, double fs) {
            IirFilter filter = IirOf(Family::bessel, order, corners, btype);
            filter.norm = NormOf(norm);
            return Output(DesignIir(filter, RequireRate(fs)), output);
        },
        py::arg("N"), py::arg("Wn"), py::arg("btype") = "low", py::kw_only(), py::arg("output") = "sos",
        py::arg("norm") = "phase", py::arg("fs") = 2.0,
        "A digital Bessel filter, as scipy.signal.bessel: norm \"phase\", \"delay\", or \"mag\" for -3 dB at "
        "Wn; see "
        "butter.");
    module.def(
        "iirnotch", [](double w0, double q, double fs) { return Resonance(Pass::notch, w0, q, fs); },
        py::arg("w0"), py::arg("Q"), py::arg("fs") = 2.0,
        "(b, a) of a notch of the second order, -3 dB on either side of a band of w0/Q, as "
        "scipy.signal.iirnotch.");
    module.def(
        "iirpeak", [](double w0, double q, double fs) { return Resonance(Pass::peak, w0, q, fs); },
        py::arg("w0"), py::arg("Q"), py::arg("fs") = 2.0,
        "(b, a) of a resonance of the second order, as scipy.signal.iirpeak.");
    module.def(
        "remez",
        [](std::size_t taps, const ArrayLike& edges, const ArrayLike& desired,
           const std::optional<ArrayLike>& weight, double fs) {
            return ArrayOf(DesignEquiripple(taps, BandsOf(edges, desired, weight, fs)).coefficients);
        },
        py::arg("numtaps"), py::arg("bands"), py::arg("desired"), py::arg("weight") = py::none(),
        py::kw_only(), py::arg("fs") = 1.0,
        R"(The symmetric FIR filter whose largest weighted error is least, as scipy.signal.remez.

bands:   edges of the bands, in the unit of fs, two for each
desired: the gain in each
weight:  of the errors in each; 1 without

The extremes are looked for between the points of the grid as well: SciPy comes to the same with a dense one.)");
    module.def("kaiser_beta", &KaiserBeta, py::arg("a"),
               "The shape of the Kaiser window for an attenuation of a dB.");
    module.def(
        "kaiserord",
        [](double ripple, double width) {
            if (!(ripple >= 8.0)) Refuse("ripple is less than 8 dB, where the formula ends");
            if (!(width > 0.0)) Refuse("width is not above 0");
            return std::make_tuple(static_cast<std::int64_t>(KaiserTaps(ripple, 0.5 * width)),
                                   KaiserBeta(ripple));
        },
        py::arg("ripple"), py::arg("width"),
        "(taps, beta) of a Kaiser window for that attenuation in dB and a transition of that part of half "
        "the rate, as "
        "scipy.signal.kaiserord.");
    module.def(
        "firwin",
        [](std::size_t taps, const ArrayLike& cutoff, double beta, bool passZero, double fs) {
            return ArrayOf(DesignKaiser(taps, beta, CutoffBands(cutoff, passZero, fs)));
        },
        py::arg("numtaps"), py::arg("cutoff"), py::kw_only(), py::arg("beta") = 0.0,
        py::arg("pass_zero") = true, py::arg("fs") = 2.0,
        R"(A symmetric FIR filter by a Kaiser window, as scipy.signal.firwin(..., window=("kaiser", beta)).

cutoff:    edges in the unit of fs, at which the gain is a half
pass_zero: whether it passes at 0)");
    module.def(
        "sosfreqz",
        [](const ArrayLike& sos, const py::object& wanted, double fs) {
            SectionsOf(sos);  // tells a list of coefficients from rows
            return Gains(sos, wanted, fs);
        },
        py::arg("sos"), py::arg("worN") = 512, py::arg("fs") = 2.0 * std::numbers::pi,
        R"((w, h): the complex gain of second-order sections, as scipy.signal.sosfreqz.

worN: frequencies in the unit of fs, or how many from 0 to below fs/2)");
    module.def(
        "freqz",
        [](const ArrayLike& b, const py::object& wanted, double fs) {
            NumbersOf(b, "b");
            return Gains(b, wanted, fs);
        },
        py::arg("b"), py::arg("worN") = 512, py::kw_only(), py::arg("fs") = 2.0 * std::numbers::pi,
        "(w, h): the complex gain of a FIR filter, as scipy.signal.freqz(b, worN=worN, fs=fs).");
    module.def("group_delay", &Delays, py::arg("system"), py::arg("w") = 512, py::kw_only(),
               py::arg("fs") = 2.0 * std::numbers::pi,
               R"((w, gd): the group delay in samples, as scipy.signal.group_delay.

system: rows of second-order sections, or the coefficients of a FIR filter
w:      frequencies in the unit of fs, or how many from 0 to below fs/2)");
}

}  // namespace kvx::python
