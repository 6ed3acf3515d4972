// SPDX-License-Identifier: MIT
//
// Typed units: reading succeeds or declines, and the name of what was read can be read, at last to itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitText.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = kvx::FromUtf8({reinterpret_cast<const char*>(data), size});
    if (!text) return 0;
    kvx::FindUnit(*text);
    auto unit = kvx::ParseUnit(*text);
    if (!unit) return 0;
    // The name of a compound may contain that of a unit ("m/s2"), which the first reading of it turns into
    // the unit.
    unit = kvx::ParseUnit(kvx::PlainUnitName(*unit));
    if (!unit) std::abort();
    const auto name = kvx::PlainUnitName(*unit);
    unit = kvx::ParseUnit(name);
    if (!unit || kvx::PlainUnitName(*unit) != name) std::abort();
    return 0;
}
