// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/StatedUnit.h>

#include <KvxDevCommon01/units/UnitText.h>

namespace kvx {

void StateUnit(RecordingInfo::Channel* channel, std::wstring_view text) {
    if (text.empty()) return;
    channel->unit = ParseUnit(text);
    if (!channel->unit) channel->unknownUnit = text;
}

}  // namespace kvx
