// SPDX-License-Identifier: MIT
//
// Units as files of other formats state them.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Takes the unit that a file states of a channel, as plain text: one that the table lacks is converted, what
/// is none that is known is kept as that. Empty text states nothing.
void StateUnit(RecordingInfo::Channel* channel, std::wstring_view text,
               std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The same for the heading of a column, whose name the channel gets.
void StateHeading(RecordingInfo::Channel* channel, const UnitHeading& heading);

/// Takes the unit that a file states of an axis, as plain text, and returns what its places are converted
/// from: `unit` of the axis becomes the standard unit of that dimension. A text that is no single unit that
/// is known, or one whose places are not evenly spread (dB, a reciprocal), is kept as the unknown unit of
/// plain numbers.
EntryUnit StateAxisUnit(RecordedAxis* axis, std::wstring_view text,
                        std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// Places in a unit as those of the standard unit of its dimension, and a distance of places.
void ToStandardPlaces(const EntryUnit& unit, std::span<double> places);
double ToStandardDistance(const EntryUnit& unit, double distance);

/// Time stamps in a unit as seconds.
void ToStandardPlaces(const EntryUnit& unit, TimeStamps* stamps);

}  // namespace kvx
