// SPDX-License-Identifier: MIT
//
// Numbers to and from text. Pure functions, safe from any thread; only the decimal sign can come from a
// locale.
#pragma once

#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>

namespace kvx {

/// Whether CConvData::ValToStr takes the format as it is, so that it does not count as "%.7g".
KVX_API bool IsNumberFormat(std::wstring_view format);

}  // namespace kvx

class KVX_API CConvData {
public:
    /// Longest field and most digits behind the decimal sign that a format may ask for.
    static constexpr int kMaxWidth = 100;
    static constexpr int kMaxPrecision = 100;

    /// The decimal number at the start of `text`: blanks, then an optional sign, then digits; what follows is
    /// ignored. 0 without a digit and for null; a number beyond the range of int becomes the nearer limit.
    static int StrToIntW(const wchar_t* text);

    /// Writes a value as text. 0 only when `text` is null.
    ///
    /// `format` is text with "%%" for a percent sign and exactly one conversion, of a double, with the
    /// meaning that C gives it: flags out of "-+ #0", a width up to kMaxWidth, a precision up to
    /// kMaxPrecision, then one of e, f, g, a or their capitals (an "l" in front is allowed and means
    /// nothing). Null, an empty format and any other one count as "%.7g": what a single-precision sample can
    /// tell, fixed from 0.0001 to below 1e7.
    ///
    /// A value that shows as zero has no minus sign. No-value is "---", the others that are no numbers are
    /// "nan", "inf" and "-inf"; the width applies to them as well.
    ///
    /// `locale` names the locale of the decimal sign, see kvx::DecimalSign. Digits are never grouped.
    static int ValToStr(double value, CString* text, const wchar_t* format = nullptr,
                        const char* locale = nullptr);
};
