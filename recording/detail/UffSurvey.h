// SPDX-License-Identifier: MIT
//
// The datasets of a universal file, one after the other, without their numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxRecording01/detail/UffHeader.h>
#include <KvxRecording01/detail/UffSamples.h>
#include <KvxRecording01/detail/UffUnits.h>

namespace kvx {

/// A dataset 15: where its records begin, and how many of its units of length are a metre.
struct UffNodes {
    std::uint64_t begin = 0;
    double length = 1.0;
};

/// What a file holds beside functions.
struct UffSurroundings {
    std::vector<std::string> header;  ///< records of the first dataset 151
    std::vector<UffNodes> nodes;
    std::map<std::string, __int64> other;  ///< what is not read: how many of each number
};

struct UffVisitor {
    std::function<void(const UffHeader&, const UffSamples&, const UffUnitSystem&)> takeFunction;
    /// Takes what is wrong with a function that is left out; its place is the byte where it begins.
    std::function<void(const Error&)> takeDamage;
};

/// Goes through the whole file; binary numbers are jumped over, lines of numbers are counted. Throws
/// CFileException.
UffSurroundings SurveyUff(UffSampleReader& reader, const UffVisitor& visitor);

/// Where a node is, in metres.
struct UffNode {
    bool isKnown = false;
    double x = 0.0, y = 0.0, z = 0.0;
};

/// Finds the nodes `wanted` in a dataset 15.
void ReadUffNodes(PlacedLines& lines, const UffNodes& nodes, std::map<__int64, UffNode>* wanted);

}  // namespace kvx
