// SPDX-License-Identifier: MIT
//
// Values in a unit that is shown, chosen so that they are read back as the values they were made of.
#pragma once

#include <span>
#include <vector>

#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// The number nearest to `shown` whose conversion from `unit` comes nearest to `standard`, which is
/// `standard` itself where any number's is. `shown` is what `standard` converts to, up to a few units in the
/// last place.
double NearestShown(const CUnitCtrl& unit, int isAbsolute, double standard, double shown);

/// Turns values of the standard unit into such numbers.
class ShownValues {
public:
    void Convert(const CUnitCtrl& unit, int isAbsolute, std::span<double> values);

private:
    std::vector<double> standard_, again_;
};

}  // namespace kvx
