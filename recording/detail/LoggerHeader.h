// SPDX-License-Identifier: MIT
//
// The header of a logger's measurement file (.lvm): blocks of keys and values, then a line of headings.
#pragma once

#include <string_view>

#include <KvxRecording01/detail/TextLayout.h>

namespace kvx {

/// Whether a text begins so with such a header.
bool IsLoggerText(std::string_view firstLine);

/// Reads the two header blocks and the headings, of which the first line is past; leaves `lines` in front of
/// the data. Throws Error.
TextLayout ReadLoggerHeader(LineReader& lines, const TextOptions& options);

}  // namespace kvx
