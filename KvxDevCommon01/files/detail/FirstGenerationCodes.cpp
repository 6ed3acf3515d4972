// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/detail/FirstGenerationCodes.h>

#include <algorithm>
#include <array>

namespace kvx::detail {
namespace {

struct CodeRow {
    std::uint32_t oldCode;        ///< as first-generation files hold it
    std::uint32_t firstVariant;   ///< the kind's first generation in today's catalogue
    std::uint32_t secondVariant;  ///< the same kind's second generation
};

// clang-format off
constexpr auto kCodes = std::to_array<CodeRow>({
    {0x10001, 0x40002, 0x40022},
    {0x10002, 0x40003, 0x40023},
    {0x10003, 0x40004, 0x40024},
    {0x11001, 0x11001, 0x11011},
    {0x11002, 0x11002, 0x11012},
    {0x11003, 0x11003, 0x11013},
    {0x11101, 0x11004, 0x11014},
    {0x11102, 0x11005, 0x11015},
    {0x11103, 0x11006, 0x11016},
    {0x11104, 0x11007, 0x11017},
    {0x11105, 0x11008, 0x11018},
    {0x12001, 0x11101, 0x11111},
    {0x12002, 0x11102, 0x11112},
    {0x12003, 0x11103, 0x11113},
    {0x12101, 0x11104, 0x11114},
    {0x12102, 0x11105, 0x11115},
    {0x12103, 0x11106, 0x11116},
    {0x12104, 0x11107, 0x11117},
    {0x12105, 0x11108, 0x11118},
    {0x13001, 0x11201, 0x11211},
    {0x13002, 0x11202, 0x11212},
    {0x13101, 0x40007, 0x40027},
    {0x13102, 0x11205, 0x11215},
    {0x13103, 0x11206, 0x11216},
    {0x13104, 0x11203, 0x11213},
    {0x13105, 0x11204, 0x11214},
    {0x14001, 0x11701, 0x11711},
    {0x1b001, 0x11301, 0x11311},
    {0x1b002, 0x11302, 0x11312},
    {0x1b101, 0x11303, 0x11313},
    {0x1b102, 0x11304, 0x11314},
    {0x1b103, 0x11305, 0x11315},
    {0x1b105, 0x11306, 0x11316},
    {0x1a001, 0x11401, 0x11411},
    {0x1a101, 0x11402, 0x11412},
    {0x1a102, 0x11403, 0x11413},
    {0x1a103, 0x11404, 0x11414},
    {0x15001, 0x11801, 0x11811},
    {0x16001, 0x14001, 0x14011},
    {0x17001, 0x11c01, 0x11c11},
    {0x18001, 0x11e01, 0x11e11},
    {0x19101, 0x45001, 0x45011},
    {0x19102, 0x15001, 0x15011},
    {0x19103, 0x15002, 0x15012},
    {0x19104, 0x45002, 0x45012},
    {0x1c011, 0x41606, 0x41616},
    {0x1c012, 0x11601, 0x11611},
    {0x1c013, 0x41601, 0x41611},
    {0x1c014, 0x41602, 0x41612},
    {0x1c015, 0x41603, 0x41613},
    {0x1c016, 0x41604, 0x41614},
    {0x1c017, 0x41605, 0x41615},
    {0x1c018, 0x41607, 0x41617},
    {0x1c019, 0x41608, 0x41618},
    {0x1c020, 0x21601, 0x21611},
    {0x1c021, 0x21602, 0x21612},
    {0x1d001, 0x11a01, 0x11a11},
    {0x80000, 0x40001, 0x40021},
});
// clang-format on

struct DataKindRow {
    std::int32_t dataKind;
    std::uint32_t code;
};

// Kinds 1001 and 1002 exist too, but leave the header's code as it is.
// clang-format off
constexpr auto kDataKinds = std::to_array<DataKindRow>({
    {   0, 0x21011},
    {   1, 0x21111},
    {   2, 0x21211},
    {   3, 0x21711},
    { 999, 0x24011},
    {1000, 0x21c11},
    {1003, 0x25011},
    {1004, 0x21411},
    {1005, 0x21311},
    {1006, 0x21a11},
    {1007, 0x21e11},
});
// clang-format on

/// `secondVariant` is `firstVariant` with the generation bit set: 0x10, or 0x20 for the codes of no
/// application.
constexpr bool VariantsDifferInTheGenerationBit() {
    return std::ranges::all_of(kCodes, [](const CodeRow& row) {
        return row.secondVariant - row.firstVariant == ((row.firstVariant & 0xFF00) == 0 ? 0x20U : 0x10U);
    });
}

constexpr bool EachColumnIsUnique() {
    for (auto column : {&CodeRow::oldCode, &CodeRow::firstVariant, &CodeRow::secondVariant}) {
        auto rows = kCodes;
        std::ranges::sort(rows, {}, column);
        if (std::ranges::adjacent_find(rows, {}, column) != rows.end()) return false;
    }
    return true;
}

static_assert(kCodes.size() == 58);
static_assert(VariantsDifferInTheGenerationBit());
static_assert(EachColumnIsUnique());

template <typename Table, typename Wanted, typename Key, typename Result>
std::optional<std::uint32_t> Find(const Table& table, Wanted wanted, Key key, Result result) {
    const auto row = std::ranges::find(table, wanted, key);
    if (row == table.end()) return std::nullopt;
    return (*row).*result;
}

}  // namespace

std::optional<std::uint32_t> SecondGenerationCodeOf(std::uint32_t oldCode) {
    return Find(kCodes, oldCode, &CodeRow::oldCode, &CodeRow::secondVariant);
}

std::optional<std::uint32_t> FirstGenerationVariantOf(std::uint32_t code) {
    return Find(kCodes, code, &CodeRow::secondVariant, &CodeRow::firstVariant);
}

std::optional<std::uint32_t> CodeOfDataKind(std::int32_t dataKind) {
    return Find(kDataKinds, dataKind, &DataKindRow::dataKind, &DataKindRow::code);
}

}  // namespace kvx::detail
