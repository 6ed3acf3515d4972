// SPDX-License-Identifier: MIT
//
// Matrices of arrays and of complex numbers.
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
    EXPECT_EQ(matrix.GetNumRow(), 2);
    EXPECT_EQ(matrix.GetNumCol(), 3);
    EXPECT_EQ(matrix.GetNum(), 5);
    EXPECT_EQ(Contents(matrix), Numbers(30));
    EXPECT_EQ(matrix.GetArrayPtr(1, 2), matrix.GetArrayPtr(0, 0) + 5);
    EXPECT_EQ(matrix.GetDataPtr(1, 2), matrix.GetArrayPtr(1, 2)->GetData());
    for (const auto& [row, col] : kOutside) {
        EXPECT_EQ(matrix.GetArrayPtr(row, col), nullptr);
        EXPECT_EQ(matrix.GetDataPtr(row, col), nullptr);
    }
    EXPECT_EQ(TypeParam().GetArrayPtr(0, 0), nullptr);
    EXPECT_EQ(matrix == TypeParam(3, 2, 5), 0);
}

TYPED_TEST(ArrayMatrixFamily, CreatingNothingChangesNothingAndRefusedMemoryLeavesTheMatrixEmpty) {
    TypeParam matrix(2, 3, 5);
    for (const auto& [rows, cols, num] :
         {std::tuple{2, 3, 0}, {0, 3, 5}, {2, 0, 5}, {-2, -3, 5}, {2, 3, -5}}) {
        EXPECT_EQ(matrix.Create(rows, cols, num), 0);
        EXPECT_EQ(matrix == TypeParam(2, 3, 5), 1);
    }
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
    EXPECT_EQ(matrix.SetData(7), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{7, 7, 7, 7}));
    EXPECT_EQ(matrix.SetData(3, ArrayOf<CellOf<TypeParam>>({1, 2, 3}).GetData()), 1);
    EXPECT_EQ(matrix.GetNum(), 3);
    EXPECT_EQ(Contents(matrix), (Numbers{1, 2, 3, 1, 2, 3}));
    EXPECT_EQ(matrix.SetData(2, matrix.GetDataPtr(0, 0) + 1), 1) << "from its own first cell";
    EXPECT_EQ(Contents(matrix), (Numbers{2, 3, 2, 3}));
    EXPECT_EQ(matrix.SetData(1, nullptr), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{0, 0}));
    EXPECT_EQ(TypeParam().SetData(7), 0);
    EXPECT_EQ(TypeParam().SetData(1, nullptr), 0);
    EXPECT_EQ(matrix.SetData(-1, nullptr), 0);
    ExpectEmpty(matrix);
}

TYPED_TEST(ArrayMatrixFamily, CopiesRingsCellByCell) {
    const auto source = Filled(TypeParam(2, 2, 2), FromTo(1, 8));
    TypeParam matrix(2, 2, 2);
    EXPECT_EQ(matrix.Copy(source, 1, 0, 0), 1) << "0 means all samples";
    EXPECT_EQ(Contents(matrix), (Numbers{2, 1, 4, 3, 6, 5, 8, 7}));
    EXPECT_EQ(matrix.Copy(source, 0, 0, 3), 0);
    EXPECT_EQ(matrix.Copy(TypeParam(4, 1, 2), 0, 0, 1), 0);
    EXPECT_EQ(TypeParam().Copy(source, 0, 0, 1), 0);
    EXPECT_EQ(TypeParam().Copy(TypeParam(), 0, 0, 1), 1) << "nothing to copy";
}

KVX_FAMILY(SnapshotMatrixFamily, SnapshotMatrices);

