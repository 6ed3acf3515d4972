// SPDX-License-Identifier: MIT
//
// How the archive layouts of the containers begin, for all who load or store one, as a whole or block by
// block: a version word, then flags and counts in 32 bits each. And the promise that an object whose loading
// fails is empty. The records of files/ are laid out with the same heads.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <tuple>

#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>

class CDataArrayDoubleMtxCplx;

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

// ---- the words behind the version, in their order; a flag is 0 or not

/// In front of the elements of an array.
struct ArrayHead {
    __int64 num = 0;
    auto Words() { return std::array{&num}; }
};

/// In front of the parts of a complex array: `num` real ones, then as many imaginary ones if it is complex.
struct CplxArrayHead {
    __int64 isComplex = 0;
    __int64 num = 0;
    auto Words() { return std::array{&isComplex, &num}; }
};

/// In front of the arrays of a matrix, row by row; each has its own head and `num` elements.
struct ArrayMatrixHead {
    __int64 rows = 0;
    __int64 cols = 0;
    __int64 num = 0;
    auto Words() { return std::array{&rows, &cols, &num}; }
};

/// In front of the complex arrays of a matrix.
struct CplxArrayMatrixHead {
    __int64 isComplex = 0;
    __int64 rows = 0;
    __int64 cols = 0;
    __int64 num = 0;
    auto Words() { return std::array{&isComplex, &rows, &cols, &num}; }
};

/// In front of the values of a complex matrix.
struct CplxMatrixHead {
    __int64 rows = 0;
    __int64 cols = 0;
    auto Words() { return std::array{&rows, &cols}; }
};

/// Bytes of a head with its version word.
template <class Head>
constexpr std::size_t HeadBytes(Generation generation) {
    constexpr std::size_t kWords = std::tuple_size_v<decltype(Head().Words())>;
    return sizeof(std::int32_t) * (kWords + (generation == Generation::current ? 1 : 0));
}

/// Throws, before anything is written, rather than let a count that needs more than 32 bits be written wrong.
template <class Head>
void StoreHead(CArchive& archive, Generation generation, Head head) {
    for (const __int64* word : head.Words()) {
        if (*word > std::numeric_limits<std::int32_t>::max())
            throw CFileException(CFileException::genericException);
    }
    StoreVersion(archive, generation);
    for (const __int64* word : head.Words()) archive << static_cast<std::int32_t>(*word);
}

template <class Head>
Head LoadHead(CArchive& archive, Generation generation) {
    SkipVersion(archive, generation);
    Head head;
    for (__int64* word : head.Words()) {
        std::int32_t loaded = 0;
        archive >> loaded;
        *word = loaded;
    }
    return head;
}

/// Runs `load`, and empties `object` when that throws.
template <class Object, class Load>
void LoadOrEmpty(Object& object, Load load) {
    try {
        load();
    } catch (...) {
        object.Free();
        throw;
    }
}

/// As the Create of the matrix, for samples that are all loaded next: what they are before is open, and a
/// matrix of that shape stays what it is.
bool CreateForLoading(CDataArrayDoubleMtxCplx& matrix, int isComplex, __int64 rows, __int64 cols,
                      __int64 num);

}  // namespace kvx
