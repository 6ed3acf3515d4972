// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextLayout.h>

#include <string_view>
#include <utility>

#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/LoggerHeader.h>
#include <KvxRecording01/detail/TextHeadings.h>
#include <KvxRecording01/detail/TextNumbers.h>

namespace kvx {
namespace {

/// A line in front of the data that is itself a row of data with something wrong in it, told as such. It
/// begins with a number, be it one that cannot be taken.
void RefuseDamagedRow(std::string_view line, std::size_t number, const TextLayout& layout) {
    Fields fields;
    Split(line, layout.separator, &fields);
    NumberReader numbers;
    if (fields.size() != layout.columns) return;
    if (!numbers.Read(fields.front()) && numbers.WasNoNumber()) return;
    for (std::size_t c = 0; c < fields.size(); ++c) {
        if (!numbers.Read(fields[c])) throw FieldError(fields[c], numbers.Fault(), FieldPlace(number, c));
    }
}

/// The columns that a line of numbers has; no value when it is none.
std::optional<TextLayout> LayoutOf(std::string_view line, std::size_t number, const TextOptions& options) {
    Fields fields;
    for (const char separator : {kTab, kSemicolon, kComma, kBlankRun, kNone}) {
        if (!Contains(line, separator) || (separator == kComma && options.decimalComma)) continue;
        Split(line, separator, &fields);
        if (fields.size() > kMaxColumns) {
            throw Error(ErrorKind::kUnsupported, "line " + std::to_string(number) + " has more than " +
                                                     std::to_string(kMaxColumns) + " columns");
        }
        DropEmptyEnd(&fields);
        if (!AreNumbers(fields)) continue;
        TextLayout layout;
        layout.separator = separator;
        layout.columns = fields.size();
        return layout;
    }
    return std::nullopt;
}

/// Finds the first line of numbers; leaves `lines` in front of it.
TextLayout DetectLayout(LineReader& lines, const TextOptions& options) {
    HeadingDecoder decoder(lines.CodePage(), options.encodingName);
    std::string heading;
    std::string headingBefore;
    std::size_t headingNumber = 0;
    while (const std::optional<std::string_view> next = lines.Next()) {
        const std::string_view line = *next;
        if (Trim(line).empty()) continue;
        if (std::optional<TextLayout> layout = LayoutOf(line, lines.Number(), options)) {
            if (headingNumber > 0) {
                RefuseDamagedRow(heading, headingNumber, *layout);
                layout->headings =
                    ReadHeadings(heading, headingBefore, layout->separator, layout->columns, &decoder);
                layout->remark = decoder.Remark();
                if (layout->headings.empty() && !IsBlankOrComment(heading) &&
                    Contains(heading, layout->separator)) {
                    layout->remark = "line " + std::to_string(headingNumber) + ", " + Quote(Trim(heading)) +
                                     ", does not have the " +
                                     Count(static_cast<long long>(layout->columns), "column") +
                                     " of the numbers below it and is not taken for headings";
                }
            }
            lines.StepBack();
            return *std::move(layout);
        }
        headingBefore = std::exchange(heading, std::string(line));
        headingNumber = lines.Number();
    }
    if (headingNumber == 0) throw Error(ErrorKind::kDamaged, "it holds no text");
    throw Error(ErrorKind::kDamaged, "no line of it is a row of numbers; line " +
                                         std::to_string(headingNumber) + " begins " + Quote(Trim(heading)));
}

}  // namespace

TextLayout ReadTextLayout(LineReader& lines, const TextOptions& options) {
    const std::optional<std::string_view> first = lines.Next();
    if (first && IsLoggerText(*first)) return ReadLoggerHeader(lines, options);
    if (lines.Number() > 0) lines.StepBack();
    return DetectLayout(lines, options);
}

Error FieldError(std::string_view field, const char* fault, const ErrorPlace& place) {
    return Error(ErrorKind::kDamaged, field.empty() ? "the value is missing" : Quote(field) + " " + fault,
                 place);
}

}  // namespace kvx
