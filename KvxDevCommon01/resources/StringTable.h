// SPDX-License-Identifier: MIT
//
// The library's string table: numeric id -> text shown to people (Japanese). Read-only; safe from any thread.
#pragma once

#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// The text of `id`; empty when the table has no such id.
KVX_API std::wstring_view ResourceText(unsigned int id);

/// Copies at most `limit` characters of the text of `id`; 0 (and `text` unchanged) when the table has no such
/// id.
KVX_API int LoadResourceText(unsigned int id, CString* text, std::size_t limit);

}  // namespace kvx
