// SPDX-License-Identifier: MIT
//
// Where results and remarks go.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx::tool {

/// Writes UTF-8 text; throws CFileException.
void WriteText(ByteStream& stream, std::string_view text);

/// A remark on standard error: "kvx: note: TEXT".
void Note(std::string_view text);

/// A failure on standard error: "kvx: SENTENCE".
void Complain(std::string_view sentence);

/// While it lives, this thread works on one of several inputs: its notes name it and are kept for who shows
/// what became of all of them in order, and it shows no progress.
class AmongOthers {
public:
    explicit AmongOthers(std::string input);
    ~AmongOthers();
    AmongOthers(const AmongOthers&) = delete;
    AmongOthers& operator=(const AmongOthers&) = delete;

    /// The notes so far, as lines.
    static std::string TakeNotes();

    /// Whether there is one on this thread.
    static bool IsSo();
};

/// Throws ValueError when both paths name the same existing file: the output would destroy the input.
/// "-" as the input is the file that standard input comes from; as the output it is never the same.
void RequireAnotherFile(std::string_view input, std::string_view output);

/// Throws ValueError when more than one of a command's inputs is "-".
void RequireOneStandardInput(std::span<const std::string> inputs);

}  // namespace kvx::tool
