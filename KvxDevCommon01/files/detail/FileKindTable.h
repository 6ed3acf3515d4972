// SPDX-License-Identifier: MIT
//
// The catalogue of the suite's file kinds: number, header code, display name, extension. A constant table;
// safe from any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace kvx::detail {

struct FileKindRow {
    std::uint32_t value;          ///< number of the kind, 1 to 359
    std::uint32_t code;           ///< header code
    unsigned int nameId;          ///< string-table id of the display name
    std::wstring_view extension;  ///< NUL-terminated
    int flag;                     ///< 0 for the first generation of some kinds, else 1
};

/// The row of a kind's number; null when there is none.
const FileKindRow* FindFileKind(std::uint32_t value);

/// The row of a header code; null when there is none.
const FileKindRow* FindFileKindByCode(std::uint32_t code);

}  // namespace kvx::detail
