// SPDX-License-Identifier: MIT
//
// The suite's path rules (drive and backslash) and their mapping to the host. Pure text except HostPath and
// Environment, which ask the host. Safe from any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// What separates the folders of a path.
inline constexpr std::wstring_view kPathSeparators = L"\\/";
/// Longest path of the suite, in characters.
inline constexpr std::size_t kMaxPath = 260;
/// Longest directory, file name or extension part, in characters.
inline constexpr std::size_t kMaxPathPart = 256;

struct PathParts {
    std::wstring drive;      ///< "C:" or empty
    std::wstring directory;  ///< up to and including the last separator, or empty
    std::wstring name;       ///< without the extension
    std::wstring extension;  ///< with its dot, or empty
};

/// Splits at the drive colon, the last separator (backslash or slash) and the last dot of the file name.
KVX_API PathParts SplitPath(std::wstring_view path);

/// Joins parts, adding the colon, separator and dot that are missing; no value when the result is too long.
KVX_API std::optional<std::wstring> JoinPath(const PathParts& parts);

/// The host's name for a path, UTF-8 on POSIX where backslashes become slashes; no value for a path that the
/// host cannot have: empty, with an embedded NUL, and on a host without them with a drive letter or on
/// another computer's share (two backslashes first).
KVX_API std::optional<std::string> HostPath(std::wstring_view path);

/// A path given in UTF-8 as the library takes it. Throws Error (kBadValue) when it is not UTF-8.
KVX_API std::wstring WidePath(std::string_view path);

/// An environment variable as wide text; no value when it is not set.
KVX_API std::optional<std::wstring> Environment(const char* name);

}  // namespace kvx
