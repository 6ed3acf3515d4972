// SPDX-License-Identifier: MIT
//
// What happens when a person or the system ends the program.
#pragma once

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// From now on the signals that end a program (interrupt, hang-up, termination and the like) remove
/// unfinished files (RemoveUnfinishedFiles) and call `also`, which must be safe in the handler of a signal,
/// before they end it as usual. What the program was started to ignore, it goes on ignoring.
KVX_API void RemoveUnfinishedFilesOnSignals(void (*also)() = nullptr);

}  // namespace kvx
