// SPDX-License-Identifier: MIT
//
// Matrices of arrays and of complex numbers.
#include <array>
#include <cmath>
#include <tuple>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

template <class Matrix>
using CellOf = std::remove_pointer_t<decltype(std::declval<Matrix>().GetArrayPtr(0, 0))>;

template <class Matrix>
void ExpectEmpty(const Matrix& matrix) {
    EXPECT_EQ(matrix == Matrix(), 1);
    EXPECT_EQ(Contents(matrix), Numbers());
}

/// Cells that are outside a matrix of 2 x 3.
constexpr std::pair<__int64, __int64> kOutside[] = {{2, 0}, {0, 3}, {-1, 0}, {0, -1}, {__int64{1} << 62, 0}};

// ---- matrices of real arrays

KVX_FAMILY(ArrayMatrixFamily, ArrayMatrices);

TYPED_TEST(ArrayMatrixFamily, IsCreatedAsCellsOfZerosRowByRow) {
    const TypeParam matrix(2, 3, 5);
    const std::array<__int64, 3> shape = {2, 3, 5};
    EXPECT_EQ((std::array{matrix.GetNumRow(), matrix.GetNumCol(), matrix.GetNum()}), shape);
    EXPECT_EQ(Contents(matrix), Numbers(30));
    EXPECT_EQ(matrix.GetArrayPtr(1, 2), matrix.GetArrayPtr(0, 0) + 5);
    EXPECT_EQ(matrix.GetDataPtr(1, 2), matrix.GetArrayPtr(1, 2)->GetData());
    for (const auto& [row, col] : kOutside)
        EXPECT_FALSE(matrix.GetArrayPtr(row, col) || matrix.GetDataPtr(row, col)) << row << ", " << col;
    EXPECT_EQ(TypeParam().GetArrayPtr(0, 0), nullptr);
    EXPECT_EQ(matrix == TypeParam(3, 2, 5), 0);
}

TYPED_TEST(ArrayMatrixFamily, CreatingNothingChangesNothingAndRefusedMemoryLeavesTheMatrixEmpty) {
    TypeParam matrix(2, 3, 5);
    for (const auto& [rows, cols, num] : {std::tuple{2, 3, 0}, {0, 3, 5}, {2, 0, 5}, {-2, -3, 5}, {2, 3, -5}})
        EXPECT_EQ(matrix.Create(rows, cols, num), 0) << rows << " x " << cols << " x " << num;
    EXPECT_EQ(matrix == TypeParam(2, 3, 5), 1);
    constexpr __int64 kOne = 1;
    for (const __int64 n : kAbsurdCounts) {
        for (const auto& [rows, cols, num] : {std::tuple{n, kOne, kOne}, {1, n, 1}, {2, 2, n}, {n, n, n}}) {
            matrix.Create(2, 3, 5);
            EXPECT_EQ(matrix.Create(rows, cols, num), 0) << rows << " x " << cols << " x " << num;
            ExpectEmpty(matrix);
        }
    }
}

TYPED_TEST(ArrayMatrixFamily, FillsWithAValueOrTheSameRun) {
    TypeParam matrix(1, 2, 2);
    EXPECT_TRUE(Leaves(matrix.SetData(7), matrix, {7, 7, 7, 7}));
    const auto run = ArrayOf<CellOf<TypeParam>>({1, 2, 3});
    EXPECT_TRUE(Leaves(matrix.SetData(3, run.GetData()), matrix, {1, 2, 3, 1, 2, 3}));
    EXPECT_EQ(matrix.GetNum(), 3);
    EXPECT_TRUE(Leaves(matrix.SetData(2, matrix.GetDataPtr(0, 0) + 1), matrix, {2, 3, 2, 3}))
        << "from its own first cell";
    EXPECT_TRUE(Leaves(matrix.SetData(1, nullptr), matrix, {0, 0}));
    EXPECT_TRUE(
        AllFail({TypeParam().SetData(7), TypeParam().SetData(1, nullptr), matrix.SetData(-1, nullptr)}));
    ExpectEmpty(matrix);
}

