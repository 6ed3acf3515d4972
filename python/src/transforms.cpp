// SPDX-License-Identifier: MIT
#include "transforms.h"

#include "results.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx::python {
namespace {

using Complex = std::complex<double>;

constexpr std::int64_t kUsualBlock = 1024;

/// A window that has numbers: ("exponential", -0.001).
std::vector<double> ShapedWindow(const py::tuple& shape, std::int64_t size) {
    const auto name = py::cast<std::string>(shape[0]);
    if (size < 1) Refuse("a window has 1 sample or more");
    CDataArrayDouble array;
    if (!array.SetData(size, 0.0)) throw std::bad_alloc();
    std::vector<double> numbers;
    for (std::size_t i = 1; i < shape.size(); ++i) {
        const py::object each = shape[i];
        if (py::isinstance<py::sequence>(each)) {
            for (const double number : NumbersOf(each, "window")) numbers.push_back(number);
        } else {
            numbers.push_back(py::cast<double>(each));
        }
    }
    const auto require = [&](std::size_t least, std::size_t most) {
        if (numbers.size() < least || numbers.size() > most)
            Refuse("the window " + Quote(name) + " does not take " + Count(std::ssize(numbers), "number"));
    };
    int isMade = 0;
    if (name == "exponential") {
        require(1, 1);
        isMade = CMatWIND::GeneExponent(&array, numbers[0]);
    } else if (name == "general_cosine") {
        require(1, 4);
        numbers.resize(4, 0.0);
        isMade = CMatWIND::Gen4termCos(&array, numbers[0], numbers[1], numbers[2], numbers[3]);
    } else if (name == "kaiser_bessel") {
        require(1, 1);
        isMade = CMatWIND::GeneRectangular(&array) && CMatWIND::AddKaiserBessel(&array, numbers[0]);
    } else {
        // As text: "kaiser:8.6".
        std::string text = name;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            text += (i == 0 ? ":" : ",") + FormatExact(numbers[i]);
        return MakeWindow(text, size);
    }
    const auto samples = Samples(array);
    if (!isMade || !std::ranges::all_of(samples, [](double v) { return std::isfinite(v); }))
        Refuse("the numbers of the window " + Quote(name) + " leave the range");
    return {samples.begin(), samples.end()};
}

/// The last one is kept, as long as the interpreter lock is held: short signals are often cut alike, and to
/// make a window takes as long as to transform several blocks.
const std::vector<double>& NamedWindow(std::string name, std::int64_t size) {
    static std::string lastName;
    static std::vector<double> last;
    if (name != lastName || size != std::ssize(last)) {
        last = MakeWindow(name, size);
        lastName = std::move(name);
    }
    return last;
}

std::vector<double> WindowOf(const py::object& window, std::optional<std::int64_t> size) {
    if (py::isinstance<py::str>(window))
        return NamedWindow(py::cast<std::string>(window), size.value_or(kUsualBlock));
    if (py::isinstance<py::tuple>(window)) {
        const auto tuple = py::reinterpret_borrow<py::tuple>(window);
        if (!tuple.empty() && py::isinstance<py::str>(tuple[0]))
            return ShapedWindow(tuple, size.value_or(kUsualBlock));
    }
    std::vector<double> samples = NumbersOf(window, "window");
    if (size && *size != std::ssize(samples)) {
        Refuse("the window has " + Count(std::ssize(samples), "sample") + ", not the " +
               std::to_string(*size) + " of nperseg");
    }
    return samples;
}

/// A transform of a block takes a power of two.
std::size_t RequireLength(std::size_t length) {
    RequireBlockSize(static_cast<std::int64_t>(length), 1, kLargestGivenBlock);
    return length;
}

/// All lines of the transform of a block, unscaled.
void Transform(std::span<const double> block, std::vector<double>& real, std::vector<double>& imaginary) {
    real.assign(block.begin(), block.end());
    imaginary.assign(block.size(), 0.0);
    const __int64 size = std::ssize(block);
    if (!CMatFFT::XfrRfft(real.data(), imaginary.data(), size, real.data(), imaginary.data(), size))
        throw std::bad_alloc();
}

/// Both parts of the samples, of which one may vanish.
void TransformComplex(std::span<const Complex> block, std::span<Complex> lines, double sign, double scale) {
    std::vector<double> part(block.size());
    std::vector<double> re;
    std::vector<double> im;
    std::ranges::transform(block, part.begin(), [](const Complex& v) { return v.real(); });
    Transform(part, re, im);
    for (std::size_t k = 0; k < lines.size(); ++k) lines[k] = scale * Complex(re[k], im[k]);
    std::ranges::transform(block, part.begin(), [&](const Complex& v) { return sign * v.imag(); });
    Transform(part, re, im);
    for (std::size_t k = 0; k < lines.size(); ++k) lines[k] += scale * Complex(-im[k], re[k]);
}

py::array Fft(const ArrayLike& x, py::ssize_t axis) {
    const ComplexRows rows(x, "x", axis);
    return MapRows<Complex>(rows, RequireLength(rows.Length()),
                            [](auto block, auto lines) { TransformComplex(block, lines, 1.0, 1.0); });
}

py::array Ifft(const ArrayLike& lines, py::ssize_t axis) {
    const ComplexRows rows(lines, "x", axis);
    return MapRows<Complex>(rows, RequireLength(rows.Length()), [](auto block, auto wave) {
        // The inverse is the conjugate of the transform of the conjugate.
        TransformComplex(block, wave, -1.0, 1.0 / static_cast<double>(block.size()));
        for (Complex& v : wave) v = std::conj(v);
    });
}

py::array Rfft(const ArrayLike& x, py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    const std::size_t lines = RequireLength(rows.Length()) / 2 + 1;
    return MapRows<Complex>(rows, lines, [](auto block, auto out) {
        std::vector<double> re;
        std::vector<double> im;
        Transform(block, re, im);
        if (block.size() == 1) im[0] = 0.0;
        for (std::size_t k = 0; k < out.size(); ++k)
            out[k] = {re[k], k == 0 || 2 * k == block.size() ? 0.0 : im[k]};
    });
}

py::array Irfft(const ArrayLike& lines, std::optional<std::int64_t> n, py::ssize_t axis) {
    const ComplexRows rows(lines, "x", axis);
    const std::int64_t usual = 2 * (static_cast<std::int64_t>(rows.Length()) - 1);
    const std::int64_t size = n.value_or(usual);
    RequireBlockSize(size, 1, kLargestGivenBlock);
    const std::size_t most = static_cast<std::size_t>(size) / 2 + 1;
    return MapRows<double>(rows, static_cast<std::size_t>(size), [&](auto in, auto wave) {
        const std::size_t count = std::min(in.size(), most);
        std::vector<double> re(wave.size());
        std::vector<double> im(wave.size());
        std::vector<double> work(wave.size());
        for (std::size_t k = 0; k < count; ++k) {
            re[k] = in[k].real();
            im[k] = k == 0 || 2 * k == wave.size() ? 0.0 : in[k].imag();
        }
        if (count == 0) return;
        if (!CMatFFT::XfrIfft(wave.data(), work.data(), size, re.data(), im.data(),
                              static_cast<__int64>(count)))
            throw std::bad_alloc();
    });
}

py::array BlockLines(const ArrayLike& x, const WindowLike& window, py::ssize_t axis) {
    const Rows rows(x, "x", axis);
    const Cutting cut = CuttingOf(window, static_cast<std::int64_t>(rows.Length()), 0);
    return MapRows<Complex>(rows, rows.Length() / 2, [&](auto block, auto lines) {
        std::ranges::copy(BlockSpectrum(block, cut.window), lines.begin());
    });
}

}  // namespace

