// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/files/FileSupport.h"

namespace {

const CUnitCtrl kAcceleration(CUnitCtrl::DIM_ACCELERATION);
constexpr __int64 kNoMemory = __int64{1} << 60;

std::uint32_t UnitCode(const CUnitCtrl& unit) {
    CUnitCtrl::UNIT_CODE code = {};
    unit.GetInfo(&code, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    return code;
}

void ExpectEmpty(const CComDataBase& record) {
    EXPECT_EQ(record.GetDataMode(), CComDataBase::MODE_EMPTY);
    EXPECT_EQ(record.GetDataPtr(), nullptr);
    EXPECT_EQ(record.GetNumRow() + record.GetNumCol() + record.GetNsamp(), 0);
    EXPECT_EQ(record.GetReal(0, 0), nullptr);
    EXPECT_EQ(record.GetHData(), nullptr);
    EXPECT_EQ(record.GetDelta(), 0.0);
    EXPECT_EQ(record.GetOffset(), 0);
    EXPECT_EQ(UnitCode(record.GetUnit()), 0x0F000001U);
    EXPECT_EQ(UnitCode(record.GetHUnit()), 0x0F000001U);
    EXPECT_TRUE(record.GetRowName().empty() && record.GetColName().empty());
    EXPECT_EQ(record.Check(), 0);
}

/// The record that WaveBytes spells out.
CComDataWave Wave() {
    const CStringArray rowNames = {L"row"};
    CComDataWave wave(0.5, 1, 2, 2, -1, kAcceleration, &rowNames, nullptr);
    wave.SetColName({L"Data-Col-001", L"列"});
    const double samples[] = {1.0, 2.0, 3.0, -4.5};
    std::copy_n(samples, 2, wave.GetReal(0, 0));
    std::copy_n(samples + 2, 2, wave.GetReal(0, 1));
    return wave;
}

/// The record that SpectrumBytes spells out.
CComDataSpecG Spectrum() {
    const double axis[] = {10.0, 12.5};
    CComDataSpecG spectrum(1, 1, 1, kAcceleration, CDataArrayDouble(2, axis), nullptr, nullptr);
    spectrum.GetReal(0, 0)[0] = 1.0;
    spectrum.GetReal(0, 0)[1] = 2.0;
    spectrum.GetImaginary(0, 0)[0] = -1.0;
    spectrum.GetImaginary(0, 0)[1] = 0.25;
    return spectrum;
}

TEST(ComDataBase, ANewRecordIsEmptyButHasItsMode) {
    ExpectEmpty(CComDataBase());
    EXPECT_EQ(CComDataBase(CComDataBase::MODE_AXIS).GetDataMode(), CComDataBase::MODE_AXIS);
    EXPECT_EQ(CComDataWave().GetDataMode(), CComDataBase::MODE_SPACING);
    EXPECT_EQ(CComDataSpecA().GetDataMode(), CComDataBase::MODE_SPACING);
    EXPECT_EQ(CComDataSpecF().GetDataMode(), CComDataBase::MODE_SPACING);
    EXPECT_EQ(CComDataSpecG().GetDataMode(), CComDataBase::MODE_AXIS);
    EXPECT_EQ(CComDataSpecG().GetHData(), nullptr);
}

template <typename Record>
void ExpectSpaced(int isComplex, std::uint32_t axisUnit) {
    const Record record(0.25, 2, 3, 5, 7, kAcceleration, nullptr, nullptr);
    EXPECT_EQ(record.GetDataMode(), CComDataBase::MODE_SPACING);
    EXPECT_EQ(record.GetNumRow(), 2);
    EXPECT_EQ(record.GetNumCol(), 3);
    EXPECT_EQ(record.GetNsamp(), 5);
    EXPECT_EQ(record.GetDelta(), 0.25);
    EXPECT_EQ(record.GetOffset(), 7);
    EXPECT_EQ(UnitCode(record.GetHUnit()), axisUnit);
    EXPECT_EQ(UnitCode(record.GetUnit()), 0x00010004U);
    EXPECT_NE(record.GetReal(1, 2), nullptr);
    EXPECT_EQ(record.GetImaginary(1, 2) != nullptr, isComplex != 0);
    EXPECT_EQ(record.GetReal(2, 0), nullptr);
    EXPECT_EQ(record.GetImaginary(0, -1), nullptr);
    EXPECT_EQ(record.GetHData(), nullptr);
}

TEST(ComDataBase, EachKindFixesItsAxisAndComplexFlag) {
    ExpectSpaced<CComDataWave>(0, 0x01000001);
    ExpectSpaced<CComDataSpecA>(0, 0x02000001);
    ExpectSpaced<CComDataSpecF>(1, 0x02000001);

    const CComDataSpecG spectrum = Spectrum();
    EXPECT_EQ(UnitCode(spectrum.GetHUnit()), 0x02000001U);
    EXPECT_EQ(spectrum.GetNsamp(), 2);
    EXPECT_EQ(spectrum.GetHData()[1], 12.5);
    EXPECT_EQ(spectrum.GetDelta(), 0.0);
    const CComDataSpecG real(1, 1, 0, kAcceleration, CDataArrayDouble(2, 1.0), nullptr, nullptr);
    EXPECT_EQ(real.GetImaginary(0, 0), nullptr);
}

TEST(ComDataBase, MissingNamesAreFilledInAndSurplusOnesIgnored) {
    const CStringArray one = {L"given"};
    const CStringArray five = {L"a", L"b", L"c", L"d", L"e"};
    CComDataWave wave(1.0, 3, 4, 1, 0, kAcceleration, &one, &five);
    EXPECT_EQ(wave.GetRowName(), (CStringArray{L"given", L"Data-Row-002", L"Data-Row-003"}));
    EXPECT_EQ(wave.GetColName(), (CStringArray{L"a", L"b", L"c", L"d"}));
    EXPECT_EQ(wave.SetColName({}), 1);
    EXPECT_EQ(wave.GetColName().back(), L"Data-Col-004");
    EXPECT_EQ(wave.SetRowName(five), 1);
    EXPECT_EQ(wave.GetRowName(), (CStringArray{L"a", L"b", L"c"}));

    const CComDataWave tall(1.0, 1000, 1, 1, 0, kAcceleration, nullptr, nullptr);
    EXPECT_EQ(tall.GetRowName().back(), L"Data-Row-1000");
}

TEST(ComDataBase, AFailedCreationLeavesTheRecordEmpty) {
    for (const auto& [rows, cols, nsamp] : {std::array<__int64, 3>{0, 1, 1},
                                            {1, 0, 1},
                                            {1, 1, 0},
                                            {-1, -1, 1},
                                            {1, 1, kNoMemory},
                                            {kNoMemory, kNoMemory, 1}}) {
        CComDataWave wave = Wave();
        EXPECT_EQ(wave.Create(1.0, rows, cols, nsamp, 0, kAcceleration, nullptr, nullptr), 0);
        ExpectEmpty(wave);
    }
    CComDataSpecG spectrum = Spectrum();
    EXPECT_EQ(spectrum.Create(1, 1, 0, kAcceleration, CDataArrayDouble(), nullptr, nullptr), 0);
    ExpectEmpty(spectrum);
}

TEST(ComDataBase, ARecordCanBeCreatedFromItsOwnParts) {
    CComDataBase record = Spectrum();
    const CStringArray names = {L"kept"};
    record.SetRowName(names);
    EXPECT_EQ(record.Create(2, 1, 0, record.GetHUnit(), record.GetUnit(), *record.GetHData(),
                            &record.GetRowName(), &record.GetColName()),
              1);
    EXPECT_EQ(record.GetRowName(), (CStringArray{L"kept", L"Data-Row-002"}));
    EXPECT_EQ((*record.GetHData())[1], 12.5);
    EXPECT_EQ(UnitCode(record.GetUnit()), 0x00010004U);
}

TEST(ComDataBase, InitMarksAndZeroClearsEverySample) {
    CComDataSpecF record(1.0, 2, 2, 3, 0, kAcceleration, nullptr, nullptr);
    const auto everySample = [&record](double expected) {
        for (int cell = 0; cell < 4; ++cell) {
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(record.GetReal(cell / 2, cell % 2)[i], expected);
                EXPECT_EQ(record.GetImaginary(cell / 2, cell % 2)[i], expected);
            }
        }
    };
    everySample(0.0);
    record.Init();
    everySample(-DBL_MAX);
    record.Zero();
    everySample(0.0);
    record.Free();
    record.Init();
    record.Zero();
    ExpectEmpty(record);
}

TEST(ComDataBase, SpacingAndOffsetBelongToMode1) {
    CComDataWave wave = Wave();
    EXPECT_EQ(wave.SetDelta(0.125) + wave.SetOffset(-9), 2);
    EXPECT_EQ(wave.GetDelta(), 0.125);
    EXPECT_EQ(wave.GetOffset(), -9);
    EXPECT_EQ(wave.SetHData(CDataArrayDouble(3, 1.0)), 0);

    CComDataBase spectrum = Spectrum();
    EXPECT_EQ(spectrum.SetDelta(0.125) + spectrum.SetOffset(-9) + spectrum.SetNsamp(3), 0);
    EXPECT_EQ(spectrum.GetDelta(), 0.0);
    EXPECT_EQ(spectrum.GetOffset(), 0);
    EXPECT_EQ(spectrum.GetNsamp(), 2);

    CComDataBase empty;
    EXPECT_EQ(empty.SetDelta(1.0) + empty.SetOffset(1) + empty.SetNsamp(1), 0);
    EXPECT_EQ(CComDataWave().SetNsamp(1), 0);
    EXPECT_EQ(empty.SetUnit(kAcceleration) + empty.SetHUnit(kAcceleration), 2);
    EXPECT_TRUE(empty.GetHUnit() == kAcceleration && empty.GetUnit() == kAcceleration);
}

TEST(ComDataBase, ChangingTheSampleCountDropsTheSamples) {
    CComDataWave wave = Wave();
    EXPECT_EQ(wave.SetNsamp(2), 1);
    EXPECT_EQ(wave.GetReal(0, 1)[0], 3.0) << "the count it has already changes nothing";
    EXPECT_EQ(wave.SetNsamp(4), 1);
    EXPECT_EQ(wave.GetNsamp(), 4);
    EXPECT_EQ(wave.GetReal(0, 1)[0], 0.0);
    EXPECT_EQ(wave.GetRowName(), CStringArray{L"row"});
    for (const __int64 impossible : {__int64{0}, __int64{-1}, kNoMemory}) {
        wave = Wave();
        EXPECT_EQ(wave.SetNsamp(impossible), 0);
        ExpectEmpty(wave);
    }
}

TEST(ComDataBase, AnAxisOfTheSameLengthIsNotTakenOver) {
    CComDataBase spectrum = Spectrum();
    EXPECT_EQ(spectrum.SetHData(CDataArrayDouble(2, 99.0)), 1);
    EXPECT_EQ((*spectrum.GetHData())[0], 10.0);
    EXPECT_EQ(spectrum.GetReal(0, 0)[1], 2.0);

    EXPECT_EQ(spectrum.SetHData(CDataArrayDouble(3, 99.0)), 1);
    EXPECT_EQ(spectrum.GetHData()->GetNum(), 3);
    EXPECT_EQ((*spectrum.GetHData())[2], 99.0);
    EXPECT_EQ(spectrum.GetNsamp(), 3);
    EXPECT_EQ(spectrum.GetReal(0, 0)[1], 0.0);
    EXPECT_EQ(spectrum.SetHData(CDataArrayDouble()), 0);
    EXPECT_EQ(spectrum.GetNsamp(), 3);
    EXPECT_EQ(CComDataSpecG().SetHData(CDataArrayDouble(3, 1.0)), 0);
}

TEST(ComDataBase, CopiesAreIndependentAndMovesLeaveNothing) {
    for (CComDataBase original : {CComDataBase(Wave()), CComDataBase(Spectrum())}) {
        const std::string bytes = StoredBytes(original);
        CComDataBase copy = original;
        copy.GetReal(0, 0)[0] = 99.0;
        EXPECT_EQ(StoredBytes(original), bytes);
        copy = original;
        EXPECT_EQ(StoredBytes(copy), bytes);
        CComDataBase moved = std::move(copy);
        EXPECT_EQ(StoredBytes(moved), bytes);
        ExpectEmpty(copy);  // NOLINT(bugprone-use-after-move): what moving leaves is promised
        CComDataBase& self = moved;
        moved = self;
        EXPECT_EQ(StoredBytes(moved), bytes);
        moved = CComDataBase();
        ExpectEmpty(moved);
    }
}

TEST(ComDataBase, EachModeIsStoredByteForByte) {
    CComDataWave wave = Wave();
    EXPECT_EQ(StoredBytes(wave), WaveBytes());
    CComDataSpecG spectrum = Spectrum();
    EXPECT_EQ(StoredBytes(spectrum), SpectrumBytes());
}

TEST(ComDataBase, AnEmptyRecordIsStoredAsNothing) {
    CComDataBase empty;
    EXPECT_EQ(StoredBytes(empty), "");
    CComDataSpecG axisOnly;
    EXPECT_EQ(StoredBytes(axisOnly), "");
}

TEST(ComDataBase, OnlyTheLow32BitsOfTheOffsetAreStored) {
    for (const auto& [offset, stored] : {std::pair<__int64, __int64>{(__int64{1} << 32) + 5, 5},
                                         {-3, -3},
                                         {__int64{1} << 31, -(__int64{1} << 31)}}) {
        CComDataWave wave = Wave();
        wave.SetOffset(offset);
        CauseOfLoading(StoredBytes(wave), [&wave](CArchive& archive) { wave.Serialize(archive); });
        EXPECT_EQ(wave.GetOffset(), stored);
    }
}

/// The bytes of a record, how they are loaded, and how the record is stored today.
struct Layout {
    const char* name;
    std::string bytes;
    void (CComDataBase::*load)(CArchive&);
    std::string today;

