// SPDX-License-Identifier: MIT
//
// Counts the blocks that the containers ask for: calloc and realloc of the whole program, to be included by
// one file of it. Sanitizers bring their own, which stay as they are; then nothing is counted.
#pragma once

#include <cstddef>
#include <cstdlib>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KVX_HAS_SANITIZER
#endif
#endif

#if defined(__GLIBC__) && !defined(KVX_HAS_SANITIZER) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)

inline constexpr bool kCountsBlocks = true;
inline int blocksAskedFor = 0;

extern "C" {
// The same under the C library's own names.
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
    ++blocksAskedFor;
    return __libc_calloc(count, size);
}
[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) noexcept {
    ++blocksAskedFor;
    return __libc_realloc(block, size);
}
}

#else

inline constexpr bool kCountsBlocks = false;
inline int blocksAskedFor = 0;

#endif
