// SPDX-License-Identifier: MIT
//
// Text read as a unit: what is understood is written in a form that is understood as the same unit.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitText.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = kvx::FromUtf8({reinterpret_cast<const char*>(data), size});
    const auto unit = text ? kvx::ParseUnit(*text) : std::nullopt;
    if (!unit) return 0;
    CUnitCtrl::DIM_CODE dimension{};
    unit->GetDimCode(&dimension, nullptr, nullptr, nullptr);
    const auto again = kvx::ParseUnit(kvx::PlainUnitName(*unit), dimension);
    if (!again || again->ConvItoD(1.0, 1.0, 0) != unit->ConvItoD(1.0, 1.0, 0)) std::abort();
    return 0;
}
