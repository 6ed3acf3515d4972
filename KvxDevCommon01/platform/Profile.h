// SPDX-License-Identifier: MIT
//
// Profile ("ini") files: sections of key=value lines. The rules that people rely on hold: section and key are
// found whatever their case (ASCII letters), blanks around names and values do not count, a line that begins
// with ';' is a comment, one pair of quotes around a value is taken off, and the first line of a name wins.
// A profile is read-only and never fails: what cannot be read or decoded is not there.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>

namespace kvx {

class KVX_API Profile {
public:
    /// Longest file that counts as a profile, in bytes.
    static constexpr std::size_t kMaxSize = std::size_t{16} << 20;

    /// A profile from the bytes of a file: UTF-16 or UTF-8 when a byte order mark says so, else `codePage`
    /// (0: the system's). A line that is not well-formed in its code page is skipped.
    explicit Profile(std::string_view bytes, unsigned int codePage = 0);

    /// Reads a file; an empty profile when it is missing, unreadable or longer than kMaxSize.
    static Profile Load(std::wstring_view path, unsigned int codePage = 0);

    /// The value of `key` in the first section of that name; the lines before the first "[section]" are the
    /// section named "". No value when the key is not there; "key=" has the empty text.
    std::optional<std::wstring> Text(std::wstring_view section, std::wstring_view key) const;

    /// The value as an integer: a sign, then digits to the first other character ("12 Hz" is 12, "yes" is 0),
    /// decimal or with the prefix 0x, 0o or 0b, of which the low 32 bits count. `fallback` when the key is
    /// not there or its value is empty.
    std::int32_t Integer(std::wstring_view section, std::wstring_view key, std::int32_t fallback) const;

private:
    std::string bytes_;
    unsigned int codePage_;
};

}  // namespace kvx