TYPED_TEST(SnapshotMatrixFamily, AppendsOneSampleToEveryCell) {
    using Cell = CellOf<TypeParam>;
    TypeParam matrix(2, 2, 1);
    EXPECT_EQ(matrix.Append(ArrayOf<Cell>(FromTo(1, 3))), 0);
    EXPECT_EQ(matrix.Append(ArrayOf<Cell>(FromTo(1, 5))), 0);
    EXPECT_EQ(matrix.GetNum(), 1);
    EXPECT_EQ(matrix.Append(ArrayOf<Cell>(FromTo(1, 4))), 1);
    EXPECT_EQ(matrix.GetNum(), 2);
    EXPECT_EQ(Contents(matrix), (Numbers{0, 1, 0, 2, 0, 3, 0, 4}));
    matrix.Zero();
    EXPECT_EQ(Contents(matrix), Numbers(8));
    EXPECT_EQ(TypeParam().Append(Cell()), 0);

    matrix.Create(1, 2, 1);
    ASSERT_EQ(matrix.SetData(0, nullptr), 1) << "recording starts without samples";
    ASSERT_EQ(matrix.Append(ArrayOf<Cell>({3, 0})), 1);
    ASSERT_EQ(matrix.Append(ArrayOf<Cell>({4, 0})), 1);
    EXPECT_EQ(matrix.Append(*matrix.GetArrayPtr(0, 0)), 1) << "a cell of its own as snapshot";
    EXPECT_EQ(Contents(matrix), (Numbers{3, 4, 3, 0, 0, 4}));
}

TEST(DoubleMatrix, ScalesEverySample) {
    auto matrix = Filled(CDataArrayMtxDouble(1, 2, 1), {6, 8});
    matrix *= 2.0;
    matrix /= 0.0;
    matrix /= 4.0;
    EXPECT_EQ(Contents(matrix), (Numbers{3, 4}));
}

TEST(DoubleMatrix, MeasuresTheRmsOfACell) {
    const auto matrix = Filled(CDataArrayMtxDouble(1, 3, 2), {9, 9, 1, 6, 9, 9});
    EXPECT_EQ(matrix.CalcRms(0, 1, 0, 0), std::sqrt(18.5));
    EXPECT_EQ(matrix.CalcRms(0, 1, -1, 1), 6.0);
    EXPECT_EQ(matrix.CalcRms(0, 1, 0, 3), 0.0);
    EXPECT_EQ(matrix.CalcRms(0, 3, 0, 0), 0.0);
}

TEST(DoubleMatrix, FindsTheRangeOverAllCells) {
    auto matrix = Filled(CDataArrayMtxDouble(1, 2, 2), {-3, -1, 8, 2});
    double min = 0, max = 0, pmin = 0;
    EXPECT_EQ(matrix.GetMinMaxAndPMin(0, &min, &max, &pmin), 1);
    EXPECT_EQ(pmin, 2) << "a cell without positive values has no say";
    EXPECT_EQ(matrix.GetMinMaxAndPMin(1, 1, &min, nullptr, nullptr), 1);
    EXPECT_EQ(min, -1);
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 1);
    EXPECT_EQ(min, -3);
    EXPECT_EQ(max, 8);

    matrix.GetArrayPtr(0, 1)->SetData(kMarker);
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 0) << "one cell of nothing but markers";
    EXPECT_EQ(matrix.GetMinMax(2, &min, &max), 0);
    EXPECT_EQ(matrix.GetMinMax(-1, &min, &max), 0);
    EXPECT_EQ(CDataArrayMtxDouble().GetMinMax(0, &min, &max), 0);
    EXPECT_EQ(min, -3);
}

TEST(LongMatrix, AddsToEverySampleModulo32Bits) {
    auto matrix = Filled(CDataArrayMtxLong(1, 2, 1), {0, 2147483647});
    matrix += 3;
    std::int32_t min = 0, max = 0;
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 1);
    EXPECT_EQ(min, -2147483646);
    EXPECT_EQ(max, 3);
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
    EXPECT_EQ(matrix.GetReal(2, 0), nullptr);
    EXPECT_EQ(matrix.GetImaginary(2, 0), nullptr);
    EXPECT_EQ(TypeParam(0, 2, 3, 4).GetImaginary(0, 0), nullptr);
    EXPECT_EQ(matrix.Create(1, 2, 3, 0), 0);
    EXPECT_EQ(matrix == TypeParam(1, 2, 3, 4), 1);
    TypeParam other(0, 2, 3, 4);
    EXPECT_EQ(other == matrix, 0);
    other = matrix;
    EXPECT_EQ(other == matrix, 1);
    EXPECT_NE(other.GetImaginary(1, 2), nullptr);
    EXPECT_EQ(matrix.Create(1, __int64{1} << 31, __int64{1} << 33, 1), 0);
    ExpectEmpty(matrix);
}

