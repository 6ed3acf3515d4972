// SPDX-License-Identifier: MIT
//
// The headings of a text table: their encoding, the names and units that they hold.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/units/UnitQuery.h>

namespace kvx {

inline constexpr unsigned int kWesternCodePage = 1252;

/// The code page that bytes which are not UTF-8 are taken to be in; 0 when they are in none.
unsigned int GuessCodePage(std::string_view bytes);

/// Makes the headings of a text wide: by the code page that is stated, else as UTF-8, else by a guess, of
/// which it leaves a remark.
class HeadingDecoder {
public:
    /// `codePage` is 0 where none is stated; sentences name the statement `encodingName`.
    HeadingDecoder(unsigned int codePage, std::string encodingName);

    /// A field of a line of headings, its quotes gone; `column` counts from 0. Throws Error.
    std::wstring Decode(std::string_view field, std::string_view line, std::size_t column);

    /// What was guessed of the first heading that needed it; empty when none did.
    const std::string& Remark() const { return remark_; }

private:
    unsigned int codePage_;
    std::string encodingName_;
    std::string remark_;
};

bool IsTimeHeading(const UnitHeading& heading);

/// What a heading says that its column is the axis of: a time, a frequency, or for "axis", as tables of this
/// library have it, what its unit says. No value for a heading of a channel.
std::optional<CUnitCtrl::DIM_CODE> AxisOf(const UnitHeading& heading);

/// Which part of a complex number a column holds, and of which one.
enum class ComplexPart { real, imaginary, magnitude, phase };
struct PartHeading {
    ComplexPart part;
    std::wstring name;  ///< of the complex channel; may be empty
};
/// Read from "H re", "H_imag", "Re(H)", "|H|", "H phase"; no value for any other name.
std::optional<PartHeading> PartOf(std::wstring_view name);

/// The last two lines above the numbers, as far as there are any, and the signs that begin comments.
struct HeadingLines {
    std::string_view last;
    std::string_view before;
    std::string_view beforeComments;  ///< what may stand for `before` where that is a comment
    std::string_view comments;
};

/// The headings of columns whose last line of headings may hold their units alone; none when the line does
/// not have so many columns.
std::vector<UnitHeading> ReadHeadings(const HeadingLines& lines, char separator, std::size_t columns,
                                      HeadingDecoder* decoder);

}  // namespace kvx
