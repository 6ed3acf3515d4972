// SPDX-License-Identifier: MIT
#include "commands/LineFigures.h"

#include <algorithm>
#include <new>

#include <KvxDevCommon01/dsp/MatBasic.h>

#include "cli/Failure.h"
#include "cli/Format.h"

namespace kvx::tool {

std::optional<Motion> MotionOf(const CDataArrayDouble& density, const Band& band, double spacingHz,
                               double cutoffHz) {
    const __int64 last = band.last;
    const __int64 first =
        std::max({band.first, __int64{1}, BandLines({cutoffHz, {}}, spacingHz, density.GetNum()).first});
    if (first > last) {
        if (!(cutoffHz > 0.0)) return std::nullopt;
        throw Error(ErrorKind::kBadValue, "no line of the band, which ends at " +
                                              FormatNumber(static_cast<double>(last) * spacingHz, 7) +
                                              " Hz, is left for the motion from the cut-off on");
    }
    Motion motion = {static_cast<double>(first) * spacingHz, 0.0, 0.0, 0.0};
    const CDataArrayDouble lines(last - first + 1, density.GetData() + first);
    if (!CMatBasic::AccPsdSpToRmsAVD(lines, motion.fromHz, spacingHz, &motion.acceleration, &motion.velocity,
                                     &motion.displacement)) {
        throw std::bad_alloc();
    }
    return motion;
}

std::vector<Peak> FindPeaks(const CDataArrayDouble& levels, const Band& band, double spacingHz, __int64 count,
                            bool isDensity) {
    const __int64 lines = levels.GetNum();
    CDataArrayDouble frequencies;
    CDataArrayDouble amplitudes(lines, levels.GetData());
    if (!CMatBasic::CreateSeqLin(0.0, spacingHz, lines, &frequencies) || amplitudes.GetNum() != lines) {
        throw std::bad_alloc();
    }
    // A half-power point is sought at an amplitude over the square root of 2.
    if (isDensity) CMatBasic::SqrtArr(amplitudes.GetData(), lines);

    // With a neighbour on each side every line of the band can be a peak.
    const __int64 first = std::max<__int64>(band.first - 1, 0);
    const __int64 end = std::min(band.last + 2, lines);
    std::vector<__int64> positions(static_cast<std::size_t>(count));
    positions.resize(static_cast<std::size_t>(CMatBasic::GetTopValueArray(
        end - first, levels.GetData() + first, count, positions.data(), nullptr)));
    std::vector<Peak> peaks;
    for (const __int64 position : positions) {
        const __int64 line = first + position;
        const double q =
            CMatBasic::GetSpecQValue(lines, amplitudes.GetData(), frequencies.GetData(), line, 0);
        peaks.push_back({frequencies[line], levels[line], {}});
        if (q != kNoValue<double>) peaks.back().q = q;
    }
    return peaks;
}

}  // namespace kvx::tool