TYPED_TEST(CplxArrayMatrixFamily, FillsScalesAndZeroes) {
    TypeParam matrix(1, 1, 2, 1), real(0, 1, 1, 1);
    EXPECT_EQ(matrix.SetData(6), 1);
    EXPECT_EQ(real.SetData(6), 1);
    EXPECT_EQ(TypeParam().SetData(6), 0);
    for (TypeParam* scaled : {&matrix, &real}) {
        *scaled *= 2;
        *scaled /= 0;
        *scaled /= 4;
    }
    EXPECT_EQ(Contents(matrix), (Numbers{3, 3, 3, 3}));
    EXPECT_EQ(Contents(real), Numbers{6}) << "scaling leaves real-only cells alone";
    matrix.Zero();
    EXPECT_EQ(Contents(matrix), Numbers(4));
}

TYPED_TEST(CplxArrayMatrixFamily, CopiesPlainRunsAndAssignsCellsOfItsOwnShape) {
    using Cell = CellOf<TypeParam>;
    auto source = Filled(TypeParam(1, 1, 2, 3), FromTo(1, 12));
    TypeParam matrix(1, 1, 2, 2);
    EXPECT_EQ(matrix.Copy(source, 1, 0, 2), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{2, 3, 5, 6, 8, 9, 11, 12}));
    EXPECT_EQ(matrix.Copy(source, 2, 0, 2), 0) << "no wrapping";
    EXPECT_EQ(matrix.Copy(TypeParam(0, 1, 2, 3), 0, 0, 1), 0) << "the flags differ";

    EXPECT_EQ(source.SetArrayPtr(0, 0, *source.GetArrayPtr(0, 1)), 1);
    EXPECT_EQ(source.SetArrayPtr(0, 2, Cell(1, 3)), 0);
    EXPECT_EQ(source.SetArrayPtr(0, 0, Cell(1, 4)), 0);
    EXPECT_EQ(source.SetArrayPtr(0, 0, Cell(0, 3)), 0);
    EXPECT_EQ(Contents(source), (Numbers{7, 8, 9, 10, 11, 12, 7, 8, 9, 10, 11, 12}));
}

TYPED_TEST(CplxArrayMatrixFamily, ExchangesLinesWithAMatrixOfNumbers) {
    using Line = LineOf<TypeParam>;
    const auto line = NumbersOf<Line>(1, 2, {1, 2, 3, 4});
    TypeParam matrix(1, 1, 2, 2);
    EXPECT_EQ(matrix.SetDataFromMtxCplx(line, 1), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{0, 1, 0, 2, 0, 3, 0, 4}));
    EXPECT_EQ(matrix.SetDataFromMtxCplxReal(line, 0), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{1, 1, 0, 2, 3, 3, 0, 4}));

    Line out;
    EXPECT_EQ(matrix.SetMtxCplx(&out, 1), 1) << "created with the right shape";
    EXPECT_EQ(out == line, 1);
    EXPECT_EQ(Contents(out), Contents(line));
    EXPECT_EQ(Filled(TypeParam(1, 1, 2, 1), {5, 6, 7, 8}).SetMtxCplxReal(&out, 0), 1);
    EXPECT_EQ(Contents(out), (Numbers{5, 2, 7, 4})) << "the imaginary parts stay";

    TypeParam real(0, 1, 2, 1);
    EXPECT_EQ(real.SetDataFromMtxCplx(line, 0), 1);
    EXPECT_EQ(real.SetMtxCplx(&out, 0), 1);
    EXPECT_EQ(Contents(out), (Numbers{1, 0, 3, 0}));
}

TYPED_TEST(CplxArrayMatrixFamily, BadLinesFail) {
    LineOf<TypeParam> line;
    line.Create(2, 1);
    TypeParam matrix(1, 1, 2, 5);
    EXPECT_EQ(matrix.SetDataFromMtxCplx(line, 0), 0);
    line.Create(1, 2);
    EXPECT_EQ(matrix.SetDataFromMtxCplx(line, -1), 0);
    EXPECT_EQ(matrix.SetDataFromMtxCplx(line, 5), 0);
    EXPECT_EQ(matrix.SetMtxCplx(&line, 5), 0);
    EXPECT_EQ(matrix.SetMtxCplx(nullptr, 0), 0);
    EXPECT_EQ(TypeParam().SetMtxCplx(&line, 0), 0);
    matrix.GetArrayPtr(0, 1)->Free();
    EXPECT_EQ(matrix.SetDataFromMtxCplxReal(line, 0), 0) << "a caller emptied one cell";
    EXPECT_EQ(matrix.SetMtxCplxReal(&line, 0), 0);
}

