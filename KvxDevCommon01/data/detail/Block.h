// SPDX-License-Identifier: MIT
//
// Element blocks of the containers: memory that is asked for without exceptions, and the questions that keep
// absurd counts and pointers into one's own block harmless. A block is freed with the count of its elements.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/platform/detail/Memory.h>

namespace kvx {

/// Largest number of elements whose size in bytes does not overflow.
template <typename Element>
inline constexpr __int64 kMaxCount = std::numeric_limits<std::ptrdiff_t>::max() / __int64{sizeof(Element)};

/// Size in bytes of `count` elements, 0 <= count <= kMaxCount.
template <typename Element>
std::size_t ByteSize(__int64 count) {
    return static_cast<std::size_t>(count) * sizeof(Element);
}

/// What the elements of a new block are before somebody writes them.
enum class Contents : int { zero, open };

/// `count` elements; null when count < 1 or allocation fails.
template <typename Element>
Element* AllocateBlock(__int64 count, Contents contents) {
    if (count < 1 || count > kMaxCount<Element>) return nullptr;
    const std::size_t bytes = ByteSize<Element>(count);
    return static_cast<Element*>(contents == Contents::zero ? AllocateZeroedMemory(bytes)
                                                            : AllocateMemory(bytes));
}

template <typename Element>
void FreeBlock(Element* block, __int64 count) {
    if (block) FreeMemory(block, ByteSize<Element>(count));
}

/// Whether `address` lies inside the `count` elements at `block`.
template <typename Element>
bool LiesInside(const Element* address, const Element* block, __int64 count) {
    const std::less<const Element*> before;
    return count > 0 && !before(address, block) && before(address, block + count);
}

/// Whether every one of the `count` values is exactly zero; a NaN is not.
template <typename Element>
bool AreAllZero(const Element* values, __int64 count) {
    return std::all_of(values, values + count, [](Element value) { return value == 0; });
}

}  // namespace kvx
