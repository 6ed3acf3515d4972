// SPDX-License-Identifier: MIT
//
// Typed units: reading succeeds or declines, what else samples may be stated in has a factor, the name of
// what was read can be read, at last to the same unit, and blanks around the text mean nothing.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace {

/// The unit with all its members, as bytes.
std::string Stored(CUnitCtrl unit) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    unit.Serialize(archive);
    archive.Flush();
    return {reinterpret_cast<const char*>(stream.Bytes().data()), stream.Bytes().size()};
}

CUnitCtrl Reread(const CUnitCtrl& unit) {
    const auto again = kvx::ParseUnit(kvx::PlainUnitName(unit));
    if (!again) std::abort();
    return *again;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = kvx::FromUtf8({reinterpret_cast<const char*>(data), size});
    if (!text) return 0;
    kvx::FindUnit(*text);
    const auto unit = kvx::ParseUnit(*text);
    const auto entry = kvx::ParseEntryUnit(*text);
    if ((unit && !entry) || (entry && !(entry->scale > 0.0 && std::isfinite(entry->scale)))) std::abort();
    if (!unit) return 0;
    // The name of a compound may contain that of a unit ("m/s2"), which the first reading of it turns into
    // the unit.
    const CUnitCtrl settled = Reread(*unit);
    const CUnitCtrl again = Reread(settled);
    if (Stored(again) != Stored(settled) || kvx::PlainUnitName(again) != kvx::PlainUnitName(settled))
        std::abort();
    const auto spaced = kvx::ParseUnit(L" " + *text + L" ");
    if (text->size() <= 254 && (!spaced || Stored(*spaced) != Stored(*unit))) std::abort();
    return 0;
}
