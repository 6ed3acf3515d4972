// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/detail/Memory.h>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace kvx {
namespace {

// The sanitizers watch the ends of allocations, so under them every block is one, of exactly its size.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KVX_WATCHED_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define KVX_WATCHED_MEMORY 1
#endif
#endif

#if defined(__linux__) && !defined(KVX_WATCHED_MEMORY)

/// A large page, of which mapped blocks are made. A block wastes up to one: those that are mapped are at
/// least twice as large.
constexpr std::size_t kPage = std::size_t{1} << 21;

constexpr bool IsMapped(std::size_t bytes) {
    return bytes >= 2 * kPage;
}

constexpr std::size_t WholePages(std::size_t bytes) {
    return (bytes + kPage - 1) / kPage * kPage;
}

/// `size` bytes of the host's pages; null when it has none.
std::byte* Reserve(std::size_t size) {
    void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<std::byte*>(memory);
}

void Return(std::byte* memory, std::size_t size) {
    if (size > 0) ::munmap(memory, size);
}

/// The bytes up to the next address at which a large page can begin.
std::size_t BytesToPage(const std::byte* memory) {
    return (kPage - reinterpret_cast<std::uintptr_t>(memory) % kPage) % kPage;
}

/// `size` bytes, whole pages, that begin where a large page can. Recent kernels place them so of themselves.
std::byte* Map(std::size_t size) {
    std::byte* memory = Reserve(size);
    if (memory != nullptr && BytesToPage(memory) > 0) {
        Return(memory, size);
        memory = Reserve(size + kPage);
        if (memory == nullptr) return nullptr;
        const std::size_t before = BytesToPage(memory);
        Return(memory, before);
        memory += before;
        Return(memory + size, kPage - before);
    }
    // A host without large pages refuses, and takes small ones.
    if (memory != nullptr) ::madvise(memory, size, MADV_HUGEPAGE);
    return memory;
}

/// The mapped block at a place of another size, in pages; it keeps what it holds.
void* Remap(void* block, std::size_t size, std::size_t wanted) {
    if (wanted == size) return block;
    if (::mremap(block, size, wanted, 0) != MAP_FAILED) return block;
    std::byte* const place = Map(wanted);
    if (place == nullptr) return nullptr;
    if (::mremap(block, size, wanted, MREMAP_MAYMOVE | MREMAP_FIXED, place) != MAP_FAILED) return place;
    Return(place, wanted);
    return nullptr;
}

void* MapBlock(std::size_t bytes) {
    return bytes <= std::numeric_limits<std::ptrdiff_t>::max() ? Map(WholePages(bytes)) : nullptr;
}
void UnmapBlock(void* block, std::size_t bytes) {
    Return(static_cast<std::byte*>(block), WholePages(bytes));
}
void* RemapBlock(void* block, std::size_t bytes, std::size_t wanted) {
    return Remap(block, WholePages(bytes), WholePages(wanted));
}

#else

constexpr bool IsMapped(std::size_t) {
    return false;
}
void* MapBlock(std::size_t) {
    return nullptr;
}
void UnmapBlock(void*, std::size_t) {}
void* RemapBlock(void*, std::size_t, std::size_t) {
    return nullptr;
}

#endif

#if defined(KVX_WATCHED_MEMORY)

void* AllocateSmall(std::size_t bytes) {
    return std::malloc(bytes);
}
void* AllocateSmallZeroed(std::size_t bytes) {
    return std::calloc(bytes, 1);
}
void* ResizeSmall(void* block, std::size_t, std::size_t wanted) {
    return std::realloc(block, wanted);
}
void FreeSmall(void* block) {
    std::free(block);
}

#else

// Small blocks begin on a cache line, which vectors of the widest registers must not straddle. The allocation
// that a block lies in begins up to a line before it; the address of that stands just before the block.

constexpr std::size_t kLine = 64;
constexpr std::size_t kSmallExtra = sizeof(void*) + kLine;

std::byte* BlockIn(void* allocation) {
    std::byte* const first = static_cast<std::byte*>(allocation) + sizeof(void*);
    return first + (kLine - reinterpret_cast<std::uintptr_t>(first) % kLine) % kLine;
}

void* AllocationOf(const void* block) {
    void* allocation;
    std::memcpy(&allocation, static_cast<const std::byte*>(block) - sizeof allocation, sizeof allocation);
    return allocation;
}

void* Begin(void* allocation) {
    if (allocation == nullptr) return nullptr;
    std::byte* const block = BlockIn(allocation);
    std::memcpy(block - sizeof allocation, &allocation, sizeof allocation);
    return block;
}

void* AllocateSmall(std::size_t bytes) {
    return Begin(std::malloc(bytes + kSmallExtra));
}
void* AllocateSmallZeroed(std::size_t bytes) {
    return Begin(std::calloc(bytes + kSmallExtra, 1));
}
void* ResizeSmall(void* block, std::size_t kept, std::size_t wanted) {
    void* const allocation = AllocationOf(block);
    const std::ptrdiff_t offset = static_cast<std::byte*>(block) - static_cast<std::byte*>(allocation);
    auto* const moved = static_cast<std::byte*>(std::realloc(allocation, wanted + kSmallExtra));
    if (moved == nullptr) return nullptr;
    std::byte* const place = BlockIn(moved);
    if (place != moved + offset && kept > 0) std::memmove(place, moved + offset, kept);
    return Begin(moved);
}
void FreeSmall(void* block) {
    if (block != nullptr) std::free(AllocationOf(block));
}

#endif

}  // namespace

void* AllocateMemory(std::size_t bytes) noexcept {
    return IsMapped(bytes) ? MapBlock(bytes) : AllocateSmall(bytes);
}

void* AllocateZeroedMemory(std::size_t bytes) noexcept {
    return IsMapped(bytes) ? MapBlock(bytes) : AllocateSmallZeroed(bytes);
}

void* ResizeMemory(void* block, std::size_t bytes, std::size_t kept, std::size_t wanted) noexcept {
    if (block != nullptr && IsMapped(bytes) == IsMapped(wanted))
        return IsMapped(bytes) ? RemapBlock(block, bytes, wanted) : ResizeSmall(block, kept, wanted);
    void* const resized = AllocateMemory(wanted);
    if (resized != nullptr && kept > 0) std::memcpy(resized, block, kept);
    if (resized != nullptr) FreeMemory(block, bytes);
    return resized;
}

bool IsMemoryZeroUntilWritten(std::size_t bytes) noexcept {
    return IsMapped(bytes);
}

void FreeMemory(void* block, std::size_t bytes) noexcept {
    if (IsMapped(bytes)) {
        UnmapBlock(block, bytes);
    } else {
        FreeSmall(block);
    }
}

std::size_t RoomyMemorySize(std::size_t bytes) noexcept {
#if defined(KVX_WATCHED_MEMORY)
    return bytes;
#else
    constexpr std::size_t kSmall = std::size_t{1} << 16;
    return bytes <= kSmall ? bytes : std::bit_ceil(bytes);
#endif
}

}  // namespace kvx
