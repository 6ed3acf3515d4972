// SPDX-License-Identifier: MIT
//
// The language of the texts that the library shows to people: names of dimensions, units and file kinds,
// messages, dates, labels of dialogs. One choice for the whole program, Japanese until the program makes
// another. What is stored in files, and the errors of namespace kvx, do not depend on it. Safe from any
// thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include <KvxDevCommon01/Export.h>

namespace kvx {

enum class Language : std::uint8_t { kJapanese, kEnglish };

/// Chooses the language of all texts that are asked for from now on, usually at the start of the program:
/// SetLanguage(HostLanguage()). Texts that were handed out stay as they are, and stay valid.
KVX_API void SetLanguage(Language language);

/// The language that was chosen; Japanese before any choice.
KVX_API Language CurrentLanguage();

/// The language of a name: "ja", "en" or a locale of one of them by its POSIX or Windows name, in any case
/// ("ja_JP.UTF-8", "en-GB", "Japanese_Japan.932"). No value for any other.
KVX_API std::optional<Language> FindLanguage(std::string_view name);

/// What the environment asks for: the variable KVX_LANGUAGE if it names a language, else the first of LC_ALL,
/// LC_MESSAGES and LANG that is set. A locale that is not Japanese, also "C", asks for English. Reads the
/// environment anew at every call.
KVX_API Language HostLanguage();

}  // namespace kvx