TYPED_TEST(ArrayMatrixFamily, CopiesRingsCellByCell) {
    const auto source = Filled(TypeParam(2, 2, 2), FromTo(1, 8));
    TypeParam matrix(2, 2, 2);
    EXPECT_TRUE(Leaves(matrix.Copy(source, 1, 0, 0), matrix, {2, 1, 4, 3, 6, 5, 8, 7}))
        << "0 means all samples";
    EXPECT_TRUE(AllFail({matrix.Copy(source, 0, 0, 3), matrix.Copy(TypeParam(4, 1, 2), 0, 0, 1),
                         TypeParam().Copy(source, 0, 0, 1)}));
    EXPECT_EQ(TypeParam().Copy(TypeParam(), 0, 0, 1), 1) << "nothing to copy";
}

KVX_FAMILY(SnapshotMatrixFamily, SnapshotMatrices);

TYPED_TEST(SnapshotMatrixFamily, AppendsOneSampleToEveryCell) {
    using Cell = CellOf<TypeParam>;
    TypeParam matrix(2, 2, 1);
    for (const int count : {3, 5}) EXPECT_EQ(matrix.Append(ArrayOf<Cell>(FromTo(1, count))), 0);
    EXPECT_EQ(Contents(matrix), Numbers(4));
    const auto snapshot = ArrayOf<Cell>(FromTo(1, 4));
    EXPECT_TRUE(Leaves(matrix.Append(snapshot), matrix, {0, 1, 0, 2, 0, 3, 0, 4}));
    EXPECT_EQ(matrix.GetNum(), 2);
    matrix.Zero();
    EXPECT_EQ(Contents(matrix), Numbers(8));
    EXPECT_EQ(TypeParam().Append(Cell()), 0);

    matrix.Create(1, 2, 1);
    ASSERT_EQ(matrix.SetData(0, nullptr), 1) << "recording starts without samples";
    for (const double first : {3, 4}) ASSERT_EQ(matrix.Append(ArrayOf<Cell>({first, 0})), 1);
    EXPECT_TRUE(Leaves(matrix.Append(*matrix.GetArrayPtr(0, 0)), matrix, {3, 4, 3, 0, 0, 4}))
        << "a cell of its own as snapshot";
}

TEST(DoubleMatrix, ScalesEverySample) {
    auto matrix = Filled(CDataArrayMtxDouble(1, 2, 1), {6, 8});
    EXPECT_EQ(Contents(((matrix *= 2.0) /= 0.0) /= 4.0), (Numbers{3, 4}));
}

TEST(DoubleMatrix, MeasuresTheRmsOfACell) {
    const auto matrix = Filled(CDataArrayMtxDouble(1, 3, 2), {9, 9, 1, 6, 9, 9});
    EXPECT_EQ(matrix.CalcRms(0, 1, 0, 0), std::sqrt(18.5));
    EXPECT_EQ(matrix.CalcRms(0, 1, -1, 1), 6.0);
    EXPECT_EQ(matrix.CalcRms(0, 1, 0, 3), 0.0) << "more than there is";
    EXPECT_EQ(matrix.CalcRms(0, 3, 0, 0), 0.0) << "no such cell";
}

TEST(DoubleMatrix, FindsTheRangeOverAllCells) {
    auto matrix = Filled(CDataArrayMtxDouble(1, 2, 2), {-3, -1, 8, 2});
    double min = 0, max = 0, pmin = 0;
    EXPECT_EQ(matrix.GetMinMaxAndPMin(0, &min, &max, &pmin), 1);
    EXPECT_EQ(pmin, 2) << "a cell without positive values has no say";
    EXPECT_EQ(matrix.GetMinMaxAndPMin(1, 1, &min, nullptr, nullptr), 1);
    EXPECT_EQ(min, -1);
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 1);
    EXPECT_EQ(std::pair(min, max), std::pair(-3.0, 8.0));
    matrix.GetArrayPtr(0, 1)->SetData(kMarker);
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 0) << "one cell of nothing but markers";
    EXPECT_TRUE(AllFail({matrix.GetMinMax(2, &min, &max), matrix.GetMinMax(-1, &min, &max),
                         CDataArrayMtxDouble().GetMinMax(0, &min, &max)}));
    EXPECT_EQ(min, -3);
}

