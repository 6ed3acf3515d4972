// SPDX-License-Identifier: MIT
#include <KvxRecording01/Calibration.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <string>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>

namespace kvx {
namespace {

constexpr std::int64_t kMostSamples = std::int64_t{1} << 20;
constexpr std::int64_t kMostOfAllChannels = std::int64_t{1} << 24;

bool IsElectrical(const CUnitCtrl& unit) {
    return unit == CUnitCtrl::DIM_VOLTAGE || unit == CUnitCtrl::DIM_CHARGE || unit == CUnitCtrl::DIM_CURRENT;
}

ChannelCalibration Calibrate(const SignalRun::Channel& channel, std::vector<double> samples, double rateHz,
                             const CalibrationChoice& choice) {
    const CUnitCtrl& unit = channel.unit;
    unit.ConvDtoI(samples.data(), samples.data(), std::ssize(samples), 1.0, 0);
    ChannelCalibration result = {channel, FitSine(samples, rateHz, choice.frequencyHz)};
    const double measured = result.tone.amplitude / (choice.isPeak ? 1.0 : std::numbers::sqrt2);
    if (!(measured > 0.0)) throw Error(ErrorKind::kBadValue, "nothing oscillates in it");
    result.isClean = result.tone.residualRms * 10.0 < result.tone.amplitude / std::numbers::sqrt2;
    const double level = choice.level * choice.unit.scale;
    const bool isPlain = unit == CUnitCtrl::DIM_NONE;
    if (isPlain || IsElectrical(unit)) {
        const CUnitCtrl electrical = isPlain ? CUnitCtrl(CUnitCtrl::DIM_VOLTAGE) : unit;
        result.sensitivity = {measured / level, electrical, choice.unit.unit};
    } else if (IsConvertible(unit, choice.unit.unit)) {
        result.gain = measured / ConvertValue(level, choice.unit.unit, unit);
    } else {
        throw Error(ErrorKind::kBadValue, "it is in " + Quote(UnitText(unit)) +
                                              ", which is neither electrical nor converts to " +
                                              Quote(UnitText(choice.unit.unit)));
    }
    return result;
}

}  // namespace

std::vector<ChannelCalibration> CalibrationsOf(SignalReader& reader, const CalibrationChoice& choice,
                                               const ProgressFunction& progress) {
    if (!(choice.level > 0.0) || !std::isfinite(choice.level))
        throw Error(ErrorKind::kBadValue, "a level of " + FormatNumber(choice.level) + " is not above 0");
    if (choice.unit.unit == CUnitCtrl::DIM_RATIO) {
        throw Error(ErrorKind::kBadValue,
                    "a level in " + UnitText(choice.unit.unit) +
                        " is a ratio; state what the sensor is exposed to, as 1 Pa for 94 dB");
    }
    if (!choice.unit.unit.IsSingle())
        throw Error(ErrorKind::kBadValue, "the unit of the level is a compound");
    std::vector<ChannelCalibration> calibrations;
    for (std::size_t r = 0; r < reader.Runs().size(); ++r) {
        const SignalRun& run = reader.Runs()[r];
        std::ranges::for_each(run.channels, RequireLinearUnit);
        std::vector<std::vector<double>> samples(run.channels.size());
        const auto append = [&](std::span<double* const> channels, std::size_t count) {
            for (std::size_t c = 0; c < samples.size(); ++c)
                samples[c].insert(samples[c].end(), channels[c], channels[c] + count);
        };
        const std::int64_t most = std::min(kMostSamples, kMostOfAllChannels / std::ssize(run.channels));
        ReadRun(reader, r, append, progress, std::min<std::int64_t>(most, run.samples));
        for (std::size_t c = 0; c < samples.size(); ++c) {
            try {
                calibrations.push_back(
                    Calibrate(run.channels[c], std::move(samples[c]), RateOf(run), choice));
            } catch (const Error& error) {
                throw Error(error.Kind(), "channel " + Quote(run.channels[c].name) + ": " + error.Sentence(),
                            error.Place());
            }
        }
    }
    return calibrations;
}

}  // namespace kvx
