// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/LoggerHeader.h>

#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/detail/TextHeadings.h>

namespace kvx {
namespace {

constexpr std::string_view kEndOfHeader = "***End_of_Header***";

}  // namespace

bool IsLoggerText(std::string_view firstLine) {
    return firstLine.starts_with(RowOf(Format::loggerText).marks.front());
}

TextLayout ReadLoggerHeader(LineReader& lines, const TextOptions& options) {
    HeadingDecoder decoder(lines.CodePage(), options.encodingName);
    TextLayout layout;
    layout.separator = kTab;
    layout.extraIgnored = true;
    Fields fields;
    std::vector<std::wstring> unitLabels;
    bool timeColumn = false;
    int blocks = 0;
    std::optional<std::string_view> next;
    while (blocks < 2 && (next = lines.Next())) {
        const std::string_view line = *next;
        if (line.starts_with("Separator")) layout.separator = line.find("Comma") != line.npos ? kComma : kTab;
        Split(line, layout.separator, &fields);
        const std::string_view key = fields.front();
        const std::string_view value = fields.size() > 1 ? fields[1] : std::string_view();
        if (key == kEndOfHeader) ++blocks;
        if (key == "X_Columns") {
            if (value == "Multi")
                throw Error(ErrorKind::kUnsupported,
                            "it has a time column per channel, which is not supported");
            timeColumn = value == "One";
        }
        if (key == "Delta_X") layout.rateHint = " (its header has the rounded step " + Quote(value) + " s)";
        if (key == "Y_Unit_Label") {
            unitLabels.clear();
            for (std::size_t c = 1; c < fields.size(); ++c) {
                unitLabels.push_back(decoder.Decode(fields[c], line, c));
            }
        }
    }
    const std::optional<std::string_view> names = lines.Next();
    if (blocks < 2 || !names) throw Error(ErrorKind::kDamaged, "its header does not end");
    Split(*names, layout.separator, &fields);
    DropEmptyEnd(&fields);
    if (!fields.empty() && fields.back() == "Comment") fields.pop_back();
    if (fields.size() < 2)
        throw Error(ErrorKind::kDamaged, "line " + std::to_string(lines.Number()) + " names no channels");

    layout.firstIsTime = timeColumn;
    layout.skipped = timeColumn ? 0 : 1;
    layout.columns = fields.size() - layout.skipped;
    if (timeColumn) layout.headings.push_back({L"time"});
    for (std::size_t c = 0; c + 1 < fields.size(); ++c) {
        UnitHeading heading = {decoder.Decode(fields[c + 1], *names, c + 1)};
        if (c < unitLabels.size() && !unitLabels[c].empty()) {
            heading.unit = ParseUnit(unitLabels[c]);
            if (!heading.unit) heading.unknownUnit = unitLabels[c];
        }
        layout.headings.push_back(std::move(heading));
    }
    layout.remark = decoder.Remark();
    return layout;
}

}  // namespace kvx