    friend void PrintTo(const Layout& layout, std::ostream* out) { *out << layout.name; }
};

class RecordLayout : public testing::TestWithParam<Layout> {
protected:
    int Load(std::string_view bytes) {
        record_ = Wave();
        return CauseOfLoading(bytes, [this](CArchive& archive) {
            (record_.*GetParam().load)(archive);
            remaining_ = archive.Remaining();
        });
    }

    CComDataBase record_;
    std::uint64_t remaining_ = 0;
};

TEST_P(RecordLayout, IsLoadedWholeAndNoFurther) {
    EXPECT_EQ(Load(GetParam().bytes + "more"), CFileException::none);
    EXPECT_EQ(StoredBytes(record_), GetParam().today);
    EXPECT_EQ(remaining_, 4U);
}

TEST_P(RecordLayout, CutShortAnywhereItIsTheEndOfTheFileAndEmpty) {
    for (std::size_t size = 0; size < GetParam().bytes.size(); ++size) {
        ASSERT_EQ(Load(GetParam().bytes.substr(0, size)), CFileException::endOfFile) << size;
        ExpectEmpty(record_);
        ASSERT_FALSE(HasFailure()) << size;
    }
}

TEST_P(RecordLayout, WithAnyByteDamagedItIsWholeOrEmpty) {
    for (std::size_t place = 0; place < GetParam().bytes.size(); ++place) {
        for (const int flips : {0xFF, 0x01, 0x80}) {
            std::string damaged = GetParam().bytes;
            damaged[place] = static_cast<char>(damaged[place] ^ flips);
            Load(damaged);
            if (record_.Check()) {
                ASSERT_EQ(record_.GetRowName().size(), static_cast<std::size_t>(record_.GetNumRow()))
                    << place;
                ASSERT_EQ(record_.GetColName().size(), static_cast<std::size_t>(record_.GetNumCol()))
                    << place;
                ASSERT_FALSE(StoredBytes(record_).empty()) << place;
            } else {
                ExpectEmpty(record_);
                ASSERT_FALSE(HasFailure()) << place;
            }
        }
    }
}

/// What became of the first-generation waveform: widened samples, the marker mapped, the missing name filled
/// in.
std::string WidenedWave() {
    CComDataWave wave = Wave();
    wave.GetReal(0, 1)[1] = -DBL_MAX;
    wave.SetColName({L"", L"列"});
    return StoredBytes(wave);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, RecordLayout,
    testing::Values(Layout{"Wave", WaveBytes(), &CComDataBase::Serialize, WaveBytes()},
                    Layout{"Spectrum", SpectrumBytes(), &CComDataBase::Serialize, SpectrumBytes()},
                    Layout{"FirstWave", FirstWaveBytes(), &CComDataBase::Serialize1st, WidenedWave()},
                    Layout{"FirstSpectrum", FirstSpectrumBytes(), &CComDataBase::Serialize1st,
                           SpectrumBytes()}),
    [](const auto& layout) { return std::string(layout.param.name); });

TEST(ComDataBase, ContentsThatContradictEachOtherLoadAsEmpty) {
    const std::string spectrum = SpectrumBytes();
    const std::string axisOfOne =
        spectrum.substr(0, spectrum.size() - 20) + ByteImage().Words({1}).Doubles({10.0}).bytes;
    std::string unknownMode = WaveBytes();
    unknownMode[4] = 3;
    std::string noRows = WaveBytes();
    noRows[noRows.find(ByteImage().Words({1, 0, 1, 2, 2}).bytes) + 8] = 0;
    for (const std::string& bytes : {axisOfOne, unknownMode, noRows}) {
        CComDataBase record = Wave();
        EXPECT_EQ(CauseOfLoading(bytes, [&](CArchive& archive) { record.Serialize(archive); }),
                  CFileException::none);
        ExpectEmpty(record);
    }
}

TEST(ComDataBase, TheFirstGenerationIsNeverWritten) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    CComDataWave wave = Wave();
    EXPECT_THROW(wave.Serialize1st(archive), CFileException);
    EXPECT_EQ(wave.Check(), 1);
}

}  // namespace
