// SPDX-License-Identifier: MIT
//
// The library's string table: numeric id -> text shown to people (Japanese). Read-only; safe from any thread.
#pragma once

#include <string_view>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// The text of `id`; empty when the table has no such id.
KVX_API std::wstring_view ResourceText(unsigned int id);

}  // namespace kvx
