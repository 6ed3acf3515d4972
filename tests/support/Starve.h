// SPDX-License-Identifier: MIT
//
// How tests let memory run out. One file of the program includes FailingMemory.h, which makes it so.
#pragma once

#include <atomic>
#include <cstddef>

/// While it lives, `allowed` allocations succeed and every later one fails.
class FailingMemory {
public:
    explicit FailingMemory(int allowed) {
        left_ = allowed;
        isActive_ = true;
    }
    ~FailingMemory() { isActive_ = false; }
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    static bool RunsOut(std::size_t size) {
        for (std::size_t seen = largest; seen < size && !largest.compare_exchange_weak(seen, size);) {
        }
        return isActive_ && left_-- <= 0;
    }

    /// The most bytes asked for at once, by any thread, since it was set to 0.
    static inline std::atomic<std::size_t> largest = 0;

private:
    static inline int left_ = 0;
    static inline bool isActive_ = false;
};

/// Runs `work` with one allocation more each time until it succeeds (returns nonzero); `afterFailure` follows
/// every run that did not. Returns how many runs failed.
template <typename Work, typename AfterFailure>
int Starve(Work work, AfterFailure afterFailure) {
    for (int allowed = 0;; ++allowed) {
        int succeeded = 0;
        {
            const FailingMemory failing(allowed);
            succeeded = work();
        }
        if (succeeded) return allowed;
        afterFailure();
    }
}
