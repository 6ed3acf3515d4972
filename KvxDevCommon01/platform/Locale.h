// SPDX-License-Identifier: MIT
//
// The one thing that the suite takes from a locale: the decimal sign. Reads locales, never sets one. Safe
// from any thread as long as no other one changes the program's locale.
#pragma once

#include <optional>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// The decimal sign of a locale by its POSIX or Windows name in any case ("de_DE.UTF-8", "de-DE",
/// "German_Germany.1252"). The suite's languages (Japanese, English, Chinese, German, Russian) are known on
/// every host, others where the host has them. Null, an empty or an unknown name: that of the calling
/// thread's current locale, "." unless the program has chosen another.
KVX_API wchar_t DecimalSign(const char* locale);

/// The same; no value for null, an empty and an unknown name.
KVX_API std::optional<wchar_t> FindDecimalSign(const char* locale);

}  // namespace kvx
