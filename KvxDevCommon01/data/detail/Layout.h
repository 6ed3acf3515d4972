// SPDX-License-Identifier: MIT
//
// What the archive layouts of the containers have in common: the version word, 32-bit counts, and the promise
// that an object whose loading fails is empty.
#pragma once

#include <cstdint>
#include <limits>

#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {

/// The two generations of a layout: the first has no version word.
enum class Generation : int { first, current };

inline constexpr std::int32_t kLayoutVersion = 1;

inline void StoreVersion(CArchive& archive, Generation generation) {
    if (generation == Generation::current) archive << kLayoutVersion;
}

/// The version word carries no choice yet: whatever it says, one layout follows.
inline void SkipVersion(CArchive& archive, Generation generation) {
    std::int32_t version = 0;
    if (generation == Generation::current) archive >> version;
}

/// A count as the archive holds it. Throws rather than let a count that does not fit be written wrong.
inline std::int32_t ArchiveCount(__int64 count) {
    if (count > std::numeric_limits<std::int32_t>::max())
        throw CFileException(CFileException::genericException);
    return static_cast<std::int32_t>(count);
}

inline __int64 LoadCount(CArchive& archive) {
    std::int32_t count = 0;
    archive >> count;
    return count;
}

/// Empties `object`, runs `load`, and empties it again when that throws.
template <class Object, class Load>
void LoadOrEmpty(Object& object, Load load) {
    object.Free();
    try {
        load();
    } catch (...) {
        object.Free();
        throw;
    }
}

}  // namespace kvx
