// SPDX-License-Identifier: MIT
//
// Pieces of the command line that several commands share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ranges>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/text/NearNames.h>

#include "cli/Command.h"
#include "cli/Failure.h"

namespace kvx::tool {

/// Checks of an option's text.
Complaint PositiveNumber();
Complaint NonNegativeNumber();
Complaint FiniteNumber();
Complaint WholeNumber(std::int64_t least, std::int64_t most);

/// Describes an option for a number above 0, which the help shows in its unit or as what it is: "HZ".
template <typename Target>
Option AddPositive(Command& command, const std::string& name, const std::string& unit, Target& target,
                   const std::string& description) {
    return command.AddOption(name, target, description).Type(unit).Check(PositiveNumber());
}

/// Describes an option for a comma list.
template <typename Target>
Option AddList(Command& command, const std::string& name, Target& target, const std::string& description) {
    return command.AddOption(name, target, description).Type("LIST");
}

/// "hold, zeros, periodic"
std::string JoinList(const std::vector<std::string>& names);

/// The names of a table's rows, as a list or as text: "hold, zeros, periodic".
template <std::ranges::range Table>
std::vector<std::string> NameList(const Table& table) {
    std::vector<std::string> names;
    for (const auto& row : table) names.emplace_back(row.name);
    return names;
}
template <std::ranges::range Table>
std::string Names(const Table& table) {
    return JoinList(NameList(table));
}

/// The row of that name; throws ValueError naming `option` when there is none.
template <std::ranges::range Table>
const auto& Choose(const Table& table, const std::string& option, const std::string& name) {
    const auto found = std::ranges::find(table, name, [](const auto& row) { return row.name; });
    if (found == std::ranges::end(table)) {
        throw ValueError(option + ": " + NoSuchName(name, NameList(table)));
    }
    return *found;
}

/// A number as an argument writes it: decimal point, no blanks; throws ValueError ("'abc' is not a number").
double ParseArgument(std::string_view text);

/// `values` spread over the `count` channels of an input: one for all, or one each; throws Error naming
/// `option` otherwise.
std::vector<std::string> SpreadList(std::string_view option, std::string_view list, std::size_t count);

}  // namespace kvx::tool
