// SPDX-License-Identifier: MIT
//
// Memory that runs out: operator new of the whole program, to be included by one file of it; others that let
// memory run out include Starve.h. What takes its memory elsewhere (the blocks of the containers) is not
// concerned.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

#include <tests/support/Starve.h>

// Under the sanitizers that replace malloc a refused allocation is null, as it is without them.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options();
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_options();
const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}

// Not inlined: a compiler that saw malloc and free through them would take every new for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return FailingMemory::RunsOut(size) ? nullptr : std::malloc(size);
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
