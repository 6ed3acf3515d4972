// SPDX-License-Identifier: MIT
//
// Units of ground motion as the headers of seismic recordings write them. Lengths over s/s are accelerations
// here, which a composed unit is not.
#pragma once

#include <optional>
#include <string_view>

#include <KvxRecording01/Recording.h>

namespace kvx {

struct MotionUnit {
    std::string_view written;  ///< in small letters, seconds as s, squared as s2: "cm/s2"
    std::wstring_view unit;    ///< the one of the unit table that holds it
    double scale = 1.0;        ///< what leads to that
};

/// The unit of that name, in any spelling: "CM/SEC/SEC". No value for another.
std::optional<MotionUnit> FindMotionUnit(std::string_view name);

/// The unit that a line states behind "units" or else behind "in": "(UNITS: CM/SEC)", "units of sec, g/10".
std::optional<MotionUnit> UnitInLine(std::string_view line);

/// States a unit of a channel, whose values are to be multiplied by `factor` to be in it.
void StateMotionUnit(RecordingInfo::Channel* channel, const MotionUnit& unit, double factor = 1.0);

}  // namespace kvx