TEST(LongMatrix, AddsToEverySampleModulo32Bits) {
    auto matrix = Filled(CDataArrayMtxLong(1, 2, 1), {0, 2147483647});
    EXPECT_EQ(Contents(matrix += 3), (Numbers{3, -2147483646}));
    std::int32_t min = 0, max = 0;
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 1);
    EXPECT_EQ(std::pair(min, max), std::pair(-2147483646, 3));
    EXPECT_EQ(matrix.GetMinMax(1, &min, &max), 0);
}

// ---- matrices of complex arrays

template <class Matrix>
using LineOf =
    std::conditional_t<std::is_same_v<Matrix, CDataArrayDoubleMtxCplx>, CDataDoubleMtxCplx, CDataMtxCplx>;

KVX_FAMILY(CplxArrayMatrixFamily, ::testing::Types<CDataArrayDoubleMtxCplx, CDataArrayMtxCplx>);

TYPED_TEST(CplxArrayMatrixFamily, SharesOneFlagAndLengthAmongTheCells) {
    TypeParam matrix(5, 2, 3, 4);
    EXPECT_EQ(matrix.IsComplex(), 1);
    EXPECT_EQ(*matrix.GetArrayPtr(1, 2) == CellOf<TypeParam>(1, 4), 1);
    EXPECT_EQ(matrix.GetReal(1, 2), matrix.GetArrayPtr(1, 2)->GetReal());
    EXPECT_EQ(matrix.GetImaginary(1, 2), matrix.GetArrayPtr(1, 2)->GetImaginary());
    EXPECT_FALSE(matrix.GetReal(2, 0) || matrix.GetImaginary(2, 0));
    EXPECT_EQ(matrix.Create(1, 2, 3, 0), 0);
    EXPECT_EQ(matrix == TypeParam(1, 2, 3, 4), 1);
    TypeParam other(0, 2, 3, 4);
    EXPECT_EQ(other.GetImaginary(0, 0), nullptr);
    EXPECT_EQ(other == matrix, 0);
    other = matrix;
    EXPECT_NE(other.GetImaginary(1, 2), nullptr);
    EXPECT_EQ(matrix.Create(1, __int64{1} << 31, __int64{1} << 33, 1), 0);
    ExpectEmpty(matrix);
}

TYPED_TEST(CplxArrayMatrixFamily, FillsScalesAndZeroes) {
    TypeParam matrix(1, 1, 2, 1), real(0, 1, 1, 1);
    EXPECT_TRUE(Leaves(matrix.SetData(6), matrix, {6, 6, 6, 6}));
    EXPECT_EQ(real.SetData(6), 1);
    EXPECT_EQ(TypeParam().SetData(6), 0);
    EXPECT_EQ(Contents(((matrix *= 2) /= 0) /= 4), (Numbers{3, 3, 3, 3}));
    EXPECT_EQ(Contents((real *= 2) /= 4), Numbers{6}) << "scaling leaves real-only cells alone";
    matrix.Zero();
    EXPECT_EQ(Contents(matrix), Numbers(4));
}

