// SPDX-License-Identifier: MIT
//
// The running program and the computer it runs on: its file, the version texts that it carries, the
// computer's name. Safe from any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// Version texts of a program; null where the program does not say.
struct ProgramVersion {
    const wchar_t* fileVersion;
    const wchar_t* legalCopyright;
    const wchar_t* internalName;
};

/// The texts that the main executable declares with KVX_PROGRAM_VERSION; null when it declares none.
KVX_API const ProgramVersion* RunningProgramVersion();

/// Full path of the main executable; no value when the host does not tell.
KVX_API std::optional<std::wstring> ProgramPath();

/// The computer's name; no value when it is longer than `limit` characters.
KVX_API std::optional<std::wstring> ComputerName(std::size_t limit);

}  // namespace kvx

/// Gives a program its version texts (wide string literals or nullptr). Used once, at namespace scope of one
/// source file of the executable: KVX_PROGRAM_VERSION(L"23.0.0", L"(C) ...", L"kvx");
#define KVX_PROGRAM_VERSION(fileVersion, legalCopyright, internalName)                               \
    extern "C" {                                                                                     \
    extern __attribute__((visibility("default"))) const kvx::ProgramVersion kvxProgramVersion;       \
    const kvx::ProgramVersion kvxProgramVersion = {(fileVersion), (legalCopyright), (internalName)}; \
    }                                                                                                \
    static_assert(true)
