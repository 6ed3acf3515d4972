// SPDX-License-Identifier: MIT
//
// Matrices of arrays and of complex numbers.
#include <KvxDevCommon01/data/DataMatrix.h>

#include <cmath>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

template <class Matrix>
using CellOf = std::remove_pointer_t<decltype(std::declval<Matrix>().GetArrayPtr(0, 0))>;
template <class Matrix>
using SampleOf = ElementOf<CellOf<Matrix>>;
template <class Matrix>
using SamplesOf = std::vector<SampleOf<Matrix>>;

template <class Matrix>
void ExpectEmpty(const Matrix& matrix) {
    EXPECT_EQ(matrix == Matrix(), 1);
    EXPECT_EQ(matrix.GetArrayPtr(0, 0), nullptr);
}

/// A 2 x 3 matrix of two samples, cell (r, c) holding 10 r + c and 10 r + c + 5.
template <class Matrix>
Matrix Numbered() {
    Matrix matrix(2, 3, 2);
    for (int i = 0; i < 12; ++i) {
        const int cell = i / 2;
        matrix.GetDataPtr(cell / 3, cell % 3)[i % 2] =
            static_cast<SampleOf<Matrix>>(10 * (cell / 3) + cell % 3 + 5 * (i % 2));
    }
    return matrix;
}

/// All samples, cell by cell.
template <class Matrix>
SamplesOf<Matrix> Samples(const Matrix& matrix) {
    std::vector<SampleOf<Matrix>> all;
    for (__int64 cell = 0; cell < matrix.GetNumRow() * matrix.GetNumCol(); ++cell) {
        const auto values = Values(*matrix.GetArrayPtr(cell / matrix.GetNumCol(), cell % matrix.GetNumCol()));
        all.insert(all.end(), values.begin(), values.end());
    }
    return all;
}

// ---- matrices of real arrays

template <class Matrix>
struct ArrayMatrixFamily : ::testing::Test {};
TYPED_TEST_SUITE(ArrayMatrixFamily, ArrayMatrices);

TYPED_TEST(ArrayMatrixFamily, IsCreatedAsCellsOfZerosRowByRow) {
    ExpectEmpty(TypeParam());
    const TypeParam matrix(2, 3, 5);
    EXPECT_EQ(matrix.GetNumRow(), 2);
    EXPECT_EQ(matrix.GetNumCol(), 3);
    EXPECT_EQ(matrix.GetNum(), 5);
    EXPECT_EQ(Samples(matrix), SamplesOf<TypeParam>(30));
    EXPECT_EQ(matrix.GetArrayPtr(1, 2), matrix.GetArrayPtr(0, 0) + 5);
    for (const auto& [row, col] :
         {std::pair<__int64, __int64>{2, 0}, {0, 3}, {-1, 0}, {0, -1}, {__int64{1} << 62, 0}}) {
        EXPECT_EQ(matrix.GetArrayPtr(row, col), nullptr);
        EXPECT_EQ(matrix.GetDataPtr(row, col), nullptr);
    }
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
        if (n < 0) continue;
        for (const auto& [rows, cols, num] : {std::tuple{n, kOne, kOne}, {1, n, 1}, {2, 2, n}, {n, n, n}}) {
            matrix.Create(2, 3, 5);
            EXPECT_EQ(matrix.Create(rows, cols, num), 0) << rows << " x " << cols << " x " << num;
            ExpectEmpty(matrix);
        }
    }
}

