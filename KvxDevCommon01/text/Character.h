// SPDX-License-Identifier: MIT
//
// Routines on characters and paths: code-page conversion, path splitting and joining. Static only; safe from
// any thread. The rules themselves are in platform/CodePage.h and platform/Path.h; this is their face with
// nullable pointers.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>

class KVX_API CCharacter {
public:
    /// Language of the user interface.
    enum LANGUAGE_MODE : std::uint32_t {
        LANGUAGE_JAPANESE = 1,
        LANGUAGE_ENGLISH = 2,
        LANGUAGE_CHINESE = 3,
        LANGUAGE_GERMAN = 4,
        LANGUAGE_RUSSIAN = 5,
    };

    /// Joins the parts (null counts as empty) into a path; `out` becomes empty when it would exceed 260
    /// characters.
    static void MakePath(CString* out, const wchar_t* drive, const wchar_t* dir, const wchar_t* fname,
                         const wchar_t* ext);

    /// Splits a path into drive ("C:", at most 3 characters), directory with its trailing separator, file
    /// name and extension with its dot (each cut to 256 characters). Null outputs are skipped; a null path
    /// changes nothing.
    static void SplitPath(const wchar_t* path, CString* drive, CString* dir, CString* fname, CString* ext);

    /// Converts NUL-terminated bytes of a code page (0: the system's) to wide text; what is no character of
    /// it is replaced. Returns 0, with the output unchanged, on a null argument or an unknown page.
    static int MultiToWide(const char* src, CString* out, unsigned int codePage);

    /// The same into a buffer of `outLen` characters; also 0 when the text and its terminating NUL do not
    /// fit.
    static int MultiToWide(const char* src, wchar_t* out, int outLen, unsigned int codePage);

    /// The ANSI code page of a language: 932 Japanese, 1252 English and German, 936 Chinese, 1251 Russian;
    /// the system's page for any other value.
    static unsigned int ConvLangModeToCodePage(LANGUAGE_MODE mode);
};
