// SPDX-License-Identifier: MIT
//
// The archive layout of every container, to the byte: what is stored, what is loaded, and what damage does.
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <gmock/gmock.h>

#include <functional>
#include <ostream>
#include <span>
#include <string>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

/// The bytes of hexadecimal digits; blanks are for the reader.
std::string Hex(std::string digits) {
    std::erase(digits, ' ');
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
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

using Loader = std::function<LoadResult(const std::string&)>;

struct LayoutCase {
    std::string name;
    std::string bytes;
    std::function<std::string()> store;
    Loader load;
};

void PrintTo(const LayoutCase& row, std::ostream* out) {
    *out << row.name;
}

template <class Object>
LayoutCase Current(const char* name, const Object& object, const std::string& hex,
                   Layout<Object> layout = &Object::Serialize) {
    return {name, Hex(hex), [=] { return Stored(object, layout); },
            [=](const std::string& bytes) { return Loaded(object, layout, bytes); }};
}

template <class Object>
LayoutCase First(const char* name, const Object& object, const std::string& hex) {
    return Current(name, object, hex, &Object::Serialize1st);
}

std::vector<LayoutCase> LayoutCases() {
    // clang-format off
    const std::string v = "01000000", two = "02000000", zero = "00000000";  // v is the version word
    const std::string d1 = "000000000000F03F", dm2 = "00000000000000C0", dHalf = "000000000000E03F", d0 = zero + zero;
    const std::string f1 = "0000803F", fm2 = "000000C0", fHalf = "0000003F", f0 = zero;
    const std::string l1 = "01000000", lm2 = "FEFFFFFF";
    return {
        Current("Double",                ArrayOf<CDataArrayDouble>({1, -2}),                         v + two + d1 + dm2),
        Current("Float",                 ArrayOf<CDataArrayFloat>({1, -2}),                          v + two + f1 + fm2),
        First("FloatFirst",              ArrayOf<CDataArrayFloat>({1, -2}),                          two + f1 + fm2),
        Current("Long",                  ArrayOf<CDataArrayLong>({1, -2}),                           v + two + l1 + lm2),
        First("LongFirst",               ArrayOf<CDataArrayLong>({1, -2}),                           two + l1 + lm2),
        Current("Bool",                  ArrayOf<CDataArrayBool>({1, 0}),                            v + two + l1 + zero),
        First("BoolFirst",               ArrayOf<CDataArrayBool>({1, 0}),                            two + l1 + zero),
        Current("NumberDouble",          CDataDoubleCplx(1, -2),                                     v + d1 + dm2),
        Current("NumberFloat",           CDataCplx(1, -2),                                           v + f1 + fm2),
        First("NumberFloatFirst",        CDataCplx(1, -2),                                           f1 + fm2),
        Current("SplitDouble",           Filled(CDataArrayDoubleCplx(1, 2), {1, -2, 0, 0.5}),        v + l1 + two + d1 + dm2 + d0 + dHalf),
        Current("RealDouble",            Filled(CDataArrayDoubleCplx(0, 2), {1, -2}),                v + zero + two + d1 + dm2),
        Current("SplitFloat",            Filled(CDataArrayCplx(1, 2), {1, -2, 0, 0.5}),              v + l1 + two + f1 + fm2 + f0 + fHalf),
        First("SplitFloatFirst",         Filled(CDataArrayCplx(1, 2), {1, -2, 0, 0.5}),              l1 + two + f1 + fm2 + f0 + fHalf),
        First("RealFloatFirst",          Filled(CDataArrayCplx(0, 2), {1, -2}),                      zero + two + f1 + fm2),
        // rows, columns, samples, then each cell
        Current("MatrixDouble",          Filled(CDataArrayMtxDouble(1, 2, 1), {1, -2}),              v + l1 + two + l1 + v + l1 + d1 + v + l1 + dm2),
        Current("MatrixFloat",           Filled(CDataArrayMtxFloat(1, 2, 1), {1, -2}),               v + l1 + two + l1 + v + l1 + f1 + v + l1 + fm2),
        First("MatrixFloatFirst",        Filled(CDataArrayMtxFloat(1, 2, 1), {1, -2}),               l1 + two + l1 + l1 + f1 + l1 + fm2),
        Current("MatrixLong",            Filled(CDataArrayMtxLong(1, 2, 1), {1, -2}),                v + l1 + two + l1 + v + l1 + l1 + v + l1 + lm2),
        First("MatrixLongFirst",         Filled(CDataArrayMtxLong(1, 2, 1), {1, -2}),                l1 + two + l1 + l1 + l1 + l1 + lm2),
        Current("MatrixBool",            Filled(CDataArrayMtxBool(1, 2, 1), {1, -2}),                v + l1 + two + l1 + v + l1 + l1 + v + l1 + lm2),
        First("MatrixBoolFirst",         Filled(CDataArrayMtxBool(1, 2, 1), {1, -2}),                l1 + two + l1 + l1 + l1 + l1 + lm2),
        // flag, rows, columns, samples, then each cell: flag, samples, blocks
        Current("MatrixSplit",           Filled(CDataArrayDoubleMtxCplx(1, 1, 2, 1), {1, 0, 0, -2}), v + l1 + l1 + two + l1 + v + l1 + l1 + d1 + d0 + v + l1 + l1 + d0 + dm2),
        Current("MatrixSplitFloat",      Filled(CDataArrayMtxCplx(1, 1, 2, 1), {1, 0, 0, -2}),       v + l1 + l1 + two + l1 + v + l1 + l1 + f1 + f0 + v + l1 + l1 + f0 + fm2),
        First("MatrixSplitFloatFirst",   Filled(CDataArrayMtxCplx(1, 1, 2, 1), {1, 0, 0, -2}),       l1 + l1 + two + l1 + l1 + l1 + f1 + f0 + l1 + l1 + f0 + fm2),
        // rows, columns, then each number
        Current("NumbersDouble",         NumbersOf<CDataDoubleMtxCplx>(2, 1, {1, 0, 0, -2}),         v + two + l1 + v + d1 + d0 + v + d0 + dm2),
        Current("NumbersFloat",          NumbersOf<CDataMtxCplx>(2, 1, {1, 0, 0, -2}),               v + two + l1 + v + f1 + f0 + v + f0 + fm2),
        First("NumbersFloatFirst",       NumbersOf<CDataMtxCplx>(2, 1, {1, 0, 0, -2}),               two + l1 + f1 + f0 + f0 + fm2),
    };
    // clang-format on
}

class EveryLayout : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(EveryLayout, StoresTheseBytesAndLoadsThem) {
    EXPECT_EQ(GetParam().store(), GetParam().bytes);
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

template <class Object>
Loader Into(const Object& object) {
    return [=](const std::string& bytes) { return Loaded(object, &Object::Serialize, bytes); };
}

TEST(DamagedLayout, ImpossibleCountsAllocateNothingAndLeaveTheObjectEmpty) {
    constexpr int kNone = CFileException::none;
    constexpr int kEnd = CFileException::endOfFile;
    const auto array = Into(CDataArrayDouble(3, 1.0));
    const auto split = Into(CDataArrayDoubleCplx(1, 2));
    const auto matrix = Into(CDataArrayMtxDouble(1, 2, 1));
    const auto splitMatrix = Into(CDataArrayDoubleMtxCplx(1, 1, 2, 1));
    const auto numbers = Into(NumbersOf<CDataDoubleMtxCplx>(2, 1, Numbers(4)));
    const std::string d1 = "000000000000F03F";
    // clang-format off
    const struct {
        const char* name;
        Loader load;
        std::string bytes;
        int cause;
    } kDamage[] = {
        {"array, negative count",      array,       "01000000 FFFFFFFF" + d1, kNone},
        {"array, huge count",          array,       "01000000 FFFFFF7F" + d1, kEnd},
        {"split, negative count",      split,       "01000000 01000000 FFFFFFFF", kNone},
        {"split, no elements",         split,       "01000000 01000000 00000000", kNone},
        {"split, huge count",          split,       "01000000 01000000 FFFFFF7F" + d1, kEnd},
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
    for (const auto& row : kDamage) {
        const LoadResult result = row.load(Hex(row.bytes));
        EXPECT_EQ(result.cause, row.cause) << row.name;
        EXPECT_TRUE(result.isEmpty) << row.name;
    }
}

TEST(Layout, TheVersionWordIsIgnored) {
    const LoadResult result = Into(CDataArrayLong())(Hex("63000000 01000000 07000000"));
    EXPECT_EQ(result.storedAgain, Hex("01000000 01000000 07000000"));
}

TEST(Layout, AMatrixWithoutSamplesComesBack) {
    CDataArrayMtxDouble matrix(1, 2, 1);
    ASSERT_EQ(matrix.SetData(0, nullptr), 1);
    const std::string bytes = Stored(matrix, &CDataArrayMtxDouble::Serialize);
    EXPECT_EQ(bytes, Hex("01000000 01000000 02000000 00000000 01000000 00000000 01000000 00000000"));
    EXPECT_EQ(Into(CDataArrayMtxDouble())(bytes).storedAgain, bytes);
}

template <class Object>
void ExpectNotStored(Object& object) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    EXPECT_THAT([&] { object.Serialize(archive); },
                ::testing::Throws<CFileException>(
                    ::testing::Field(&CFileException::m_cause, CFileException::genericException)));
    archive.Flush();
    EXPECT_EQ(stream.Bytes().size(), 0U);
}

TEST(Layout, ACountBeyond32BitsIsNotStored) {
    CDataArrayBool array(__int64{1} << 31, nullptr);  // untouched zero pages: address space, not memory
    if (!array.GetData()) GTEST_SKIP() << "this machine has no 8 GiB of address space to spare";
    ExpectNotStored(array);
}

TEST(Layout, AMatrixWithACellOfAnotherLengthIsNotStored) {
    CDataArrayMtxDouble matrix(1, 2, 1);
    matrix.GetArrayPtr(0, 1)->Append(3.0);
    ExpectNotStored(matrix);
}

}  // namespace
