// SPDX-License-Identifier: MIT
//
// The archive layout of every container, to the byte: what is stored, what is loaded, and what damage does.
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>

#include <functional>
#include <ostream>
#include <span>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

/// The bytes of hexadecimal digits; blanks are for the reader.
std::string Hex(const std::string& digits) {
    std::string bytes;
    std::string pair;
    for (const char digit : digits) {
        if (digit == ' ') continue;
        pair += digit;
        if (pair.size() < 2) continue;
        bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
        pair.clear();
    }
    return bytes;
}

template <class Object>
using Layout = void (Object::*)(CArchive&);

template <class Object>
std::string Stored(Object object, Layout<Object> layout) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    (object.*layout)(archive);
    archive.Flush();
    const auto bytes = stream.Bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

struct LoadResult {
    int cause = CFileException::none;  // of the exception that loading threw
    bool isEmpty = false;              // whether the object stores the same bytes as a new one
    std::string storedAgain;
    std::uint64_t remaining = 0;
};

/// Loads `bytes` into a copy of `object`.
template <class Object>
LoadResult Loaded(Object object, Layout<Object> layout, const std::string& bytes) {
    kvx::MemoryStream stream(std::as_bytes(std::span(bytes.data(), bytes.size())));
    CArchive archive(stream, CArchive::load);
    LoadResult result;
    try {
        (object.*layout)(archive);
    } catch (const CFileException& exception) {
        result.cause = exception.m_cause;
    }
    result.remaining = archive.Remaining();
    result.storedAgain = Stored(object, layout);
    result.isEmpty = result.storedAgain == Stored(Object(), layout);
    return result;
}

struct LayoutCase {
    std::string name;
    std::string bytes;
    std::function<std::string()> store;
    std::function<LoadResult(const std::string&)> load;
};

void PrintTo(const LayoutCase& row, std::ostream* out) {
    *out << row.name;
}

template <class Object>
LayoutCase Case(const char* name, const Object& object, Layout<Object> layout, const std::string& hex) {
    return {name, Hex(hex), [=] { return Stored(object, layout); },
            [=](const std::string& bytes) { return Loaded(object, layout, bytes); }};
}

template <class Array>
Array SplitArray(int isComplex) {
    Array array(isComplex, 2);
    array.GetReal()[0] = 1;
    array.GetReal()[1] = -2;
    if (isComplex) array.GetImaginary()[1] = 0.5;
    return array;
}

template <class Matrix>
Matrix RowOfTwo() {
    Matrix matrix(1, 2, 1);
    matrix.GetDataPtr(0, 0)[0] = 1;
    matrix.GetDataPtr(0, 1)[0] = -2;
    return matrix;
}

template <class Matrix>
Matrix SplitRowOfTwo() {
    Matrix matrix(1, 1, 2, 1);
    matrix.GetReal(0, 0)[0] = 1;
    matrix.GetImaginary(0, 1)[0] = -2;
    return matrix;
}

template <class Matrix>
Matrix ColumnOfTwo() {
    Matrix matrix;
    matrix.Create(2, 1);
    matrix.GetDataPtr(0, 0)->SetReal(1);
    matrix.GetDataPtr(1, 0)->SetImaginary(-2);
    return matrix;
}

#define KVX_CURRENT(object) object, &decltype(object)::Serialize
#define KVX_FIRST(object) object, &decltype(object)::Serialize1st

