// SPDX-License-Identifier: MIT
//
// Memory for blocks of plain elements, which may be very large and grow piece by piece. Small blocks lie
// in the host's usual allocations, each from a cache line on. Large ones are mapped by themselves, in large
// pages where the host gives them: they grow by remapping, without a copy, and go back to the host when they
// are freed. Memory of a large block that is never written to is address space only. A block is known by its
// address and its size, which must be the one that it was last allocated or resized with. Nothing throws:
// what there is no memory for is null.
#pragma once

#include <cstddef>

namespace kvx {

/// `bytes` > 0 bytes; what they hold is open.
void* AllocateMemory(std::size_t bytes) noexcept;

/// `bytes` > 0 zeros.
void* AllocateZeroedMemory(std::size_t bytes) noexcept;

/// The block of `bytes` bytes with `wanted` > 0 bytes, the first `kept` of which (at most both sizes) stay;
/// what the others hold is open. On failure null, and the block is as it was.
void* ResizeMemory(void* block, std::size_t bytes, std::size_t kept, std::size_t wanted) noexcept;

/// Whether the bytes of a block of that size are zero until somebody writes them, also when it was allocated
/// as open or has grown. What was written stays when a block shrinks and grows again.
bool IsMemoryZeroUntilWritten(std::size_t bytes) noexcept;

/// A null block is none.
void FreeMemory(void* block, std::size_t bytes) noexcept;

/// The size to give a block that must grow to `bytes` > 0 bytes and may well grow further, so that growing
/// step by step does not copy it again and again: less than twice as much, and no more while it is small.
std::size_t RoomyMemorySize(std::size_t bytes) noexcept;

}  // namespace kvx
