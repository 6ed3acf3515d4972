// SPDX-License-Identifier: MIT
//
// What a command writes: the end of the output's name decides, in every command alike. The formats of
// recordings are those of the library's table that are written; beside them stands what only the tool writes.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <KvxRecording01/Formats.h>

#include "cli/Command.h"

namespace kvx::tool {

enum class OwnFormat { profile, svg, pdf, png, jpeg, settings };
using OutputFormat = std::variant<Format, OwnFormat>;

/// An output and the format that was stated for it.
struct OutputChoice {
    std::string name = {};  ///< empty for none
    std::string as = {};    ///< an end of names without its dot; empty where the name tells the format
};

/// All formats of recordings that are written, `first` in front: that of "-".
std::vector<OutputFormat> RecordingFormats(Format first = Format::dataFile);

/// The first end of names of a format, with its dot.
std::string_view EndOf(OutputFormat format);

/// Describes -o, for which `what` says what it is, and with more than one format --as, for outputs whose name
/// tells none. The first format is that of "-" without --as.
Option AddOutputOptions(Command& command, const std::string& what, std::span<const OutputFormat> formats,
                        OutputChoice* choice);

/// The one of `formats` that the output gets: that of its name's end or of --as, else, for "-", a device or a
/// pipe, the first. Throws ValueError for a name that ends in none of them.
OutputFormat FormatOf(const OutputChoice& choice, std::span<const OutputFormat> formats);

/// The same of an output that may have any format of recordings.
Format RecordingFormatOf(const OutputChoice& choice, Format first = Format::dataFile);

}  // namespace kvx::tool
