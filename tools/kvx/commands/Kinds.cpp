// SPDX-License-Identifier: MIT
//
// kvx kinds: the catalogue of file kinds.
#include <memory>
#include <string>
#include <vector>

#include <KvxDevCommon01/files/FileKinds.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

void RunKinds(const std::string& text, ByteStream& out) {
    std::vector<std::vector<std::string>> lines = {{"number", "code", "extension", "application", "name"}};
    for (const FileKind& kind : FindFileKinds(text)) {
        lines.push_back({std::to_string(kind.type), HexCode(kind.code), kind.extension,
                         kind.application.empty() ? "-" : kind.application, kind.name});
    }
    if (lines.size() == 1) throw Failure("no file kind matches " + Quote(text));
    WriteText(out, FormatTable({Align::right, Align::right, Align::left, Align::left, Align::left}, lines));
}

}  // namespace

void AddKinds(Command app) {
    const auto text = std::make_shared<std::string>();
    Command command = app.AddCommand("kinds", "Search the catalogue of file kinds");
    command.AddOption(
        "TEXT", *text,
        "Part of a name or application, an extension, a code (0x20011) or a number; none lists all");
    command.SetFooter("", R"(
kvx kinds vdf2
kvx kinds 0x20011
kvx kinds 加振データ
)");
    command.OnRun([=](ByteStream& out) { RunKinds(*text, out); });
}

}  // namespace kvx::tool
