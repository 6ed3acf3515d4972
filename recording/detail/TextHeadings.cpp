// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextHeadings.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/detail/TextFields.h>

namespace kvx {
namespace {

constexpr unsigned int kJapaneseCodePage = 932;

/// Whether bytes that are valid in the Japanese code page look like Japanese, too. Nearly all Japanese text
/// has bytes from 0x80 to 0x9F, and half-width katakana stand in rows. In Western text, where these bytes are
/// rare signs, letters and signs such as the raised 2 have the bytes above.
bool LooksJapanese(std::string_view bytes) {
    bool isKatakana = true;
    std::size_t row = 0;
    for (const char c : std::string(bytes) + '\0') {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 && byte < 0xA0) return true;
        const bool isHalfWidth = byte > 0xA0 && byte < 0xE0;
        if (!isHalfWidth && (byte >= 0x80 || row == 1)) isKatakana = false;
        row = isHalfWidth ? row + 1 : 0;
    }
    return isKatakana;
}

std::vector<UnitHeading> ParseHeadings(std::string_view line, char separator, std::size_t columns,
                                       HeadingDecoder* decoder) {
    line = Trim(line);
    if (line.starts_with('#')) line.remove_prefix(1);
    Fields fields;
    Split(line, separator, &fields);
    if (fields.size() > columns) DropEmptyEnd(&fields);
    if (fields.size() != columns) return {};
    std::vector<UnitHeading> headings;
    for (const std::string_view field : fields) {
        headings.push_back(ParseUnitHeading(decoder->Decode(field, line, headings.size())));
    }
    return headings;
}

/// The units of the columns when a line of headings holds nothing else: all fields are known units, most of
/// them, or the first is a unit of time below the heading of a time. Empty for a line of names.
std::vector<UnitHeading> ReadUnits(const std::vector<UnitHeading>& line, const UnitHeading& above) {
    std::vector<UnitHeading> units;
    std::size_t known = 0;
    std::size_t unknown = 0;
    for (const UnitHeading& field : line) {
        if (field.unit && !field.name.empty()) return {};
        UnitHeading unit = {{}, field.unit ? field.unit : ParseUnit(field.name), field.unknownUnit};
        if (field.name.empty()) {
            unit.unit = field.unit;
        } else if (!unit.unit) {
            const bool isBracketed = field.name.size() == field.unknownUnit.size() + 2;
            if (!isBracketed) unit.unknownUnit = field.name;
            ++(isBracketed ? known : unknown);
        }
        if (unit.unit) ++known;
        units.push_back(std::move(unit));
    }
    const std::optional<CUnitCtrl>& first = units.front().unit;
    const bool isBelowTime = first && *first == CUnitCtrl::DIM_TIME && IsTimeHeading(above);
    return unknown == 0 || known > unknown || isBelowTime ? units : std::vector<UnitHeading>();
}

}  // namespace

unsigned int GuessCodePage(std::string_view bytes) {
    const unsigned int system = SystemCodePage();
    const bool isLikely = system != kJapaneseCodePage || LooksJapanese(bytes);
    if (isLikely && DecodeCodePage(bytes, system)) return system;
    return DecodeCodePage(bytes, kWesternCodePage) ? kWesternCodePage : 0;
}

HeadingDecoder::HeadingDecoder(unsigned int codePage, std::string encodingName)
    : codePage_(codePage), encodingName_(std::move(encodingName)) {}

std::wstring HeadingDecoder::Decode(std::string_view field, std::string_view line, std::size_t column) {
    std::string text(Unquoted(field));
    for (std::size_t at = text.find("\"\""); at != text.npos; at = text.find("\"\"", at + 1)) {
        text.erase(at, 1);
    }
    const ErrorPlace place = {.column = static_cast<std::int64_t>(column + 1)};
    if (codePage_ != 0) {
        if (std::optional<std::wstring> wide = DecodeCodePage(text, codePage_)) return *std::move(wide);
        throw Error(ErrorKind::kDamaged,
                    "the heading " + Quote(text) + " is not " + std::string(EncodingName(codePage_)), place);
    }
    if (std::optional<std::wstring> wide = FromUtf8(text)) return *std::move(wide);
    const unsigned int guess = GuessCodePage(line);
    const std::optional<std::wstring> wide = guess != 0 ? DecodeCodePage(text, guess) : std::nullopt;
    if (!wide) {
        throw Error(ErrorKind::kDamaged,
                    "the heading " + Quote(text) + " is not UTF-8; give its encoding with " + encodingName_,
                    place);
    }
    if (remark_.empty()) {
        remark_ = place.Inside() + ": the heading " + Quote(*wide) + " is not UTF-8 and was read as " +
                  std::string(EncodingName(guess)) + "; " + encodingName_ + " chooses another";
    }
    return *wide;
}

bool IsTimeHeading(const UnitHeading& heading) {
    if (heading.unit) return *heading.unit == CUnitCtrl::DIM_TIME;
    std::string name;
    for (const wchar_t c : heading.name) {
        if (c > 0x7F) return heading.name.starts_with(L"時間") || heading.name.starts_with(L"時刻");
        name += static_cast<char>(c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c);
    }
    static constexpr std::array kNames = {"t", "sec", "seconds", "elapsed", "x_value", "zeit", "temps"};
    return name.starts_with("time") || std::ranges::find(kNames, name) != kNames.end();
}

std::vector<UnitHeading> ReadHeadings(std::string_view lastLine, std::string_view lineBefore, char separator,
                                      std::size_t columns, HeadingDecoder* decoder) {
    std::vector<UnitHeading> last = ParseHeadings(lastLine, separator, columns, decoder);
    if (last.empty() || lineBefore.empty()) return last;
    std::vector<UnitHeading> before = ParseHeadings(lineBefore, separator, columns, decoder);
    if (before.empty()) return last;
    const std::vector<UnitHeading> units = ReadUnits(last, before.front());
    if (units.empty()) return last;
    for (std::size_t c = 0; c < units.size(); ++c) {
        if (!units[c].unit && units[c].unknownUnit.empty()) continue;
        before[c].unit = units[c].unit;
        before[c].unknownUnit = units[c].unknownUnit;
    }
    return before;
}

}  // namespace kvx
