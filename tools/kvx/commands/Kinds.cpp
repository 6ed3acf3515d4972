// SPDX-License-Identifier: MIT
//
// kvx kinds: the catalogue of file kinds.
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include <KvxDevCommon01/files/FileKinds.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct KindsOptions {
    std::string text;
    bool json = false;
};

void RunKinds(const KindsOptions& options, ByteStream& out) {
    const std::vector<FileKind> kinds = FindFileKinds(options.text);
    if (kinds.empty()) throw Failure("no file kind matches " + Quote(options.text));
    Json json = Json::array();
    std::vector<std::vector<std::string>> lines = {{"number", "code", "extension", "application", "name"}};
    for (const FileKind& kind : kinds) {
        const std::string code = HexCode(kind.code);
        json.push_back({{"number", kind.type},
                        {"code", code},
                        {"extension", kind.extension},
                        {"application", kind.application},
                        {"name", kind.englishName},
                        {"suiteName", kind.suiteName}});
        lines.push_back({std::to_string(kind.type), code, kind.extension,
                         kind.application.empty() ? "-" : kind.application, kind.name});
    }
    WriteText(out,
              options.json
                  ? json.dump(2) + "\n"
                  : FormatTable({Align::right, Align::right, Align::left, Align::left, Align::left}, lines));
}

}  // namespace

void AddKinds(Command app) {
    const auto options = std::make_shared<KindsOptions>();
    Command command = app.AddCommand("kinds", "Search the catalogue of file kinds");
    command.AddOption(
        "TEXT", options->text,
        "Part of an English or Japanese name or of an application, an extension, a code (0x20011) "
        "or a number; none lists all");
    command.AddFlag("--json", options->json, "As JSON, with both names");
    command.SetFooter("", R"(
kvx kinds vdf2
kvx kinds 0x20011
kvx kinds 'excitation data'
)");
    command.OnRun([=](ByteStream& out) { RunKinds(*options, out); });
}

}  // namespace kvx::tool
