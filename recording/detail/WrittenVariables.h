// SPDX-License-Identifier: MIT
//
// What is written of runs as named arrays, numbers and texts, so that Variables.h makes the same runs of it.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

/// What is written of a run, in this order.
struct WrittenVariable {
    /// A column of the run, or two of it, of complex numbers; or the places of an evenly spaced axis.
    struct Samples {
        std::size_t column = 0;
        bool isComplex = false;
        bool isEvenAxis = false;
        __int64 count = 0;
    };

    std::string name;  ///< an identifier of at most 63 letters, digits and underscores
    std::variant<double, std::wstring, std::vector<std::wstring>, Samples> value;
};
/// One of several runs states its title even where it has none, since the name of what holds it is not.
std::vector<WrittenVariable> VariablesOf(const SignalRun& run, bool isOneOfSeveral);
/// What is written of the file beside its runs: its free text, if it has one, and facts.
std::vector<WrittenVariable> VariablesOf(const std::wstring& text,
                                         std::span<const RecordingInfo::Property> facts);

/// Turns a block of a run, in standard units, into what is stored: values in the units of the channels that
/// read back as the same, and NaN for missing ones.
void ToStored(const SignalRun& run, std::span<double* const> columns, std::size_t count);

}  // namespace kvx
