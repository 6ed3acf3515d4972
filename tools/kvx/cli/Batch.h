// SPDX-License-Identifier: MIT
//
// One command for many inputs: each has an output of its own in a folder, several are worked on at a time,
// and one that fails does not stop the others.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/OutputFormat.h"

namespace kvx::tool {

struct BatchOptions {
    std::vector<std::string> inputs;
    OutputChoice output;  ///< of several inputs a folder
    std::optional<std::string> namePattern;
    std::optional<std::int64_t> jobs;
};

/// Describes the inputs, called `name` in the help.
void AddInputs(Command& command, const std::string& name, const std::string& what, BatchOptions* options);

/// Describes --jobs.
void AddJobsOption(Command& command, BatchOptions* options);

/// Describes --name-pattern and --jobs; AddOutputOptions describes the output.
void AddBatchOptions(Command& command, BatchOptions* options);

/// How the reports of several inputs are told apart.
enum class BatchReports {
    asTheyAre,    ///< each names its file
    paragraphs,   ///< each names its file, and a blank line parts them
    withHeading,  ///< below the name of the input
    json,         ///< as the elements of an array
};

/// What is done with one input, and where its report goes.
using BatchWork =
    std::function<void(const std::string& input, const OutputChoice& output, ByteStream& report)>;

/// Does the work for the only input with the output as it is; for several inputs, or where the output is a
/// folder, for each with its name in that folder, which is made if there is none. Then a failure is told by
/// one sentence and the work goes on; the reports come in the order of the inputs. Throws UsageError,
/// ValueError for outputs that would meet or replace an input, and in the end Failure when some have failed.
void RunBatch(const BatchOptions& options, std::span<const OutputFormat> formats, BatchReports reports,
              const BatchWork& work, ByteStream& out);

}  // namespace kvx::tool
