// SPDX-License-Identifier: MIT
//
// What a file tells about itself as lines of text, which formats hold that have room for texts only:
// "operator: A. Miller". They read back as they were.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxRecording01/Recording.h>

namespace kvx {

/// What of the facts of a recording is written: so many, each of so many bytes.
inline constexpr std::size_t kMostFacts = 1000;
inline constexpr std::size_t kMostFactBytes = 1000;
std::vector<RecordingInfo::Property> WrittenFacts(std::span<const RecordingInfo::Property> facts);

/// The line of a fact, without its end. Line breaks and other signs that are not printed become blanks.
std::string FactLine(const RecordingInfo::Property& fact);
/// The fact of a line: a name, a colon with a blank behind it, and a text; the name in quotes where it may
/// hold a colon itself. No value for any other line.
std::optional<RecordingInfo::Property> ParseFactLine(std::string_view line);

}  // namespace kvx