TYPED_TEST(CplxArrayMatrixFamily, CopiesPlainRunsAndAssignsCellsOfItsOwnShape) {
    using Cell = CellOf<TypeParam>;
    auto source = Filled(TypeParam(1, 1, 2, 3), FromTo(1, 12));
    TypeParam matrix(1, 1, 2, 2);
    EXPECT_TRUE(Leaves(matrix.Copy(source, 1, 0, 2), matrix, {2, 3, 5, 6, 8, 9, 11, 12}));
    EXPECT_EQ(matrix.Copy(source, 2, 0, 2), 0) << "no wrapping";
    EXPECT_EQ(matrix.Copy(TypeParam(0, 1, 2, 3), 0, 0, 1), 0) << "the flags differ";

    EXPECT_EQ(source.SetArrayPtr(0, 0, *source.GetArrayPtr(0, 1)), 1);
    EXPECT_TRUE(AllFail({source.SetArrayPtr(0, 2, Cell(1, 3)), source.SetArrayPtr(0, 0, Cell(1, 4)),
                         source.SetArrayPtr(0, 0, Cell(0, 3))}));
    EXPECT_EQ(Contents(source), (Numbers{7, 8, 9, 10, 11, 12, 7, 8, 9, 10, 11, 12}));
}

TYPED_TEST(CplxArrayMatrixFamily, ExchangesLinesWithAMatrixOfNumbers) {
    using Line = LineOf<TypeParam>;
    const auto line = NumbersOf<Line>(1, 2, {1, 2, 3, 4});
    TypeParam matrix(1, 1, 2, 2);
    EXPECT_TRUE(Leaves(matrix.SetDataFromMtxCplx(line, 1), matrix, {0, 1, 0, 2, 0, 3, 0, 4}));
    EXPECT_TRUE(Leaves(matrix.SetDataFromMtxCplxReal(line, 0), matrix, {1, 1, 0, 2, 3, 3, 0, 4}));

    Line out;
    EXPECT_EQ(matrix.SetMtxCplx(&out, 1), 1) << "created with the right shape";
    EXPECT_EQ(out == line, 1);
    EXPECT_EQ(Contents(out), Contents(line));
    const auto reals = Filled(TypeParam(1, 1, 2, 1), {5, 6, 7, 8});
    EXPECT_TRUE(Leaves(reals.SetMtxCplxReal(&out, 0), out, {5, 2, 7, 4})) << "imaginary parts stay";
    TypeParam real(0, 1, 2, 1);
    EXPECT_TRUE(Leaves(real.SetDataFromMtxCplx(line, 0), real, {1, 3}));
    EXPECT_TRUE(Leaves(real.SetMtxCplx(&out, 0), out, {1, 0, 3, 0}));
}

TYPED_TEST(CplxArrayMatrixFamily, BadLinesFail) {
    LineOf<TypeParam> line;
    line.Create(2, 1);
    TypeParam matrix(1, 1, 2, 5);
    EXPECT_EQ(matrix.SetDataFromMtxCplx(line, 0), 0);
    line.Create(1, 2);
    EXPECT_TRUE(AllFail({matrix.SetDataFromMtxCplx(line, -1), matrix.SetDataFromMtxCplx(line, 5),
                         matrix.SetMtxCplx(&line, 5), matrix.SetMtxCplx(nullptr, 0),
                         TypeParam().SetMtxCplx(&line, 0)}));
    matrix.GetArrayPtr(0, 1)->Free();  // a caller empties one cell
    EXPECT_TRUE(AllFail({matrix.SetDataFromMtxCplxReal(line, 0), matrix.SetMtxCplxReal(&line, 0)}));
}

// ---- matrices of complex numbers

KVX_FAMILY(CplxMatrixFamily, ::testing::Types<CDataDoubleMtxCplx, CDataMtxCplx>);

TYPED_TEST(CplxMatrixFamily, CreatesZerosAndAnEmptyMatrixIsASuccess) {
    TypeParam matrix;
    EXPECT_TRUE(Leaves(matrix.Create(2, 3), matrix, Numbers(12)));
    EXPECT_EQ((std::array{matrix.GetNumRow(), matrix.GetNumCol()}), (std::array<__int64, 2>{2, 3}));
    EXPECT_EQ(matrix.GetDataPtr(1, 2), matrix.GetDataPtr(0, 0) + 5);
    for (const auto& [row, col] : kOutside) EXPECT_EQ(matrix.GetDataPtr(row, col), nullptr);
    for (const auto& [rows, cols] : {std::pair{0, 3}, {3, 0}, {0, 0}, {-1, 3}}) {
        matrix.Create(1, 1);
        EXPECT_EQ(matrix.Create(rows, cols), 1);
        ExpectEmpty(matrix);
    }
    for (const __int64 count : kAbsurdCounts) {
        matrix.Create(1, 1);
        EXPECT_TRUE(AllFail({matrix.Create(count, count), matrix.Create(1, count)})) << count;
        ExpectEmpty(matrix);
    }
    EXPECT_EQ(matrix.Create(-1, -1), 0);
}

