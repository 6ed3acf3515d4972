// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Program.h>

#include <unistd.h>

#include <array>
#include <climits>

#include <KvxDevCommon01/platform/Text.h>

// Defined by the executable, or not at all: the linker exports it from a program because this library asks
// for it, and leaves the address null where no program defines it.
extern "C" {
extern __attribute__((weak, visibility("default"))) const kvx::ProgramVersion kvxProgramVersion;
}

namespace kvx {

const ProgramVersion* RunningProgramVersion() {
    return &kvxProgramVersion;
}

std::optional<std::wstring> ProgramPath() {
    std::array<char, PATH_MAX> path;
    const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
    if (size <= 0 || static_cast<std::size_t>(size) == path.size()) return std::nullopt;
    return FromUtf8({path.data(), static_cast<std::size_t>(size)});
}

std::optional<std::wstring> ComputerName(std::size_t limit) {
    std::array<char, HOST_NAME_MAX + 1> name;
    if (::gethostname(name.data(), name.size()) != 0) return std::nullopt;
    name.back() = '\0';
    std::optional<std::wstring> text = FromUtf8(name.data());
    if (!text || text->size() > limit) return std::nullopt;
    return text;
}

}  // namespace kvx