TYPED_TEST(ArrayMatrixFamily, FillsWithAValueOrTheSameRun) {
    using Sample = SampleOf<TypeParam>;
    TypeParam matrix(1, 2, 2);
    EXPECT_EQ(matrix.SetData(Sample{7}), 1);
    EXPECT_EQ(Samples(matrix), (std::vector<Sample>{7, 7, 7, 7}));
    const Sample run[] = {1, 2, 3};
    EXPECT_EQ(matrix.SetData(3, run), 1);
    EXPECT_EQ(matrix.GetNum(), 3);
    EXPECT_EQ(Samples(matrix), (std::vector<Sample>{1, 2, 3, 1, 2, 3}));
    EXPECT_EQ(matrix.SetData(2, matrix.GetDataPtr(0, 0) + 1), 1) << "from its own first cell";
    EXPECT_EQ(Samples(matrix), (std::vector<Sample>{2, 3, 2, 3}));
    EXPECT_EQ(matrix.SetData(1, nullptr), 1);
    EXPECT_EQ(Samples(matrix), (std::vector<Sample>{0, 0}));
    EXPECT_EQ(TypeParam().SetData(Sample{7}), 0);
    EXPECT_EQ(TypeParam().SetData(1, nullptr), 0);
    EXPECT_EQ(matrix.SetData(-1, nullptr), 0);
    ExpectEmpty(matrix);
}

TYPED_TEST(ArrayMatrixFamily, CopiesAndMoves) {
    const TypeParam source = Numbered<TypeParam>();
    TypeParam copy(source);
    EXPECT_EQ(Samples(copy), Samples(source));
    copy = TypeParam(1, 1, 1);
    EXPECT_EQ(copy.GetNumRow(), 1);
    copy = source;
    const TypeParam& self = copy;
    copy = self;
    EXPECT_EQ(Samples(copy), Samples(source));
    TypeParam moved(std::move(copy));
    EXPECT_EQ(Samples(moved), Samples(source));
    ExpectEmpty(copy);
    moved = copy;
    ExpectEmpty(moved);
}

TYPED_TEST(ArrayMatrixFamily, EqualityComparesTheShapeOnly) {
    EXPECT_EQ(Numbered<TypeParam>() == TypeParam(2, 3, 2), 1);
    EXPECT_EQ(Numbered<TypeParam>() != TypeParam(2, 3, 2), 0);
    EXPECT_EQ(TypeParam(2, 3, 2) == TypeParam(3, 2, 2), 0);
    EXPECT_EQ(TypeParam(2, 3, 2) == TypeParam(2, 3, 1), 0);
}

TYPED_TEST(ArrayMatrixFamily, CopiesRingsCellByCell) {
    const TypeParam source = Numbered<TypeParam>();
    TypeParam matrix(2, 3, 2);
    EXPECT_EQ(matrix.Copy(source, 1, 0, 0), 1) << "0 means all samples";
    EXPECT_EQ(Samples(matrix), (SamplesOf<TypeParam>{5, 0, 6, 1, 7, 2, 15, 10, 16, 11, 17, 12}));
    EXPECT_EQ(matrix.Copy(source, 0, 0, 3), 0);
    EXPECT_EQ(matrix.Copy(TypeParam(3, 2, 2), 0, 0, 1), 0);
    EXPECT_EQ(TypeParam().Copy(source, 0, 0, 1), 0);
    EXPECT_EQ(TypeParam().Copy(TypeParam(), 0, 0, 1), 1) << "nothing to copy";
}

template <class Matrix>
struct SnapshotMatrixFamily : ::testing::Test {};
TYPED_TEST_SUITE(SnapshotMatrixFamily, SnapshotMatrices);

TYPED_TEST(SnapshotMatrixFamily, AppendsOneSampleToEveryCell) {
    using Cell = CellOf<TypeParam>;
    using Sample = SampleOf<TypeParam>;
    TypeParam matrix(2, 3, 1);
    EXPECT_EQ(matrix.Append(ArrayOf<Cell>(UpTo<Sample>(5))), 0);
    EXPECT_EQ(matrix.Append(ArrayOf<Cell>(UpTo<Sample>(7))), 0);
    EXPECT_EQ(matrix.GetNum(), 1);
    EXPECT_EQ(matrix.Append(ArrayOf<Cell>(UpTo<Sample>(6))), 1);
    EXPECT_EQ(matrix.GetNum(), 2);
    EXPECT_EQ(Samples(matrix), (std::vector<Sample>{0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6}));
    EXPECT_EQ(TypeParam().Append(Cell()), 0);
    matrix.Zero();
    EXPECT_EQ(Samples(matrix), std::vector<Sample>(12));
}

