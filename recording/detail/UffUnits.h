// SPDX-License-Identifier: MIT
//
// Units of universal files: by their labels, else by the quantity and the unit system of dataset 164.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/detail/UffHeader.h>

namespace kvx {

/// The unit system of a file: how many of its units are one of the SI.
struct UffUnitSystem {
    std::string name = {};
    double length = 1.0;
    double force = 1.0;
    double temperature = 1.0;

    bool IsSi() const { return length == 1.0 && force == 1.0 && temperature == 1.0; }
};

/// Makes a text of the file wide.
using DecodeText = std::function<std::wstring(std::string_view)>;

/// Sets the unit of a channel. Returns a sentence on what was assumed, empty for nothing.
std::string StateUffUnit(const UffHeader& header, const UffUnitSystem& system, const DecodeText& decode,
                         RecordingInfo::Channel* channel);

/// What the places on the axis are in.
struct UffAbscissa {
    EntryUnit unit = {};      ///< a single one
    std::string remark = {};  ///< a sentence on what was assumed; may be empty
};
/// States it of an axis, too.
UffAbscissa StateUffAbscissa(const UffHeader& header, const DecodeText& decode, RecordedAxis* axis);

/// Sets numerator and denominator to what the unit is. Returns the unit in which values are to be written:
/// the same, or the standard one where the label of the unit would be read as another one. Throws Error for a
/// unit whose name is too long.
CUnitCtrl SetUffUnit(const CUnitCtrl& unit, UffHeader* header);

/// Sets the abscissa to an axis of a dimension, in its standard unit.
void SetUffAbscissa(const CUnitCtrl& axisUnit, UffHeader* header);

/// The function that channels of such a unit and axis are.
int UffFunctionOf(const CUnitCtrl& axisUnit, const CUnitCtrl& unit, bool isComplex);

}  // namespace kvx
