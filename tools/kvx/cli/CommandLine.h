// SPDX-License-Identifier: MIT
//
// The command line of kvx: reads the arguments, runs the one command they name and turns every failure into a
// sentence on standard error and an exit status.
#pragma once

namespace kvx::tool {

/// Exit statuses: done; the work failed; the command line is not one of the tool's; what was measured is out
/// of limits.
enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2, kOutOfLimits = 3 };

int RunCommandLine(int argc, const char* const* argv);

}  // namespace kvx::tool
