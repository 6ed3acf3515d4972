// SPDX-License-Identifier: MIT
//
// Units as files of other formats state them.
#pragma once

#include <string_view>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Takes the unit that a file states of a channel, as plain text: one that the table lacks is converted, what
/// is none that is known is kept as that. Empty text states nothing.
void StateUnit(RecordingInfo::Channel* channel, std::wstring_view text);

/// The same for the heading of a column, whose name the channel gets.
void StateHeading(RecordingInfo::Channel* channel, const UnitHeading& heading);

}  // namespace kvx
