// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Folder.h>

#include <sys/stat.h>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Profile.h>

namespace kvx {

bool IsFolder(std::wstring_view path) {
    const std::optional<std::string> host = HostPath(path);
    struct stat status = {};
    return host && ::stat(host->c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool CreateFolder(std::wstring_view path) {
    const std::optional<std::string> host = HostPath(path);
    if (!host) return false;
    return ::mkdir(host->c_str(), 0777) == 0 || IsFolder(path);
}

std::optional<std::wstring> DocumentsFolder() {
    constexpr std::wstring_view kHome = L"$HOME/";
    const std::optional<std::wstring> home = Environment("HOME");
    if (!home || home->empty()) return std::nullopt;

    std::wstring settings = Environment("XDG_CONFIG_HOME").value_or(L"");
    if (settings.empty()) settings = *home + L"/.config";
    std::wstring folder = Profile::Load(settings + L"/user-dirs.dirs", kUtf8CodePage)
                              .Text(L"", L"XDG_DOCUMENTS_DIR")
                              .value_or(L"");
    if (folder.starts_with(kHome)) folder.replace(0, kHome.size() - 1, *home);
    // The settings may name absolute folders only.
    if (!folder.starts_with(L'/')) folder = *home + L"/Documents";
    while (folder.size() > 1 && folder.ends_with(L'/')) folder.pop_back();
    return folder;
}

}  // namespace kvx
