// SPDX-License-Identifier: MIT
//
// Text of the interface: wide strings in memory, UTF-16LE on disk, UTF-8 at the edges (terminal, environment,
// host file names). All functions are pure and safe to call from any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

using CString = std::wstring;
using CStringArray = std::vector<std::wstring>;

namespace kvx {

/// Encodes wide text as UTF-8; a surrogate without its partner becomes U+FFFD.
KVX_API std::string ToUtf8(std::wstring_view text);

/// Decodes UTF-8; no value when the bytes are not well-formed (overlong forms and surrogates included).
KVX_API std::optional<std::wstring> FromUtf8(std::string_view bytes);

/// Decodes UTF-8 with U+FFFD in place of every byte sequence that is not well-formed.
KVX_API std::wstring FromUtf8Replacing(std::string_view bytes);

/// Encodes wide text as UTF-16 code units; a lone surrogate is kept as the unit it is.
KVX_API std::u16string ToUtf16(std::wstring_view text);

/// Decodes UTF-16 code units; a lone surrogate is kept as the unit it is, so that text survives a round trip.
KVX_API std::wstring FromUtf16(std::u16string_view units);

}  // namespace kvx
