// SPDX-License-Identifier: MIT
//
// Memory that runs out: operator new of the whole program, to be included by one file of it. What takes its
// memory elsewhere (the blocks of the containers) is not concerned.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

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

    static bool RunsOut() { return isActive_ && left_-- <= 0; }

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

// Not inlined: a compiler that saw malloc and free through them would take every new for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return FailingMemory::RunsOut() ? nullptr : std::malloc(size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

// The array forms too: a sanitizer has its own, which do not lead to those above.
[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}
[[gnu::noinline]] void* operator new[](std::size_t size) {
    return operator new(size);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    operator delete(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
    operator delete(memory);
}
