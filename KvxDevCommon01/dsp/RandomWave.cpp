// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/RandomWave.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <numeric>

namespace kvx {
namespace {

constexpr __int64 kSmallestFrame = 16;
constexpr __int64 kLargestFrame = __int64{1} << kMaxLog2Size;

/// The frame size that the settings name or leave open; 0 when they name none that is allowed.
__int64 FrameSize(const RandomWaveSettings& settings, const PsdProfile& profile) {
    if (settings.frameSize != 0) {
        return IsTransformSize(settings.frameSize, kSmallestFrame) ? settings.frameSize : 0;
    }
    constexpr double kShortest = 1024.0;
    constexpr double kLinesBelowProfile = 8.0;
    const double wanted = kLinesBelowProfile * settings.rateHz / profile.GetFrequencies()[0];
    const double clamped = std::clamp(wanted, kShortest, static_cast<double>(kLargestFrame));
    return CMatBasic::GreaterEqPow2(static_cast<__int64>(std::ceil(clamped)));
}

/// Amplitudes of the lines up to the last one that the profile reaches; empty when it reaches none or memory
/// runs out.
CDataArrayDouble LineAmplitudes(const PsdProfile& profile, double dfHz, __int64 lineCount) {
    CDataArrayDouble psd;
    if (!profile.GetLines(dfHz, lineCount, &psd)) return {};
    __int64 used = lineCount;
    while (used > 0 && psd[used - 1] == 0.0) --used;
    CDataArrayDouble amplitudes(used, 0.0);
    if (used == 0 ||
        !CMatSpec::CnvPsdToAmp(amplitudes.GetData(), psd.GetData(), amplitudes.GetNum(), dfHz, 0))
        return {};
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

int GenerateRandomWave(std::span<double> wave, const PsdProfile& profile, const RandomWaveSettings& settings,
                       std::uint32_t* seed) {
    if (wave.empty() || seed == nullptr || profile.GetNumPoints() == 0) return 0;
    if (!(settings.rateHz > 0.0) || !std::isfinite(settings.rateHz)) return 0;
    if (!(settings.targetRms >= 0.0) || !std::isfinite(settings.targetRms)) return 0;
    const __int64 size = FrameSize(settings, profile);
    if (size == 0) return 0;

    const CDataArrayDouble amplitudes =
        LineAmplitudes(profile, settings.rateHz / static_cast<double>(size), size / 2);
    CDataArrayDoubleCplx lines(1, amplitudes.GetNum());
    CDataArrayDouble frame(size, 0.0);
    CDataArrayDouble work(size, 0.0);
    CDataArrayDouble window(size, 0.0);
    CDataArrayDouble sum(std::ssize(wave), 0.0);
    if (amplitudes.GetNum() == 0 || lines.GetNum() == 0 || frame.GetNum() == 0 || work.GetNum() == 0 ||
        window.GetNum() == 0 || sum.GetNum() == 0) {
        return 0;
    }
    SetSineWindow(&window);

    const __int64 skipped = NumbersToSkip(lines.GetNum());
    for (__int64 start = -size / 2; start < sum.GetNum(); start += size / 2) {
        CMatSpec::GenRandomPhaseSpec(&lines, amplitudes, seed);
        for (__int64 i = 0; i < skipped; ++i) CMatBasic::GenRandom(seed);
        CMatFFT::WaveIfft(frame.GetData(), work.GetData(), size, lines.GetReal(), lines.GetImaginary(),
                          lines.GetNum());
        OverlapAdd(&sum, start, frame, window);
    }
    if (settings.targetRms > 0.0) {
        const double rms = sum.CalcRms(0, 0);
        if (!(rms > 0.0)) return 0;
        sum *= settings.targetRms / rms;
    }
    std::ranges::copy(sum, wave.begin());
    return 1;
}

}  // namespace kvx