std::vector<LayoutCase> LayoutCases() {
    const auto doubles = ArrayOf<CDataArrayDouble>({1, -2});
    const auto floats = ArrayOf<CDataArrayFloat>({1, -2});
    const auto longs = ArrayOf<CDataArrayLong>({1, -2});
    const auto bools = ArrayOf<CDataArrayBool>({1, 0});
    const CDataDoubleCplx wide(1, -2);
    const CDataCplx narrow(1, -2);
    const auto wideSplit = SplitArray<CDataArrayDoubleCplx>(1);
    const auto wideReal = SplitArray<CDataArrayDoubleCplx>(0);
    const auto narrowSplit = SplitArray<CDataArrayCplx>(1);
    const auto narrowReal = SplitArray<CDataArrayCplx>(0);
    const auto doubleMatrix = RowOfTwo<CDataArrayMtxDouble>();
    const auto floatMatrix = RowOfTwo<CDataArrayMtxFloat>();
    const auto longMatrix = RowOfTwo<CDataArrayMtxLong>();
    const auto boolMatrix = RowOfTwo<CDataArrayMtxBool>();
    const auto wideMatrix = SplitRowOfTwo<CDataArrayDoubleMtxCplx>();
    const auto narrowMatrix = SplitRowOfTwo<CDataArrayMtxCplx>();
    const auto wideNumbers = ColumnOfTwo<CDataDoubleMtxCplx>();
    const auto narrowNumbers = ColumnOfTwo<CDataMtxCplx>();

    const std::string v = "01000000";  // the version word, and the number 1
    const std::string two = "02000000";
    const std::string zero = "00000000";
    const std::string d1 = "000000000000F03F", dm2 = "00000000000000C0", dHalf = "000000000000E03F",
                      d0 = zero + zero;
    const std::string f1 = "0000803F", fm2 = "000000C0", fHalf = "0000003F", f0 = zero;
    const std::string l1 = "01000000", lm2 = "FEFFFFFF";

    // clang-format off
    return {
        Case("Double",           KVX_CURRENT(doubles),       v + two + d1 + dm2),
        Case("Float",            KVX_CURRENT(floats),        v + two + f1 + fm2),
        Case("FloatFirst",       KVX_FIRST(floats),              two + f1 + fm2),
        Case("Long",             KVX_CURRENT(longs),         v + two + l1 + lm2),
        Case("LongFirst",        KVX_FIRST(longs),               two + l1 + lm2),
        Case("Bool",             KVX_CURRENT(bools),         v + two + l1 + zero),
        Case("BoolFirst",        KVX_FIRST(bools),               two + l1 + zero),
        Case("NumberDouble",     KVX_CURRENT(wide),          v + d1 + dm2),
        Case("NumberFloat",      KVX_CURRENT(narrow),        v + f1 + fm2),
        Case("NumberFloatFirst", KVX_FIRST(narrow),              f1 + fm2),
        Case("SplitDouble",      KVX_CURRENT(wideSplit),     v + l1 + two + d1 + dm2 + d0 + dHalf),
        Case("RealDouble",       KVX_CURRENT(wideReal),      v + zero + two + d1 + dm2),
        Case("SplitFloat",       KVX_CURRENT(narrowSplit),   v + l1 + two + f1 + fm2 + f0 + fHalf),
        Case("SplitFloatFirst",  KVX_FIRST(narrowSplit),         l1 + two + f1 + fm2 + f0 + fHalf),
        Case("RealFloatFirst",   KVX_FIRST(narrowReal),          zero + two + f1 + fm2),
        // rows, columns, samples, then each cell
        Case("MatrixDouble",     KVX_CURRENT(doubleMatrix),  v + l1 + two + l1 + v + l1 + d1 + v + l1 + dm2),
        Case("MatrixFloat",      KVX_CURRENT(floatMatrix),   v + l1 + two + l1 + v + l1 + f1 + v + l1 + fm2),
        Case("MatrixFloatFirst", KVX_FIRST(floatMatrix),         l1 + two + l1 +     l1 + f1 +     l1 + fm2),
        Case("MatrixLong",       KVX_CURRENT(longMatrix),    v + l1 + two + l1 + v + l1 + l1 + v + l1 + lm2),
        Case("MatrixLongFirst",  KVX_FIRST(longMatrix),          l1 + two + l1 +     l1 + l1 +     l1 + lm2),
        Case("MatrixBool",       KVX_CURRENT(boolMatrix),    v + l1 + two + l1 + v + l1 + l1 + v + l1 + lm2),
        Case("MatrixBoolFirst",  KVX_FIRST(boolMatrix),          l1 + two + l1 +     l1 + l1 +     l1 + lm2),
        // flag, rows, columns, samples, then each cell: flag, samples, blocks
        Case("MatrixSplit",      KVX_CURRENT(wideMatrix),
             v + l1 + l1 + two + l1 + v + l1 + l1 + d1 + d0 + v + l1 + l1 + d0 + dm2),
        Case("MatrixSplitFloat", KVX_CURRENT(narrowMatrix),
             v + l1 + l1 + two + l1 + v + l1 + l1 + f1 + f0 + v + l1 + l1 + f0 + fm2),
        Case("MatrixSplitFloatFirst", KVX_FIRST(narrowMatrix),
                 l1 + l1 + two + l1 +     l1 + l1 + f1 + f0 +     l1 + l1 + f0 + fm2),
        // rows, columns, then each number
        Case("NumbersDouble",     KVX_CURRENT(wideNumbers),   v + two + l1 + v + d1 + d0 + v + d0 + dm2),
        Case("NumbersFloat",      KVX_CURRENT(narrowNumbers), v + two + l1 + v + f1 + f0 + v + f0 + fm2),
        Case("NumbersFloatFirst", KVX_FIRST(narrowNumbers),       two + l1 +     f1 + f0 +     f0 + fm2),
    };
    // clang-format on
}

