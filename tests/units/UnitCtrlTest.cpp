// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "Units.h"

namespace {

const MemberValue kNone{0x0F000001, 0x001};

TEST(UnitCtrl, EachConstructorSetsItsMembers) {
    const struct {
        CUnitCtrl unit;
        Info info;
    } cases[] = {
        {CUnitCtrl(), {{kNone, kNone, kNone, kNone}, 1}},
        {CUnitCtrl(Dim(0x00010000)), {{{0x00010004}, kNone, kNone, kNone}, 1}},
        {CUnitCtrl(Dim(0x06000000)), {{{0x06000001}, kNone, kNone, kNone}, 1}},
        {CUnitCtrl(Dim(0x00090000)), {{kNone, kNone, kNone, kNone}, 1}},
        {CUnitCtrl(Unit(0x00010004), Unit(0x02000001), 0), {{{0x00010004}, {0x02000001}, kNone, kNone}, 0}},
        {CUnitCtrl(Unit(0x00010004), Unit(0x02000001), 7),
         {{{0x00010004}, {0x02000001, 0x100}, kNone, kNone}, 0}},
        {CUnitCtrl(Unit(0x00010063), Unit(0x02000001), 0), {{kNone, {0x02000001}, kNone, kNone}, 0}},
        {CUnitCtrl(Make({0x00010004, 0x010}), Make({0x02000001, 0x100}), 0),
         {{{0x00010004, 0x010}, {0x02000001, 0x100}, kNone, kNone}, 0}},
        {CUnitCtrl(Make({0x00010004, 0x010}), Make({0x02000001, 0x100}), 1),
         {{{0x00010004, 0x010}, {0x02000001, 0x001}, kNone, kNone}, 0}},
        {CUnitCtrl(Single(0x00010004), Make({0x02000001, 0x010}), 1),
         {{{0x00010004}, {0x02000001, 0x110}, kNone, kNone}, 0}},
        {Make({0x00010001, 0x100}, {0x00020001, 0x010}, {0x00030001, 0x110}, {0x00040001}),
         {{{0x00010001, 0x100}, {0x00020001, 0x010}, {0x00030001, 0x110}, {0x00040001}}, 0}},
        {Make({0x00010001}, {0x00020000}, {0xFFFFFFFF}, {0x0001}), {{{0x00010001}, kNone, kNone, kNone}, 1}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(InfoOf(cases[i].unit), cases[i].info) << i;
}

TEST(UnitCtrl, FlagsWithoutAKnownBitCountAsPlain) {
    EXPECT_EQ(InfoOf(Make({0x00010004, 0x000})).members[0].calc, 0x001u);
    EXPECT_EQ(InfoOf(Make({0x00010004, 0xEEE})).members[0].calc, 0x001u);
    EXPECT_EQ(InfoOf(Make({0x00010004, 0x011})).members[0].calc, 0x011u);
}

TEST(UnitCtrl, ADescriptorOfFourMembersIsSingleWhenTheLastThreeAreEmpty) {
    EXPECT_TRUE(Make({0x00010004, 0x110}).IsSingle());
    EXPECT_FALSE(Make({0x00010004}, {0x0F000001, 0x100}).IsSingle());
    EXPECT_FALSE(Make({0x00010004}, {}, {}, {0x02000001}).IsSingle());
}

TEST(UnitCtrl, EqualityComparesDimensions) {
    const CUnitCtrl mm = Single(0x00030001);
    const CUnitCtrl velocityPerHz(Unit(0x00020001), Unit(0x02000001), 1);
    const struct {
        CUnitCtrl a, b;
        bool equal;
    } cases[] = {
        {mm, Single(0x00030004), true},
        {mm, Single(0x00020001), false},
        {mm, CUnitCtrl(Unit(0x00030001), Unit(0x0F000001), 0), false},
        {mm, Make({0x00030001, 0x010}), true},
        {velocityPerHz, CUnitCtrl(Unit(0x00020004), Unit(0x02000002), 0), true},
        {velocityPerHz, CUnitCtrl(Unit(0x00020004), Unit(0x01000001), 1), false},
        {velocityPerHz, CUnitCtrl(Unit(0x00020004), Unit(0x0F000001), 1), false},
        {velocityPerHz, Make({0x00020001}, {0x02000001}, {0x04000001}), true},
        {Make({0x00020001}, {0x02000001}, {0x04000001}), Make({0x00020001}, {0x02000001}, {0x0B000001}),
         false},
        {Make({0x00020001}, {0x02000001}, {}, {0x04000001}), Make({0x00020001}, {0x02000001}, {0x0B000001}),
         true},
        {Make({0x00020001}, {0x02000001}, {}, {0x04000001}),
         Make({0x00020001}, {0x02000001}, {}, {0x0B000001}), false},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(cases[i].a == cases[i].b, cases[i].equal) << i;
        EXPECT_EQ(cases[i].b == cases[i].a, cases[i].equal) << i;
        EXPECT_EQ(cases[i].a != cases[i].b, !cases[i].equal) << i;
    }
    EXPECT_TRUE(mm == CUnitCtrl::DIM_DISPLACEMENT);
    EXPECT_TRUE(mm != CUnitCtrl::DIM_VELOCITY);
    EXPECT_TRUE(velocityPerHz != CUnitCtrl::DIM_VELOCITY);
}

TEST(UnitCtrl, QuestionsAboutMotionAreAnsweredForSingleUnits) {
    for (const std::uint32_t dim : kDimensions) {
        const CUnitCtrl unit{Dim(dim)};
        EXPECT_EQ(unit.IsAcc(), dim == 0x00010000);
        EXPECT_EQ(unit.IsVel(), dim == 0x00020000);
        EXPECT_EQ(unit.IsDisp(), dim == 0x00030000);
        EXPECT_EQ(unit.IsAccOrVelOrDisp(), dim <= 0x00030000);
        EXPECT_EQ(CUnitCtrl::IsAccOrVelOrDisp(Dim(dim)), dim <= 0x00030000);
        EXPECT_EQ(unit.IsControlAvailable(), dim != 0x06000000);
    }
    const CUnitCtrl compound(Unit(0x00010004), Unit(0x02000001), 1);
    EXPECT_FALSE(compound.IsAcc() || compound.IsAccOrVelOrDisp() || compound.IsControlAvailable());
}

TEST(UnitCtrl, StandardUnitsHaveAPositionInTheirDimension) {
    const struct {
        std::uint32_t dim, unit;
        __int64 index;
    } cases[] = {
        {0x00010000, 0x00010004, 3}, {0x00030000, 0x00030003, 2}, {0x00050000, 0x00050002, 1},
        {0x02000000, 0x02000001, 0}, {0x03000000, 0x03000005, 4}, {0x06000000, 0x06000001, 0},
        {0x0E000000, 0x0E000005, 4}, {0x19000000, 0x0F000001, 0}, {0x00010001, 0x0F000001, 0},
    };
    for (const auto& c : cases) {
        __int64 index = -1;
        EXPECT_EQ(CUnitCtrl::GetStdUnitCode(Dim(c.dim), &index), c.unit);
        EXPECT_EQ(index, c.index);
        EXPECT_EQ(CUnitCtrl::GetStdUnitCode(Dim(c.dim), nullptr), c.unit);
    }
}

TEST(UnitCtrl, AStandardUnitChangesNothing) {
    for (const std::uint32_t dim : kDimensions) {
        if (dim == 0x06000000) continue;  // held as a plain ratio, reported as percent
        EXPECT_EQ(CUnitCtrl(Dim(dim)).ConvDtoI(1.25, 1, 1), 1.25) << std::hex << dim;
    }
}

TEST(UnitCtrl, DimensionsAreReadFromEveryMember) {
    const CUnitCtrl unit = Make({0x00010001}, {0x00020001}, {0x00030001}, {0x00040001});
    CUnitCtrl::DIM_CODE d[4];
    EXPECT_EQ(unit.GetDimCode(&d[0], &d[1], &d[2], &d[3]), 1);
    for (std::uint32_t i = 0; i < 4; ++i) EXPECT_EQ(d[i], (i + 1) << 16);
    EXPECT_EQ(unit.GetDimCode(nullptr, nullptr, nullptr, nullptr), 1);
    CString name = L"before";
    unit.GetDimName(&name);
    EXPECT_EQ(name, L"加速度");
    CUnitCtrl().GetDimName(&name);
    EXPECT_EQ(name, L"無名数");
    unit.GetDimName(nullptr);
    unit.GetUnitName(nullptr);
    unit.GetInfo(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

TEST(UnitName, IsComposedWithBracketsWhereTheyAreNeeded) {
    constexpr std::uint32_t acc = 0x00010004, g = 0x00010007, v = 0x00020004, hz = 0x02000001, s = 0x01000003,
                            volt = 0x04000002, torque = 0x12000001, a = 0x0B000002;
    const struct {
        CUnitCtrl unit;
        const wchar_t* name;
    } cases[] = {
        {CUnitCtrl(), L" "},
        {Single(acc), L"m/s#u2#n"},
        {Make({g, 0x010}), L"g#u2#n"},
        {Make({v, 0x010}), L"(m/s)#u2#n"},
        {Make({acc, 0x010}), L"(m/s#u2#n)#u2#n"},
        {Make({s, 0x100}), L"1/s"},
        {Make({acc, 0x100}), L"1/(m/s#u2#n)"},
        {Make({s, 0x110}), L"1/(s#u2#n)"},
        {Make({acc, 0x010}, {hz, 0x100}), L"(m/s#u2#n)#u2#n/Hz"},
        {Make({g, 0x010}, {hz, 0x100}), L"g#u2#n/Hz"},
        {Make({g}, {hz, 0x100}), L"g/Hz"},
        {Make({acc}, {hz, 0x100}), L"(m/s#u2#n)/Hz"},
        {Make({volt}, {acc, 0x100}), L"V/(m/s#u2#n)"},
        {Make({volt}, {acc, 0x110}), L"V/(m/s#u2#n)#u2#n"},
        {Make({volt}, {acc, 0x010}), L"V・(m/s#u2#n)#u2#n"},
        {Make({torque}, {s}), L"(N・m)・s"},
        {Make({s, 0x100}, {volt}), L"(1/s)・V"},
        {Make({acc, 0x100}, {volt}), L"(1/(m/s#u2#n))・V"},
        {Make({s, 0x110}, {volt}), L"1/(s#u2#n)・V"},
        {Make({volt}, {s}, {hz, 0x100}, {a, 0x010}), L"V・s/Hz・A#u2#n"},
        {Make({volt}, {}, {hz, 0x100}), L"V/Hz"},
    };
    for (const auto& c : cases) EXPECT_EQ(NameOf(c.unit), c.name);
}

std::vector<std::byte> Words(std::vector<std::uint32_t> words, std::size_t size) {
    std::vector<std::byte> bytes;
    for (const std::uint32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::byte>(word >> shift));
    }
    bytes.resize(size);
    return bytes;
}

const CUnitCtrl kFull =
    Make({0x00010004, 0x010}, {0x02000001, 0x100}, {0x04000002, 0x001}, {0x0B000002, 0x110});
const std::vector<std::uint32_t> kFullFields = {0x00010004, 0x010, 0,          0x02000001, 0x100,
                                                0x04000002, 0x001, 0x0B000002, 0x110};

std::vector<std::uint32_t> WithVersion(std::uint32_t version) {
    std::vector<std::uint32_t> words = kFullFields;
    words.insert(words.begin(), version);
    return words;
}

using Operation = void (CUnitCtrl::*)(CArchive&);

std::vector<std::byte> Stored(CUnitCtrl unit, Operation serialize) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    (unit.*serialize)(archive);
    archive.Flush();
    return {stream.Bytes().begin(), stream.Bytes().end()};
}

void Load(CUnitCtrl& unit, Operation serialize, const std::vector<std::byte>& bytes) {
    kvx::MemoryStream stream(bytes);
    CArchive archive(stream, CArchive::load);
    (unit.*serialize)(archive);
    EXPECT_EQ(archive.Remaining(), 0u);
}

TEST(UnitArchive, TheRecordHas128Bytes) {
    EXPECT_EQ(Stored(kFull, &CUnitCtrl::Serialize), Words(WithVersion(2), 128));
    EXPECT_EQ(Stored(CUnitCtrl(), &CUnitCtrl::Serialize),
              Words({2, 0x0F000001, 1, 1, 0x0F000001, 1, 0x0F000001, 1, 0x0F000001, 1}, 128));
}

TEST(UnitArchive, LoadingFollowsTheVersion) {
    const Info all = InfoOf(kFull);
    const Info firstTwo{{all.members[0], all.members[1], kNone, kNone}, 0};
    for (const std::uint32_t version : {2u, 3u, 0x7FFFFFFFu}) {
        CUnitCtrl unit;
        Load(unit, &CUnitCtrl::Serialize, Words(WithVersion(version), 128));
        EXPECT_EQ(InfoOf(unit), all) << version;
    }
    for (const std::uint32_t version : {1u, 0u, 0xFFFFFFFFu}) {
        CUnitCtrl unit;
        Load(unit, &CUnitCtrl::Serialize, Words(WithVersion(version), 128));
        EXPECT_EQ(InfoOf(unit), firstTwo) << version;
    }
}

TEST(UnitArchive, TheFirstGenerationHoldsTwoMembersWithoutAVersion) {
    const std::vector<std::byte> bytes = Words({0x00010004, 0x010, 0, 0x02000001, 0x100}, 20);
    EXPECT_EQ(Stored(kFull, &CUnitCtrl::Serialize1st), bytes);
    CUnitCtrl unit = kFull;
    Load(unit, &CUnitCtrl::Serialize1st, bytes);
    EXPECT_EQ(InfoOf(unit), (Info{{{0x00010004, 0x010}, {0x02000001, 0x100}, kNone, kNone}, 0}));
}

TEST(UnitArchive, WhatAFileClaimsIsValidated) {
    CUnitCtrl unit;
    Load(unit, &CUnitCtrl::Serialize, Words({2, 0x00010063, 0, 0, 0x00030001, 0xF000, 77, 1, 0, 0x100}, 128));
    EXPECT_EQ(InfoOf(unit), (Info{{kNone, {0x00030001}, kNone, {0x0F000001, 0x100}}, 0}));
    Load(unit, &CUnitCtrl::Serialize, Words({2, 0x00030001, 1, 0}, 128));
    EXPECT_EQ(InfoOf(unit), (Info{{{0x00030001}, kNone, kNone, kNone}, 1}))
        << "the stored single flag does not count";
}

TEST(UnitArchive, AShortRecordRaisesEndOfFileAndChangesNothing) {
    const auto expectEndOfFile = [](Operation serialize, std::size_t size) {
        CUnitCtrl unit = kFull;
        try {
            Load(unit, serialize, std::vector<std::byte>(size));
            ADD_FAILURE() << size << " bytes were enough";
        } catch (const CFileException& e) {
            EXPECT_EQ(e.m_cause, CFileException::endOfFile);
        }
        EXPECT_EQ(InfoOf(unit), InfoOf(kFull));
    };
    for (const std::size_t size : {0u, 1u, 40u, 127u}) expectEndOfFile(&CUnitCtrl::Serialize, size);
    for (const std::size_t size : {0u, 3u, 19u}) expectEndOfFile(&CUnitCtrl::Serialize1st, size);
}

}  // namespace
