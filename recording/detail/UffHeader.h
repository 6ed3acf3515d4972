// SPDX-License-Identifier: MIT
//
// What stands in front of the numbers of dataset 58, a function: eleven records of fixed columns. Texts are
// the bytes of the file without the blanks around them, empty where the file says NONE.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxRecording01/StartTime.h>

namespace kvx {

/// What is on an axis: its physical quantity by number, the powers of length, force and temperature that a
/// quantity without a number has, the name of the axis and its unit.
struct UffAxis {
    int type = 0;
    std::array<int, 3> powers = {};
    std::string label = {};
    std::string unit = {};
};

/// Where and in which direction something was measured.
struct UffPoint {
    std::string entity = {};
    __int64 node = 0;   ///< 0 for none
    int direction = 0;  ///< 1 to 3 along X, Y, Z and 4 to 6 around them, negative the other way, 0 for none

    bool operator==(const UffPoint&) const = default;
};

struct UffHeader {
    static constexpr std::size_t kRecords = 11;
    static constexpr std::size_t kLines = 5;

    std::array<std::string, kLines> lines = {};  ///< what identifies the function
    int function = 0;
    UffPoint response = {};
    UffPoint reference = {};
    bool isComplex = false;
    bool isDouble = false;
    bool isListed = false;  ///< whether each value has its place in front of it
    __int64 count = 0;      ///< of values
    double first = 0.0;
    double delta = 0.0;
    double deltaDoubt = 0.0;  ///< by how much the true spacing may differ, since it is rounded
    UffAxis abscissa = {};
    UffAxis numerator = {};
    UffAxis denominator = {};
};

/// How facts are called that stand in the lines of functions (with their number behind it), and in the
/// records of a dataset 151.
inline constexpr const char* kUffLineName = "ID line ";
inline constexpr std::array<std::string_view, 3> kUffHeaderNames = {"model", "description", "program"};

/// Throws Error for records that do not say what the numbers are.
UffHeader ParseUffHeader(std::span<const std::string, UffHeader::kRecords> records);

/// The records, each with its line end. A spacing and start that their columns cannot hold exactly are also
/// told by the last of the lines, from where ParseUffHeader takes them.
std::string FormatUffHeader(const UffHeader& header);

/// A text in the columns of a line, as far as they have room for it.
std::string UffLine(std::string_view text);

/// "frequency response"; empty for what is general or unknown.
std::string_view UffFunctionName(int function);
/// The number of a function of that name; 0 for any other.
int FindUffFunction(std::string_view name);

/// The name of a function in the bytes of the file: its response, "Mic 01" or "wing 5:+Z", with " / " and the
/// reference where there is one; else the first line that identifies it.
std::string UffChannelName(const UffHeader& header);
/// Sets response, reference and first line so that the channel is called by the name (UTF-8) again, as far as
/// there is room for it.
void SetUffChannelName(std::string_view name, UffHeader* header);

/// The time that a third line tells, in columns as "01-MAR-24 12:30:05", with a time by ISO 8601 behind it
/// that holds all digits; no value for anything else.
std::optional<StartTime> ReadUffStart(std::string_view line);
std::string FormatUffStart(const StartTime& start);

/// A line of the file from column `at` on, without blanks around it; what is no printable sign is a blank.
std::string UffField(std::string_view line, std::size_t at, std::size_t width = std::string_view::npos);

/// The number of a dataset that a line begins with, as the number behind a delimiter; 0 for any other line.
int UffDatasetNumber(std::string_view line);

}  // namespace kvx
