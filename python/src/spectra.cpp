// SPDX-License-Identifier: MIT
#include "spectra.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/MatMtxp.h>
#include <KvxDevCommon01/dsp/SlicedSpectrum.h>
#include <KvxDevCommon01/text/PlainText.h>

#include "calls.h"
#include "transforms.h"

namespace kvx::python {
namespace {

using Complex = std::complex<double>;
using Lines = std::tuple<py::array_t<double>, py::array>;
using OptionalSize = std::optional<std::int64_t>;

/// The frequencies of the lines of blocks, and what goes with them.
Lines OnLines(const Cutting& cut, double fs, py::array values) {
    return {Ramp(cut.Lines(), fs / static_cast<double>(cut.Points())), std::move(values)};
}

template <typename Result>
void Deliver(const std::vector<Result>& lines, std::span<Result> out) {
    std::ranges::copy(lines, out.begin());
}

/// What read(average) gives of each row.
template <class Read>
Lines OfRows(const ArrayLike& x, double fs, const Cutting& cut, py::ssize_t axis, Read read) {
    const Rows rows(x, "x", axis);
    return OnLines(cut, fs,
                   MapRows<double>(
                       rows, cut.Lines(),
                       [&](auto samples, auto lines) {
                           AveragedSpectrum average(cut.window, cut.overlap, cut.averaging);
                           average.Add(samples);
                           Deliver(read(average), lines);
                       },
                       Looks::after));
}

Averaging AveragingOf(OptionalSize nfft, const DetrendLike& detrend, const std::string& average,
                      double weight, bool nyquist) {
    Averaging averaging;
    averaging.mode = NamedAverageMode(average == "mean" ? "linear" : average);
    averaging.weight = weight;
    averaging.detrend = DetrendOf(detrend);
    averaging.transformSize = nfft.value_or(0);
    averaging.hasMiddleLine = nyquist;
    return averaging;
}

Lines Psd(const ArrayLike& x, double fs, const WindowLike& window, OptionalSize nperseg,
          OptionalSize noverlap, py::ssize_t axis, OptionalSize nfft, const DetrendLike& detrend,
          const std::string& average, double weight, bool nyquist, const std::string& scaling) {
    if (scaling != "density" && scaling != "spectrum")
        throw Error(ErrorKind::kUnknownName,
                    "there is no scaling " + Quote(scaling) + ", only density and spectrum");
    const Averaging averaging = AveragingOf(nfft, detrend, average, weight, nyquist);
    return OfRows(x, fs, CuttingOf(window, nperseg, noverlap, averaging), axis,
                  [fs, isDensity = scaling == "density"](const AveragedSpectrum& of) {
                      return isDensity ? of.Psd(fs) : of.Power();
                  });
}

Lines Amplitudes(const ArrayLike& x, double fs, const WindowLike& window, OptionalSize nperseg,
                 OptionalSize noverlap, py::ssize_t axis, OptionalSize nfft, const DetrendLike& detrend,
                 const std::string& average, double weight, bool nyquist) {
    const Averaging averaging = AveragingOf(nfft, detrend, average, weight, nyquist);
    return OfRows(x, fs, CuttingOf(window, nperseg, noverlap, averaging), axis,
                  [](const AveragedSpectrum& of) { return of.Amplitude(); });
}

/// What read(average, lines) makes of each pair of a reference and a response. One reference goes with every
/// response.
template <typename Result, class Read>
Lines OfPairs(const ArrayLike& x, const ArrayLike& y, double fs, const Cutting& cut, py::ssize_t axis,
              Read read) {
    const Rows references(x, "x", axis);
    const Rows responses(y, "y", axis);
    if (references.Count() != 1 && references.Count() != responses.Count())
        Refuse("x and y are not of one shape");
    py::array_t<Result> results = responses.Make<Result>(cut.window.size() / 2);
    Result* const data = results.mutable_data();
    const std::size_t lines = cut.window.size() / 2;
    Unlocked([&] {
        references.RequireValues();
        responses.RequireValues();
        ForEachInParallel(responses.Count(), [&](std::size_t r) {
            AveragedTransfer average(cut.window, cut.overlap, cut.averaging.detrend);
            average.Add(references.Row(references.Count() == 1 ? 0 : r), responses.Row(r));
            read(average, references.Row(references.Count() == 1 ? 0 : r),
                 std::span<Result>(data + r * lines, lines));
        });
    });
    return OnLines(cut, fs, responses.Placed(std::move(results)));
}

Lines Transfer(const ArrayLike& x, const ArrayLike& y, double fs, const WindowLike& window,
               OptionalSize nperseg, OptionalSize noverlap, py::ssize_t axis, const DetrendLike& detrend) {
    return OfPairs<Complex>(
        x, y, fs, CuttingOf(window, nperseg, noverlap, {.detrend = DetrendOf(detrend)}), axis,
        [](const AveragedTransfer& average, auto, auto out) { Deliver(average.Transfer(), out); });
}

Lines Coherence(const ArrayLike& x, const ArrayLike& y, double fs, const WindowLike& window,
                OptionalSize nperseg, OptionalSize noverlap, py::ssize_t axis, const DetrendLike& detrend) {
    return OfPairs<double>(
        x, y, fs, CuttingOf(window, nperseg, noverlap, {.detrend = DetrendOf(detrend)}), axis,
        [](const AveragedTransfer& average, auto, auto out) { Deliver(average.Coherence(), out); });
}

Lines CrossDensity(const ArrayLike& x, const ArrayLike& y, double fs, const WindowLike& window,
                   OptionalSize nperseg, OptionalSize noverlap, py::ssize_t axis,
                   const DetrendLike& detrend) {
    const Cutting cut = CuttingOf(window, nperseg, noverlap, {.detrend = DetrendOf(detrend)});
    return OfPairs<Complex>(x, y, fs, cut, axis,
                            [&](const AveragedTransfer& average, auto reference, auto out) {
                                // H1 is the cross power over the reference's.
                                AveragedSpectrum power(cut.window, cut.overlap, cut.averaging);
                                power.Add(reference);
                                const std::vector<double> density = power.Psd(fs);
                                const std::vector<Complex> transfer = average.Transfer();
                                for (std::size_t k = 0; k < out.size(); ++k)
                                    out[k] = transfer[k] * density[k];
                            });
}

LineKind SliceKind(const std::string& kind) {
    if (kind == "density") return LineKind::kDensity;
    if (kind == "amplitude") return LineKind::kAmplitude;
    throw Error(ErrorKind::kUnknownName, "there is no kind " + Quote(kind) + ", only density and amplitude");
}

std::tuple<py::array_t<double>, py::array_t<double>, py::array> Spectrogram(
    const ArrayLike& x, double fs, const WindowLike& window, OptionalSize nperseg, OptionalSize noverlap,
    const std::string& kind, std::int64_t blocksPerSlice) {
    const Rows rows = OneRow(x, "x");
    const Cutting cut = CuttingOf(window, nperseg, noverlap);
    const Slicing slicing = {{std::ssize(cut.window), cut.overlap}, blocksPerSlice};
    const LineKind lineKind = SliceKind(kind);
    const std::size_t lines = cut.window.size() / 2;
    const std::int64_t slices = slicing.Count(std::ssize(rows.Row(0)));
    py::array_t<double> results({slices, static_cast<std::int64_t>(lines)});
    double* out = results.mutable_data();
    Unlocked([&] {
        rows.RequireValues();
        SlicedSpectrum sliced(cut.window, slicing, lineKind, fs, [&](std::span<const double> slice) {
            out = std::ranges::copy(slice, out).out;
        });
        sliced.Add(rows.Row(0));
    });
    const double step = static_cast<double>(slicing.Start(1)) / fs;
    const double middle = static_cast<double>(slicing.Length()) / 2.0 / fs;
    return {Ramp(lines, fs / static_cast<double>(cut.window.size())),
            Ramp(static_cast<std::size_t>(slices), step, middle), results.attr("T")};
}

// ---- several references ----

/// A matrix of spectra as the last axis has them: (rows, columns, lines).
CDataArrayDoubleMtxCplx MatrixOf(const ArrayLike& spectra, const char* name) {
    const ComplexRows cells(spectra, name);
    const py::object shape = py::module_::import("numpy").attr("shape")(spectra);
    if (py::len(shape) != 3) Refuse(std::string(name) + " has the shape (rows, columns, lines)");
    const auto rows = py::cast<__int64>(shape[py::int_(0)]);
    const auto columns = py::cast<__int64>(shape[py::int_(1)]);
    CDataArrayDoubleMtxCplx matrix;
    if (rows < 1 || columns < 1 || cells.Length() < 1) Refuse(std::string(name) + " is empty");
    if (!matrix.Create(1, rows, columns, static_cast<__int64>(cells.Length()))) throw std::bad_alloc();
    for (__int64 r = 0; r < rows; ++r) {
        for (__int64 c = 0; c < columns; ++c) {
            const auto cell = cells.Row(static_cast<std::size_t>(r * columns + c));
            const auto real = Samples(matrix, r, c);
            const auto imaginary = ImaginarySamples(matrix, r, c);
            for (std::size_t k = 0; k < cell.size(); ++k) {
                real[k] = cell[k].real();
                imaginary[k] = cell[k].imag();
            }
        }
    }
    return matrix;
}

template <typename Result>
py::array SpectraOfMatrix(const CDataArrayDoubleMtxCplx& matrix) {
    const __int64 rows = matrix.GetNumRow();
    const __int64 columns = matrix.GetNumCol();
    const __int64 lines = std::ssize(Samples(matrix, 0, 0));
    py::array_t<Result> spectra({rows, columns, lines});
    Result* out = spectra.mutable_data();
    for (__int64 r = 0; r < rows; ++r) {
        for (__int64 c = 0; c < columns; ++c) {
            const auto real = Samples(matrix, r, c);
            const auto imaginary = ImaginarySamples(matrix, r, c);
            for (std::size_t k = 0; k < real.size(); ++k) {
                if constexpr (std::is_same_v<Result, Complex>) {
                    *out++ = {real[k], imaginary.empty() ? 0.0 : imaginary[k]};
                } else {
                    *out++ = real[k];
                }
            }
        }
    }
    return std::move(spectra);
}

void RequireDone(int isDone) {
    if (!isDone) Refuse("the shapes of the spectra do not fit together, or cutoff is not from 0 to below 1");
}

py::array TransferMatrix(const ArrayLike& inputs, const ArrayLike& cross, double cutoff) {
    const auto in = MatrixOf(inputs, "Sxx");
    const auto between = MatrixOf(cross, "Syx");
    CDataArrayDoubleMtxCplx result;
    RequireDone(Unlocked([&] { return CMatMtxp::CalcXfr(&result, in, between, cutoff); }));
    return SpectraOfMatrix<Complex>(result);
}

py::array InverseTransferMatrix(const ArrayLike& transfer, double cutoff) {
    const auto matrix = MatrixOf(transfer, "H");
    CDataArrayDoubleMtxCplx result;
    RequireDone(Unlocked([&] { return CMatMtxp::CalcIXfr(&result, matrix, cutoff); }));
    return SpectraOfMatrix<Complex>(result);
}

py::array PartialCoherence(const ArrayLike& inputs, const ArrayLike& outputs, const ArrayLike& cross,
                           double cutoff) {
    const auto in = MatrixOf(inputs, "Sxx");
    const auto out = MatrixOf(outputs, "Syy");
    const auto between = MatrixOf(cross, "Syx");
    CDataArrayDoubleMtxCplx result;
    RequireDone(Unlocked([&] { return CMatMtxp::CalcPartCoh(&result, in, out, between, cutoff); }));
    return SpectraOfMatrix<double>(result);
}

// ---- as they come ----

using SpectrumStream = Guarded<AveragedSpectrum>;
using TransferStream = Guarded<AveragedTransfer>;

std::pair<std::int64_t, std::size_t> PointsAndLines(const AveragedSpectrum& average) {
    return {average.TransformSize(), average.Lines()};
}
std::pair<std::int64_t, std::size_t> PointsAndLines(const AveragedTransfer& average) {
    return {average.BlockSize(), static_cast<std::size_t>(average.BlockSize()) / 2};
}

template <class Stream>
void BindStream(py::class_<Stream>& stream) {
    stream
        .def(
            "next_signal", [](Stream& self) { self.Use([](auto& a) { a.NextSignal(); }); },
            "Ends the signal: no block spans what came and what is to come. The average goes on.")
        .def_property_readonly(
            "blocks", [](Stream& self) { return self.Use([](auto& a) { return a.Blocks(); }); },
            "Blocks averaged so far.")
        .def_property_readonly(
            "nperseg", [](Stream& self) { return self.Use([](auto& a) { return a.BlockSize(); }); },
            "Samples of a block.")
        .def_property_readonly(
            "noise_bandwidth",
            [](Stream& self) { return self.Use([](auto& a) { return a.NoiseBandwidth(); }); },
            "That of the window, in lines.")
        .def(
            "frequencies",
            [](Stream& self, double fs) {
                const auto [points, lines] = self.Use([](auto& a) { return PointsAndLines(a); });
                return Ramp(lines, fs / static_cast<double>(points));
            },
            py::arg("fs"), "The frequencies of the lines of a signal sampled at fs.");
}

std::unique_ptr<SpectrumStream> MakeSpectrumStream(const WindowLike& window, OptionalSize nperseg,
                                                   OptionalSize noverlap, OptionalSize nfft,
                                                   const DetrendLike& detrend, const std::string& average,
                                                   double weight, bool nyquist) {
    const Cutting cut =
        CuttingOf(window, nperseg, noverlap, AveragingOf(nfft, detrend, average, weight, nyquist));
    return std::unique_ptr<SpectrumStream>(
        new SpectrumStream{AveragedSpectrum(cut.window, cut.overlap, cut.averaging)});
}

std::unique_ptr<TransferStream> MakeTransferStream(const WindowLike& window, OptionalSize nperseg,
                                                   OptionalSize noverlap, const DetrendLike& detrend) {
    const Cutting cut = CuttingOf(window, nperseg, noverlap);
    return std::unique_ptr<TransferStream>(
        new TransferStream{AveragedTransfer(cut.window, cut.overlap, DetrendOf(detrend))});
}

void BindStreams(py::module_& module) {
    const char* const cutting =
        "nperseg samples of a block, a power of two; noverlap of them are those of its neighbour, without a "
        "choice half. The others as psd.";
    py::class_<SpectrumStream> spectrum(
        module, "AveragedSpectrum",
        R"(The average of the spectra of a signal that comes in pieces of any length.

The result has the same bits however the signal is cut; what is kept does not grow with it. Any number of threads may
use one object, one at a time.)");
    spectrum.def(py::init(&MakeSpectrumStream), py::arg("window") = "hann", py::arg("nperseg") = py::none(),
                 py::arg("noverlap") = py::none(), py::kw_only(), py::arg("nfft") = py::none(),
                 py::arg("detrend") = false, py::arg("average") = "linear", py::arg("weight") = 0.125,
                 py::arg("nyquist") = false, cutting);
    spectrum.def(
        "add",
        [](SpectrumStream& self, const ArrayLike& x) {
            const Rows rows = OneRow(x, "x");
            self.Use([&](AveragedSpectrum& average) {
                rows.RequireValues();
                average.Add(rows.Row(0));
            });
        },
        py::arg("x"), "Takes the next samples, in one dimension.");
    spectrum.def(
        "psd",
        [](SpectrumStream& self, double fs) { return ArrayOf(self.Use([&](auto& a) { return a.Psd(fs); })); },
        py::arg("fs"),
        "The one-sided density, in the square of the unit of the samples per hertz; see kvx.psd.");
    spectrum.def(
        "amplitude",
        [](SpectrumStream& self) { return ArrayOf(self.Use([](auto& a) { return a.Amplitude(); })); },
        "Peak amplitudes, averaged by power; see kvx.amplitudes.");
    spectrum.def(
        "power", [](SpectrumStream& self) { return ArrayOf(self.Use([](auto& a) { return a.Power(); })); },
        "The mean square of the sine on each line; psd(scaling=\"spectrum\").");
    spectrum.def_property_readonly(
        "degrees_of_freedom",
        [](SpectrumStream& self) { return self.Use([](auto& a) { return a.DegreesOfFreedom(); }); },
        "Of each line but those at 0 Hz and fs/2, which have half as many, the overlap accounted for (Welch "
        "1967); None for peak-hold and minimum, and without blocks.");
    BindStream(spectrum);

    py::class_<TransferStream> transfer(
        module, "AveragedTransfer",
        R"(The transfer function between two signals that come together in pieces of any length, as AveragedSpectrum.)");
    transfer.def(py::init(&MakeTransferStream), py::arg("window") = "hann", py::arg("nperseg") = py::none(),
                 py::arg("noverlap") = py::none(), py::kw_only(), py::arg("detrend") = false, cutting);
    transfer.def(
        "add",
        [](TransferStream& self, const ArrayLike& x, const ArrayLike& y) {
            const Rows reference = OneRow(x, "x");
            const Rows response = OneRow(y, "y");
            self.Use([&](AveragedTransfer& average) {
                reference.RequireValues();
                response.RequireValues();
                average.Add(reference.Row(0), response.Row(0));
            });
        },
        py::arg("x"), py::arg("y"),
        "Takes the next samples of the reference x and the response y, equally many.");
    transfer.def(
        "transfer",
        [](TransferStream& self) { return ArrayOf(self.Use([](auto& a) { return a.Transfer(); })); },
        "H1, complex; see kvx.transfer.");
    transfer.def(
        "coherence",
        [](TransferStream& self) { return ArrayOf(self.Use([](auto& a) { return a.Coherence(); })); },
        "From 0 to 1; see kvx.coherence.");
    BindStream(transfer);
}

}  // namespace

void BindSpectra(py::module_& module) {
    const auto cutting = [](auto... more) {
        return std::make_tuple(py::arg("fs") = 1.0, py::arg("window") = "hann",
                               py::arg("nperseg") = py::none(), py::arg("noverlap") = py::none(), more...);
    };
    const auto defineOfOne = [&](const char* name, auto function, const char* text, auto... more) {
        std::apply([&](auto... args) { DefineQuick(module, name, function, text, py::arg("x"), args...); },
                   cutting(py::arg("axis") = -1, py::arg("nfft") = py::none(), py::arg("detrend") = false,
                           py::arg("average") = "linear", py::arg("weight") = 0.125,
                           py::arg("nyquist") = false, more...));
    };
    const auto defineOfTwo = [&](const char* name, auto function, const char* text) {
        std::apply(
            [&](auto... args) {
                DefineQuick(module, name, function, text, py::arg("x"), py::arg("y"), args...);
            },
            cutting(py::arg("axis") = -1, py::arg("detrend") = false));
    };
    defineOfOne("psd", &Psd,
                R"(The one-sided power spectral density by Welch's method, (frequencies, density).

x:        real samples of any shape; every row along the axis is a signal
fs:       sampling rate, Hz
window:   as get_window takes it, or its samples
nperseg:  samples of a block, a power of two up to 4194304; without a choice those of the window, else 1024
noverlap: samples that neighbours share; without a choice half of nperseg
nfft:     points of the transform, a power of two: zeros follow each block, of any size up to it
detrend:  what is taken out of each block: False, "mean" (or "constant") or "linear"
average:  "linear" (or "mean"), "exponential", "peak-hold" or "minimum"
weight:   of the newest block in an exponential average; the first 1/weight blocks are averaged linearly
nyquist:  whether the line at fs/2 is kept
scaling:  "density", or "spectrum" for the mean square of the sine on each line

|X|^2/(fs sum(w^2)), doubled on all lines but that at 0 Hz, averaged over all full blocks: nperseg/2 lines fs/nperseg
apart, in the square of the unit of x per hertz. As scipy.signal.welch(..., detrend=False), with nyquist=True all of
its lines.)",
                py::arg("scaling") = "density");
    defineOfOne("amplitudes", &Amplitudes,
                R"(Peak amplitudes, averaged over the blocks by power, (frequencies, amplitudes).

Arguments as psd. A sine of amplitude A on a line reads A, a constant c reads |c| at 0 Hz.)");
    defineOfTwo("transfer", &Transfer, R"(The transfer function H1 from x to y, (frequencies, complex lines).

The cross power over the power of x: the best estimate when noise is on y alone. One x goes with every row of y.
detrend is taken out of each block of both. Other arguments as psd. 0 on lines where x has no power.)");
    defineOfTwo("coherence", &Coherence, R"(The coherence of x and y, from 0 to 1, (frequencies, coherence).

The squared cross power over both powers; always 1 for a single block. Other arguments as psd.)");
    defineOfTwo("csd", &CrossDensity,
                R"(The cross power spectral density of x and y, (frequencies, complex lines).

The average of conj(X) Y in the scaling of psd, as scipy.signal.csd(..., detrend=False). Other arguments as psd.)");
    module.def("spectrogram", &Spectrogram, py::arg("x"), py::arg("fs") = 1.0, py::arg("window") = "hann",
               py::arg("nperseg") = py::none(), py::arg("noverlap") = py::none(), py::arg("kind") = "density",
               py::arg("blocks_per_slice") = 1, R"(How a spectrum changes, (frequencies, times, levels).

kind:             "density" or "amplitude", as psd and amplitudes
blocks_per_slice: blocks that are averaged into a slice

levels has the shape (lines, slices); a slice stands at the time of its middle, in s. Other arguments as psd.)");
    module.def("transfer_matrix", &TransferMatrix, py::arg("Sxx"), py::arg("Syx"),
               py::arg("cutoff") = CMatMtxp::kCutoff,
               R"(The transfer matrix of a system with several inputs, of the shape (m, n, lines).

Sxx: averaged cross spectra x_j conj(x_k) of the n inputs, (n, n, lines)
Syx: averaged cross spectra y_i conj(x_k) of the m outputs with them, (m, n, lines)

Directions with at most cutoff of the power of the strongest get nothing (the pseudo-inverse).)");
    module.def("inverse_transfer_matrix", &InverseTransferMatrix, py::arg("H"),
               py::arg("cutoff") = CMatMtxp::kCutoff,
               "The (n, m, lines) inverse of a transfer matrix (m, n, lines), where there is none its "
               "pseudo-inverse.");
    module.def(
        "partial_coherence", &PartialCoherence, py::arg("Sxx"), py::arg("Syy"), py::arg("Syx"),
        py::arg("cutoff") = CMatMtxp::kCutoff,
        R"(Partial coherences, (m, n, lines), from 0 to 1 (conditioned spectra; Bendat and Piersol, Random Data, chapter 7).

Syy: cross spectra of the outputs, (m, m, lines), or their powers, (m, 1, lines); the others as transfer_matrix.)");
    BindStreams(module);
}

}  // namespace kvx::python
