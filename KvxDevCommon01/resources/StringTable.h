// SPDX-License-Identifier: MIT
//
// The library's string table: numeric id -> text shown to people, in Japanese and English. Read-only; safe
// from any thread.
#pragma once

#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/resources/Language.h>

namespace kvx {

/// The text of `id` in the chosen language; empty when the table has no such id.
KVX_API std::wstring_view ResourceText(unsigned int id);

/// The same in a given language.
KVX_API std::wstring_view ResourceText(unsigned int id, Language language);

}  // namespace kvx
