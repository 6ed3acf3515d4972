// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/RecordFigures.h>

#include <algorithm>
#include <cmath>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/units/UnitQuery.h>

namespace kvx {
namespace {

/// What a channel is measured with.
struct Measurement {
    std::vector<double> real;
    std::vector<double> imaginary;  ///< empty for real samples
    ShownStatistics statistics;
};

/// Samples in their unit; what holds no value stays so. A single temperature is a reading, not a difference;
/// compounds and parts of complex values only ever hold differences.
void Show(const CUnitCtrl& unit, std::span<const double> samples, bool isPart, std::vector<double>& shown) {
    shown.resize(samples.size());
    const int isAbsolute = !isPart && unit.IsSingle() ? 1 : 0;
    unit.ConvDtoI(shown.data(), samples.data(), std::ssize(samples), 1.0, isAbsolute);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        shown[i] = samples[i] == kNoValue<double> ? kNoValue<double> : shown[i];
    }
}

}  // namespace

void ShownStatistics::Add(std::span<const double> real, std::span<const double> imaginary) {
    Show(unit_, real, !imaginary.empty(), shown_);
    if (!imaginary.empty()) {
        Show(unit_, imaginary, true, imaginary_);
        for (std::size_t i = 0; i < shown_.size(); ++i) {
            double& value = shown_[i];
            if (value != kNoValue<double>) value = std::hypot(value, imaginary_[i]);
        }
    }
    statistics_.Add(shown_);
}

std::string_view RecordType(const RecordOutline& record) {
    const bool isComplex = record.isComplex;
    const CUnitCtrl& axis = record.fields.hunit;
    if (axis == CUnitCtrl::DIM_TIME) {
        const bool isListed = record.fields.mode != CComDataBase::MODE_SPACING;
        return isComplex ? "complex waveform" : isListed ? "waveform at listed times" : "time waveform";
    }
    if (axis == CUnitCtrl::DIM_FREQUENCY) return isComplex ? "complex spectrum" : "real spectrum";
    return isComplex ? "complex data" : "real data";
}

RecordAxis ReadRecordAxis(DataFileReader& file, std::size_t record) {
    const RecordOutline& outline = file.Records()[record];
    RecordAxis axis;
    axis.unit = CUnitCtrl(DimensionOf(outline.fields.hunit));
    const __int64 last = outline.nsamp - 1;
    axis.isEven = outline.fields.mode == CComDataBase::MODE_SPACING;
    if (axis.isEven) {
        axis.delta = outline.fields.delta;
        axis.offset = outline.fields.offset;
        axis.first = static_cast<double>(axis.offset) * axis.delta;
        axis.last = static_cast<double>(axis.offset + last) * axis.delta;
    } else {
        file.ReadAxis(static_cast<__int64>(record), 0, {&axis.first, 1});
        file.ReadAxis(static_cast<__int64>(record), last, {&axis.last, 1});
    }
    return axis;
}

std::vector<SampleFigures> MeasureChannels(DataFileReader& file, std::span<const Channel> channels) {
    constexpr std::size_t kSamples = std::size_t{1} << 16;  // of all channels that are read together
    if (channels.empty()) return {};
    const RecordOutline& record = file.Records()[channels.front().record];
    const auto room = static_cast<__int64>(std::max<std::size_t>(1, kSamples / channels.size()));
    std::vector<Measurement> all;
    for (std::size_t c = 0; c < channels.size(); ++c)
        all.push_back({{}, {}, ShownStatistics(record.fields.unit)});
    for (__int64 done = 0; done < record.nsamp; done += room) {
        const auto count = static_cast<std::size_t>(std::min(room, record.nsamp - done));
        for (std::size_t c = 0; c < channels.size(); ++c) {
            const SamplePlace place = {static_cast<__int64>(channels[c].record), channels[c].row,
                                       channels[c].column, done};
            all[c].real.resize(count);
            file.ReadReal(place, all[c].real);
            if (!record.isComplex) continue;
            all[c].imaginary.resize(count);
            file.ReadImaginary(place, all[c].imaginary);
        }
        ForEachInParallel(all.size(),
                          [&](std::size_t c) { all[c].statistics.Add(all[c].real, all[c].imaginary); });
    }
    std::vector<SampleFigures> figures;
    for (const Measurement& channel : all) figures.push_back(channel.statistics.Figures());
    return figures;
}

std::vector<RecordFigures> MeasureRecords(DataFileReader& file, const ProgressFunction& progress) {
    constexpr std::size_t kTogether = 64;  // channels that are measured at a time
    const std::vector<Channel> channels = ListChannels(file.Records());
    std::vector<RecordFigures> records;
    std::size_t done = 0;
    for (std::size_t r = 0; r < file.Records().size(); ++r) {
        RecordFigures& record = records.emplace_back(RecordFigures{r, ReadRecordAxis(file, r)});
        while (done < channels.size() && channels[done].record == r) {
            const std::size_t begin = done;
            while (done < channels.size() && channels[done].record == r && done - begin < kTogether) ++done;
            const std::span<const Channel> together = std::span(channels).subspan(begin, done - begin);
            const std::vector<SampleFigures> figures = MeasureChannels(file, together);
            record.channels.insert(record.channels.end(), together.begin(), together.end());
            record.figures.insert(record.figures.end(), figures.begin(), figures.end());
            if (progress) progress(done, channels.size());
        }
    }
    return records;
}

}  // namespace kvx
