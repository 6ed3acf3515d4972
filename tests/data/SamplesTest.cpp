// SPDX-License-Identifier: MIT
//
// Arrays as ranges and the samples of containers as spans.
#include <KvxDevCommon01/data/Samples.h>

#include <algorithm>
#include <concepts>
#include <ranges>
#include <span>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;
using kvx::ImaginarySamples, kvx::Samples;

/// Whether the samples of containers (whole, or of a cell) are `Element`s, and const for const ones.
template <class Element, class Container, class... Cell>
constexpr bool kAreSpansOf =
    std::same_as<decltype(Samples(std::declval<Container&>(), Cell()...)), std::span<Element>>&& std::same_as<
        decltype(Samples(std::declval<const Container&>(), Cell()...)), std::span<const Element>>;

KVX_FAMILY(ArrayViews, AllArrays);

TYPED_TEST(ArrayViews, AreItsElementsInPlace) {
    using Element = std::remove_reference_t<decltype(*TypeParam().GetData())>;
    static_assert(kAreSpansOf<Element, TypeParam> && std::ranges::contiguous_range<TypeParam>);
    static_assert(std::convertible_to<const TypeParam&, std::span<const Element>>);
    static_assert(!std::convertible_to<const TypeParam&, std::span<Element>>);

    TypeParam array = ArrayOf<TypeParam>({3, 1, 2});
    double sum = 0.0;
    for (const Element x : std::as_const(array)) sum += static_cast<double>(x);
    EXPECT_EQ(sum, 6.0);
    for (auto& x : array) x += 1;
    Samples(array).back() = 9;
    std::ranges::sort(array);
    EXPECT_EQ(Contents(array), (Numbers{2, 4, 9}));
    EXPECT_EQ(Samples(std::as_const(array)).data(), array.GetData());
    EXPECT_TRUE(Samples(TypeParam()).empty() && std::ranges::empty(TypeParam()));
    EXPECT_TRUE(Samples(TypeParam(0, nullptr)).empty()) << "a block without elements";
}

KVX_FAMILY(ArrayMatrixViews, ArrayMatrices);

TYPED_TEST(ArrayMatrixViews, AreTheSamplesOfOneCell) {
    using Element = std::remove_reference_t<decltype(*TypeParam().GetDataPtr(0, 0))>;
    static_assert(kAreSpansOf<Element, TypeParam, int, int>);
    TypeParam matrix(2, 3, 4);
    std::ranges::fill(Samples(matrix, 1, 2), Element(7));
    Numbers expected(2 * 3 * 4);
    std::fill(expected.end() - 4, expected.end(), 7);
    EXPECT_EQ(Contents(matrix), expected);
    matrix.GetArrayPtr(0, 1)->SetData(2, nullptr);
    EXPECT_EQ(Samples(std::as_const(matrix), 0, 1).size(), 2u) << "a cell that was resized";
    for (const auto& [row, column] : {std::pair(-1, 0), std::pair(2, 0), std::pair(0, 3)})
        EXPECT_TRUE(Samples(matrix, row, column).empty() &&
                    Samples(std::as_const(matrix), row, column).empty());
}

template <class Array, class Matrix, typename Real>
void ExpectViewsOfParts() {
    static_assert(kAreSpansOf<Real, Array> && kAreSpansOf<Real, Matrix, int, int>);
    const Array array = Filled(Array(1, 2), {1, 2, 3, 4});
    EXPECT_TRUE(std::ranges::equal(Samples(array), Numbers{1, 2}));
    EXPECT_TRUE(std::ranges::equal(ImaginarySamples(array), Numbers{3, 4}));
    Array real = Filled(Array(0, 2), {1, 2});
    std::ranges::fill(Samples(real), Real(5));
    EXPECT_EQ(Contents(real), (Numbers{5, 5}));
    EXPECT_TRUE(ImaginarySamples(real).empty());

    Matrix matrix(1, 1, 2, 2);
    std::ranges::fill(Samples(matrix, 0, 0), Real(1));
    std::ranges::fill(ImaginarySamples(matrix, 0, 1), Real(2));
    EXPECT_EQ(Contents(matrix), (Numbers{1, 1, 0, 0, 0, 0, 2, 2}));
    const Matrix& seen = matrix;
    EXPECT_EQ(ImaginarySamples(seen, 0, 1).data(), seen.GetImaginary(0, 1));
    EXPECT_EQ(Samples(seen, 0, 1).size(), 2u);
    EXPECT_TRUE(Samples(seen, 0, 2).empty() && ImaginarySamples(matrix, 1, 0).empty());
}

TEST(CplxViews, AreTheRealAndTheImaginaryParts) {
    ExpectViewsOfParts<CDataArrayDoubleCplx, CDataArrayDoubleMtxCplx, double>();
    ExpectViewsOfParts<CDataArrayCplx, CDataArrayMtxCplx, float>();
}

}  // namespace
