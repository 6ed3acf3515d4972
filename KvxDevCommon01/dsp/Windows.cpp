// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/dsp/detail/BlockTransform.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstddef>
#include <iterator>
#include <new>
#include <numbers>

namespace kvx {
namespace {

using Numbers = std::array<double, 2>;

/// The modified Bessel function of order 0 over e^x, x >= 0; the terms of the series are all positive.
double ScaledBessel(double x) {
    double term = std::exp(-x);
    double sum = term;
    for (double k = 1.0; term > 1e-18 * sum; ++k) {
        const double ratio = 0.5 * x / k;
        term *= ratio * ratio;
        sum += term;
    }
    return sum;
}

double Kaiser(double u, const Numbers& numbers) {
    const double beta = numbers[0];
    const double x = beta * std::sqrt(std::max(0.0, 4.0 * u * (1.0 - u)));
    return ScaledBessel(x) / ScaledBessel(beta) * std::exp(x - beta);
}

double Tukey(double u, const Numbers& numbers) {
    const double taper = 0.5 * numbers[0];
    const double edge = std::min(u, 1.0 - u);
    return edge < taper ? 0.5 - 0.5 * std::cos(std::numbers::pi * edge / taper) : 1.0;
}

double Bartlett(double u, const Numbers&) {
    return 1.0 - std::fabs(2.0 * u - 1.0);
}

double Force(double u, const Numbers& numbers) {
    const auto [length, taper] = numbers;
    if (u < length) return 1.0;
    return u < length + taper ? 0.5 + 0.5 * std::cos(std::numbers::pi * (u - length) / taper) : 0.0;
}

double Exponential(double u, const Numbers& numbers) {
    return std::pow(numbers[0], u);
}

/// A number of a window: what is taken, and without a choice.
struct NumberRange {
    double usual;
    double least;
    double most;
};

/// A window is made by CMatWIND, as a sum of cosines a0 - a1 cos 2 pi u + a2 cos 4 pi u - ..., or by a shape
/// over u = 0..1.
struct NamedWindow {
    std::string_view name;
    std::string_view about;
    int (*given)(CDataArrayDouble*) = nullptr;
    std::array<double, 11> cosines = {};
    double (*shape)(double u, const Numbers& numbers) = nullptr;
    std::array<NumberRange, 2> numbers = {};
    std::size_t count = 0;  ///< of the numbers
};

constexpr NamedWindow Given(std::string_view name, std::string_view about, int (*given)(CDataArrayDouble*)) {
    NamedWindow window = {name, about};
    window.given = given;
    return window;
}

constexpr NamedWindow Cosines(std::string_view name, std::string_view about, std::array<double, 11> terms) {
    NamedWindow window = {name, about};
    window.cosines = terms;
    return window;
}

constexpr NamedWindow Shaped(std::string_view name, std::string_view about,
                             double (*shape)(double, const Numbers&), std::size_t count = 0,
                             std::array<NumberRange, 2> numbers = {}) {
    NamedWindow window = {name, about};
    window.shape = shape;
    window.numbers = numbers;
    window.count = count;
    return window;
}

constexpr double kLeastEnd = 1e-12;
constexpr double kMostBeta = 700.0;  // side lobes far below what a double holds

// The HFT windows and their figures: Heinzel, Rudiger and Schilling, Spectrum and spectral density estimation
// by the DFT (2002), appendix D. The names state the side lobes in dB; that of hft169d is at -167.9 dB, since
// its coefficients are printed to 8 decimals only.
// clang-format off
constexpr std::array kWindows = {
    Given("hann",               "0.5 - 0.5 cos",                                    &CMatWIND::GeneHanning),
    Given("rectangular",        "1",                                                &CMatWIND::GeneRectangular),
    Given("hamming",            "0.54 - 0.46 cos",                                  &CMatWIND::GeneHamming),
    Given("blackman",           "3 terms",                                          &CMatWIND::GeneBlackman),
    Given("blackman-harris",    "minimum of 4 terms (Harris 1978)",                 &CMatWIND::GeneBlackmanHarris),
    Given("blackman-harris-61", "3 terms (Harris 1978)",                            &CMatWIND::GeneBlackmanHarris_61dB),
    Given("blackman-harris-67", "minimum of 3 terms (Harris 1978)",                 &CMatWIND::GeneBlackmanHarris_67dB),
    Given("blackman-harris-74", "4 terms as first printed (Harris 1978)",           &CMatWIND::GeneBlackmanHarris_74dB),
    Given("flat-top",           "the suite's flat top",                             &CMatWIND::GeneFlatTop),
    Given("half-rectangular",   "1 over the middle half",                           &CMatWIND::GeneHalfRectangular),
    Cosines("nuttall-minimum",    "minimum of 4 terms (Nuttall 1981)",              {0.3635819, 0.4891775, 0.1365995, 0.0106411}),
    Cosines("nuttall-continuous", "4 terms, continuous first derivative (Nuttall 1981)", {0.355768, 0.487396, 0.144232, 0.012604}),
    Cosines("flat-top-iso",       "flat top of ISO 18431-2",                        {1.0, 1.933, 1.286, 0.388, 0.0322}),
    Cosines("hft70",   "flat top (Heinzel 2002)", {1.0, 1.90796, 1.07349, 0.18199}),
    Cosines("hft95",   "flat top (Heinzel 2002)", {1.0, 1.9383379, 1.3045202, 0.4028270, 0.0350665}),
    Cosines("hft90d",  "flat top, continuous first derivative (Heinzel 2002)", {1.0, 1.942604, 1.340318, 0.440811, 0.043097}),
    Cosines("hft116d", "flat top, continuous first derivative (Heinzel 2002)", {1.0, 1.9575375, 1.4780705, 0.6367431, 0.1228389, 0.0066288}),
    Cosines("hft144d", "flat top, continuous first derivative (Heinzel 2002)", {1.0, 1.96760033, 1.57983607, 0.81123644, 0.22583558, 0.02773848, 0.00090360}),
    Cosines("hft169d", "flat top, continuous first derivative (Heinzel 2002)", {1.0, 1.97441842, 1.65409888, 0.95788186, 0.33673420, 0.06364621, 0.00521942, 0.00010599}),
    Cosines("hft196d", "flat top, continuous first derivative (Heinzel 2002)", {1.0, 1.979280420, 1.710288951, 1.081629853, 0.448734314, 0.112376628, 0.015122992, 0.000871252, 0.000011896}),
    Cosines("hft223d", "flat top, continuous first derivative (Heinzel 2002)", {1.0, 1.98298997309, 1.75556083063, 1.19037717712, 0.56155440797, 0.17296769663, 0.03233247087, 0.00324954578, 0.00013801040, 0.00000132725}),
    Cosines("hft248d", "flat top, continuous first derivative (Heinzel 2002)", {1.0, 1.985844164102, 1.791176438506, 1.282075284005, 0.667777530266, 0.240160796576, 0.056656381764, 0.008134974479, 0.000624544650, 0.000019808998, 0.000000132974}),
    Shaped("bartlett",    "triangle",                                               &Bartlett),
    Shaped("kaiser",      "kaiser:BETA or kaiser:SIDELOBEdB",                       &Kaiser,      1, {NumberRange{8.6, 0.0, kMostBeta}}),
    Shaped("tukey",       "tukey:PART of the block in its two cosine ends",         &Tukey,       1, {NumberRange{0.5, 0.0, 1.0}}),
    Shaped("exponential", "exponential:END, the value at the end of the block",     &Exponential, 1, {NumberRange{0.05, kLeastEnd, 1.0}}),
    Shaped("force",       "force:PART,TAPER, 1 over a part of the block, then a cosine end", &Force, 2, {NumberRange{0.1, kLeastEnd, 1.0}, NumberRange{0.0, 0.0, 1.0}}),
};

/// Other names of windows, under which they are found but not listed.
struct WindowAlias {
    std::string_view alias;
    std::string_view name;
};
constexpr std::array kAliases = {
    WindowAlias{"flattop",        "flat-top"},
    WindowAlias{"hanning",        "hann"},
    WindowAlias{"boxcar",         "rectangular"},
    WindowAlias{"triangle",       "bartlett"},
    WindowAlias{"nuttall",        "nuttall-minimum"},
    WindowAlias{"blackmanharris", "blackman-harris"},
};
// clang-format on

/// What a text names.
struct Choice {
    const NamedWindow* window;
    Numbers numbers;
    bool isSymmetric;
};

const NamedWindow& Find(std::string_view name) {
    const auto alias = std::ranges::find(kAliases, name, &WindowAlias::alias);
    const auto found =
        std::ranges::find(kWindows, alias == kAliases.end() ? name : alias->name, &NamedWindow::name);
    if (found == kWindows.end()) throw Error(ErrorKind::kUnknownName, NoSuchName(name, WindowNames()));
    return *found;
}

/// Kaiser's parameter for side lobes so far down (Kaiser and Schafer, IEEE Trans. ASSP 28, 1980).
double KaiserBeta(double sideLobeDb) {
    if (sideLobeDb > 60.0) return 0.12438 * (sideLobeDb + 6.3);
    if (sideLobeDb <= 13.26) return 0.0;
    return 0.76609 * std::pow(sideLobeDb - 13.26, 0.4) + 0.09834 * (sideLobeDb - 13.26);
}

[[noreturn]] void RefuseNumber(std::string_view text, const NamedWindow& window) {
    throw Error(ErrorKind::kBadValue, Quote(text) + " is no number that the window " +
                                          std::string(window.name) + " takes (" + std::string(window.about) +
                                          ")");
}

void ReadNumbers(std::string_view list, Choice& choice) {
    const NamedWindow& window = *choice.window;
    const std::vector<std::string> parts = SplitList(list);
    if (parts.size() > window.count) RefuseNumber(list, window);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        std::string_view part = parts[i];
        const bool isLevel = window.shape == &Kaiser && part.ends_with("dB");
        if (isLevel) part.remove_suffix(2);
        const std::optional<double> number = ParseNumber(part);
        if (!number) RefuseNumber(parts[i], window);
        const double value = isLevel ? KaiserBeta(*number) : *number;
        if (!(value >= window.numbers[i].least && value <= window.numbers[i].most))
            RefuseNumber(parts[i], window);
        choice.numbers[i] = value;
    }
}

Choice Read(std::string_view text) {
    std::string_view rest = text;
    const auto next = [&rest] {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        const std::string_view part = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        return part;
    };
    const NamedWindow& window = Find(next());
    Choice choice = {&window, {window.numbers[0].usual, window.numbers[1].usual}, false};
    while (!rest.empty()) {
        const std::string_view part = next();
        if (part == "symmetric" || part == "periodic") {
            choice.isSymmetric = part == "symmetric";
        } else {
            ReadNumbers(part, choice);
        }
    }
    return choice;
}

std::vector<double> Generate(int (*given)(CDataArrayDouble*), std::int64_t size) {
    CDataArrayDouble window(size, 0.0);
    if (!given(&window)) throw std::bad_alloc();
    const std::span<const double> samples = Samples(window);
    return {samples.begin(), samples.end()};
}

double SumOfCosines(const std::array<double, 11>& terms, double u) {
    double value = 0.0;
    double sign = 1.0;
    for (std::size_t k = 0; k < terms.size(); ++k, sign = -sign) {
        if (terms[k] != 0.0)
            value += sign * terms[k] * std::cos(2.0 * std::numbers::pi * static_cast<double>(k) * u);
    }
    return value;
}

/// The samples over `period`, which may be one less than the window has.
std::vector<double> Sampled(const Choice& choice, std::int64_t size, std::int64_t period) {
    const NamedWindow& window = *choice.window;
    const bool isMirrored = window.shape != &Force && window.shape != &Exponential;
    std::vector<double> samples(static_cast<std::size_t>(size));
    for (std::int64_t n = 0; n < size; ++n) {
        // Mirrored, so that the window is symmetric to the last bit.
        const std::int64_t place = isMirrored ? std::min(n, period - n) : n;
        const double u = period > 0 ? static_cast<double>(place) / static_cast<double>(period) : 0.5;
        samples[static_cast<std::size_t>(n)] =
            window.shape != nullptr ? window.shape(u, choice.numbers) : SumOfCosines(window.cosines, u);
    }
    return samples;
}

/// |W(f)|^2 of the window at a frequency in lines.
class Response {
public:
    explicit Response(std::span<const double> window) : window_(window), top_(PowerAt(0.0)) {}

