// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Path.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

constexpr bool IsDriveLetter(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

}  // namespace

PathParts SplitPath(std::wstring_view path) {
    PathParts parts;
    if (path.size() >= 2 && path[1] == L':') {
        parts.drive = path.substr(0, 2);
        path.remove_prefix(2);
    }
    if (const std::size_t separator = path.find_last_of(kPathSeparators); separator != path.npos) {
        parts.directory = path.substr(0, separator + 1);
        path.remove_prefix(separator + 1);
    }
    const std::size_t dot = std::min(path.find_last_of(L'.'), path.size());
    parts.name = path.substr(0, dot);
    parts.extension = path.substr(dot);
    return parts;
}

std::optional<std::wstring> JoinPath(const PathParts& parts) {
    std::wstring path;
    if (!parts.drive.empty()) {
        path += parts.drive.front();
        path += L':';
    }
    path += parts.directory;
    if (!parts.directory.empty() && kPathSeparators.find(parts.directory.back()) == kPathSeparators.npos)
        path += L'\\';
    path += parts.name;
    if (!parts.extension.empty()) {
        if (parts.extension.front() != L'.') path += L'.';
        path += parts.extension;
    }
    if (path.size() > kMaxPath) return std::nullopt;
    return path;
}

std::optional<std::string> HostPath(std::wstring_view path) {
    if (path.empty() || path.find(L'\0') != path.npos) return std::nullopt;
    if (path.size() >= 2 && path[1] == L':' && IsDriveLetter(path[0])) return std::nullopt;
    if (path.starts_with(L"\\\\")) return std::nullopt;
    std::string host = ToUtf8(path);
    std::replace(host.begin(), host.end(), '\\', '/');
    return host;
}

std::wstring WidePath(std::string_view path) {
    if (std::optional<std::wstring> wide = FromUtf8(path)) return *std::move(wide);
    throw Error(ErrorKind::kBadValue, "the name is not valid UTF-8");
}

std::optional<std::wstring> Environment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    return FromUtf8(value);
}

}  // namespace kvx
