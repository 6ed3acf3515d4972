// SPDX-License-Identifier: MIT
#include <KvxRecording01/ProfileCheck.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>

namespace kvx {
namespace {

/// The densities of a channel, in standard units.
struct ChannelDensity {
    SignalRun::Channel channel;
    CUnitCtrl signal;  ///< unit of the signal, where it is known
    CUnitCtrl unit;
    double spacingHz;
    std::int64_t blocks;
    std::int64_t first;  ///< line that there is; those below it are 0
    std::vector<double> lines;
};

bool IsOverFrequency(const SignalRun& run) {
    return run.axisUnit == CUnitCtrl::DIM_FREQUENCY;
}

std::vector<ChannelDensity> AveragedDensities(SignalReader& reader, const BlockPlan& blocks,
                                              const ProgressFunction& progress) {
    SpectraChoice choice;
    choice.kind = LineKind::kDensity;
    choice.blocks = blocks;
    std::vector<ChannelDensity> densities;
    for (RecordSpectra& record : SpectraOf(reader, choice, progress)) {
        for (ChannelSpectrum& each : record.channels) {
            LineSpectrum& lines = each.lines;
            densities.push_back({each.channel, each.channel.unit, lines.unit, lines.spacingHz, lines.blocks,
                                 0, std::move(lines.real)});
        }
    }
    return densities;
}

/// Throws Error unless the run has real values on even lines.
void RequireLines(const SignalRun& run) {
    constexpr __int64 kHighestFirst = 1 << 24;
    const bool isReal = std::ranges::none_of(run.channels, &SignalRun::Channel::isComplex);
    if (!IsOverFrequency(run) || run.isListed || !isReal || run.offset > kHighestFirst)
        throw Error(ErrorKind::kUnsupported,
                    "record " + std::to_string(run.record) + " holds no densities on evenly spaced lines");
}

/// What the recording holds over frequency.
std::vector<ChannelDensity> StoredDensities(SignalReader& reader, const ProgressFunction& progress) {
    std::vector<ChannelDensity> densities;
    std::vector<std::size_t> firstOf;
    for (const SignalRun& run : reader.Runs()) {
        RequireLines(run);
        firstOf.push_back(densities.size());
        for (const SignalRun::Channel& channel : run.channels)
            densities.push_back(
                {channel, CUnitCtrl(), channel.unit, run.delta, 0, std::max<__int64>(run.offset, 0), {}});
    }
    ReadRuns(
        reader,
        [&](std::size_t run, std::span<double* const> columns, std::size_t count) {
            for (std::size_t c = 0; c < columns.size(); ++c) {
                std::vector<double>& lines = densities[firstOf[run] + c].lines;
                lines.insert(lines.end(), columns[c], columns[c] + count);
            }
        },
        progress);
    // Lines are counted from 0 Hz on.
    for (std::size_t i = 0; i < firstOf.size(); ++i) {
        const SignalRun& run = reader.Runs()[i];
        const auto below = static_cast<std::ptrdiff_t>(std::clamp<__int64>(-run.offset, 0, run.samples));
        for (std::size_t c = 0; c < run.channels.size(); ++c) {
            ChannelDensity& density = densities[firstOf[i] + c];
            density.lines.erase(density.lines.begin(), density.lines.begin() + below);
            density.lines.insert(density.lines.begin(), static_cast<std::size_t>(density.first), 0.0);
        }
    }
    return densities;
}

/// The density in the unit of the profile, and that unit.
CUnitCtrl ConvertToProfile(const ProfileText& profile, ChannelDensity* density) {
    const CUnitCtrl unit =
        profile.signalUnit ? DensityUnit(*profile.signalUnit).value_or(CUnitCtrl()) : density->unit;
    if (!IsConvertible(unit, density->unit)) {
        throw Error(ErrorKind::kBadValue, "the profile is in " + UnitText(unit) + ", channel " +
                                              Quote(density->channel.name) + " in " +
                                              UnitText(density->unit));
    }
    unit.ConvDtoI(density->lines.data(), density->lines.data(), std::ssize(density->lines), 1.0, 0);
    return unit;
}

}  // namespace

std::vector<ChannelComparison> CompareRecording(SignalReader& reader, const ProfileText& profile,
                                                const BlockPlan& blocks, const ComparisonChoice& choice,
                                                const ProgressFunction& progress) {
    const bool isStored = std::ranges::any_of(reader.Runs(), IsOverFrequency);
    std::vector<ChannelDensity> densities =
        isStored ? StoredDensities(reader, progress) : AveragedDensities(reader, blocks, progress);
    const TestProfile test = {profile.profile, profile.tolerance, profile.abort};
    std::vector<ChannelComparison> comparisons;
    for (ChannelDensity& density : densities) {
        const CUnitCtrl unit = ConvertToProfile(profile, &density);
        try {
            const double beginHz = (static_cast<double>(density.first) - 0.5) * density.spacingHz;
            const double wantedHz = std::max(choice.fromHz, profile.profile.Frequencies().front());
            if (density.first > 0 && wantedHz < beginHz) {
                throw Error(ErrorKind::kBadValue, "its lines tell of " + FormatNumber(beginHz) +
                                                      " Hz on, not of all from " + FormatNumber(wantedHz) +
                                                      " Hz on");
            }
            comparisons.push_back({density.channel, profile.signalUnit.value_or(density.signal), unit,
                                   density.spacingHz, density.blocks,
                                   CompareWithProfile(density.lines, density.spacingHz, test, choice)});
        } catch (const Error& error) {
            throw Error(error.Kind(), "channel " + Quote(density.channel.name) + ": " + error.Sentence());
        }
    }
    return comparisons;
}

}  // namespace kvx
