// SPDX-License-Identifier: MIT
#include "cli/Pages.h"

#include <fmt/chrono.h>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string_view>

#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>

#include "cli/Failure.h"
#include "cli/Output.h"

namespace kvx::tool {
namespace {

std::string DateOfPages() {
    std::time_t seconds = std::time(nullptr);
    if (const char* const stated = std::getenv("SOURCE_DATE_EPOCH")) {
        const std::string_view text = stated;
        std::from_chars(text.data(), text.data() + text.size(), seconds);
    }
    return fmt::format("{:%Y-%m-%d}", fmt::gmtime(seconds));
}

void Write(const std::filesystem::path& path, const std::string& text) {
    Doing("write", path.string(), [&] {
        std::filesystem::create_directories(path.parent_path());
        OutputFile file(WidePath(path.string()));
        WriteText(file, text);
        file.Commit();
    });
}

}  // namespace

void WritePages(const CommandDescription& tool, const std::string& folder) {
    const std::filesystem::path root = folder;
    const std::string date = DateOfPages();
    Write(root / "man1" / (tool.name + ".1"), ManualOfTool(tool, date));
    for (const CommandDescription& command : tool.commands) {
        Write(root / "man1" / (tool.name + "-" + command.name + ".1"), ManualOfCommand(tool, command, date));
    }
    Write(root / "bash" / tool.name, BashCompletion(tool));
    Write(root / "zsh" / ("_" + tool.name), ZshCompletion(tool));
    Write(root / "fish" / (tool.name + ".fish"), FishCompletion(tool));
}

}  // namespace kvx::tool
