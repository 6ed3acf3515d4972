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
#include <KvxDevCommon01/units/EntryUnit.h>
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

std::wstring InSmallLetters(std::wstring_view text) {
    std::wstring small(text);
    for (wchar_t& c : small) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return small;
}

struct PartWord {
    std::wstring_view word;
    ComplexPart part;
    bool isFunction = false;  ///< whether "word(H)" is that of H
};

constexpr std::array kPartWords = {
    PartWord{L"re", ComplexPart::real, true},       PartWord{L"real", ComplexPart::real, true},
    PartWord{L"im", ComplexPart::imaginary, true},  PartWord{L"imag", ComplexPart::imaginary, true},
    PartWord{L"imaginary", ComplexPart::imaginary}, PartWord{L"abs", ComplexPart::magnitude, true},
    PartWord{L"mag", ComplexPart::magnitude, true}, PartWord{L"magnitude", ComplexPart::magnitude},
    PartWord{L"amp", ComplexPart::magnitude},       PartWord{L"amplitude", ComplexPart::magnitude},
    PartWord{L"arg", ComplexPart::phase, true},     PartWord{L"phase", ComplexPart::phase, true},
    PartWord{L"angle", ComplexPart::phase, true},
};

/// Where the argument ends of a name that begins with a function, "Re(H)"; 0 for any other. What looks like a
/// unit of an angle is one: "phase(deg)".
std::size_t EndOfFunction(std::wstring_view name) {
    const std::size_t open = name.find(L'(');
    if (open == name.npos) return 0;
    const auto word = std::ranges::find(kPartWords, InSmallLetters(name.substr(0, open)), &PartWord::word);
    if (word == kPartWords.end() || !word->isFunction) return 0;
    int depth = 0;
    for (std::size_t at = open; at < name.size(); ++at) {
        if (name[at] == L'(') ++depth;
        if (name[at] != L')' || --depth > 0) continue;
        const std::optional<CUnitCtrl> unit = ParseUnit(name.substr(open + 1, at - open - 1));
        return unit && *unit == CUnitCtrl::DIM_ANGLE ? 0 : at + 1;
    }
    return 0;
}

UnitHeading ParseHeading(const std::wstring& text) {
    const std::size_t end = EndOfFunction(text);
    if (end == 0) return ParseUnitHeading(text);
    UnitHeading heading = ParseUnitHeading(std::wstring_view(text).substr(end));
    heading.name.insert(0, text, 0, end);
    return heading;
}

std::vector<UnitHeading> ParseHeadings(std::string_view line, std::string_view comments, char separator,
                                       std::size_t columns, HeadingDecoder* decoder) {
    line = Trim(line);
    if (!line.empty() && comments.find(line.front()) != line.npos) line.remove_prefix(1);
    Fields fields;
    Split(line, separator, &fields);
    if (fields.size() > columns) DropEmptyEnd(&fields);
    if (fields.size() != columns) return {};
    std::vector<UnitHeading> headings;
    for (const std::string_view field : fields) {
        headings.push_back(ParseHeading(decoder->Decode(field, line, headings.size())));
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
            const bool isUnit = isBracketed || ParseEntryUnit(unit.unknownUnit);
            ++(isUnit ? known : unknown);
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
    const std::wstring name = InSmallLetters(heading.name);
    if (name.starts_with(L"時間") || name.starts_with(L"時刻")) return true;
    static constexpr std::array<std::wstring_view, 7> kNames = {L"t",       L"sec",  L"seconds", L"elapsed",
                                                                L"x_value", L"zeit", L"temps"};
    return name.starts_with(L"time") || std::ranges::find(kNames, name) != kNames.end();
}

std::optional<CUnitCtrl::DIM_CODE> AxisOf(const UnitHeading& heading) {
    if (IsTimeHeading(heading)) return CUnitCtrl::DIM_TIME;
    const std::wstring name = InSmallLetters(heading.name);
    const bool isFrequency = heading.unit && *heading.unit == CUnitCtrl::DIM_FREQUENCY;
    if (isFrequency && (name.empty() || name == L"axis")) return CUnitCtrl::DIM_FREQUENCY;
    if (name.starts_with(L"freq") || name == L"hz" || name == L"f" || name.starts_with(L"周波数"))
        return !heading.unit || isFrequency ? std::optional(CUnitCtrl::DIM_FREQUENCY) : std::nullopt;
    if (name == L"axis" && heading.unit && heading.unit->IsSingle()) return DimensionOf(*heading.unit);
    if (!heading.unknownUnit.empty() && (name.starts_with(L"axis [") || name.starts_with(L"axis ("))) {
        const std::optional<EntryUnit> unit = ParseEntryUnit(heading.unknownUnit);
        return unit ? DimensionOf(unit->unit) : CUnitCtrl::DIM_NONE;
    }
    return std::nullopt;
}

std::optional<PartHeading> PartOf(std::wstring_view name) {
    if (name.size() > 2 && name.front() == L'|' && name.back() == L'|')
        return PartHeading{ComplexPart::magnitude, std::wstring(name.substr(1, name.size() - 2))};
    const std::wstring small = InSmallLetters(name);
    for (const PartWord& row : kPartWords) {
        if (row.isFunction && small.starts_with(row.word) && EndOfFunction(name) == name.size()) {
            const std::size_t open = name.find(L'(');
            if (open == row.word.size())
                return PartHeading{row.part, std::wstring(name.substr(open + 1, name.size() - open - 2))};
        }
        if (!small.ends_with(row.word)) continue;
        const std::wstring_view rest = name.substr(0, name.size() - row.word.size());
        if (rest.empty()) return PartHeading{row.part, {}};
        if (std::wstring_view(L" _.-").find(rest.back()) == rest.npos) continue;
        return PartHeading{row.part, std::wstring(rest.substr(0, rest.find_last_not_of(L" _.-") + 1))};
    }
    return std::nullopt;
}

std::vector<UnitHeading> ReadHeadings(const HeadingLines& lines, char separator, std::size_t columns,
                                      HeadingDecoder* decoder) {
    std::vector<UnitHeading> last = ParseHeadings(lines.last, lines.comments, separator, columns, decoder);
    if (last.empty() || lines.before.empty()) return last;
    std::vector<UnitHeading> before =
        ParseHeadings(lines.before, lines.comments, separator, columns, decoder);
    if (before.empty() && !lines.beforeComments.empty())
        before = ParseHeadings(lines.beforeComments, lines.comments, separator, columns, decoder);
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