class EveryLayout : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(EveryLayout, StoresTheseBytes) {
    EXPECT_EQ(GetParam().store(), GetParam().bytes);
}

TEST_P(EveryLayout, LoadsWhatItStores) {
    const LoadResult result = GetParam().load(GetParam().bytes + "behind");
    EXPECT_EQ(result.cause, CFileException::none);
    EXPECT_EQ(result.storedAgain, GetParam().bytes);
    EXPECT_EQ(result.remaining, 6U) << "what follows is left to others";
}

TEST_P(EveryLayout, AShortFileIsAnEndOfFileAndLeavesTheObjectEmpty) {
    for (std::size_t size = 0; size < GetParam().bytes.size(); ++size) {
        const LoadResult result = GetParam().load(GetParam().bytes.substr(0, size));
        EXPECT_EQ(result.cause, CFileException::endOfFile) << size << " bytes";
        EXPECT_TRUE(result.isEmpty) << size << " bytes";
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, EveryLayout, ::testing::ValuesIn(LayoutCases()),
                         [](const auto& row) { return row.param.name; });

// ---- damage

struct DamageCase {
    const char* name;
    std::function<LoadResult(const std::string&)> load;
    std::string bytes;
    int cause;
};

template <class Object>
std::function<LoadResult(const std::string&)> Into(const Object& object) {
    return [=](const std::string& bytes) { return Loaded(object, &Object::Serialize, bytes); };
}

TEST(DamagedLayout, ImpossibleCountsAllocateNothingAndLeaveTheObjectEmpty) {
    constexpr int kNone = CFileException::none;
    constexpr int kEnd = CFileException::endOfFile;
    const auto array = Into(CDataArrayDouble(3, 1.0));
    const auto split = Into(SplitArray<CDataArrayDoubleCplx>(1));
    const auto matrix = Into(RowOfTwo<CDataArrayMtxDouble>());
    const auto splitMatrix = Into(SplitRowOfTwo<CDataArrayDoubleMtxCplx>());
    const auto numbers = Into(ColumnOfTwo<CDataDoubleMtxCplx>());
    const std::string d1 = "000000000000F03F";
    // clang-format off
    const DamageCase kDamage[] = {
        {"array, negative count",      array,       "01000000 FFFFFFFF" + d1, kNone},
        {"array, huge count",          array,       "01000000 FFFFFF7F" + d1, kEnd},
        {"array, one too many",        array,       "01000000 02000000" + d1, kEnd},
        {"split, negative count",      split,       "01000000 01000000 FFFFFFFF", kNone},
        {"split, no elements",         split,       "01000000 01000000 00000000", kNone},
        {"split, huge count",          split,       "01000000 01000000 FFFFFF7F" + d1, kEnd},
        {"split, half the blocks",     split,       "01000000 01000000 01000000" + d1, kEnd},
        {"matrix, negative rows",      matrix,      "01000000 FFFFFFFF FFFFFFFF 01000000", kNone},
        {"matrix, no columns",         matrix,      "01000000 01000000 00000000 01000000", kNone},
        {"matrix, negative samples",   matrix,      "01000000 01000000 01000000 FFFFFFFF", kNone},
        {"matrix, huge everything",    matrix,      "01000000 FFFFFF7F FFFFFF7F FFFFFF7F" + d1, kEnd},
        {"matrix, many empty cells",   matrix,      "01000000 FFFFFF7F FFFFFF7F 00000000" + d1, kEnd},
        {"matrix, cell too short",     matrix,      "01000000 01000000 01000000 01000000 01000000 00000000" + d1, kNone},
        {"matrix, cell negative",      matrix,      "01000000 01000000 01000000 01000000 01000000 FEFFFFFF" + d1, kNone},
        {"split matrix, cell is real", splitMatrix, "01000000 01000000 01000000 01000000 01000000"
                                                    "01000000 00000000 01000000" + d1 + d1, kNone},
        {"split matrix, no samples",   splitMatrix, "01000000 01000000 01000000 01000000 00000000", kNone},
        {"split matrix, huge",         splitMatrix, "01000000 01000000 FFFFFF7F FFFFFF7F 01000000" + d1, kEnd},
        {"numbers, negative",          numbers,     "01000000 FFFFFFFF FFFFFFFF", kNone},
        {"numbers, huge",              numbers,     "01000000 FFFFFF7F FFFFFF7F" + d1, kEnd},
    };
    // clang-format on
    for (const DamageCase& row : kDamage) {
        const LoadResult result = row.load(Hex(row.bytes));
        EXPECT_EQ(result.cause, row.cause) << row.name;
        EXPECT_TRUE(result.isEmpty) << row.name;
    }
}

TEST(Layout, TheVersionWordIsIgnored) {
    const LoadResult result =
        Loaded(CDataArrayLong(), &CDataArrayLong::Serialize, Hex("63000000 01000000 07000000"));
    EXPECT_EQ(result.storedAgain, Hex("01000000 01000000 07000000"));
}

TEST(Layout, AMatrixWithoutSamplesComesBack) {
    CDataArrayMtxDouble matrix(1, 2, 1);
    ASSERT_EQ(matrix.SetData(0, nullptr), 1);
    const std::string bytes = Stored(matrix, &CDataArrayMtxDouble::Serialize);
    EXPECT_EQ(bytes, Hex("01000000 01000000 02000000 00000000 01000000 00000000 01000000 00000000"));
    EXPECT_EQ(Loaded(CDataArrayMtxDouble(), &CDataArrayMtxDouble::Serialize, bytes).storedAgain, bytes);
}

template <class Object>
void ExpectNotStored(Object& object) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    try {
        object.Serialize(archive);
        ADD_FAILURE() << "a wrong count was stored";
    } catch (const CFileException& exception) {
        EXPECT_EQ(exception.m_cause, CFileException::genericException);
    }
    archive.Flush();
    EXPECT_EQ(stream.Bytes().size(), 0U);
}

TEST(Layout, ACountBeyond32BitsIsNotStored) {
    CDataArrayBool array(__int64{1} << 31, nullptr);  // untouched zero pages: address space, not memory
    if (!array.GetData()) GTEST_SKIP() << "this machine has no 8 GiB of address space to spare";
    ExpectNotStored(array);
}

TEST(Layout, AMatrixWithACellOfAnotherLengthIsNotStored) {
    auto matrix = RowOfTwo<CDataArrayMtxDouble>();
    matrix.GetArrayPtr(0, 1)->Append(3.0);
    ExpectNotStored(matrix);
}

}  // namespace
