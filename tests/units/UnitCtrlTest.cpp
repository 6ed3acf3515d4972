// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <gtest/gtest.h>

#include <utility>

#include "Units.h"

namespace {

TEST(UnitCtrl, EachConstructorSetsItsMembers) {
    const MemberValue last{kVel, 0x110};
    const struct {
        CUnitCtrl unit;
        Info info;
    } cases[] = {
        {CUnitCtrl(), {}},
        {CUnitCtrl(Dim(0x00010000)), {{{kAcc}}}},
        {CUnitCtrl(Dim(0x06000000)), {{{0x06000001}}}},
        {CUnitCtrl(Dim(0x00090000)), {}},
        {CUnitCtrl(Unit(kAcc), Unit(kHz), 0), {{{kAcc}, {kHz}}, 0}},
        {CUnitCtrl(Unit(kAcc), Unit(kHz), 7), {{{kAcc}, {kHz, 0x100}}, 0}},
        {CUnitCtrl(Unit(0x00010063), Unit(kHz), 0), {{{}, {kHz}}, 0}},
        {CUnitCtrl(Make({kAcc, 0x010}), Make({kHz, 0x100}), 0), {{{kAcc, 0x010}, {kHz, 0x100}}, 0}},
        {CUnitCtrl(Make({kAcc, 0x010}), Make({kHz, 0x100}), 1), {{{kAcc, 0x010}, {kHz, 0x001}}, 0}},
        {CUnitCtrl(Single(kAcc), Make({kHz, 0x010}), 1), {{{kAcc}, {kHz, 0x110}}, 0}},
        {Make({kMm, 0x100}, {kHz, 0x010}, {kG}, last), {{{kMm, 0x100}, {kHz, 0x010}, {kG}, last}, 0}},
        {Make({kMm}, {0x00020000}, {0xFFFFFFFF}, {0x0001}), {{{kMm}}}},
        {Make({kMm, 0x110}), {{{kMm, 0x110}}}},
        {Make({kMm}, {0x0F000001, 0x100}), {{{kMm}, {0x0F000001, 0x100}}, 0}},
        {Make({kMm}, {}, {}, {kHz}), {{{kMm}, {}, {}, {kHz}}, 0}},
        {Make({kMm, 0x000}), {{{kMm}}}},  // flags without a known bit count as plain
        {Make({kMm, 0xEEE}), {{{kMm}}}},
        {Make({kMm, 0x011}), {{{kMm, 0x011}}}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(InfoOf(cases[i].unit), cases[i].info) << i;
}

TEST(UnitCtrl, EqualityComparesDimensions) {
    const CUnitCtrl perHz(Unit(kMmPerSec), Unit(kHz), 1);
    const CUnitCtrl voltThird = Make({kVel}, {kHz}, {kVolt}), voltFourth = Make({kVel}, {kHz}, {}, {kVolt});
    const struct {
        CUnitCtrl a, b;
        bool equal;
    } cases[] = {
        {Single(kMm), Single(0x00030004), true},
        {Single(kMm), Single(kVel), false},
        {Single(kMm), CUnitCtrl(Unit(kMm), Unit(0x0F000001), 0), false},
        {Single(kMm), Make({kMm, 0x010}), true},
        {perHz, CUnitCtrl(Unit(kVel), Unit(0x02000002), 0), true},
        {perHz, CUnitCtrl(Unit(kVel), Unit(kSec), 1), false},
        {perHz, voltThird, true},
        {voltThird, Make({kVel}, {kHz}, {kAmpere}), false},
        {voltFourth, Make({kVel}, {kHz}, {kAmpere}), true},
        {voltFourth, Make({kVel}, {kHz}, {}, {kAmpere}), false},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(cases[i].a == cases[i].b, cases[i].equal) << i;
        EXPECT_EQ(cases[i].b != cases[i].a, !cases[i].equal) << i;
    }
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
    }
}

TEST(UnitCtrl, AStandardUnitChangesNothing) {
    for (const std::uint32_t dim : kDimensions) {
        // A ratio is held as a plain number and reported as percent.
        EXPECT_EQ(CUnitCtrl(Dim(dim)).ConvDtoI(1.25, 1, 1), dim == 0x06000000 ? 125 : 1.25) << dim;
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
    const struct {
        CUnitCtrl unit;
        const wchar_t* name;
    } cases[] = {
        {CUnitCtrl(), L" "},
        {Single(kAcc), L"m/s#u2#n"},
        {Make({kVel, 0x010}), L"(m/s)#u2#n"},
        {Make({kAcc, 0x010}), L"(m/s#u2#n)#u2#n"},
        {Make({kSec, 0x100}), L"1/s"},
        {Make({kAcc, 0x100}), L"1/(m/s#u2#n)"},
        {Make({kAcc, 0x010}, {kHz, 0x100}), L"(m/s#u2#n)#u2#n/Hz"},
        {Make({kG}, {kHz, 0x100}), L"g/Hz"},
        {Make({kAcc}, {kHz, 0x100}), L"(m/s#u2#n)/Hz"},
        {Make({kVolt}, {kAcc, 0x100}), L"V/(m/s#u2#n)"},
        {Make({kVolt}, {kAcc, 0x110}), L"V/(m/s#u2#n)#u2#n"},
        {Make({0x12000001}, {kSec}), L"(N・m)・s"},
        {Make({kSec, 0x100}, {kVolt}), L"(1/s)・V"},
        {Make({kVolt}, {kSec}, {kHz, 0x100}, {kAmpere, 0x010}), L"V・s/Hz・A#u2#n"},
        {Make({kVolt}, {}, {kHz, 0x100}), L"V/Hz"},
    };
    for (const auto& c : cases) EXPECT_EQ(NameOf(c.unit), c.name);
}

/// A record: 32-bit words, then zeros.
std::vector<std::byte> Words(const std::vector<std::uint32_t>& words, std::size_t size = 128) {
    std::vector<std::byte> bytes;
    for (const std::uint32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::byte>(word >> shift));
    }
    bytes.resize(size);
    return bytes;
}

const CUnitCtrl kFull = Make({kAcc, 0x010}, {kHz, 0x100}, {kVolt}, {kAmpere, 0x110});
const std::vector<std::byte> kFirstGeneration = Words({kAcc, 0x010, 0, kHz, 0x100}, 20);

std::vector<std::byte> FullRecord(std::uint32_t version) {
    return Words({version, kAcc, 0x010, 0, kHz, 0x100, kVolt, 0x001, kAmpere, 0x110});
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

TEST(UnitArchive, RecordsAreStoredByteForByte) {
    EXPECT_EQ(Stored(kFull, &CUnitCtrl::Serialize), FullRecord(2));
    EXPECT_EQ(Stored(CUnitCtrl(), &CUnitCtrl::Serialize),
              Words({2, 0x0F000001, 1, 1, 0x0F000001, 1, 0x0F000001, 1, 0x0F000001, 1}));
    EXPECT_EQ(Stored(kFull, &CUnitCtrl::Serialize1st), kFirstGeneration);
}

TEST(UnitArchive, LoadingFollowsTheVersionAndValidatesWhatItReads) {
    constexpr Operation serialize = &CUnitCtrl::Serialize;
    const Info firstTwo{{{kAcc, 0x010}, {kHz, 0x100}}, 0};
    const struct {
        Operation load;
        std::vector<std::byte> bytes;
        Info info;
    } cases[] = {
        {serialize, FullRecord(2), InfoOf(kFull)},
        {serialize, FullRecord(0x7FFFFFFF), InfoOf(kFull)},
        {serialize, FullRecord(1), firstTwo},
        {serialize, FullRecord(0xFFFFFFFF), firstTwo},
        {&CUnitCtrl::Serialize1st, kFirstGeneration, firstTwo},
        {serialize,
         Words({2, 0x00010063, 0, 0, kMm, 0xF000, 77, 1, 0, 0x010}),
         {{{}, {kMm}, {}, {0x0F000001, 0x010}}, 0}},
        {serialize, Words({2, kMm, 1, 0}), {{{kMm}}}},  // zeros are no second member
        {serialize, Words({2, kMm, 1, 1, kHz, 1}), {{{kMm}, {kHz}}, 0}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        CUnitCtrl unit = Make({kSec}, {kSec}, {kSec}, {kSec});
        Load(unit, cases[i].load, cases[i].bytes);
        EXPECT_EQ(InfoOf(unit), cases[i].info) << i;
    }
}

TEST(UnitArchive, ACompoundStaysOneWhateverItsMembersAre) {
    for (const std::uint32_t second : {0x0F000001u, kHz}) {
        for (const std::uint32_t first : {0x0F000001u, kG}) {
            for (const int divide : {0, 1}) {
                for (const Operation serialize : {&CUnitCtrl::Serialize, &CUnitCtrl::Serialize1st}) {
                    const CUnitCtrl compound(Unit(first), Unit(second), divide);
                    CUnitCtrl loaded;
                    Load(loaded, serialize, Stored(compound, serialize));
                    EXPECT_EQ(InfoOf(loaded), InfoOf(compound)) << first << ' ' << second << ' ' << divide;
                    Load(loaded, serialize, Stored(Single(first), serialize));
                    EXPECT_EQ(loaded.IsSingle(), 1);
                }
            }
        }
    }
}

TEST(UnitArchive, AShortRecordRaisesEndOfFileAndChangesNothing) {
    const std::pair<Operation, std::size_t> cases[] = {
        {&CUnitCtrl::Serialize, 0}, {&CUnitCtrl::Serialize, 127}, {&CUnitCtrl::Serialize1st, 19}};
    for (const auto& [serialize, size] : cases) {
        CUnitCtrl unit = kFull;
        try {
            Load(unit, serialize, std::vector<std::byte>(size));
            ADD_FAILURE() << size << " bytes were enough";
        } catch (const CFileException& e) {
            EXPECT_EQ(e.m_cause, CFileException::endOfFile);
        }
        EXPECT_EQ(InfoOf(unit), InfoOf(kFull));
    }
}

}  // namespace