// ---- matrices of complex numbers

KVX_FAMILY(CplxMatrixFamily, ::testing::Types<CDataDoubleMtxCplx, CDataMtxCplx>);

TYPED_TEST(CplxMatrixFamily, CreatesZerosAndAnEmptyMatrixIsASuccess) {
    TypeParam matrix;
    EXPECT_EQ(matrix.Create(2, 3), 1);
    EXPECT_EQ(matrix.GetNumRow(), 2);
    EXPECT_EQ(matrix.GetNumCol(), 3);
    EXPECT_EQ(Contents(matrix), Numbers(12));
    EXPECT_EQ(matrix.GetDataPtr(1, 2), matrix.GetDataPtr(0, 0) + 5);
    for (const auto& [row, col] : kOutside) EXPECT_EQ(matrix.GetDataPtr(row, col), nullptr);
    for (const auto& [rows, cols] : {std::pair{0, 3}, {3, 0}, {0, 0}, {-1, 3}}) {
        matrix.Create(1, 1);
        EXPECT_EQ(matrix.Create(rows, cols), 1);
        ExpectEmpty(matrix);
    }
    for (const __int64 count : kAbsurdCounts) {
        matrix.Create(1, 1);
        EXPECT_EQ(matrix.Create(count, count), 0);
        ExpectEmpty(matrix);
        EXPECT_EQ(matrix.Create(1, count), 0);
    }
    EXPECT_EQ(matrix.Create(-1, -1), 0);
}

TYPED_TEST(CplxMatrixFamily, GivesItsValues) {
    auto matrix = NumbersOf<TypeParam>(1, 2, {1, 2, 3, 4});
    EXPECT_EQ(matrix == NumbersOf<TypeParam>(2, 1, {1, 2, 3, 4}), 0);
    EXPECT_EQ(matrix.GetReal(0, 1), 3);
    EXPECT_EQ(matrix.GetImaginary(0, 1), 4);
    EXPECT_EQ(matrix.GetAbsSq(0, 1), 25);
    EXPECT_EQ(matrix.SetData(0, 0, {0, 0}), 1);
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
    EXPECT_EQ(TypeParam::Mul(a, b, &out), 1);
    EXPECT_EQ(Contents(out), (Numbers{10, 0, 0, 10}));
    EXPECT_EQ(TypeParam::Mul(b, a, &out), 0);
    EXPECT_EQ(TypeParam::Mul(a, b, nullptr), 0);
}

TYPED_TEST(CplxMatrixFamily, TheOutputMayBeAnOperand) {
    auto matrix = NumbersOf<TypeParam>(2, 2, {1, 0, 2, 1, 3, 0, 4, -1});
    EXPECT_EQ(TypeParam::Trans(matrix, &matrix), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{1, 0, 3, 0, 2, 1, 4, -1}));
    EXPECT_EQ(TypeParam::Conj(matrix, &matrix), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{1, 0, 3, 0, 2, -1, 4, 1}));
    EXPECT_EQ(TypeParam::Add(matrix, matrix, &matrix), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{2, 0, 6, 0, 4, -2, 8, 2}));
    EXPECT_EQ(TypeParam::Mul(matrix, matrix, &matrix), 1);
    EXPECT_EQ(Contents(matrix), (Numbers{28, -12, 60, 12, 44, -12, 84, 20}));
}

TYPED_TEST(CplxMatrixFamily, TransposesWithoutConjugation) {
    const auto a = NumbersOf<TypeParam>(2, 3, FromTo(1, 12));
    TypeParam out;
    out.Create(3, 2);
    EXPECT_EQ(TypeParam::Trans(a, &out), 1);
    EXPECT_EQ(Contents(out), (Numbers{1, 2, 7, 8, 3, 4, 9, 10, 5, 6, 11, 12}));
    EXPECT_EQ(TypeParam::Trans(out, &out), 0);
    EXPECT_EQ(TypeParam::Conj(a, &out), 0);
    EXPECT_EQ(TypeParam::Add(a, a, &out), 0);
    EXPECT_EQ(TypeParam::Trans(a, nullptr), 0);
}

}  // namespace
