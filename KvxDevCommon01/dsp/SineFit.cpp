// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/SineFit.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <new>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

constexpr std::size_t kFewest = 16;
constexpr std::size_t kUnknowns = 4;  // cosine, sine, offset, change of the frequency

using Row = std::array<double, kUnknowns>;

/// The solution of symmetric equations in the first `count` unknowns, by elimination with pivots.
Row Solve(std::array<Row, kUnknowns> left, Row right, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t pivot = i;
        for (std::size_t r = i + 1; r < count; ++r)
            if (std::abs(left[r][i]) > std::abs(left[pivot][i])) pivot = r;
        std::swap(left[i], left[pivot]);
        std::swap(right[i], right[pivot]);
        for (std::size_t r = i + 1; r < count; ++r) {
            const double factor = left[r][i] / left[i][i];
            for (std::size_t c = i; c < count; ++c) left[r][c] -= factor * left[i][c];
            right[r] -= factor * right[i];
        }
    }
    Row solution = {};
    for (std::size_t i = count; i-- > 0;) {
        double rest = right[i];
        for (std::size_t c = i + 1; c < count; ++c) rest -= left[i][c] * solution[c];
        solution[i] = rest / left[i][i];
    }
    return solution;
}

/// A cosine and a sine of one frequency, counted from the middle of the samples, and an offset.
struct Sine {
    double radians = 0.0;  ///< per sample
    double cosine = 0.0;
    double sine = 0.0;
    double offset = 0.0;
};

/// One step of least squares from `sine`; the frequency is kept unless it is `free`. Gives what it changed
/// the frequency by.
double Improve(std::span<const double> samples, bool isFree, Sine* sine) {
    const double middle = 0.5 * static_cast<double>(samples.size() - 1);
    const std::size_t unknowns = isFree ? kUnknowns : kUnknowns - 1;
    std::array<Row, kUnknowns> left = {};
    Row right = {};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double place = static_cast<double>(i) - middle;
        const double c = std::cos(sine->radians * place);
        const double s = std::sin(sine->radians * place);
        const Row row = {c, s, 1.0, place * (sine->sine * c - sine->cosine * s)};
        for (std::size_t r = 0; r < unknowns; ++r) {
            for (std::size_t k = 0; k < unknowns; ++k) left[r][k] += row[r] * row[k];
            right[r] += row[r] * samples[i];
        }
    }
    const Row solution = Solve(left, right, unknowns);
    sine->cosine = solution[0];
    sine->sine = solution[1];
    sine->offset = solution[2];
    if (isFree) sine->radians += solution[3];
    return isFree ? solution[3] : 0.0;
}

/// Where the strongest line of the spectrum lies, between the lines, in radians per sample.
double StrongestFrequency(std::span<const double> samples) {
    constexpr auto kMost =
        static_cast<std::size_t>(kLargestGivenBlock);  // close enough for samples many times as long
    const std::size_t size = std::min(std::bit_floor(samples.size()), kMost);
    const std::vector<double> window = MakeWindow("hann", static_cast<std::int64_t>(size));
    double mean = 0.0;
    for (const double sample : samples.first(size)) mean += sample / static_cast<double>(size);
    std::vector<double> wave(size), work(size), re(size / 2), im(size / 2);
    for (std::size_t i = 0; i < size; ++i) wave[i] = (samples[i] - mean) * window[i];
    if (!CMatFFT::WaveRfft(wave.data(), work.data(), static_cast<__int64>(size), re.data(), im.data(),
                           static_cast<__int64>(size / 2)))
        throw std::bad_alloc();
    std::vector<double> lines(size / 2);
    for (std::size_t k = 0; k < lines.size(); ++k) lines[k] = std::hypot(re[k], im[k]);
    const auto first = lines.begin() + 1;
    const auto peak = static_cast<std::size_t>(std::max_element(first, lines.end()) - lines.begin());
    if (!(lines[peak] > 0.0)) throw Error(ErrorKind::kBadValue, "nothing oscillates in it");
    // The ratio of neighbouring lines of a Hann window tells the place between them.
    const double below = lines[peak - 1];
    const double above = peak + 1 < lines.size() ? lines[peak + 1] : 0.0;
    const double ratio = std::max(below, above) / lines[peak];
    const double shift = (2.0 * ratio - 1.0) / (1.0 + ratio) * (above > below ? 1.0 : -1.0);
    return 2.0 * std::numbers::pi * (static_cast<double>(peak) + shift) / static_cast<double>(size);
}

}  // namespace

SineFit FitSine(std::span<const double> samples, double rateHz, std::optional<double> frequencyHz) {
    if (samples.size() < kFewest)
        throw Error(ErrorKind::kBadValue,
                    "a sine is fitted to " + std::to_string(kFewest) + " samples or more");
    if (!(rateHz > 0.0) || !std::isfinite(rateHz))
        throw Error(ErrorKind::kBadValue, "a rate of " + FormatNumber(rateHz) + " Hz is none");
    if (frequencyHz && !(*frequencyHz > 0.0 && *frequencyHz < 0.5 * rateHz)) {
        throw Error(ErrorKind::kBadValue,
                    FormatNumber(*frequencyHz) + " Hz is not between 0 and half the rate");
    }
    if (!std::ranges::all_of(samples, [](double sample) { return std::isfinite(sample); }))
        throw Error(ErrorKind::kBadValue, "a sample is not finite");
    constexpr int kMostSteps = 50;
    const auto count = static_cast<double>(samples.size());
    Sine sine;
    sine.radians = frequencyHz ? 2.0 * std::numbers::pi * *frequencyHz / rateHz : StrongestFrequency(samples);
    if (sine.radians * count < 4.0 * std::numbers::pi)
        throw Error(ErrorKind::kBadValue, "there are less than two periods of it");
    Improve(samples, false, &sine);
    double change = 1.0;
    for (int step = 0; !frequencyHz && step < kMostSteps && std::abs(change) * count > 1e-12; ++step)
        change = Improve(samples, true, &sine);
    if (!std::isfinite(sine.radians) || !(sine.radians > 0.0 && sine.radians < std::numbers::pi))
        throw Error(ErrorKind::kBadValue, "no sine fits it");
    Improve(samples, false, &sine);
    const double middle = 0.5 * (count - 1.0);
    double squares = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double angle = sine.radians * (static_cast<double>(i) - middle);
        const double rest =
            samples[i] - sine.offset - sine.cosine * std::cos(angle) - sine.sine * std::sin(angle);
        squares += rest * rest;
    }
    const double phase = std::atan2(-sine.sine, sine.cosine) - sine.radians * middle;
    return {.frequencyHz = frequencyHz.value_or(sine.radians * rateHz / (2.0 * std::numbers::pi)),
            .amplitude = std::hypot(sine.cosine, sine.sine),
            .phase = std::remainder(phase, 2.0 * std::numbers::pi),
            .offset = sine.offset,
            .residualRms = std::sqrt(squares / count)};
}

}  // namespace kvx