TYPED_TEST(CplxMatrixFamily, GivesItsValues) {
    auto matrix = NumbersOf<TypeParam>(1, 2, {1, 2, 3, 4});
    EXPECT_EQ(matrix == NumbersOf<TypeParam>(2, 1, {1, 2, 3, 4}), 0);
    EXPECT_EQ(matrix.GetReal(0, 1), 3);
    EXPECT_EQ(matrix.GetImaginary(0, 1), 4);
    EXPECT_EQ(matrix.GetAbsSq(0, 1), 25);
    EXPECT_TRUE(Leaves(matrix.SetData(0, 0, {0, 0}), matrix, {0, 0, 3, 4}));
    EXPECT_EQ(matrix.GetNormEuclid(), 5);
    EXPECT_EQ(matrix.SetData(1, 0, {0, 0}), 0);
    EXPECT_EQ(matrix.GetReal(1, 0), 0);
    EXPECT_EQ(matrix.GetAbsSq(0, -1), 0);
    matrix.Zero();
    EXPECT_EQ(Contents(matrix), Numbers(4));
    EXPECT_EQ(TypeParam().GetNormEuclid(), 0);
}

TYPED_TEST(CplxMatrixFamily, MultipliesByTheInnerIndex) {
    const auto a = NumbersOf<TypeParam>(2, 3, {1, 1, 2, 0, 0, 0, /**/ 0, 0, 0, 1, 3, 0});
    const auto b = NumbersOf<TypeParam>(3, 1, {1, -1, 4, 0, 0, 2});
    TypeParam out;
    EXPECT_EQ(TypeParam::Mul(a, b, &out), 0) << "the output is not created";
    out.Create(2, 1);
    EXPECT_TRUE(Leaves(TypeParam::Mul(a, b, &out), out, {10, 0, 0, 10}));
    EXPECT_TRUE(AllFail({TypeParam::Mul(b, a, &out), TypeParam::Mul(a, b, nullptr)}));
}

TYPED_TEST(CplxMatrixFamily, TheOutputMayBeAnOperand) {
    auto matrix = NumbersOf<TypeParam>(2, 2, {1, 0, 2, 1, 3, 0, 4, -1});
    EXPECT_TRUE(Leaves(TypeParam::Trans(matrix, &matrix), matrix, {1, 0, 3, 0, 2, 1, 4, -1}));
    EXPECT_TRUE(Leaves(TypeParam::Conj(matrix, &matrix), matrix, {1, 0, 3, 0, 2, -1, 4, 1}));
    EXPECT_TRUE(Leaves(TypeParam::Add(matrix, matrix, &matrix), matrix, {2, 0, 6, 0, 4, -2, 8, 2}));
    EXPECT_TRUE(Leaves(TypeParam::Mul(matrix, matrix, &matrix), matrix, {28, -12, 60, 12, 44, -12, 84, 20}));
}

TYPED_TEST(CplxMatrixFamily, TransposesWithoutConjugation) {
    const auto a = NumbersOf<TypeParam>(2, 3, FromTo(1, 12));
    TypeParam out;
    out.Create(3, 2);
    EXPECT_TRUE(Leaves(TypeParam::Trans(a, &out), out, {1, 2, 7, 8, 3, 4, 9, 10, 5, 6, 11, 12}));
    EXPECT_TRUE(AllFail({TypeParam::Trans(out, &out), TypeParam::Conj(a, &out), TypeParam::Add(a, a, &out),
                         TypeParam::Trans(a, nullptr)}));
}

}  // namespace
