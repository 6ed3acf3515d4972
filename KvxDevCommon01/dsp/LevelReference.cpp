// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/LevelReference.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace kvx {
namespace {

// ISO 1683:2015, Acoustics: preferred reference values for acoustical and vibratory levels; the volt and the
// full scale of a sound file, which are their own references in dBV and dBFS, go by the rule for all others.
// Values are in the standard unit of the dimension.
// clang-format off
constexpr std::array kReferences = {
    CustomaryReference{CUnitCtrl::DIM_PRESSURE,     20e-6, "20 µPa"},    // sound pressure in gases
    CustomaryReference{CUnitCtrl::DIM_ACCELERATION, 1e-6,  "1 µm/s2"},   // vibratory acceleration
    CustomaryReference{CUnitCtrl::DIM_VELOCITY,     1e-9,  "1 nm/s"},    // vibratory velocity
    CustomaryReference{CUnitCtrl::DIM_DISPLACEMENT, 1e-12, "1 pm"},      // vibratory displacement
    CustomaryReference{CUnitCtrl::DIM_FORCE,        1e-6,  "1 µN"},      // vibratory force
};
// clang-format on

}  // namespace

std::span<const CustomaryReference> CustomaryReferences() {
    return kReferences;
}

LevelReference LevelReferenceOf(const CUnitCtrl& unit) {
    if (unit.IsSingle()) {
        const auto row = std::ranges::find(kReferences, DimensionOf(unit), &CustomaryReference::dimension);
        if (row != kReferences.end()) return {row->value, std::string(row->text)};
    }
    const std::string name = UnitText(unit);
    return {unit.ConvItoD(1.0, 1.0, 0), name == "-" ? "1" : "1 " + name};
}

double LevelOf(double meanSquare, const LevelReference& reference) {
    return 10.0 * (std::log10(meanSquare) - 2.0 * std::log10(reference.value));
}

}  // namespace kvx
