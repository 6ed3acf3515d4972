// SPDX-License-Identifier: MIT
//
// How the header codes of first-generation files map onto today's catalogue. Constant tables; safe from any
// thread.
#pragma once

#include <cstdint>
#include <optional>

namespace kvx::detail {

/// The second-generation code that a first-generation file with header code `oldCode` is taken for.
std::optional<std::uint32_t> SecondGenerationCodeOf(std::uint32_t oldCode);

/// The first-generation variant of the kind whose second-generation code is `code`; only for kinds that
/// existed in the first generation's files.
std::optional<std::uint32_t> FirstGenerationVariantOf(std::uint32_t code);

/// The second-generation code of a data file by the data kind in a first-generation header's extension block.
std::optional<std::uint32_t> CodeOfDataKind(std::int32_t dataKind);

}  // namespace kvx::detail