    /// The level to that at 0, in dB.
    double At(double line) const { return 10.0 * std::log10(PowerAt(line) / top_); }

    /// Where the level has fallen to `level`, by halving between 0 and a line where it is lower.
    double Fall(double level) const {
        double low = 0.0;
        double high = 0.5;
        while (At(high) > level && high < static_cast<double>(window_.size())) high *= 1.25;
        for (int i = 0; i < 40; ++i) {
            const double middle = 0.5 * (low + high);
            (At(middle) > level ? low : high) = middle;
        }
        return low;
    }

private:
    double PowerAt(double line) const {
        const double step = -2.0 * std::numbers::pi * line / static_cast<double>(window_.size());
        std::complex<double> sum = 0.0;
        for (std::size_t n = 0; n < window_.size(); ++n)
            sum += window_[n] * std::polar(1.0, step * static_cast<double>(n));
        return std::norm(sum);
    }

    std::span<const double> window_;
    double top_;
};

/// The top of a parabola through three levels next to one another, of which the middle one is the highest.
double TopOf(double before, double middle, double after) {
    const double bend = before - 2.0 * middle + after;
    return bend < 0.0 ? middle - (after - before) * (after - before) / (8.0 * bend) : middle;
}

std::optional<double> HighestSideLobe(std::span<const double> window) {
    constexpr std::int64_t kPointsPerLine = 64;
    constexpr double kMainLobeDb = -10.0;  // what lies higher belongs to it, the ripple of a flat top too
    const auto size = static_cast<std::int64_t>(std::bit_ceil(window.size())) * kPointsPerLine;
    BlockTransform transform(window, Detrend::kNone, size);
    transform.Transform(std::vector<double>(window.size(), 1.0));
    std::vector<double> levels(static_cast<std::size_t>(transform.Lines() + 1));
    const double top = std::hypot(transform.Real()[0], transform.Imaginary()[0]);
    for (std::size_t k = 0; k < levels.size(); ++k)
        levels[k] = 20.0 * std::log10(std::hypot(transform.Real()[k], transform.Imaginary()[k]) / top);
    std::optional<double> highest;
    bool isOutside = false;
    for (std::size_t k = 1; k + 1 < levels.size(); ++k) {
        const double before = levels[k - 1], level = levels[k], after = levels[k + 1];
        if (level <= before && level < after && level < kMainLobeDb) isOutside = true;
        if (isOutside && level >= before && level > after)
            highest = std::max(highest.value_or(level), TopOf(before, level, after));
    }
    return highest;
}

}  // namespace