TYPED_TEST(SnapshotMatrixFamily, RecordsFromNoSamplesOnAndFromItself) {
    using Sample = SampleOf<TypeParam>;
    TypeParam matrix(1, 2, 1);
    ASSERT_EQ(matrix.SetData(0, nullptr), 1);
    for (const Sample x : {Sample{3}, Sample{4}})
        ASSERT_EQ(matrix.Append(ArrayOf<CellOf<TypeParam>>({x, Sample{0}})), 1);
    EXPECT_EQ(matrix.Append(*matrix.GetArrayPtr(0, 0)), 1) << "a cell of its own as snapshot";
    EXPECT_EQ(Samples(matrix), (std::vector<Sample>{3, 4, 3, 0, 0, 4}));
}

TEST(DoubleMatrix, ScalesEverySample) {
    CDataArrayMtxDouble matrix(1, 2, 1);
    matrix.SetData(6.0);
    matrix *= 2.0;
    matrix /= 0.0;
    matrix /= 4.0;
    EXPECT_EQ(Samples(matrix), (std::vector<double>{3, 3}));
}

TEST(DoubleMatrix, MeasuresTheRmsOfACell) {
    const auto matrix = Numbered<CDataArrayMtxDouble>();  // cell (0, 1) holds 1 and 6
    EXPECT_EQ(matrix.CalcRms(0, 1, 0, 0), std::sqrt(18.5));
    EXPECT_EQ(matrix.CalcRms(0, 1, -1, 1), 6.0);
    EXPECT_EQ(matrix.CalcRms(0, 1, 0, 3), 0.0);
    EXPECT_EQ(matrix.CalcRms(0, 3, 0, 0), 0.0);
}

TEST(DoubleMatrix, FindsTheRangeOverAllCells) {
    CDataArrayMtxDouble matrix(1, 2, 2);
    *matrix.GetArrayPtr(0, 0) = ArrayOf<CDataArrayDouble>({-3, -1});
    *matrix.GetArrayPtr(0, 1) = ArrayOf<CDataArrayDouble>({8, 2});
    double min = 0, max = 0, pmin = 0;
    EXPECT_EQ(matrix.GetMinMaxAndPMin(0, &min, &max, &pmin), 1);
    EXPECT_EQ(pmin, 2) << "a cell without positive values has no say";
    EXPECT_EQ(matrix.GetMinMaxAndPMin(1, 1, &min, nullptr, nullptr), 1);
    EXPECT_EQ(min, -1);
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 1);
    EXPECT_EQ(min, -3);
    EXPECT_EQ(max, 8);

    matrix.GetArrayPtr(0, 1)->SetData(kvx::kNoValue<double>);
    EXPECT_EQ(matrix.GetMinMax(0, &min, &max), 0) << "one cell of nothing but markers";
    EXPECT_EQ(matrix.GetMinMax(2, &min, &max), 0);
    EXPECT_EQ(matrix.GetMinMax(-1, &min, &max), 0);
    EXPECT_EQ(CDataArrayMtxDouble().GetMinMax(0, &min, &max), 0);
    EXPECT_EQ(min, -3);
}

