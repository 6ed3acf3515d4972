// SPDX-License-Identifier: MIT
//
// Where results and remarks go.
#pragma once

#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx::tool {

/// Writes UTF-8 text; throws CFileException.
void WriteText(ByteStream& stream, std::string_view text);

/// A remark on standard error: "kvx: note: TEXT".
void Note(std::string_view text);

/// Throws ValueError when both paths name the same existing file: the output would destroy the input.
void RequireAnotherFile(std::string_view input, std::string_view output);

}  // namespace kvx::tool
