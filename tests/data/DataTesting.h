// SPDX-License-Identifier: MIT
//
// What the tests of the containers share: the families as type lists, and contents as plain numbers.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/data/detail/ArrayFamily.h>
#include <KvxDevCommon01/data/detail/MatrixFamily.h>
#include <gtest/gtest.h>

#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace kvx::testing {

template <class, class... Members>
using TypesAfterFirst = ::testing::Types<Members...>;
#define KVX_COMMA_CLASS(Class, Part) , Class
using AllArrays = TypesAfterFirst<void KVX_ALL_ARRAYS(KVX_COMMA_CLASS)>;
using GrowingArrays = TypesAfterFirst<void KVX_NUMBER_ARRAYS(KVX_COMMA_CLASS)>;
using IntegerArrays = TypesAfterFirst<void KVX_INTEGER_ARRAYS(KVX_COMMA_CLASS)>;
using Int64Arrays = TypesAfterFirst<void KVX_INT64_ARRAYS(KVX_COMMA_CLASS)>;
using FloatingArrays = TypesAfterFirst<void KVX_FLOATING_ARRAYS(KVX_COMMA_CLASS)>;
using ArrayMatrices = TypesAfterFirst<void KVX_ARRAY_MATRICES(KVX_COMMA_CLASS)>;
using SnapshotMatrices = TypesAfterFirst<void KVX_RECORDING_MATRICES(KVX_COMMA_CLASS)>;
using Containers = TypesAfterFirst<void KVX_ALL_ARRAYS(KVX_COMMA_CLASS) KVX_ARRAY_MATRICES(KVX_COMMA_CLASS),
                                   CDataArrayDoubleCplx, CDataArrayCplx, CDataArrayDoubleMtxCplx,
                                   CDataArrayMtxCplx, CDataDoubleMtxCplx, CDataMtxCplx>;
#undef KVX_COMMA_CLASS

/// Declares the typed test suite `Name` over a type list.
#define KVX_FAMILY(Name, ...)         \
    template <class>                  \
    struct Name : ::testing::Test {}; \
    using Name##Types = __VA_ARGS__;  \
    TYPED_TEST_SUITE(Name, Name##Types)

using Numbers = std::vector<double>;

/// Calls `action(values, count)` for every block of a container: cell by cell, real before imaginary parts.
template <class Container, class Action>
void EachBlock(const Container& container, Action action) {
    if constexpr (requires { container.GetArrayPtr(0, 0); }) {
        for (__int64 row = 0; row < container.GetNumRow(); ++row) {
            for (__int64 col = 0; col < container.GetNumCol(); ++col)
                EachBlock(*container.GetArrayPtr(row, col), action);
        }
    } else if constexpr (requires { container.GetDataPtr(0, 0); }) {
        action(container.GetDataPtr(0, 0), container.GetNumRow() * container.GetNumCol());
    } else if constexpr (requires { container.GetReal(); }) {
        action(container.GetReal(), container.GetNum());
        if (container.GetImaginary()) action(container.GetImaginary(), container.GetNum());
    } else {
        action(container.GetData(), container.GetNum());
    }
}

/// All elements in the order of the blocks, of a complex number both parts.
template <class Container>
Numbers Contents(const Container& container) {
    Numbers all;
    EachBlock(container, [&](const auto* values, __int64 count) {
        for (const auto* value = values; value != values + count; ++value) {
            if constexpr (requires { value->GetReal(); }) {
                all.push_back(static_cast<double>(value->GetReal()));
                all.push_back(static_cast<double>(value->GetImaginary()));
            } else {
                all.push_back(static_cast<double>(*value));
            }
        }
    });
    return all;
}

/// `container` with other contents, in the order of Contents.
template <class Container>
Container Filled(Container container, const Numbers& numbers) {
    std::size_t next = 0;
    EachBlock(container, [&](auto* values, __int64 count) {
        for (auto* value = values; value != values + count; ++value) {
            if constexpr (requires { value->GetReal(); }) {
                using Real = decltype(value->GetReal());
                const auto re = static_cast<Real>(numbers.at(next++));
                value->SetData(re, static_cast<Real>(numbers.at(next++)));
            } else {
                *value = static_cast<std::remove_reference_t<decltype(*value)>>(numbers.at(next++));
            }
        }
    });
    EXPECT_EQ(next, numbers.size());
    return container;
}

template <class Array>
Array ArrayOf(const Numbers& numbers) {
    return Filled(Array(static_cast<__int64>(numbers.size()), nullptr), numbers);
}

/// A matrix of complex numbers, the parts of each number one after the other.
template <class Matrix>
Matrix NumbersOf(__int64 rows, __int64 cols, const Numbers& parts) {
    Matrix matrix;
    EXPECT_EQ(matrix.Create(rows, cols), 1);
    return Filled(std::move(matrix), parts);
}

/// Whether an operation succeeded and left these contents.
template <class Container>
::testing::AssertionResult Leaves(int result, const Container& container, const Numbers& contents) {
    const auto outcome = std::pair(result, Contents(container));
    if (outcome == std::pair(1, contents)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "result and contents: " << ::testing::PrintToString(outcome);
}

/// Whether every operation of a list was refused.
inline ::testing::AssertionResult AllFail(const std::vector<int>& results) {
    if (results == std::vector<int>(results.size())) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "results: " << ::testing::PrintToString(results);
}

/// The numbers first, first + 1, ... last.
inline Numbers FromTo(int first, int last) {
    Numbers values;
    for (int i = first; i <= last; ++i) values.push_back(i);
    return values;
}

inline constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kMarker = -1.7976931348623157e308;
inline constexpr double kSmallestNormal = 2.2250738585072014e-308;

/// Counts that no machine can hold, some of them with a size in bytes that wraps.
inline constexpr __int64 kAbsurdCounts[] = {__int64{1} << 50, __int64{1} << 60, (__int64{1} << 61) + 8,
                                            __int64{1} << 62, std::numeric_limits<__int64>::max()};

}  // namespace kvx::testing