std::vector<std::string> WindowNames() {
    std::vector<std::string> names;
    for (const NamedWindow& window : kWindows) names.emplace_back(window.name);
    return names;
}

std::string WindowDescription(std::string_view name) {
    return std::string(Find(name).about);
}

std::vector<double> MakeWindow(std::string_view text, std::int64_t size) {
    const Choice choice = Read(text);
    if (size < 1) throw Error(ErrorKind::kBadValue, "a window has one sample or more");
    const NamedWindow& window = *choice.window;
    if (window.given == nullptr) return Sampled(choice, size, choice.isSymmetric ? size - 1 : size);
    if (!choice.isSymmetric) return Generate(window.given, size);
    if (window.given == &CMatWIND::GeneHalfRectangular)
        throw Error(ErrorKind::kBadValue, "the window half-rectangular has no symmetric form");
    if (size == 1) return {1.0};
    std::vector<double> samples = Generate(window.given, size - 1);
    samples.push_back(samples.front());
    return samples;
}

double NoiseBandwidth(std::span<const double> window) {
    CDataArrayDouble samples;
    if (!window.empty() && !samples.SetData(std::ssize(window), window.data())) throw std::bad_alloc();
    double bandwidth = 0.0;
    if (!CMatWIND::CalcWindENBW(samples, &bandwidth, nullptr))
        throw Error(ErrorKind::kBadValue, "a window whose sum is 0 has no noise bandwidth");
    return bandwidth;
}

