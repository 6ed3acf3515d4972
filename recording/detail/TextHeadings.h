// SPDX-License-Identifier: MIT
//
// The headings of a text table: their encoding, the names and units that they hold.
#pragma once

#include <cstddef>
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

/// The headings of columns whose last line of headings may hold their units alone; none when the line does
/// not have so many columns.
std::vector<UnitHeading> ReadHeadings(std::string_view lastLine, std::string_view lineBefore, char separator,
                                      std::size_t columns, HeadingDecoder* decoder);

}  // namespace kvx
