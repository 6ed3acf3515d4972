// SPDX-License-Identifier: MIT
//
// Where the suite keeps its things on this computer, as a list. CAppFunc gives them one by one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

struct SuitePlace {
    std::string_view name;  ///< for a person: "programs, first generation"
    std::string_view key;   ///< for a program: "programsFirst"
    /// As the host names it, UTF-8; the suite's own path where the host cannot have it, no value where there
    /// is none.
    std::optional<std::string> path;
    bool exists = false;
};

/// The suite's folders and settings files. Nothing is created.
KVX_API std::vector<SuitePlace> SuitePlaces();

}  // namespace kvx
