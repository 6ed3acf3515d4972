// SPDX-License-Identifier: MIT
//
// kvx folders: where the suite keeps its things on this computer.
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <KvxDevCommon01/app/AppFunc.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Format.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct Place {
    const char* name;
    const char* key;
    int (*find)(CString* path);
};

constexpr Place kPlaces[] = {
    {"suite", "suite", CAppFunc::GetKvxDir},
    {"programs", "programs", [](CString* path) { return CAppFunc::GetKvxQ7Dir(path, 0); }},
    {"programs, first generation", "programsFirst",
     [](CString* path) { return CAppFunc::GetKvxQ7Dir1st(path, 0); }},
    {"data", "data", [](CString* path) { return CAppFunc::GetQ7DataDir(path, 0); }},
    {"test definitions", "testDefinitions", CAppFunc::GetInitTestDefDir},
    {"settings", "settings", CAppFunc::GetQ7IniPath},
    {"path settings", "pathSettings", CAppFunc::GetKvxPathConfigIniPath},
};

/// A place as the host names it; the suite's own name where the host cannot have it, no value where there is
/// none.
struct FoundPlace {
    std::optional<std::string> path;
    bool exists = false;
};

FoundPlace Find(const Place& place) {
    CString path;
    if (!place.find(&path)) return {};
    const std::optional<std::string> hostPath = HostPath(path);
    if (!hostPath) return {ToUtf8(path)};
    std::error_code ignored;
    return {hostPath, std::filesystem::exists(*hostPath, ignored)};
}

void RunFolders(bool asJson, ByteStream& out) {
    const std::optional<std::wstring> drive = Environment("SystemDrive");
    Json json = {{"systemDrive", drive ? Json(ToUtf8(*drive)) : Json(nullptr)}};
    std::vector<std::vector<std::string>> lines;
    for (const Place& place : kPlaces) {
        const FoundPlace found = Find(place);
        json[place.key] = {{"path", found.path ? Json(*found.path) : Json(nullptr)},
                           {"exists", found.exists}};
        lines.push_back({place.name, found.exists ? "exists" : "missing", found.path.value_or("-")});
    }
    if (asJson) {
        WriteText(out, json.dump(2) + "\n");
        return;
    }
    WriteText(out, (drive ? "SystemDrive is " + Printable(ToUtf8(*drive)) : "SystemDrive is not set") + "\n" +
                       FormatTable({Align::left, Align::left, Align::left}, lines));
}

}  // namespace

void AddFolders(Command app) {
    const auto asJson = std::make_shared<bool>(false);
    Command command = app.AddCommand("folders", "Tell where the suite's folders and settings are");
    command.AddFlag("--json", *asJson, "As JSON");
    command.SetFooter(R"(
All but the test definitions are below the folder that the environment variable SystemDrive names.
Nothing is created.
)",
                      R"(
kvx folders --json
SystemDrive=/srv/shaker kvx folders
)");
    command.OnRun([=](ByteStream& out) { RunFolders(*asJson, out); });
}

}  // namespace kvx::tool
