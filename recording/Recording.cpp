// SPDX-License-Identifier: MIT
#include <KvxRecording01/Recording.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>

namespace kvx {
namespace {

/// A stamp may differ by this part of a step from where it should stand: less is rounding or harmless jitter.
constexpr double kJitter = 0.01;
/// Neighbours whose distance differs by more than this part of a step from one have a gap between them.
constexpr double kGap = 0.5 + 1e-6;
/// A given rate that differs by more than this from the time column's deserves a note.
constexpr double kRateDoubt = 0.01;

double RateOfStamps(const TimeStamps& stamps, const std::string& rateName, const std::string& hint) {
    if (stamps.count < 2)
        throw Error(ErrorKind::kBadValue, "one sample has no sampling rate; give it with " + rateName);
    if (!(stamps.Step() > 0.0))
        throw Error(ErrorKind::kDamaged,
                    "the time column does not rise; give the sampling rate with " + rateName + hint);
    if (stamps.stray) {
        const auto [index, stamp] = *stamps.stray;
        throw Error(ErrorKind::kDamaged,
                    "the time column is not evenly spaced: sample " + std::to_string(index + 1) +
                        " is stamped " + FormatNumber(stamp, 9) + " s where " +
                        FormatNumber(stamps.Expected(index), 9) +
                        " s was expected; give the true sampling rate with " + rateName + hint);
    }
    return 1.0 / stamps.Step();
}

std::string RemarkOnGaps(const TimeStamps::Gaps& gaps) {
    return "sample " + std::to_string(gaps.first + 1) + " is stamped " + Count(gaps.steps, "step") +
           " after the one before; " + (gaps.count > 1 ? std::to_string(gaps.count) + " such gaps: " : "") +
           "samples may be " + (gaps.steps > 0 ? "missing" : "repeated");
}

}  // namespace

StrayFinder::StrayFinder(TimeStamps* stamps) : stamps_(stamps) {
    stamps_->stray.reset();
    stamps_->gaps = {};
    if (stamps_->count < 2) return;
    step_ = stamps_->Step();
    tolerance_ = std::max(stamps_->resolution, kJitter * step_);
    // Stamps that are coarser than this repeat for their coarseness alone.
    areGapsSeen_ = step_ > 0.0 && stamps_->resolution <= (1.0 + kGap) * step_;
}

void StrayFinder::Add(std::span<const double> stamps) {
    for (const double stamp : stamps) {
        const double expected = stamps_->first + static_cast<double>(index_) * step_;
        if (index_ > 0 && !stamps_->stray &&
            (!(std::abs(stamp - expected) <= tolerance_) || stamp < previous_)) {
            stamps_->stray = {index_, stamp};
        }
        if (index_ > 0 && areGapsSeen_ && std::abs(stamp - previous_ - step_) > kGap * step_)
            AddGap((stamp - previous_) / step_);
        previous_ = stamp;
        ++index_;
    }
}

void StrayFinder::AddGap(double steps) {
    constexpr double kMost = 1e9;
    TimeStamps::Gaps& gaps = stamps_->gaps;
    if (gaps.count++ == 0) {
        gaps.first = index_;
        gaps.steps = static_cast<int>(std::round(std::clamp(steps, -kMost, kMost)));
    }
}

void RecordingReader::Skip(std::size_t run, __int64 count) {
    constexpr __int64 kRoom = 1 << 16;
    RequireRun(run, info_.runs.size());
    const std::vector<double*> targets(CountColumns(info_.runs[run]), nullptr);
    while (count > 0) {
        const std::size_t passed = Read(run, targets, static_cast<std::size_t>(std::min(kRoom, count)));
        if (passed == 0) return;
        count -= static_cast<__int64>(passed);
    }
}

void RequireRun(std::size_t run, std::size_t runs) {
    if (run >= runs) throw Error(ErrorKind::kBadValue, "there is no such run");
}

std::size_t CountColumns(const RecordingInfo::Run& run) {
    std::size_t columns = run.axis.isListed ? 1 : 0;
    for (const RecordingInfo::Channel& channel : run.channels) columns += channel.isComplex ? 2 : 1;
    return columns;
}

EvenAxis SettleAxis(const RecordedAxis& recorded, std::optional<double> rateHz, const std::string& rateName) {
    const std::optional<TimeStamps>& stamps = recorded.stamps;
    const bool isTime = recorded.unit == CUnitCtrl::DIM_TIME;
    EvenAxis axis;
    if (rateHz) {
        if (!isTime) throw Error(ErrorKind::kUnsupported, rateName + " is for what is over time");
        axis.delta = 1.0 / *rateHz;
        if (stamps && stamps->IsEven()) {
            const double stamped = 1.0 / stamps->Step();
            if (std::abs(stamped / *rateHz - 1.0) > kRateDoubt) {
                axis.remarks.push_back("the time column says " + FormatNumber(stamped, 7) + " Hz; " +
                                       rateName + " " + FormatNumber(*rateHz, 10) + " is used");
            }
        }
    } else if (recorded.delta > 0.0) {
        axis.delta = recorded.delta;
    } else if (stamps) {
        axis.delta = 1.0 / RateOfStamps(*stamps, rateName, recorded.unevenHint);
    } else if (isTime) {
        throw Error(ErrorKind::kBadValue,
                    "it has neither a rate nor a time column; give the sampling rate with " + rateName +
                        recorded.rateHint);
    } else {
        throw Error(ErrorKind::kDamaged, "its axis has no spacing");
    }
    const double rate = 1.0 / axis.delta;
    if (!(axis.delta > 0.0) || !std::isfinite(rate) || !std::isfinite(axis.delta)) {
        throw Error(ErrorKind::kUnsupported,
                    isTime
                        ? "a sampling rate of " + FormatNumber(rateHz.value_or(rate)) + " Hz cannot be stored"
                        : "a spacing of " + FormatNumber(axis.delta) + " cannot be stored");
    }
    if (stamps && stamps->IsEven() && stamps->gaps.count > 0)
        axis.remarks.push_back(RemarkOnGaps(stamps->gaps));
    const auto place = [&](double number) {
        const std::string unit = UnitText(recorded.unit);
        return FormatNumber(number, 12) + (unit.empty() ? "" : " " + unit);
    };
    const double first = stamps ? stamps->first : recorded.first;
    const double offset = std::round(first * rate);
    if (!(std::abs(offset) <= std::numeric_limits<std::int32_t>::max())) {
        axis.remarks.push_back((stamps ? "the first stamp, " : "the first sample, at ") + place(first) +
                               ", is too far from 0; the record starts at " + place(0.0));
        return axis;
    }
    axis.offset = static_cast<__int64>(offset);
    // Stamps are rounded by half of their resolution.
    const double rounding = stamps ? 0.5 * stamps->resolution * (1.0 + kJitter) : 0.0;
    if (std::abs(first * rate - offset) > std::max(kJitter, rounding * rate)) {
        axis.remarks.push_back("the first sample stands at " + place(first) +
                               ", which is no multiple of the spacing; the record starts at " +
                               place(offset * axis.delta));
    }
    return axis;
}

}  // namespace kvx
