// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "Units.h"

namespace {

TEST(UnitCtrl, EachConstructorSetsItsMembers) {
    const kvx::UnitPart last{kVel, kSquared | kDivide};
    const struct {
        CUnitCtrl unit;
        Info info;
    } cases[] = {
        {CUnitCtrl(), {}},
        {CUnitCtrl(DIM_ACCELERATION), {{{kAcc}}}},
        {CUnitCtrl(DIM_RATIO), {{{kPercent}}}},
        {CUnitCtrl(kUnknownDimension), {}},
        {CUnitCtrl(kAcc, kHz, 0), {{{kAcc}, {kHz}}, 0}},
        {CUnitCtrl(kAcc, kHz, 7), {{{kAcc}, {kHz, kDivide}}, 0}},
        {CUnitCtrl(kUnknownUnit, kHz, 0), {{{}, {kHz}}, 0}},
        {CUnitCtrl(Make({kAcc, kSquared}), Make({kHz, kDivide}), 0), {{{kAcc, kSquared}, {kHz, kDivide}}, 0}},
        {CUnitCtrl(Make({kAcc, kSquared}), Make({kHz, kDivide}), 1), {{{kAcc, kSquared}, {kHz}}, 0}},
        {CUnitCtrl(Single(kAcc), Make({kHz, kSquared}), 1), {{{kAcc}, {kHz, kSquared | kDivide}}, 0}},
        {Make({kMm, kDivide}, {kHz, kSquared}, {kG}, last),
         {{{kMm, kDivide}, {kHz, kSquared}, {kG}, last}, 0}},
        {Make({kMm}, {CUnitCtrl::UNIT_CODE{0x00020000}}, {CUnitCtrl::UNIT_CODE{0xFFFFFFFF}}, {kUnknownUnit}),
         {{{kMm}}}},
        {Make({kMm, kSquared | kDivide}), {{{kMm, kSquared | kDivide}}}},
        {Make({kMm}, {kNone, kDivide}), {{{kMm}, {kNone, kDivide}}, 0}},
        {Make({kMm}, {}, {}, {kHz}), {{{kMm}, {}, {}, {kHz}}, 0}},
        {Make({kMm, CUnitCtrl::UNIT_CALC{0x000}}), {{{kMm}}}},  // flags without a known bit count as plain
        {Make({kMm, CUnitCtrl::UNIT_CALC{0xEEE}}), {{{kMm}}}},
        {Make({kMm, CUnitCtrl::CALC_PLAIN | kSquared}), {{{kMm, CUnitCtrl::UNIT_CALC{0x011}}}}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(InfoOf(cases[i].unit), cases[i].info) << i;
}

TEST(UnitCtrl, EqualityComparesDimensions) {
    const CUnitCtrl perHz(kMmPerSec, kHz, 1);
    const CUnitCtrl voltThird = Make({kVel}, {kHz}, {kVolt}), voltFourth = Make({kVel}, {kHz}, {}, {kVolt});
    const struct {
        CUnitCtrl a, b;
        bool equal;
    } cases[] = {
        {Single(kMm), Single(kInch), true},
        {Single(kMm), Single(kVel), false},
        {Single(kMm), CUnitCtrl(kMm, kNone, 0), false},
        {Single(kMm), Make({kMm, kSquared}), true},
        {perHz, CUnitCtrl(kVel, kKilohertz, 0), true},
        {perHz, CUnitCtrl(kVel, kSecond, 1), false},
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
    for (const CUnitCtrl::DIM_CODE dim : kDimensions) {
        const CUnitCtrl unit{dim};
        EXPECT_EQ(unit.IsAcc(), dim == DIM_ACCELERATION);
        EXPECT_EQ(unit.IsVel(), dim == DIM_VELOCITY);
        EXPECT_EQ(unit.IsDisp(), dim == DIM_DISPLACEMENT);
        EXPECT_EQ(unit.IsAccOrVelOrDisp(), dim <= DIM_DISPLACEMENT);
        EXPECT_EQ(CUnitCtrl::IsAccOrVelOrDisp(dim), dim <= DIM_DISPLACEMENT);
        EXPECT_EQ(unit.IsControlAvailable(), dim != DIM_RATIO);
    }
    const CUnitCtrl compound(kMetrePerSecondSquared, kHertz, 1);
    EXPECT_FALSE(compound.IsAcc() || compound.IsAccOrVelOrDisp() || compound.IsControlAvailable());
}

TEST(UnitCtrl, StandardUnitsHaveAPositionInTheirDimension) {
    const struct {
        CUnitCtrl::DIM_CODE dim;
        CUnitCtrl::UNIT_CODE unit;
        __int64 index;
    } cases[] = {
        {DIM_ACCELERATION, kMetrePerSecondSquared, 3},
        {DIM_DISPLACEMENT, kMetre, 2},
        {DIM_STRAIN, kMicrostrain, 1},
        {DIM_FREQUENCY, kHertz, 0},
        {DIM_CHARGE, kCoulomb, 4},
        {DIM_RATIO, kPercent, 0},
        {DIM_MASS, kKilogram, 4},
        {kUnknownDimension, kNone, 0},
        {CUnitCtrl::DIM_CODE{0x00010001}, kNone, 0},
    };
    for (const auto& c : cases) {
        __int64 index = -1;
        EXPECT_EQ(CUnitCtrl::GetStdUnitCode(c.dim, &index), c.unit);
        EXPECT_EQ(index, c.index);
    }
}

TEST(UnitCtrl, AStandardUnitChangesNothing) {
    for (const CUnitCtrl::DIM_CODE dim : kDimensions) {
        // A ratio is held as a plain number and reported as percent.
        EXPECT_EQ(CUnitCtrl(dim).ConvDtoI(1.25, 1, 1), dim == DIM_RATIO ? 125 : 1.25) << dim;
    }
}

TEST(UnitCtrl, DimensionsAreReadFromEveryMember) {
    const CUnitCtrl unit = Make({kGalLowercase}, {kMillimetrePerSecond}, {kMillimetre}, {kNewton});
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

TEST(UnitParts, AreTheMembersThatAreUsed) {
    const struct {
        CUnitCtrl unit;
        std::vector<kvx::UnitPart> parts;
    } cases[] = {
        {CUnitCtrl(), {{}}},
        {Make({kMm, kSquared | kDivide}), {{kMm, kSquared | kDivide}}},
        {CUnitCtrl(kAcc, kHz, 1), {{kAcc}, {kHz, kDivide}}},
        {CUnitCtrl(kAcc, kUnknownUnit, 0), {{kAcc}, {}}},
        {Make({kMm}, {}, {kHz}), {{kMm}, {}, {kHz}}},
        {Make({kMm}, {kHz}, {}, {kG, kDivide}), {{kMm}, {kHz}, {}, {kG, kDivide}}},
    };
    for (const auto& [unit, parts] : cases)
        EXPECT_TRUE(std::ranges::equal(kvx::UnitParts(unit), parts)) << kvx::ToUtf8(NameOf(unit));
}

TEST(UnitNames, StandForTheCodesAndTheUnitsThatAreShown) {
    // At least one of each dimension, and those whose names could be taken for one another.
    const struct {
        CUnitCtrl::UNIT_CODE unit;
        std::uint32_t code;
        const wchar_t* shown;
    } cases[] = {
        // clang-format off
        {kGalLowercase, 0x00010001, L"gal"}, {kGal, 0x00010002, L"Gal"}, {kGalUppercase, 0x00010003, L"GAL"},
        {kMetrePerSecondSquared, 0x00010004, L"m/s#u2#n"}, {kRoundGravity, 0x00010005, L"gn"},
        {kRoundGravityUppercase, 0x00010006, L"Gn"}, {kStandardGravity, 0x00010007, L"g"},
        {kStandardGravityUppercase, 0x00010008, L"G"}, {kMilePerHourShort, 0x0002000B, L"M/h"},
        {kMilePerHour, 0x0002000C, L"mile/h"}, {kMicrometre, 0x00030009, L"\u03BCm"}, {kNewton, 0x00040001, L"N"},
        {kStrain, 0x00050001, L"Strain"}, {kMicrostrain, 0x00050002, L"\u03BC"},
        {kRevolutionPerMinute, 0x00060004, L"rpm"}, {kRevolutionPerMinuteSquared, 0x00070004, L"rpm/m"},
        {kPascal, 0x00080001, L"Pa"}, {kMillisecond, 0x01000001, L"ms"}, {kMsec, 0x01000002, L"msec"},
        {kSecond, 0x01000003, L"s"}, {kSec, 0x01000004, L"sec"}, {kHour, 0x01000006, L"h"},
        {kHourInFull, 0x01000007, L"hour"}, {kPsec, 0x01000009, L"psec"}, {kNsec, 0x0100000B, L"nsec"},
        {kUsec, 0x0100000D, L"\u03BCsec"}, {kHertz, 0x02000001, L"Hz"},
        {kRevolutionPerMinuteFrequency, 0x02000003, L"rpm"}, {kMillihertz, 0x02000004, L"mHz"},
        {kMegahertz, 0x02000005, L"MHz"}, {kPicocoulomb, 0x03000001, L"pC"}, {kVolt, 0x04000002, L"V"},
        {kDegreeCelsius, 0x05000002, L"\uFF9FC"}, {kAmplitudeDecibel, 0x06000002, L"dB"},
        {kPowerDecibel, 0x06000003, L"dB"}, {kOct, 0x06000004, L"oct"}, {kOctave, 0x06000008, L"octave"},
        {kDegree, 0x07000002, L"degree"}, {kDegreeSign, 0x07000003, L"\uFF9F"}, {kCycle, 0x08000001, L"cycle"},
        {kEngineeringUnit, 0x09000001, L"EU"}, {kCount, 0x0A000001, L"\u56DE"}, {kMegaampere, 0x0B000008, L"MA"},
        {kMegohm, 0x0C000004, L"M\u03A9"}, {kStandardDeviation, 0x0D000001, L"\u03C3"}, {kTonne, 0x0E000006, L"ton"},
        {kNone, 0x0F000001, L" "}, {kMegaerg, 0x10000006, L"Merg"}, {kMetricHorsepower, 0x11000006, L"PS"},
        {kTonneForceMetre, 0x12000004, L"tonf\u30FBm"}, {kKilogramSquareMetre, 0x13000002, L"kg\u30FBm#u2#n"},
        {kFarad, 0x14000005, L"F"}, {kSiemens, 0x15000003, L"S"}, {kHenry, 0x16000003, L"H"},
        {kMaxwell, 0x17000002, L"Mx"}, {kGauss, 0x18000002, L"gauss"}, {kGaussSymbol, 0x18000003, L"G"},
        // clang-format on
    };
    for (const auto& [unit, code, shown] : cases) {
        EXPECT_EQ(unit, code);
        EXPECT_EQ(NameOf(Single(unit)), shown);
    }
    EXPECT_EQ(kAll.size(), 165u);
}

TEST(UnitName, IsComposedWithBracketsWhereTheyAreNeeded) {
    const struct {
        CUnitCtrl unit;
        const wchar_t* name;
    } cases[] = {
        {CUnitCtrl(), L" "},
        {Single(kAcc), L"m/s#u2#n"},
        {Make({kVel, kSquared}), L"(m/s)#u2#n"},
        {Make({kAcc, kSquared}), L"(m/s#u2#n)#u2#n"},
        {Make({kSecond, kDivide}), L"1/s"},
        {Make({kAcc, kDivide}), L"1/(m/s#u2#n)"},
        {Make({kAcc, kSquared}, {kHz, kDivide}), L"(m/s#u2#n)#u2#n/Hz"},
        {Make({kG}, {kHz, kDivide}), L"g/Hz"},
        {Make({kAcc}, {kHz, kDivide}), L"(m/s#u2#n)/Hz"},
        {Make({kVolt}, {kAcc, kDivide}), L"V/(m/s#u2#n)"},
        {Make({kVolt}, {kAcc, kSquared | kDivide}), L"V/(m/s#u2#n)#u2#n"},
        {Make({kNewtonMetre}, {kSecond}), L"(N・m)・s"},
        {Make({kSecond, kDivide}, {kVolt}), L"(1/s)・V"},
        {Make({kVolt}, {kSecond}, {kHz, kDivide}, {kAmpere, kSquared}), L"V・s/Hz・A#u2#n"},
        {Make({kVolt}, {}, {kHz, kDivide}), L"V/Hz"},
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

const CUnitCtrl kFull = Make({kAcc, kSquared}, {kHz, kDivide}, {kVolt}, {kAmpere, kSquared | kDivide});
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
    const Info firstTwo{{{kAcc, kSquared}, {kHz, kDivide}}, 0};
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
         {{{}, {kMm}, {}, {kNone, kSquared}}, 0}},
        {serialize, Words({2, kMm, 1, 0}), {{{kMm}}}},  // zeros are no second member
        {serialize, Words({2, kMm, 1, 1, kHz, 1}), {{{kMm}, {kHz}}, 0}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        CUnitCtrl unit = Make({kSecond}, {kSecond}, {kSecond}, {kSecond});
        Load(unit, cases[i].load, cases[i].bytes);
        EXPECT_EQ(InfoOf(unit), cases[i].info) << i;
    }
}

TEST(UnitArchive, ACompoundStaysOneWhateverItsMembersAre) {
    for (const CUnitCtrl::UNIT_CODE second : {kNone, kHz}) {
        for (const CUnitCtrl::UNIT_CODE first : {kNone, kG}) {
            for (const int divide : {0, 1}) {
                for (const Operation serialize : {&CUnitCtrl::Serialize, &CUnitCtrl::Serialize1st}) {
                    const CUnitCtrl compound(first, second, divide);
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
