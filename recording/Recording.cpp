// SPDX-License-Identifier: MIT
#include <KvxRecording01/Recording.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

/// A stamp may differ by this part of a step from where it should stand: less is rounding or harmless jitter.
constexpr double kJitter = 0.01;
/// A given rate that differs by more than this from the time column's deserves a note.
constexpr double kRateDoubt = 0.01;

double RateOfStamps(const TimeStamps& stamps, const std::string& rateName) {
    if (stamps.count < 2)
        throw Error(ErrorKind::kBadValue, "one sample has no sampling rate; give it with " + rateName);
    if (!(stamps.Step() > 0.0))
        throw Error(ErrorKind::kDamaged,
                    "the time column does not rise; give the sampling rate with " + rateName);
    if (stamps.stray) {
        const auto [index, stamp] = *stamps.stray;
        throw Error(ErrorKind::kDamaged, "the time column is not evenly spaced: sample " +
                                             std::to_string(index + 1) + " is stamped " +
                                             FormatNumber(stamp, 9) + " s where " +
                                             FormatNumber(stamps.Expected(index), 9) +
                                             " s was expected; give the true sampling rate with " + rateName);
    }
    return 1.0 / stamps.Step();
}

}  // namespace

StrayFinder::StrayFinder(TimeStamps* stamps) : stamps_(stamps) {
    stamps_->stray.reset();
    if (stamps_->count < 2) return;
    step_ = stamps_->Step();
    tolerance_ = std::max(stamps_->resolution, kJitter * step_);
}

void StrayFinder::Add(std::span<const double> stamps) {
    for (const double stamp : stamps) {
        const double expected = stamps_->first + static_cast<double>(index_) * step_;
        if (index_ > 0 && !stamps_->stray &&
            (!(std::abs(stamp - expected) <= tolerance_) || stamp < previous_)) {
            stamps_->stray = {index_, stamp};
        }
        previous_ = stamp;
        ++index_;
    }
}

TimeAxis SettleAxis(const RecordingInfo& recording, std::optional<double> rateHz,
                    const std::string& rateName) {
    const std::optional<TimeStamps>& stamps = recording.stamps;
    TimeAxis axis;
    if (rateHz) {
        axis.rateHz = *rateHz;
        if (stamps && stamps->IsEven()) {
            const double stamped = 1.0 / stamps->Step();
            if (std::abs(stamped / *rateHz - 1.0) > kRateDoubt) {
                axis.remarks.push_back("the time column says " + FormatNumber(stamped, 7) + " Hz; " +
                                       rateName + " " + FormatNumber(*rateHz, 10) + " is used");
            }
        }
    } else if (recording.rateHz > 0.0) {
        axis.rateHz = recording.rateHz;
    } else if (stamps) {
        axis.rateHz = RateOfStamps(*stamps, rateName);
    } else {
        throw Error(ErrorKind::kBadValue,
                    "it has no time column; give the sampling rate with " + rateName + recording.rateHint);
    }
    if (!(axis.rateHz > 0.0) || !std::isfinite(axis.rateHz) || !std::isfinite(1.0 / axis.rateHz)) {
        throw Error(ErrorKind::kUnsupported,
                    "a sampling rate of " + FormatNumber(axis.rateHz) + " Hz cannot be stored");
    }
    if (!stamps) return axis;
    const double offset = std::round(stamps->first * axis.rateHz);
    if (std::abs(offset) > std::numeric_limits<std::int32_t>::max()) {
        axis.remarks.push_back("the first stamp, " + FormatNumber(stamps->first, 12) +
                               " s, is too far from 0; the record starts at 0 s");
    } else {
        axis.offset = static_cast<__int64>(offset);
    }
    return axis;
}

}  // namespace kvx
