// SPDX-License-Identifier: MIT
//
// How a measured density compares with the profile that it should have, band by band and line by line, and
// whether it keeps within limits, as random-vibration tests are judged. Levels are in unit^2/Hz, differences
// in dB: 10 lg(measured/target).
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>

namespace kvx {

/// How far a density may be from its profile, from one frequency to another, both included.
struct DensityLimit {
    double upperDb = std::numeric_limits<double>::infinity();   ///< 0 or more
    double lowerDb = -std::numeric_limits<double>::infinity();  ///< 0 or less
    double fromHz = 0.0;
    double toHz = std::numeric_limits<double>::infinity();
};

/// A profile with the limits of what is acceptable and of what ends a test. At a frequency that several
/// limits of a kind name, the last of them holds; where none does there is none.
struct TestProfile {
    PsdProfile target = {};
    std::vector<DensityLimit> tolerance = {};
    std::vector<DensityLimit> abort = {};
};

/// The limit that holds at a frequency; without one nothing is exceeded.
KVX_API DensityLimit LimitAt(std::span<const DensityLimit> limits, double hz);

enum class Verdict {
    kWithin = 0,
    kOutOfTolerance = 1,
    kBeyondAbort = 2,
};

/// What of the measured density is compared, and what decides.
struct ComparisonChoice {
    double fromHz = 0.0;
    std::optional<double> toHz = std::nullopt;  ///< none for up to the profile's end
    /// Where one band ends and the next begins: two or more, ascending, within the part that is compared.
    /// Empty for its ends and the breakpoints between them.
    std::vector<double> edgesHz = {};
    bool judgesBands = false;     ///< whether the means of the bands decide, not the lines
    double allowedPercent = 0.0;  ///< of the lines, or bands, that may be out of tolerance
};

struct ComparedBand {
    double fromHz;
    double toHz;
    double target;        ///< mean of the profile
    double measured;      ///< mean of the lines, of which those at the ends count by the part that is inside
    double differenceDb;  ///< minus infinity without power
    Verdict verdict;
};

struct ComparedLine {
    double hz;
    double target;  ///< as PsdProfile::Lines has it
    double measured;
    double differenceDb;
    Verdict verdict;
};

struct ProfileComparison {
    std::vector<ComparedBand> bands;
    std::int64_t lines;           ///< compared: those whose whole cell lies in the part
    std::int64_t outOfTolerance;  ///< of those lines, or of the bands where these decide
    std::int64_t beyondAbort;     ///< of them
    ComparedLine highest;         ///< of the lines, the one farthest above the profile or least below it
    ComparedLine lowest;
    double targetRms;  ///< of the part
    double measuredRms;
    double differenceDb;  ///< of the powers behind both
    Verdict verdict;
};

/// Compares lines k spacingHz, k = 0, 1 ... of a density with a profile. A mean over a band is judged by the
/// power that the limits leave to it. Throws Error (kBadValue) for a profile without points, limits that are
/// not as above, a spacing that is not above 0, lines that are no numbers of 0 or more, edges that are not as
/// above, a share that is not from 0 to 100 %, a part that is not within profile and lines, and when no line
/// lies in it.
KVX_API ProfileComparison CompareWithProfile(std::span<const double> lines, double spacingHz,
                                             const TestProfile& profile, const ComparisonChoice& choice = {});

}  // namespace kvx
