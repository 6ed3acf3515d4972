// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <span>
#include <string>
#include <utility>

#include "tests/data/DataTesting.h"
#include "tests/files/FileSupport.h"
#include "tests/support/FailingMemory.h"

namespace {

using kvx::testing::Contents, kvx::testing::Filled, kvx::testing::Numbers;

const CUnitCtrl kAcceleration(CUnitCtrl::DIM_ACCELERATION);
constexpr __int64 kNoMemory = __int64{1} << 60;

void ExpectEmpty(const CComDataBase& record) {
    EXPECT_EQ(record.GetDataMode(), CComDataBase::MODE_EMPTY);
    EXPECT_FALSE(record.GetDataPtr() || record.GetReal(0, 0) || record.GetHData() || record.Check());
    EXPECT_EQ(record.GetNumRow() + record.GetNumCol() + record.GetNsamp() + record.GetOffset(), 0);
    EXPECT_EQ(record.GetDelta(), 0.0);
    EXPECT_TRUE(record.GetUnit() == CUnitCtrl() && record.GetHUnit() == CUnitCtrl());
    EXPECT_TRUE(record.GetRowName().empty() && record.GetColName().empty());
}

/// The record that WaveBytes spells out.
CComDataWave Wave() {
    const CStringArray rowNames = {L"row"};
    CComDataWave wave(0.5, 1, 2, 2, -1, kAcceleration, &rowNames, nullptr);
    wave.SetColName({L"Data-Col-001", L"列"});
    *wave.GetDataPtr() = Filled(*wave.GetDataPtr(), {1.0, 2.0, 3.0, -4.5});
    return wave;
}

/// The record that SpectrumBytes spells out.
CComDataSpecG Spectrum() {
    const double axis[] = {10.0, 12.5};
    CComDataSpecG spectrum(1, 1, 1, kAcceleration, CDataArrayDouble(2, axis), nullptr, nullptr);
    *spectrum.GetDataPtr() = Filled(*spectrum.GetDataPtr(), {1.0, 2.0, -1.0, 0.25});
    return spectrum;
}

TEST(ComDataBase, ANewRecordIsEmptyButHasItsMode) {
    ExpectEmpty(CComDataBase());
    EXPECT_EQ(CComDataBase(CComDataBase::MODE_AXIS).GetDataMode(), CComDataBase::MODE_AXIS);
    CComDataSpecG axisOnly;
    EXPECT_EQ(axisOnly.GetDataMode(), CComDataBase::MODE_AXIS);
    EXPECT_EQ(axisOnly.GetHData(), nullptr);
    EXPECT_EQ(StoredBytes(axisOnly), "") << "nothing is stored of it";
}

TEST(ComDataBase, ShowsTheSamplesOfItsCellsInPlace) {
    using kvx::ImaginarySamples, kvx::Samples;
    CComDataWave wave = Wave();
    const CComDataSpecG spectrum = Spectrum();
    static_assert(std::is_same_v<decltype(Samples(spectrum, 0, 0)), std::span<const double>>);
    Samples(wave, 0, 1).front() = 7.0;
    EXPECT_EQ(Contents(*wave.GetDataPtr()), (Numbers{1.0, 2.0, 7.0, -4.5}));
    EXPECT_TRUE(std::ranges::equal(Samples(spectrum, 0, 0), Numbers{1.0, 2.0}));
    EXPECT_TRUE(std::ranges::equal(ImaginarySamples(spectrum, 0, 0), Numbers{-1.0, 0.25}));
    CComDataBase none;
    EXPECT_TRUE(ImaginarySamples(wave, 0, 0).empty() && Samples(wave, 1, 0).empty() &&
                Samples(none, 0, 0).empty() && ImaginarySamples(std::as_const(none), 0, 0).empty());
}

template <typename Record>
void ExpectSpaced(bool isComplex, const CUnitCtrl& axisUnit) {
    EXPECT_EQ(Record().GetDataMode(), CComDataBase::MODE_SPACING);
    const Record record(0.25, 2, 3, 5, 7, kAcceleration, nullptr, nullptr);
    EXPECT_EQ(record.GetDataMode(), CComDataBase::MODE_SPACING);
    EXPECT_THAT((std::array{record.GetNumRow(), record.GetNumCol(), record.GetNsamp(), record.GetOffset()}),
                testing::ElementsAre(2, 3, 5, 7));
    EXPECT_EQ(record.GetDelta(), 0.25);
    EXPECT_TRUE(record.GetHUnit() == axisUnit && record.GetUnit() == kAcceleration);
    EXPECT_NE(record.GetReal(1, 2), nullptr);
    EXPECT_EQ(record.GetImaginary(1, 2) != nullptr, isComplex);
    EXPECT_FALSE(record.GetReal(2, 0) || record.GetImaginary(0, -1) || record.GetHData());
}

TEST(ComDataBase, EachKindFixesItsAxisAndComplexFlag) {
    ExpectSpaced<CComDataWave>(false, CUnitCtrl(CUnitCtrl::DIM_TIME));
    ExpectSpaced<CComDataSpecA>(false, CUnitCtrl(CUnitCtrl::DIM_FREQUENCY));
    ExpectSpaced<CComDataSpecF>(true, CUnitCtrl(CUnitCtrl::DIM_FREQUENCY));
    EXPECT_EQ(Spectrum().GetHData()[1], 12.5);
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
    wave.Create(1.0, 1000, 1, 1, 0, kAcceleration, nullptr, nullptr);
    EXPECT_EQ(wave.GetRowName().back(), L"Data-Row-1000");
}

TEST(ComDataBase, AFailedCreationLeavesTheRecordEmpty) {
    const std::array<__int64, 3> shapes[] = {{0, 1, 1},   {1, 0, 1},         {1, 1, 0},
                                             {-1, -1, 1}, {1, 1, kNoMemory}, {kNoMemory, kNoMemory, 1}};
    for (const auto& [rows, cols, nsamp] : shapes) {
        CComDataWave wave = Wave();
        EXPECT_EQ(wave.Create(1.0, rows, cols, nsamp, 0, kAcceleration, nullptr, nullptr), 0);
        ExpectEmpty(wave);
    }
    CComDataSpecG spectrum = Spectrum();
    EXPECT_EQ(spectrum.Create(1, 1, 0, kAcceleration, CDataArrayDouble(), nullptr, nullptr), 0);
    ExpectEmpty(spectrum);
}

TEST(ComDataBase, WithoutMemoryItIsEmpty) {
    const CComDataBase original = Spectrum();
    CComDataBase record;
    const auto expectEmpty = [&record] { ExpectEmpty(record); };
    const auto create = [&] {
        return record.Create(2, 2, 1, original.GetHUnit(), original.GetUnit(), *original.GetHData(),
                             &original.GetRowName(), nullptr);
    };
    EXPECT_GT(Starve(create, expectEmpty), 0);
    record.Free();
    EXPECT_GT(Starve([&] { return (record = original).Check(); }, expectEmpty), 0);
    const CStringArray names = {L"a name that needs memory"};
    EXPECT_GT(Starve([&] { return record.SetRowName(names); },
                     [&] { EXPECT_EQ(record.GetRowName(), original.GetRowName()); }),
              0);
}

TEST(ComDataBase, ARecordCanBeCreatedFromItsOwnParts) {
    CComDataBase record = Spectrum();
    record.SetRowName({L"kept"});
    EXPECT_EQ(record.Create(2, 1, 0, record.GetHUnit(), record.GetUnit(), *record.GetHData(),
                            &record.GetRowName(), &record.GetColName()),
              1);
    EXPECT_EQ(record.GetRowName(), (CStringArray{L"kept", L"Data-Row-002"}));
    EXPECT_EQ(Contents(*record.GetHData()), (Numbers{10.0, 12.5}));
    EXPECT_TRUE(record.GetUnit() == kAcceleration);
}

TEST(ComDataBase, InitMarksAndZeroClearsEverySample) {
    CComDataSpecF record(1.0, 1, 2, 2, 0, kAcceleration, nullptr, nullptr);
    EXPECT_EQ(Contents(*record.GetDataPtr()), Numbers(8, 0.0));
    record.Init();
    EXPECT_EQ(Contents(*record.GetDataPtr()), Numbers(8, -DBL_MAX));
    record.Zero();
    EXPECT_EQ(Contents(*record.GetDataPtr()), Numbers(8, 0.0));
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

    for (CComDataBase record : {CComDataBase(Spectrum()), CComDataBase()}) {
        const __int64 nsamp = record.GetNsamp();
        EXPECT_EQ(record.SetDelta(0.125) + record.SetOffset(-9) + record.SetNsamp(3), 0);
        EXPECT_EQ(record.GetDelta(), 0.0);
        EXPECT_EQ(record.GetOffset(), 0);
        EXPECT_EQ(record.GetNsamp(), nsamp);
        EXPECT_EQ(record.SetUnit(kAcceleration) + record.SetHUnit(kAcceleration), 2);
        EXPECT_TRUE(record.GetHUnit() == kAcceleration && record.GetUnit() == kAcceleration);
    }
    EXPECT_EQ(CComDataWave().SetNsamp(1), 0);
}

TEST(ComDataBase, ChangingTheSampleCountDropsTheSamples) {
    CComDataWave wave = Wave();
    EXPECT_EQ(wave.SetNsamp(2), 1);
    EXPECT_EQ(StoredBytes(wave), WaveBytes()) << "the count it has already changes nothing";
    EXPECT_EQ(wave.SetNsamp(4), 1);
    EXPECT_EQ(Contents(*wave.GetDataPtr()), Numbers(8, 0.0));
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
    EXPECT_EQ(spectrum.SetHData(CDataArrayDouble()), 0);
    EXPECT_EQ(StoredBytes(spectrum), SpectrumBytes());

    EXPECT_EQ(spectrum.SetHData(CDataArrayDouble(3, 99.0)), 1);
    EXPECT_EQ(Contents(*spectrum.GetHData()), Numbers(3, 99.0));
    EXPECT_EQ(Contents(*spectrum.GetDataPtr()), Numbers(6, 0.0));
    EXPECT_EQ(CComDataSpecG().SetHData(CDataArrayDouble(3, 1.0)), 0);
}

TEST(ComDataBase, CopiesAreIndependentAndMovesLeaveNothing) {
    for (CComDataBase original : {CComDataBase(Wave()), CComDataBase(Spectrum())}) {
        const std::string bytes = StoredBytes(original);
        CComDataBase copy = original;
        copy.GetReal(0, 0)[0] = 99.0;
        EXPECT_EQ(StoredBytes(original), bytes);
        copy = original;
        CComDataBase moved = std::move(copy);
        ExpectEmpty(copy);  // NOLINT(bugprone-use-after-move): what moving leaves is promised
        const CComDataBase& self = moved;
        moved = self;
        EXPECT_EQ(StoredBytes(moved), bytes);
        moved = CComDataBase();
        ExpectEmpty(moved);
    }
}

TEST(ComDataBase, OnlyTheLow32BitsOfTheOffsetAreStored) {
    constexpr __int64 kLimit = __int64{1} << 31;
    for (const auto& [offset, stored] :
         {std::pair<__int64, __int64>{2 * kLimit + 5, 5}, {-3, -3}, {kLimit, -kLimit}}) {
        CComDataWave wave = Wave();
        wave.SetOffset(offset);
        CauseOfLoading(StoredBytes(wave), [&wave](CArchive& archive) { wave.Serialize(archive); });
        EXPECT_EQ(wave.GetOffset(), stored);
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

/// The bytes of a record, how they are loaded, and how the record is stored today.
struct Layout {
    std::string bytes;
    void (CComDataBase::*load)(CArchive&);
    std::string today;

    /// What `record`, which held something else, becomes from `given`.
    int Load(CComDataBase& record, std::string_view given) const {
        record = Wave();
        return CauseOfLoading(given, [&](CArchive& archive) { (record.*load)(archive); });
    }
};

class RecordLayout : public testing::TestWithParam<Layout> {
protected:
    const Layout& layout_ = GetParam();
    CComDataBase record_;
};

INSTANTIATE_TEST_SUITE_P(WaveThenSpectrumOfEachGeneration, RecordLayout,
                         testing::Values(Layout{WaveBytes(), &CComDataBase::Serialize, WaveBytes()},
                                         Layout{SpectrumBytes(), &CComDataBase::Serialize, SpectrumBytes()},
                                         Layout{FirstWaveBytes(), &CComDataBase::Serialize1st, WidenedWave()},
                                         Layout{FirstSpectrumBytes(), &CComDataBase::Serialize1st,
                                                SpectrumBytes()}));

TEST_P(RecordLayout, IsLoadedWhole) {
    EXPECT_EQ(layout_.Load(record_, layout_.bytes + "more"), CFileException::none);
    EXPECT_EQ(StoredBytes(record_), layout_.today);
}

TEST_P(RecordLayout, CutShortAnywhereItIsTheEndOfTheFileAndEmpty) {
    for (std::size_t size = 0; size < layout_.bytes.size() && !HasFailure(); ++size) {
        EXPECT_EQ(layout_.Load(record_, layout_.bytes.substr(0, size)), CFileException::endOfFile) << size;
        ExpectEmpty(record_);
    }
}

TEST_P(RecordLayout, IsLoadedIntoTheCellsOfARecordOfItsShape) {
    EXPECT_EQ(layout_.Load(record_, layout_.bytes), CFileException::none);
    const double* const samples = record_.GetReal(0, 0);
    const auto loadAgain = [&] {
        return CauseOfLoading(layout_.bytes, [&](CArchive& archive) { (record_.*layout_.load)(archive); });
    };
    record_.Init();
    EXPECT_EQ(loadAgain(), CFileException::none);
    EXPECT_EQ(record_.GetReal(0, 0), samples);
    EXPECT_EQ(StoredBytes(record_), layout_.today);
    record_.GetDataPtr()->GetArrayPtr(0, 0)->Create(record_.GetImaginary(0, 0) == nullptr, 3);
    EXPECT_EQ(loadAgain(), CFileException::none);
    EXPECT_EQ(StoredBytes(record_), layout_.today) << "cells that were changed are put right";
}

TEST_P(RecordLayout, WithoutMemoryItIsEmpty) {
    int failures = 0;
    for (; !record_.Check(); ++failures) {
        ExpectEmpty(record_);
        kvx::MemoryStream stream(std::as_bytes(std::span(layout_.bytes)));
        CArchive archive(stream, CArchive::load);
        const FailingMemory failing(failures);
        (record_.*layout_.load)(archive);
    }
    EXPECT_GT(failures, 1);
}

TEST(ComDataBase, WhatCannotBeStoredDoesNotPassTheCheck) {
    using Change = void (*)(CComDataBase&);
    const Change changes[] = {
        [](CComDataBase& record) {
            record.GetDataPtr()->GetArrayPtr(0, 0)->Create(record.GetImaginary(0, 0) != nullptr, 3);
        },
        [](CComDataBase& record) {
            record.GetDataPtr()->GetArrayPtr(0, 0)->Create(record.GetImaginary(0, 0) == nullptr, 2);
        },
        [](CComDataBase& record) { record.GetDataPtr()->GetArrayPtr(0, 0)->Free(); },
        [](CComDataBase& record) { record.GetDataPtr()->Free(); },
    };
    for (const Change change : changes) {
        for (CComDataBase record : {CComDataBase(Wave()), CComDataBase(Spectrum())}) {
            EXPECT_TRUE(record.Check());
            change(record);
            EXPECT_FALSE(record.Check());
        }
    }
    CComDataBase spectrum = Spectrum();
    spectrum.GetHData()->Append(1.0);
    EXPECT_FALSE(spectrum.Check());
}

TEST(ComDataBase, ContentsThatContradictEachOtherLoadAsEmpty) {
    const std::string spectrum = SpectrumBytes();
    const std::string axisOfOne =
        spectrum.substr(0, spectrum.size() - 20) + ByteImage().Words({1}).Doubles({10.0}).bytes;
    std::string unknownMode = WaveBytes();
    unknownMode[4] = 3;
    std::string noRows = WaveBytes();
    noRows[noRows.find(ByteImage().Words({1, 0, 1, 2, 2}).bytes) + 8] = 0;
    for (const std::string& bytes : {axisOfOne, unknownMode, noRows}) {
        CComDataBase record;
        EXPECT_EQ((Layout{"", &CComDataBase::Serialize, ""}).Load(record, bytes), CFileException::none);
        ExpectEmpty(record);
    }
}

}  // namespace
