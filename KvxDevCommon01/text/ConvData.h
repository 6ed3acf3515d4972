// SPDX-License-Identifier: MIT
//
// Numbers read from text. Pure functions, independent of the locale and safe from any thread.
#pragma once

#include <KvxDevCommon01/Export.h>

class KVX_API CConvData {
public:
    /// The decimal number at the start of `text`: blanks, then an optional sign, then digits; what follows is
    /// ignored. 0 without a digit and for null; a number beyond the range of int becomes the nearer limit.
    static int StrToIntW(const wchar_t* text);
};
