// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/RandomWave.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <new>
#include <numbers>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace kvx {
namespace {

constexpr __int64 kSmallestFrame = 16;
constexpr __int64 kLargestFrame = __int64{1} << kMaxLog2Size;

Error BadValue(std::string sentence) {
    return Error(ErrorKind::kBadValue, std::move(sentence));
}

/// The frame size that the settings name or leave open.
__int64 FrameSize(const RandomWaveSettings& settings, const PsdProfile& profile) {
    if (settings.frameSize != 0) {
        if (!IsTransformSize(settings.frameSize, kSmallestFrame))
            throw BadValue("the size of a frame is a power of two from 16 to 131072");
        return settings.frameSize;
    }
    constexpr double kShortest = 1024.0;
    constexpr double kLinesBelowProfile = 8.0;
    const double wanted = kLinesBelowProfile * settings.rateHz / profile.Frequencies().front();
    const double clamped = std::clamp(wanted, kShortest, static_cast<double>(kLargestFrame));
    return CMatBasic::GreaterEqPow2(static_cast<__int64>(std::ceil(clamped)));
}

/// Throws where frames of `size` samples give no signal: when none of their lines lies within the profile, or
/// the squares of samples vanish.
void RequireSignal(const PsdProfile& profile, double rateHz, __int64 size) {
    const double half = 0.5 / static_cast<double>(size);
    const std::string rate = FormatNumber(rateHz, 10) + " Hz";
    if (profile.Frequencies().front() >= (0.5 - half) * rateHz)
        throw BadValue("nothing of the profile lies below half the rate of " + rate);
    if (profile.Frequencies().back() <= half * rateHz)
        throw BadValue("the frequencies of the profile are too low for a rate of " + rate);
    const double rms = profile.Rms();
    if (rms * rms < std::numeric_limits<double>::min()) throw BadValue("its rms is too small for a signal");
}

void RequireSquares(double rms) {
    if (!(rms > 0.0) || !std::isfinite(rms))
        throw BadValue("the squares of the signal leave the range of numbers");
}

/// Amplitudes of the lines up to the last one that the profile reaches.
CDataArrayDouble LineAmplitudes(const PsdProfile& profile, double dfHz, __int64 lineCount) {
    const std::vector<double> psd = profile.Lines(dfHz, static_cast<std::size_t>(lineCount));
    __int64 used = lineCount;
    while (used > 0 && psd[static_cast<std::size_t>(used - 1)] == 0.0) --used;
    if (used == 0) throw BadValue("its rms is too small for a signal");
    CDataArrayDouble amplitudes(used, 0.0);
    if (!CMatSpec::CnvPsdToAmp(amplitudes.GetData(), psd.data(), amplitudes.GetNum(), dfHz, 0))
        throw std::bad_alloc();
    return amplitudes;
}

/// Random numbers to leave out after each frame. The generator runs through a cycle of this length; frames
/// that take a number of them without a common divisor with it never come back in step with it before 832250
/// frames have passed.
__int64 NumbersToSkip(__int64 lineCount) {
    constexpr __int64 kGeneratorCycle = 832250;
    __int64 skipped = 0;
    while (std::gcd(lineCount + skipped, kGeneratorCycle) != 1) ++skipped;
    return skipped;
}

/// Sine window: the squares of samples half a frame apart add to 1.
void SetSineWindow(CDataArrayDouble* window) {
    const double step = std::numbers::pi / static_cast<double>(window->GetNum());
    for (__int64 n = 0; n < window->GetNum(); ++n) {
        (*window)[n] = std::sin((static_cast<double>(n) + 0.5) * step);
    }
}

/// Adds a frame times its window to the part of `wave` it covers, its first sample standing at `start`.
void OverlapAdd(CDataArrayDouble* wave, __int64 start, const CDataArrayDouble& frame,
                const CDataArrayDouble& window) {
    double* const out = wave->GetData() + std::max<__int64>(start, 0);
    const __int64 skipped = std::max<__int64>(-start, 0);
    const __int64 covered = std::min(frame.GetNum(), wave->GetNum() - start) - skipped;
    const double* const samples = frame.GetData() + skipped;
    const double* const weights = window.GetData() + skipped;
    for (__int64 n = 0; n < covered; ++n) out[n] += weights[n] * samples[n];
}

}  // namespace

RandomWaveFigures GenerateRandomWave(std::span<double> wave, const PsdProfile& profile,
                                     const RandomWaveSettings& settings) {
    if (wave.empty() || profile.Frequencies().empty())
        throw BadValue("a random signal needs samples and a profile");
    if (!(settings.rateHz > 0.0) || !std::isfinite(settings.rateHz))
        throw BadValue("a sampling rate is above 0");
    if (settings.targetRms && !(*settings.targetRms > 0.0)) throw BadValue("an rms is above 0");
    if (settings.targetRms) RequireSquares(*settings.targetRms);
    const __int64 size = FrameSize(settings, profile);
    RequireSignal(profile, settings.rateHz, size);

    const CDataArrayDouble amplitudes =
        LineAmplitudes(profile, settings.rateHz / static_cast<double>(size), size / 2);
    CDataArrayDoubleCplx lines(1, amplitudes.GetNum());
    CDataArrayDouble frame(size, 0.0);
    CDataArrayDouble work(size, 0.0);
    CDataArrayDouble window(size, 0.0);
    CDataArrayDouble sum(std::ssize(wave), 0.0);
    if (lines.GetNum() == 0 || frame.GetNum() == 0 || work.GetNum() == 0 || window.GetNum() == 0 ||
        sum.GetNum() == 0) {
        throw std::bad_alloc();
    }
    SetSineWindow(&window);

    std::uint32_t seed = settings.seed;
    const __int64 skipped = NumbersToSkip(lines.GetNum());
    for (__int64 start = -size / 2; start < sum.GetNum(); start += size / 2) {
        CMatSpec::GenRandomPhaseSpec(&lines, amplitudes, &seed);
        for (__int64 i = 0; i < skipped; ++i) CMatBasic::GenRandom(&seed);
        CMatFFT::WaveIfft(frame.GetData(), work.GetData(), size, lines.GetReal(), lines.GetImaginary(),
                          lines.GetNum());
        OverlapAdd(&sum, start, frame, window);
    }
    if (settings.targetRms) {
        const double rms = sum.CalcRms(0, 0);
        RequireSquares(rms);
        sum *= *settings.targetRms / rms;
    }
    const RandomWaveFigures figures = {sum.CalcRms(0, 0), sum.GetAbsMax(0, 0), seed};
    RequireSquares(figures.rms);
    std::ranges::copy(sum, wave.begin());
    return figures;
}

double RandomWaveRate(const PsdProfile& profile) {
    if (profile.Frequencies().empty()) throw BadValue("a random signal needs a profile");
    return std::exp2(std::ceil(std::log2(kRateOverBand * profile.Frequencies().back())));
}

}  // namespace kvx
