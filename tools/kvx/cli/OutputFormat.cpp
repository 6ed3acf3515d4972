// SPDX-License-Identifier: MIT
#include "cli/OutputFormat.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <system_error>

#include <KvxDevCommon01/text/NearNames.h>

#include "cli/Failure.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

struct OwnEnd {
    std::string_view text;
    OwnFormat format;
};
// clang-format off
constexpr std::array kOwnEnds = {
    OwnEnd{".txt",  OwnFormat::profile},
    OwnEnd{".svg",  OwnFormat::svg},
    OwnEnd{".pdf",  OwnFormat::pdf},
    OwnEnd{".png",  OwnFormat::png},
    OwnEnd{".jpg",  OwnFormat::jpeg},
    OwnEnd{".jpeg", OwnFormat::jpeg},
    OwnEnd{".gci2", OwnFormat::settings},
};
// clang-format on

/// All ends of names of a format.
std::vector<std::string_view> EndsOf(OutputFormat format) {
    std::vector<std::string_view> ends;
    if (const Format* const recording = std::get_if<Format>(&format)) {
        std::ranges::copy_if(RowOf(*recording).ends, std::back_inserter(ends),
                             [](std::string_view end) { return !end.empty(); });
    } else {
        for (const auto& [text, own] : kOwnEnds)
            if (own == std::get<OwnFormat>(format)) ends.push_back(text);
    }
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

/// The one of `formats` that has this end.
std::optional<OutputFormat> Find(std::string_view end, std::span<const OutputFormat> formats) {
    for (const OutputFormat format : formats) {
        const std::vector<std::string_view> ends = EndsOf(format);
        if (std::ranges::find(ends, end) != ends.end()) return format;
    }
    return std::nullopt;
}

/// The ends that name formats; pictures have a second one that says the same.
std::vector<std::string_view> NamingEnds(std::span<const OutputFormat> formats) {
    std::vector<std::string_view> ends;
    for (const OutputFormat format : formats) {
        const std::vector<std::string_view> own = EndsOf(format);
        const auto last = std::holds_alternative<Format>(format) ? own.end() : own.begin() + 1;
        ends.insert(ends.end(), own.begin(), last);
    }
    return ends;
}

/// The same without their dots, as --as takes them.
std::vector<std::string> NamesOf(std::span<const OutputFormat> formats) {
    std::vector<std::string> names;
    for (const std::string_view end : NamingEnds(formats)) names.emplace_back(end.substr(1));
    return names;
}

/// ".svg, .pdf, .png or .jpg", with the dots or without them.
std::string ListOf(std::span<const OutputFormat> formats, bool hasDots = true) {
    const std::vector<std::string_view> ends = NamingEnds(formats);
    std::string list;
    for (std::size_t i = 0; i < ends.size(); ++i) {
        list += i == 0 ? "" : i + 1 < ends.size() ? ", " : " or ";
        list += ends[i].substr(hasDots ? 0 : 1);
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

std::vector<OutputFormat> RecordingFormats(Format first) {
    std::vector<OutputFormat> formats = {first};
    for (const FormatRow& row : Formats()) {
        if (row.create != nullptr && row.format != first) formats.push_back(row.format);
    }
    return formats;
}

std::string_view EndOf(OutputFormat format) {
    return EndsOf(format).front();
}

Option AddOutputOptions(Command& command, const std::string& what, std::span<const OutputFormat> formats,
                        OutputChoice* choice) {
    Option output = command.AddOption("-o,--output", choice->name,
                                      what + " (" + ListOf(formats) + "); - is standard output");
    output.Type("FILE");
    if (formats.size() > 1) {
        command
            .AddOption("--as", choice->as,
                       "Format of - (default: " + std::string(EndOf(formats.front()).substr(1)) +
                           ") or of a name without an end: " + ListOf(formats, false))
            .Type("FORMAT")
            .Suggest(NamesOf(formats));
    }
    return output;
}

OutputFormat FormatOf(const OutputChoice& choice, std::span<const OutputFormat> formats) {
    const std::optional<OutputFormat> stated = Find("." + choice.as, formats);
    if (!choice.as.empty() && !stated) {
        const std::string near = DidYouMean(choice.as, NamesOf(formats));
        throw ValueError("--as: there is no " + Quote(choice.as) +
                         (near.empty() ? ", only " + ListOf(formats, false) : near));
    }
    const std::string end = EndOfName(choice.name);
    if (end.empty() || IsNoFile(choice.name)) {
        if (stated) return *stated;
        if (IsNoFile(choice.name)) return formats.front();
    }
    const std::optional<OutputFormat> named = Find(end, formats);
    if (!named)
        throw ValueError("the output " + Quote(choice.name) + " does not end with " + ListOf(formats));
    if (stated && stated != named)
        throw ValueError("--as " + choice.as + ": the output " + Quote(choice.name) + " ends with " + end);
    return *named;
}

Format RecordingFormatOf(const OutputChoice& choice, Format first) {
    return std::get<Format>(FormatOf(choice, RecordingFormats(first)));
}

}  // namespace kvx::tool
