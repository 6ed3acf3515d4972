// SPDX-License-Identifier: MIT
//
// What the tests of the containers share: the families as type lists, contents as vectors, bytes as text.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/data/detail/ArrayFamily.h>
#include <KvxDevCommon01/data/detail/MatrixFamily.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace kvx::testing {

template <class, class... Members>
using TypesAfterFirst = ::testing::Types<Members...>;
#define KVX_COMMA_CLASS(Class, Part) , Class
using AllArrays = TypesAfterFirst<void KVX_ALL_ARRAYS(KVX_COMMA_CLASS)>;
using GrowingArrays = TypesAfterFirst<void KVX_GROWING_ARRAYS(KVX_COMMA_CLASS)>;
using IntegerArrays = TypesAfterFirst<void KVX_INTEGER_ARRAYS(KVX_COMMA_CLASS)>;
using Int64Arrays = TypesAfterFirst<void KVX_INT64_ARRAYS(KVX_COMMA_CLASS)>;
using FloatingArrays = TypesAfterFirst<void KVX_FLOATING_ARRAYS(KVX_COMMA_CLASS)>;
using ArrayMatrices = TypesAfterFirst<void KVX_ARRAY_MATRICES(KVX_COMMA_CLASS)>;
using SnapshotMatrices = TypesAfterFirst<void KVX_SNAPSHOT_MATRICES(KVX_COMMA_CLASS)>;
#undef KVX_COMMA_CLASS

template <class Array>
using ElementOf = std::remove_pointer_t<decltype(std::declval<Array>().GetData())>;

template <class Array>
Array ArrayOf(const std::vector<ElementOf<Array>>& values) {
    return Array(static_cast<__int64>(values.size()), values.data());
}

template <class Array>
std::vector<ElementOf<Array>> Values(const Array& array) {
    return {array.GetData(), array.GetData() + array.GetNum()};
}

/// The vector 1, 2, ... n.
template <typename Element>
std::vector<Element> UpTo(int n) {
    std::vector<Element> values;
    for (int i = 1; i <= n; ++i) values.push_back(static_cast<Element>(i));
    return values;
}

inline constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kSmallestNormal = 2.2250738585072014e-308;

/// Counts that no machine can hold, some of them with a size in bytes that wraps, and a negative one.
inline constexpr __int64 kAbsurdCounts[] = {-1,
                                            __int64{1} << 50,
                                            __int64{1} << 60,
                                            (__int64{1} << 61) + 8,
                                            __int64{1} << 62,
                                            std::numeric_limits<__int64>::max()};

/// Defines a concept: whether `t` of a type can do that.
#define KVX_ABILITY(Name, ...)                         \
    template <class T>                                 \
    concept Name = requires(T t, CArchive & archive) { \
        __VA_ARGS__;                                   \
    }

}  // namespace kvx::testing
