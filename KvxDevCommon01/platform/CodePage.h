// SPDX-License-Identifier: MIT
//
// Code pages: how text of older files and of configuration files was encoded in bytes. Safe from any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>

namespace kvx {

inline constexpr unsigned int kUtf8CodePage = 65001;

/// The system's ANSI code page. A host without one uses 932, unless the environment variable KVX_CODEPAGE
/// names another supported page.
KVX_API unsigned int SystemCodePage();

/// Decodes bytes of code page 932, 936, 1251, 1252 or 65001 (0 stands for the system's page) into precomposed
/// wide text; no value for a wrong byte sequence or an unknown page.
KVX_API std::optional<std::wstring> DecodeCodePage(std::string_view bytes, unsigned int codePage);

/// The same with what is no character replaced as the suite's platform does it: by the middle dot U+30FB in
/// 932, a question mark in 936, the control character of its number in 1251 and 1252, U+FFFD in 65001. The
/// rest stays. No value for an unknown page only.
KVX_API std::optional<std::wstring> DecodeCodePageReplacing(std::string_view bytes, unsigned int codePage);

}  // namespace kvx
