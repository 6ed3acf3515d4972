// SPDX-License-Identifier: MIT
//
// What a command writes: the end of the output's name decides, in every command alike.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "cli/Command.h"

namespace kvx::tool {

enum class OutputFormat { dataFile, wav, csv, text, svg, pdf, png, jpeg, settings };

/// An output and the format that was stated for it.
struct OutputChoice {
    std::string name;  ///< empty for none
    std::string as;    ///< an end of names without its dot; empty where the name tells the format
};

/// The end of names of a format, with its dot.
std::string_view EndOf(OutputFormat format);

/// Describes -o, for which `what` says what it is, and with more than one format --as, for outputs whose name
/// tells none. The first format is that of "-" without --as.
Option AddOutputOptions(Command& command, const std::string& what, std::span<const OutputFormat> formats,
                        OutputChoice* choice);

/// The one of `formats` that the output gets: that of its name's end or of --as, else, for "-", a device or a
/// pipe, the first. Throws ValueError for a name that ends in none of them.
OutputFormat FormatOf(const OutputChoice& choice, std::span<const OutputFormat> formats);

}  // namespace kvx::tool
