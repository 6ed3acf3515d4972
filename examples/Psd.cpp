// SPDX-License-Identifier: MIT
//
// The density of an acceleration that comes in pieces, as a measuring card delivers them: averages its blocks
// while it comes in, then reads from the lines the rms of a band, the highest peak and the motion behind it.
//
// It prints:
//
//     39 blocks, lines in (m/s2)2/Hz 2 Hz apart
//     rms 6.9343 m/s2, highest at 80 Hz; 13.7998 mm/s, 0.02747 mm
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <numbers>
#include <vector>

#include <KvxDevCommon01/Kvx.h>

namespace {

constexpr double kRateHz = 2048.0;
constexpr double kToneHz = 80.0;
constexpr double kAmplitude = 9.80665;  // m/s2

/// The next samples of a tone.
std::vector<double> NextPiece(std::size_t done, std::size_t count) {
    std::vector<double> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double seconds = static_cast<double>(done + i) / kRateHz;
        samples[i] = kAmplitude * std::sin(2.0 * std::numbers::pi * kToneHz * seconds);
    }
    return samples;
}

}  // namespace

int main() {
    try {
        const kvx::BlockCut cut = kvx::CutWithOverlap(1024, 50.0);
        kvx::AveragedSpectrum average(kvx::MakeWindow("hann", cut.size), cut.overlap);
        for (std::size_t done = 0, count = 100; done < 20000; done += count, count = (7 * count) % 997)
            average.Add(NextPiece(done, count));  // the result does not depend on how it was cut

        const kvx::LineSpectrum density = kvx::Densities(average, kRateHz, kvx::NamedUnit("m/s2"));
        const kvx::LineBand band = kvx::LinesInBand(20.0, 500.0, density.spacingHz, cut.size / 2);
        const auto peaks = kvx::FindPeaks(density, band, 1);
        const auto motion = kvx::MotionOf(density, band, 0.0);
        if (peaks.empty() || !motion) return 1;
        std::printf("%lld blocks, lines in %s %g Hz apart\n", static_cast<long long>(density.blocks),
                    kvx::UnitText(density.unit).c_str(), density.spacingHz);
        std::printf("rms %.4f m/s2, highest at %g Hz; %.4f mm/s, %.5f mm\n", kvx::BandRms(density, band),
                    peaks.front().hz, 1000.0 * motion->velocity, 1000.0 * motion->displacement);
        const double rms = kAmplitude / std::numbers::sqrt2;
        return std::abs(kvx::BandRms(density, band) / rms - 1.0) < 1e-9 && peaks.front().hz == kToneHz ? 0
                                                                                                       : 1;
    } catch (const kvx::Error& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
}
