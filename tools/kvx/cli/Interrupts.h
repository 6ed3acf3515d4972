// SPDX-License-Identifier: MIT
//
// What happens when a person or the system ends the program: the same in every command.
#pragma once

namespace kvx::tool {

/// From now on the signals that end a program (interrupt, hang-up, termination and the like) remove
/// unfinished files before they end it as usual. What the program was started to ignore, it goes on ignoring.
void RemoveUnfinishedFilesOnSignals();

}  // namespace kvx::tool