WindowFigures FiguresOfWindow(std::span<const double> window) {
    constexpr std::size_t kLeast = 8;
    constexpr std::size_t kMost = 65536;
    if (window.size() < kLeast || window.size() > kMost)
        throw Error(ErrorKind::kBadValue, "the figures of a window are those of 8 to 65536 samples");
    WindowFigures figures = {};
    figures.sideLobeDb = HighestSideLobe(window);
    figures.noiseBandwidth = NoiseBandwidth(window);
    const Response response(window);
    for (const double sample : window) figures.mean += sample / static_cast<double>(window.size());
    constexpr int kSteps = 64;
    for (int i = 1; i <= kSteps; ++i) {
        const double level = response.At(0.5 * i / kSteps);
        if (std::fabs(level) > std::fabs(figures.scallopDb)) figures.scallopDb = level;
    }
    figures.width3dB = 2.0 * response.Fall(-3.0);
    figures.width6dB = 2.0 * response.Fall(-6.0);
    return figures;
}

double WindowDecay(std::string_view text, double blockSeconds) {
    const Choice choice = Read(text);
    return choice.window->shape == &Exponential ? -std::log(choice.numbers[0]) / blockSeconds : 0.0;
}

std::optional<double> QWithoutDecay(double q, double hz, double decayPerSecond) {
    if (decayPerSecond == 0.0) return q;
    const double inverse = 1.0 / q - decayPerSecond / (std::numbers::pi * hz);
    if (!(inverse > 0.0)) return std::nullopt;
    return 1.0 / inverse;
}

}  // namespace kvx
