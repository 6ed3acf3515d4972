// SPDX-License-Identifier: MIT
//
// Where results and remarks go.
#pragma once

#include <initializer_list>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx::tool {

/// Writes UTF-8 text; throws CFileException.
void WriteText(ByteStream& stream, std::string_view text);

/// A remark on standard error: "kvx: note: TEXT".
void Note(std::string_view text);

/// Throws ValueError when both paths name the same existing file: the output would destroy the input.
/// "-" as the input is the file that standard input comes from; as the output it is never the same.
void RequireAnotherFile(std::string_view input, std::string_view output);

/// Throws ValueError when more than one of a command's inputs is "-".
void RequireOneStandardInput(std::initializer_list<std::string_view> inputs);

}  // namespace kvx::tool
