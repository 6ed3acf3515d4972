// SPDX-License-Identifier: MIT
//
// kvx kinds: the catalogue of file kinds.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

struct Kind {
    std::string number;
    std::string code;
    std::string extension;
    std::string application;
    std::string name;
};

std::vector<Kind> AllKinds() {
    std::vector<Kind> kinds;
    for (std::uint32_t number = 1; number <= CComHdr::EXT_INFO_LAST; ++number) {
        const auto type = static_cast<CComHdr::EXT_INFO_TYPE>(number);
        const CComHdr header(type, nullptr);
        CString extension;
        CString name;
        CString application;
        if (!header.GetExtInfo(&extension, &name)) continue;
        header.GetAppTypeName(&application);
        kinds.push_back({std::to_string(number), HexCode(header.GetTag().HdrCode), ToUtf8(extension),
                         application.empty() ? "-" : ToUtf8(application), ToUtf8(name)});
    }
    return kinds;
}

/// Letters of ASCII as small ones.
std::string Lower(std::string text) {
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

/// Whether `wanted` is the kind's number, its code or its extension, with or without the dot.
bool IsCalled(const Kind& kind, const std::string& wanted) {
    const std::string_view extension = kind.extension;
    return wanted == kind.number || wanted == kind.code || wanted == extension ||
           (extension.starts_with('.') && wanted == extension.substr(1));
}

/// The kinds that `text` names, or else those with `text` in their name, application or extension.
std::vector<Kind> FindKinds(const std::string& text) {
    const std::vector<Kind> all = AllKinds();
    const std::string wanted = Lower(text);
    std::vector<Kind> found;
    std::ranges::copy_if(all, std::back_inserter(found),
                         [&](const Kind& kind) { return IsCalled(kind, wanted); });
    if (!found.empty()) return found;
    std::ranges::copy_if(all, std::back_inserter(found), [&](const Kind& kind) {
        return Lower(kind.name + "\n" + kind.application + "\n" + kind.extension).find(wanted) !=
               std::string::npos;
    });
    return found;
}

void RunKinds(const std::string& text, ByteStream& out) {
    std::vector<std::vector<std::string>> lines = {{"number", "code", "extension", "application", "name"}};
    for (const Kind& kind : FindKinds(text)) {
        lines.push_back({kind.number, kind.code, kind.extension, kind.application, kind.name});
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
    command.SetFooter("Example:\n  kvx kinds vdf2\n  kvx kinds 0x20011\n  kvx kinds 加振データ");
    command.OnRun([=](ByteStream& out) { RunKinds(*text, out); });
}

}  // namespace kvx::tool
