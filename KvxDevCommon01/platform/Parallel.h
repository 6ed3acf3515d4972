// SPDX-License-Identifier: MIT
//
// Independent pieces of work on all cores. The threads are started by the first call that can use them and
// kept for the next ones; the caller works too, so that a call from within a piece of work never waits for
// a free thread. Safe from any thread.
#pragma once

#include <cstddef>
#include <functional>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// How many threads work at once, the caller among them: the number in the environment variable KVX_THREADS
/// (1 to 256), as it was at the first call, else one per core.
KVX_API std::size_t WorkingThreads();

/// Calls work(0) to work(count - 1), each once and in any order, on up to `threads` threads (0:
/// WorkingThreads()), and returns when all are done. Pieces are begun in the order of their index. An
/// exception keeps those from being begun that are not yet; the one of the lowest index is rethrown when all
/// others have ended.
KVX_API void ForEachInParallel(std::size_t count, const std::function<void(std::size_t)>& work,
                               std::size_t threads = 0);

}  // namespace kvx