Cutting CuttingOf(const py::object& window, std::optional<std::int64_t> size,
                  std::optional<std::int64_t> overlap, const Averaging& averaging) {
    if (size) RequireCut({*size, 0}, averaging.transformSize);
    Cutting cut = {WindowOf(window, size), 0, averaging};
    const std::int64_t count = std::ssize(cut.window);
    cut.overlap = overlap.value_or(count / 2);
    RequireCut({count, cut.overlap}, averaging.transformSize);
    return cut;
}

Detrend DetrendOf(const DetrendLike& detrend) {
    if (!detrend) return Detrend::kNone;
    if (const std::string* const name = std::get_if<std::string>(&*detrend)) return NamedDetrend(*name);
    if (std::get<bool>(*detrend)) Refuse("detrend is False, 'mean' or 'linear'");
    return Detrend::kNone;
}

void BindTransforms(py::module_& module) {
    module.def("window_names", &WindowNames, "The windows by name, the usual one first.");
    module.def(
        "get_window",
        [](const WindowLike& window, std::int64_t nx, bool fftbins) {
            if (fftbins) return ArrayOf(WindowOf(window, nx));
            if (!py::isinstance<py::str>(window))
                Refuse("the symmetric form is that of a window by its text");
            return ArrayOf(MakeWindow(py::cast<std::string>(window) + ":symmetric", nx));
        },
        py::arg("window"), py::arg("Nx"), py::arg("fftbins") = true,
        R"(The samples of a window, as an array of Nx.

window:  a name of window_names(), with numbers where it takes some: "kaiser:8.6" or ("kaiser", 8.6), "kaiser:80dB",
         ("tukey", 0.1), "exponential:0.05", which ends at 0.05, "force:0.1,0.05"; or ("exponential", a) for exp(n a),
         ("general_cosine", [a0, a1, a2, a3]) for a0 - a1 cos phi + a2 cos 2 phi - a3 cos 3 phi, phi = 2 pi n/Nx, or
         ("kaiser_bessel", dB), the suite's taper
fftbins: periodic, as spectra take it, else symmetric)");
    module.def(
        "window_figures",
        [](const WindowLike& window, std::int64_t nx) {
            const WindowFigures figures = FiguresOfWindow(WindowOf(window, nx));
            return WindowFiguresResult::Of(figures.mean, figures.noiseBandwidth, figures.scallopDb,
                                           figures.width3dB, figures.width6dB, figures.sideLobeDb);
        },
        py::arg("window"), py::arg("Nx") = 1024,
        "What a window of Nx samples, 8 to 65536, does to a sine; window as get_window takes it.");
    module.def(
        "window_decay", &WindowDecay, py::arg("window"), py::arg("duration"),
        "The decay, in 1/s, that \"exponential:END\" over a block of that duration in s adds; 0 for others.");
    module.def(
        "q_without_decay", &QWithoutDecay, py::arg("q"), py::arg("frequency"), py::arg("decay"),
        "A quality that was measured at half power, freed of the decay of the window: the inverse of 1/q - "
        "decay/(pi f). None when nothing is left.");
    module.def("chi_square_quantile", &ChiSquareQuantile, py::arg("q"), py::arg("df"),
               "As scipy.stats.chi2.ppf.");
    module.def(
        "confidence",
        [](double degrees, double level) {
            const ConfidenceLimits limits = ConfidenceOf(degrees, level);
            return std::make_tuple(limits.lower, limits.upper);
        },
        py::arg("degrees_of_freedom"), py::arg("level") = 0.9,
        "Factors on an averaged power between which the power of the process lies with that probability.");
    module.def("block_size_for", &BlockSizeFor, py::arg("fs"), py::arg("df"),
               "The smallest power of two whose lines are at most df Hz apart at the rate fs.");
    module.def(
        "noise_bandwidth",
        [](const ArrayLike& window) { return NoiseBandwidth(NumbersOf(window, "window")); },
        py::arg("window"),
        "The equivalent noise bandwidth of a window of N samples, in lines: N sum(w^2)/sum(w)^2.");
    module.def("fft", &Fft, py::arg("x"), py::arg("axis") = -1,
               R"(The discrete Fourier transform of real or complex samples, unscaled, as numpy.fft.fft.

x: any shape; along the axis a power of two of samples up to 131072. Complex, of the same shape.)");
    module.def("ifft", &Ifft, py::arg("x"), py::arg("axis") = -1, "The inverse of fft, scaled by 1/N.");
    module.def("rfft", &Rfft, py::arg("x"), py::arg("axis") = -1,
               "The lines 0 to N/2 of the transform of N real samples, unscaled, as numpy.fft.rfft; N as fft "
               "has it.");
    module.def("irfft", &Irfft, py::arg("x"), py::arg("n") = py::none(), py::arg("axis") = -1,
               R"(The n real samples whose lines 0 to n/2 are given: the inverse of rfft.

n: a power of two; without it twice the number of lines less one.)");
    module.def("block_spectrum", &BlockLines, py::arg("x"), py::arg("window") = "hann", py::arg("axis") = -1,
               R"(The spectrum of one block in complex peak amplitudes over the window's mean.

x: N samples along the axis, N a power of two. N/2 lines; line k stands at k fs/N. A sine of amplitude A on a line
reads A there.)");
    module.def(
        "count_blocks",
        [](std::int64_t samples, std::int64_t nperseg, std::optional<std::int64_t> noverlap) {
            return RequireCut({nperseg, noverlap.value_or(nperseg / 2)}).Count(samples);
        },
        py::arg("samples"), py::arg("nperseg"), py::arg("noverlap") = py::none(),
        "Full blocks of nperseg samples in a signal; neighbours share noverlap, without a choice half of "
        "them.");
    module.attr("LARGEST_BLOCK") = kLargestBlock;
    module.attr("RATE_OVER_BAND") = kRateOverBand;
}

}  // namespace kvx::python