TEST(DoubleMatrix, ConvertsToFloatAndBackWithTheMarker) {
    CDataArrayMtxDouble matrix(1, 2, 1);
    matrix.GetDataPtr(0, 0)[0] = kvx::kNoValue<double>;
    matrix.GetDataPtr(0, 1)[0] = 0.1;
    CDataArrayMtxFloat narrow;
    ASSERT_EQ(matrix.GetDataArrayMtxFloat(&narrow), 1);
    EXPECT_EQ(Samples(narrow), (std::vector<float>{kvx::kNoValue<float>, 0.1F}));
    CDataArrayMtxDouble wide(3, 3, 3);
    ASSERT_EQ(wide.SetDataArrayMtxFloat(narrow), 1);
    EXPECT_EQ(Samples(wide), (std::vector<double>{kvx::kNoValue<double>, static_cast<double>(0.1F)}));
    EXPECT_EQ(matrix.GetDataArrayMtxFloat(nullptr), 0);
    EXPECT_EQ(CDataArrayMtxDouble().GetDataArrayMtxFloat(&narrow), 1);
    ExpectEmpty(narrow);
}

TEST(LongMatrix, AddsToEverySampleModulo32Bits) {
    CDataArrayMtxLong matrix(1, 2, 1);
    matrix.GetDataPtr(0, 1)[0] = 2147483647;
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

template <class Matrix>
struct CplxArrayMatrixFamily : ::testing::Test {};
using CplxArrayMatrices = ::testing::Types<CDataArrayDoubleMtxCplx, CDataArrayMtxCplx>;
TYPED_TEST_SUITE(CplxArrayMatrixFamily, CplxArrayMatrices);

TYPED_TEST(CplxArrayMatrixFamily, SharesOneFlagAndLengthAmongTheCells) {
    const TypeParam matrix(5, 2, 3, 4);
    EXPECT_EQ(matrix.IsComplex(), 1);
    EXPECT_EQ(*matrix.GetArrayPtr(1, 2) == CellOf<TypeParam>(1, 4), 1);
    EXPECT_EQ(matrix.GetImaginary(1, 2), matrix.GetArrayPtr(1, 2)->GetImaginary());
    EXPECT_EQ(matrix.GetReal(2, 0), nullptr);
    EXPECT_EQ(TypeParam(0, 2, 3, 4).GetImaginary(0, 0), nullptr);
    EXPECT_EQ(matrix == TypeParam(1, 2, 3, 4), 1);
    EXPECT_EQ(matrix == TypeParam(0, 2, 3, 4), 0);
    TypeParam other = matrix;
    EXPECT_EQ(other.Create(1, 2, 3, 0), 0);
    EXPECT_EQ(other == matrix, 1);
    EXPECT_EQ(other.Create(1, __int64{1} << 31, __int64{1} << 33, 1), 0);
    EXPECT_EQ(other.IsComplex(), 0);
    ExpectEmpty(other);
}

TYPED_TEST(CplxArrayMatrixFamily, FillsScalesAndZeroes) {
    TypeParam matrix(1, 1, 2, 1);
    EXPECT_EQ(matrix.SetData(6), 1);
    matrix *= 2;
    matrix /= 0;
    matrix /= 4;
    EXPECT_EQ(matrix.GetReal(0, 1)[0], 3);
    EXPECT_EQ(matrix.GetImaginary(0, 1)[0], 3);
    matrix.Zero();
    EXPECT_EQ(matrix.GetArrayPtr(0, 1)->IsAllZero(), 1);
    EXPECT_EQ(TypeParam().SetData(6), 0);
    TypeParam real(0, 1, 1, 1);
    real.SetData(3);
    real *= 2;
    EXPECT_EQ(real.GetReal(0, 0)[0], 3) << "scaling leaves real-only cells alone";
}

TYPED_TEST(CplxArrayMatrixFamily, CopiesPlainRunsAndAssignsCellsOfItsOwnShape) {
    using Cell = CellOf<TypeParam>;
    TypeParam source(1, 1, 2, 3);
    source.GetImaginary(0, 1)[2] = 5;
    TypeParam matrix(1, 1, 2, 2);
    EXPECT_EQ(matrix.Copy(source, 1, 0, 2), 1);
    EXPECT_EQ(matrix.GetImaginary(0, 1)[1], 5);
    EXPECT_EQ(matrix.Copy(source, 2, 0, 2), 0) << "no wrapping";
    EXPECT_EQ(matrix.Copy(TypeParam(0, 1, 2, 3), 0, 0, 1), 0) << "the flags differ";

    EXPECT_EQ(source.SetArrayPtr(0, 0, *source.GetArrayPtr(0, 1)), 1);
    EXPECT_EQ(source.GetImaginary(0, 0)[2], 5);
    EXPECT_EQ(source.SetArrayPtr(0, 2, Cell(1, 3)), 0);
    EXPECT_EQ(source.SetArrayPtr(0, 0, Cell(1, 4)), 0);
    EXPECT_EQ(source.SetArrayPtr(0, 0, Cell(0, 3)), 0);
}

TYPED_TEST(CplxArrayMatrixFamily, ExchangesLinesWithAMatrixOfNumbers) {
    LineOf<TypeParam> line;
    line.Create(1, 2);
    line.GetDataPtr(0, 1)->SetData(3, 4);
    TypeParam matrix(1, 1, 2, 5);
    EXPECT_EQ(matrix.SetDataFromMtxCplx(line, 2), 1);
    EXPECT_EQ(matrix.GetReal(0, 1)[2], 3);
    EXPECT_EQ(matrix.GetImaginary(0, 1)[2], 4);
    EXPECT_EQ(matrix.SetDataFromMtxCplxReal(line, 3), 1);
    EXPECT_EQ(matrix.GetReal(0, 1)[3], 3);
    EXPECT_EQ(matrix.GetImaginary(0, 1)[3], 0);

    LineOf<TypeParam> out;
    EXPECT_EQ(matrix.SetMtxCplx(&out, 2), 1);
    EXPECT_EQ(out == line, 1) << "created with the right shape";
    EXPECT_EQ(*out.GetDataPtr(0, 1) == *line.GetDataPtr(0, 1), 1);
    EXPECT_EQ(matrix.SetMtxCplxReal(&out, 0), 1);
    EXPECT_EQ(out.GetReal(0, 1), 0);
    EXPECT_EQ(out.GetImaginary(0, 1), 4) << "the imaginary parts stay";

    TypeParam real(0, 1, 2, 1);
    EXPECT_EQ(real.SetDataFromMtxCplx(line, 0), 1);
    EXPECT_EQ(real.SetMtxCplx(&out, 0), 1);
    EXPECT_EQ(out.GetReal(0, 1), 3);
    EXPECT_EQ(out.GetImaginary(0, 1), 0);
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

TEST(DoubleCplxMatrix, NarrowsAndWidens) {
    CDataArrayDoubleMtxCplx matrix(1, 1, 2, 1);
    matrix.GetImaginary(0, 1)[0] = 0.1;
    CDataArrayMtxCplx narrow;
    EXPECT_EQ(matrix.GetDataArrayMtxCplx(&narrow), 1);
    EXPECT_EQ(narrow.GetImaginary(0, 1)[0], 0.1F);
    EXPECT_EQ(matrix.SetDataArrayMtxCplx(narrow), 1);
    EXPECT_EQ(matrix.GetImaginary(0, 1)[0], static_cast<double>(0.1F));
    EXPECT_EQ(matrix.GetDataArrayMtxCplx(nullptr), 0);
    EXPECT_EQ(CDataArrayDoubleMtxCplx().GetDataArrayMtxCplx(&narrow), 1);
    ExpectEmpty(narrow);
}

// ---- matrices of complex numbers

template <class Matrix>
struct CplxMatrixFamily : ::testing::Test {
    using Number = std::remove_pointer_t<decltype(std::declval<Matrix>().GetDataPtr(0, 0))>;

    /// A matrix whose values are `values`, row by row.
    static Matrix Make(__int64 rows, __int64 cols, const std::vector<Number>& values) {
        Matrix matrix;
        matrix.Create(rows, cols);
        std::copy(values.begin(), values.end(), matrix.GetDataPtr(0, 0));
        return matrix;
    }
    static void ExpectHolds(const Matrix& matrix, __int64 rows, __int64 cols,
                            const std::vector<Number>& values) {
        ASSERT_EQ(matrix.GetNumRow(), rows);
        ASSERT_EQ(matrix.GetNumCol(), cols);
        EXPECT_TRUE(std::equal(values.begin(), values.end(), matrix.GetDataPtr(0, 0)));
    }
};
using CplxMatrices = ::testing::Types<CDataDoubleMtxCplx, CDataMtxCplx>;
TYPED_TEST_SUITE(CplxMatrixFamily, CplxMatrices);

TYPED_TEST(CplxMatrixFamily, CreatesZerosAndAnEmptyMatrixIsASuccess) {
    TypeParam matrix;
    EXPECT_EQ(matrix.Create(2, 3), 1);
    this->ExpectHolds(matrix, 2, 3, std::vector<typename TestFixture::Number>(6));
    for (const auto& [rows, cols] : {std::pair{0, 3}, {3, 0}, {0, 0}, {-1, 3}}) {
        matrix.Create(1, 1);
        EXPECT_EQ(matrix.Create(rows, cols), 1);
        EXPECT_EQ(matrix == TypeParam(), 1);
    }
    for (const __int64 count : kAbsurdCounts) {
        EXPECT_EQ(matrix.Create(count, count), 0);
        EXPECT_EQ(matrix == TypeParam(), 1);
    }
}

TYPED_TEST(CplxMatrixFamily, GivesItsValues) {
    TypeParam matrix = this->Make(1, 2, {{1, 2}, {3, 4}});
    EXPECT_EQ(matrix.GetReal(0, 1), 3);
    EXPECT_EQ(matrix.GetImaginary(0, 1), 4);
    EXPECT_EQ(matrix.GetAbsSq(0, 1), 25);
    EXPECT_EQ(matrix.SetData(0, 0, {0, 0}), 1);
    EXPECT_EQ(matrix.GetNormEuclid(), 5);
    EXPECT_EQ(matrix.SetData(1, 0, {0, 0}), 0);
    EXPECT_EQ(matrix.GetReal(1, 0), 0);
    EXPECT_EQ(matrix.GetAbsSq(0, -1), 0);
    EXPECT_EQ(TypeParam().GetNormEuclid(), 0);
}

TYPED_TEST(CplxMatrixFamily, CopiesAndComparesShapes) {
    TypeParam matrix = this->Make(1, 2, {{1, 2}, {3, 4}});
    TypeParam copy(matrix);
    copy.Zero();
    EXPECT_EQ(copy == matrix, 1);
    EXPECT_EQ(copy != TypeParam(), 1);
    copy = TypeParam();
    EXPECT_EQ(copy.GetNumRow(), 0);
    copy = matrix;
    this->ExpectHolds(copy, 1, 2, {{1, 2}, {3, 4}});
    copy = std::move(matrix);
    EXPECT_EQ(matrix.GetNumCol(), 0);
}

TYPED_TEST(CplxMatrixFamily, MultipliesByTheInnerIndex) {
    const TypeParam a = this->Make(2, 3, {{1, 1}, {2, 0}, {0, 0}, {0, 0}, {0, 1}, {3, 0}});
    const TypeParam b = this->Make(3, 1, {{1, -1}, {4, 0}, {0, 2}});
    TypeParam out;
    EXPECT_EQ(TypeParam::Mul(a, b, &out), 0) << "the output is not created";
    out.Create(2, 1);
    EXPECT_EQ(TypeParam::Mul(a, b, &out), 1);
    this->ExpectHolds(out, 2, 1, {{10, 0}, {0, 10}});
    EXPECT_EQ(TypeParam::Mul(b, a, &out), 0);
    EXPECT_EQ(TypeParam::Mul(a, b, nullptr), 0);
}

TYPED_TEST(CplxMatrixFamily, TheOutputMayBeAnOperand) {
    TypeParam matrix = this->Make(2, 2, {{1, 0}, {2, 1}, {3, 0}, {4, -1}});
    EXPECT_EQ(TypeParam::Trans(matrix, &matrix), 1);
    this->ExpectHolds(matrix, 2, 2, {{1, 0}, {3, 0}, {2, 1}, {4, -1}});
    EXPECT_EQ(TypeParam::Conj(matrix, &matrix), 1);
    this->ExpectHolds(matrix, 2, 2, {{1, 0}, {3, 0}, {2, -1}, {4, 1}});
    EXPECT_EQ(TypeParam::Add(matrix, matrix, &matrix), 1);
    this->ExpectHolds(matrix, 2, 2, {{2, 0}, {6, 0}, {4, -2}, {8, 2}});
    EXPECT_EQ(TypeParam::Mul(matrix, matrix, &matrix), 1);
    this->ExpectHolds(matrix, 2, 2, {{28, -12}, {60, 12}, {44, -12}, {84, 20}});
}

TYPED_TEST(CplxMatrixFamily, TransposesWithoutConjugation) {
    const TypeParam a = this->Make(2, 3, {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}});
    TypeParam out;
    out.Create(3, 2);
    EXPECT_EQ(TypeParam::Trans(a, &out), 1);
    this->ExpectHolds(out, 3, 2, {{1, 1}, {4, 4}, {2, 2}, {5, 5}, {3, 3}, {6, 6}});
    EXPECT_EQ(TypeParam::Trans(out, &out), 0);
    EXPECT_EQ(TypeParam::Conj(a, &out), 0);
    EXPECT_EQ(TypeParam::Add(a, a, &out), 0);
    EXPECT_EQ(TypeParam::Trans(a, nullptr), 0);
}

// Each member has its own operations and none of its siblings'.
KVX_ABILITY(Zeroes, t.Zero());
KVX_ABILITY(Appends, t.Append(*t.GetArrayPtr(0, 0)));
KVX_ABILITY(Scales, t *= 2);
KVX_ABILITY(Shifts, t += 2);
KVX_ABILITY(Searches, t.GetMinMax(0, nullptr, nullptr));
KVX_ABILITY(Serializes, t.Serialize(archive));
KVX_ABILITY(Serializes1st, t.Serialize1st(archive));

// clang-format off
#define KVX_HAS(M, zero, append, scale, shift, search, serialize, serialize1st)                                       \
    static_assert(Zeroes<M> == zero && Appends<M> == append && Scales<M> == scale && Shifts<M> == shift &&            \
                  Searches<M> == search && Serializes<M> == serialize && Serializes1st<M> == serialize1st)
//                               Zero Append *= += GetMinMax Serialize Serialize1st
KVX_HAS(CDataArrayMtxDouble,     1,   1,     1, 0, 1,        1,        0);
KVX_HAS(CDataArrayMtxFloat,      1,   1,     0, 0, 0,        1,        1);
KVX_HAS(CDataArrayMtxLong,       1,   1,     0, 1, 1,        1,        1);
KVX_HAS(CDataArrayMtxLongLong,   1,   0,     0, 0, 0,        0,        0);
KVX_HAS(CDataArrayMtxIntPtr,     1,   0,     0, 0, 0,        0,        0);
KVX_HAS(CDataArrayMtxBool,       0,   0,     0, 0, 0,        1,        1);
KVX_HAS(CDataArrayDoubleMtxCplx, 1,   0,     1, 0, 0,        1,        0);
KVX_HAS(CDataArrayMtxCplx,       1,   0,     1, 0, 0,        1,        1);
#undef KVX_HAS
// clang-format on

}  // namespace
