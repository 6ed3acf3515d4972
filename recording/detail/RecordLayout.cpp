// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/RecordLayout.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

/// Gives each channel a row in the record of its unit, and appends those records.
void AddRun(const SignalRun& run, RecordLayout* layout) {
    if (run.samples > std::numeric_limits<std::int32_t>::max()) {
        throw Error(
            ErrorKind::kUnsupported,
            "a record holds at most 2147483647 samples per channel, this has " + std::to_string(run.samples));
    }
    RequireAxis(run);
    std::vector<RecordOutline>& records = layout->records;
    const auto first = std::ssize(records);
    std::vector<RecordLayout::Place>& places = layout->places.emplace_back();
    for (const SignalRun::Channel& channel : run.channels) {
        const std::wstring unit = PlainUnitName(channel.unit);
        auto record = std::find_if(records.begin() + first, records.end(), [&](const RecordOutline& other) {
            return PlainUnitName(other.fields.unit) == unit && other.isComplex == channel.isComplex;
        });
        if (record == records.end()) {
            RecordOutline outline;
            outline.fields.mode = run.isListed ? CComDataBase::MODE_AXIS : CComDataBase::MODE_SPACING;
            outline.fields.hunit =
                run.axisUnit == CUnitCtrl::DIM_TIME ? SingleUnit(kAxisMilliseconds) : run.axisUnit;
            outline.isComplex = channel.isComplex;
            outline.fields.unit = channel.unit;
            outline.fields.delta = run.delta;
            outline.fields.offset = run.offset;
            outline.cols = 1;
            outline.fields.colNames.resize(1);  // one column, without a name
            outline.nsamp = run.samples;
            record = records.insert(records.end(), std::move(outline));
        }
        places.push_back({record - records.begin(), record->rows++});
        record->fields.rowNames.push_back(channel.name);
    }
}

}  // namespace

std::vector<__int64> RecordLayout::RecordsOfRun(std::size_t run) const {
    std::vector<__int64> numbers;
    for (const Place& place : places[run]) numbers.push_back(place.record);
    std::ranges::sort(numbers);
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

RecordLayout LayOutRecords(const std::vector<SignalRun>& runs) {
    RecordLayout layout;
    for (const SignalRun& run : runs) AddRun(run, &layout);
    return layout;
}

}  // namespace kvx
