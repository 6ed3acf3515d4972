// SPDX-License-Identifier: MIT
//
// What the tool's descriptions become beside its help: manual pages, and scripts by which shells complete its
// commands, options and values. All text is ASCII or UTF-8 and ends with a line end.
#pragma once

#include <string>

#include "cli/Description.h"

namespace kvx::tool {

/// The manual page (section 1, man macros) of the tool with its list of commands. `date` is that of the page,
/// "2026-11-22".
std::string ManualOfTool(const CommandDescription& tool, const std::string& date);

/// The manual page of one of its commands, with the commands within it.
std::string ManualOfCommand(const CommandDescription& tool, const CommandDescription& command,
                            const std::string& date);

/// The scripts for bash, zsh and fish.
std::string BashCompletion(const CommandDescription& tool);
std::string ZshCompletion(const CommandDescription& tool);
std::string FishCompletion(const CommandDescription& tool);

/// Writes all of them into a folder, which is made if there is none: man1/kvx.1, man1/kvx-COMMAND.1,
/// bash/kvx, zsh/_kvx and fish/kvx.fish. The date is that of SOURCE_DATE_EPOCH, where it is set, else
/// today's.
void WritePages(const CommandDescription& tool, const std::string& folder);

}  // namespace kvx::tool
