// SPDX-License-Identifier: MIT
//
// What the columns of a text are, from what stands above its numbers.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/detail/TextFields.h>

namespace kvx {

struct TextLayout {
    char separator = kNone;
    std::size_t skipped = 0;  ///< leading fields that hold nothing
    std::size_t columns = 0;  ///< the time column included
    bool extraIgnored = false;
    std::vector<UnitHeading> headings;  ///< one per column, or none
    std::optional<bool> firstIsTime;
    std::string rateHint;
    std::string remark;  ///< on how the headings were read; may be empty
    std::vector<RecordingInfo::Property> properties;
};

/// Reads up to the first line of numbers, of a logger's file by its header; leaves `lines` in front of it.
/// Throws Error.
TextLayout ReadTextLayout(LineReader& lines, const TextOptions& options);

/// Where a field stands: the number of its line and its column, which counts from 0.
inline ErrorPlace FieldPlace(std::size_t line, std::size_t column) {
    return {.line = static_cast<std::int64_t>(line), .column = static_cast<std::int64_t>(column + 1)};
}

/// Why a field was not taken for a number; `fault` is that of the NumberReader.
Error FieldError(std::string_view field, const char* fault, const ErrorPlace& place);

}  // namespace kvx
