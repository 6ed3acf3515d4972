// SPDX-License-Identifier: MIT
#include "cli/OutputFormat.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include <KvxRecording01/Formats.h>

#include "cli/Failure.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

struct End {
    std::string_view text;
    OutputFormat format;
};
std::string_view EndOfFormat(Format format, std::size_t index = 0) {
    return RowOf(format).ends[index];
}

/// The ends of names: those of the formats of recordings, and those of what only the tool writes.
const auto& Ends() {
    // clang-format off
    static const std::array ends = {
        End{EndOfFormat(Format::dataFile), OutputFormat::dataFile},
        End{EndOfFormat(Format::wav),      OutputFormat::wav},
        End{EndOfFormat(Format::text, 0),  OutputFormat::csv},
        End{EndOfFormat(Format::text, 1),  OutputFormat::text},
        End{".svg",  OutputFormat::svg},
        End{".pdf",  OutputFormat::pdf},
        End{".png",  OutputFormat::png},
        End{".jpg",  OutputFormat::jpeg},
        End{".jpeg", OutputFormat::jpeg},
        End{".gci2", OutputFormat::settings},
    };
    // clang-format on
    return ends;
}

/// The end of a name in small letters, with its dot.
std::string EndOfName(const std::string& name) {
    std::string end = std::filesystem::path(name).extension().string();
    for (char& letter : end) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return end;
}

/// The row of an end among those of `formats`; null when there is none.
const End* Find(std::string_view end, std::span<const OutputFormat> formats) {
    const auto row = std::ranges::find(Ends(), end, &End::text);
    return row != Ends().end() && std::ranges::count(formats, row->format) > 0 ? &*row : nullptr;
}

/// ".svg, .pdf, .png or .jpg", with the dots or without them.
std::string ListOf(std::span<const OutputFormat> formats, bool hasDots = true) {
    std::string list;
    for (std::size_t i = 0; i < formats.size(); ++i) {
        list += i == 0 ? "" : i + 1 < formats.size() ? ", " : " or ";
        list += EndOf(formats[i]).substr(hasDots ? 0 : 1);
    }
    return list;
}

/// Whether a name says nothing of a format: that of a stream, of what is no file, or of nothing at all.
bool IsNoFile(const std::string& name) {
    if (IsStandardStream(name)) return true;
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(name, ignored);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

}  // namespace

std::string_view EndOf(OutputFormat format) {
    return std::ranges::find(Ends(), format, &End::format)->text;
}

Option AddOutputOptions(Command& command, const std::string& what, std::span<const OutputFormat> formats,
                        OutputChoice* choice) {
    const Option output = command.AddOption("-o,--output", choice->name,
                                            what + " (" + ListOf(formats) + "); - is standard output");
    if (formats.size() > 1) {
        command
            .AddOption("--as", choice->as,
                       "Format of - (default: " + ListOf(formats.first(1), false) +
                           ") or of a name without an end: " + ListOf(formats, false))
            .Type("FORMAT");
    }
    return output;
}

OutputFormat FormatOf(const OutputChoice& choice, std::span<const OutputFormat> formats) {
    const End* const stated = Find("." + choice.as, formats);
    if (!choice.as.empty() && stated == nullptr)
        throw ValueError("--as: there is no " + Quote(choice.as) + ", only " + ListOf(formats, false));
    const std::string end = EndOfName(choice.name);
    if (end.empty() || IsNoFile(choice.name)) {
        if (stated != nullptr) return stated->format;
        if (IsNoFile(choice.name)) return formats.front();
    }
    const End* const named = Find(end, formats);
    if (named == nullptr) {
        throw ValueError("the output " + Quote(choice.name) + " does not end with " + ListOf(formats));
    }
    if (stated != nullptr && stated->format != named->format)
        throw ValueError("--as " + choice.as + ": the output " + Quote(choice.name) + " ends with " + end);
    return named->format;
}

}  // namespace kvx::tool
