// SPDX-License-Identifier: MIT
//
// Units as files of other formats state them.
#pragma once

#include <string_view>

#include <KvxRecording01/Recording.h>

namespace kvx {

/// Takes the unit that a file states of a channel, as plain text: what is none that is known is kept as that.
/// Empty text states nothing.
void StateUnit(RecordingInfo::Channel* channel, std::wstring_view text);

}  // namespace kvx
