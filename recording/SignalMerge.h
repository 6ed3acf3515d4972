// SPDX-License-Identifier: MIT
//
// Several recordings as one: their channels side by side, or one recording after the other in time. Nothing
// is read before the result is. Text and properties are those of the first; remarks are on the merging.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/Statements.h>

namespace kvx {

struct MergeInput {
    std::unique_ptr<SignalReader> reader;
    std::string name;  ///< for sentences: "'a.csv'"
};

/// One run with the channels of all inputs in their order, numbered anew. Each input must have one run, and
/// all the same axis: spacing, start and number of samples, or the same listed places. Throws Error that
/// names the input and what differs, at once or, of listed places, while they are read. What can be stated is
/// called as `called` says.
KVX_RECORDING_API std::unique_ptr<SignalReader> MergeChannels(std::vector<MergeInput> inputs,
                                                              const StatementNames& called = {});

/// The inputs one after the other: as many runs as the first has, each as long as those of all together.
/// Names, units and the start are those of the first input; other names, and a start elsewhere than at 0 or
/// at the end of the one before, are told by a remark. The runs must have the same number of channels, of
/// units that convert, and the same spacing. Throws Error that names the input and what differs.
KVX_RECORDING_API std::unique_ptr<SignalReader> JoinInTime(std::vector<MergeInput> inputs);

}  // namespace kvx
