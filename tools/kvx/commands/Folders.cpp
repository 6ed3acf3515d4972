// SPDX-License-Identifier: MIT
//
// kvx folders: where the suite keeps its things on this computer.
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/app/SuitePlaces.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Format.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

void RunFolders(bool asJson, ByteStream& out) {
    const std::optional<std::wstring> drive = Environment("SystemDrive");
    Json json = {{"systemDrive", drive ? Json(ToUtf8(*drive)) : Json(nullptr)}};
    std::vector<std::vector<std::string>> lines;
    for (const auto& [name, key, path, exists] : SuitePlaces()) {
        json[std::string(key)] = {{"path", path ? Json(*path) : Json(nullptr)}, {"exists", exists}};
        lines.push_back({std::string(name), exists ? "exists" : "missing", path.value_or("-")});
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
