// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "tests/files/FileSupport.h"
#include "tests/support/Starve.h"
#include "tests/support/TempFolder.h"

namespace {

using kvx::DataFileContent;
using kvx::RecordOutline;

std::string CurrentFile() {
    CComHdr header(CComHdr::EXT_INFO_RANDOM_DATA, L"name");
    return StoredBytes(header) + WaveBytes() + SpectrumBytes();
}
std::string FirstFile() {
    return FirstHeaderBytes(0, "", 1) + FirstWaveBytes() + FirstSpectrumBytes();
}
/// Records without an axis, with surplus names, and with axis values of a real matrix.
std::string OtherFile() {
    CComHdr header(CComHdr::EXT_INFO_SINE_DATA, L"other");
    ByteImage image;
    image.Words({1, 0}).Unit(0x02000001).Unit(0x00010004).Names({u"a", u"b", u"c"}).Names({});
    image.Words({1, 1, 2, 1, 1}).Words({1, 1, 1}).Doubles({1.0, 2.0}).Words({1, 1, 1}).Doubles({3.0, 4.0});
    image.Words({1, 2}).Unit(0x02000001).Unit(0x00010004).Names({}).Names({u"列"});
    image.Words({1, 0, 1, 1, 3}).Words({1, 0, 3}).Doubles({1.0, 2.0, 3.0});
    image.Words({1, 3}).Doubles({10.0, 20.0, 40.0});
    return StoredBytes(header) + image.bytes;
}

class DataFileStream : public testing::TestWithParam<std::string (*)()> {
protected:
    std::wstring Path() const { return (folder_ / "file.vdf2").wstring(); }

    TempFolder folder_;
};

/// `count` numbers, read by `read(start, numbers)` in pieces of `step`.
template <typename Read>
std::vector<double> InPieces(__int64 count, __int64 step, Read read) {
    std::vector<double> numbers(static_cast<std::size_t>(count), -1.0);
    for (__int64 start = 0; start < count; start += step) {
        const auto piece = static_cast<std::size_t>(std::min(step, count - start));
        read(start, std::span(numbers).subspan(static_cast<std::size_t>(start), piece));
    }
    return numbers;
}

/// What the reader delivers of a record, in pieces of `step`, against the record.
void ExpectNumbersOf(const CComDataBase& record, kvx::DataFileReader& file, __int64 index, __int64 step) {
    const auto expect = [&](auto wanted, auto read) {
        EXPECT_EQ(InPieces(record.GetNsamp(), step, read), std::vector<double>(wanted.begin(), wanted.end()));
    };
    for (__int64 cell = 0; cell < record.GetNumRow() * record.GetNumCol(); ++cell) {
        const __int64 row = cell / record.GetNumCol();
        const __int64 col = cell % record.GetNumCol();
        expect(kvx::Samples(record, row, col), [&](__int64 start, std::span<double> samples) {
            file.ReadReal({index, row, col, start}, samples);
        });
        const auto imaginary = kvx::ImaginarySamples(record, row, col);
        if (imaginary.empty()) continue;
        expect(imaginary, [&](__int64 start, std::span<double> samples) {
            file.ReadImaginary({index, row, col, start}, samples);
        });
    }
    std::vector<double> axis;
    for (__int64 i = 0; i < record.GetNsamp() && record.GetDataMode() != CComDataBase::MODE_EMPTY; ++i) {
        axis.push_back(record.GetHData() != nullptr
                           ? (*record.GetHData())[i]
                           : static_cast<double>(i + record.GetOffset()) * record.GetDelta());
    }
    const auto readAxis = [&](__int64 start, std::span<double> values) {
        file.ReadAxis(index, start, values);
    };
    if (!axis.empty()) {
        expect(axis, readAxis);
    } else {
        EXPECT_THROW(InPieces(1, 1, readAxis), kvx::Error);
    }
}

TEST_P(DataFileStream, ReadsWhatLoadingTheWholeFileReads) {
    folder_.Write("file.vdf2", GetParam()());
    const DataFileContent whole = kvx::LoadDataFile(Path());
    kvx::MemoryStream stream = StreamOf(GetParam()());
    kvx::DataFileReader files[] = {kvx::DataFileReader(Path()), kvx::DataFileReader(stream)};
    for (kvx::DataFileReader& file : files) {
        EXPECT_EQ(file.Head().header, whole.header);
        EXPECT_EQ(file.Head().isFirstGeneration, GetParam() == &FirstFile);
        ASSERT_EQ(file.Records().size(), whole.records.size());
        for (std::size_t r = 0; r < whole.records.size(); ++r) {
            const RecordOutline& outline = file.Records()[r];
            const CComDataBase& record = whole.records[r];
            EXPECT_EQ(outline.fields.mode, record.GetDataMode());
            EXPECT_EQ(outline.fields.delta, record.GetDelta());
            EXPECT_EQ(outline.fields.offset, record.GetOffset());
            EXPECT_EQ(outline.fields.unit, record.GetUnit());
            EXPECT_EQ(outline.fields.rowNames, record.GetRowName());
            EXPECT_EQ(outline.fields.colNames, record.GetColName());
            EXPECT_EQ(outline.isComplex, record.GetDataPtr()->IsComplex() != 0);
            for (const __int64 step : {1, 2, 1000})
                ExpectNumbersOf(record, file, static_cast<__int64>(r), step);
        }
    }
}

/// Loads the file both ways, which must agree.
void ExpectSameOutcome(const std::string& bytes, std::size_t place) {
    std::size_t loaded = 0;
    std::size_t opened = 0;
    const std::string loading = WhatOf([&] {
        kvx::MemoryStream stream = StreamOf(bytes);
        loaded = kvx::LoadDataFile(stream).records.size();
    });
    const std::string reading = WhatOf([&] {
        kvx::MemoryStream stream = StreamOf(bytes);
        opened = kvx::DataFileReader(stream).Records().size();
    });
    ASSERT_EQ(reading, loading) << place;
    ASSERT_EQ(opened, loaded) << place;
    ASSERT_EQ(loaded == 0, !loading.empty()) << place;
}

TEST_P(DataFileStream, RefusesEveryShortenedFileAsLoadingDoes) {
    const std::string bytes = GetParam()();
    for (std::size_t size = bytes.size(); size-- > 0 && !HasFatalFailure();)
        ExpectSameOutcome(bytes.substr(0, size), size);
}

TEST_P(DataFileStream, RefusesEveryDamagedFileAsLoadingDoes) {
    const std::string bytes = GetParam()();
    const auto expect = [&](std::size_t place, const std::string& some) {
        ExpectSameOutcome(std::string(bytes).replace(place, some.size(), some), place);
    };
    for (std::size_t place = 0; place + 4 <= bytes.size() && !HasFatalFailure(); ++place) {
        if (place == 12) place = 316;  // the text of the header, of any generation
        for (const int flips : {0x01, 0x02, 0x80, 0xFF})
            expect(place, std::string(1, static_cast<char>(bytes[place] ^ flips)));
        for (const std::uint32_t word : {0U, 2U, 0x7FFFFFFFU, 0xFFFFFFFFU})
            expect(place, ByteImage().Words({word}).bytes);
    }
}

TEST_P(DataFileStream, IsNeverCalledDamagedWhenAllocationFails) {
    folder_.Write("file.vdf2", GetParam()());
    const std::wstring path = Path();
    const auto starve = [](auto work) {
        bool isMemory = true;
        const auto attempt = [&] {
            try {
                work();
                return true;
            } catch (const kvx::Error& error) {
                isMemory = error.Kind() == kvx::ErrorKind::kNoMemory;
            } catch (const std::bad_alloc&) {
                isMemory = true;
            }
            return false;
        };
        return Starve(attempt, [&] { EXPECT_TRUE(isMemory); });
    };
    EXPECT_GT(starve([&] { kvx::LoadDataFile(path); }), 9);
    EXPECT_GT(starve([&] { kvx::DataFileReader reader(path); }), 9);
}

TEST(DataFileNames, TakeMemoryByTheSizeOfTheFile) {
    constexpr std::uint32_t kNames = 1'000'000;  // of one byte each
    const TempFolder folder;
    ByteImage image;
    image.Words({1}).FirstUnit(0x01000001).FirstUnit(0x00010004);
    image.U(0xFFFF, 2).Words({kNames}).U(1, 1).Text("n").Zeros(kNames - 1).U(0, 2);
    image.Words({0, 1, 1, 1}).Words({0, 1}).Floats({1.0F}).Doubles({0.5}).Words({0});
    folder.Write("file.vdf2", FirstHeaderBytes(0, "", 1) + image.bytes);
    const std::wstring path = (folder / "file.vdf2").wstring();
    FailingMemory::largest = 0;
    const DataFileContent whole = kvx::LoadDataFile(path);
    EXPECT_EQ(whole.records[0].GetRowName(), CStringArray{L"n"});
    EXPECT_LT(whole.records[0].GetRowName().capacity(), 9U);
    EXPECT_EQ(kvx::DataFileReader(path).Records()[0].fields.rowNames, CStringArray{L"n"});
    EXPECT_LT(FailingMemory::largest.load(), 4 * kNames);
}

INSTANTIATE_TEST_SUITE_P(Generations, DataFileStream, testing::Values(&CurrentFile, &FirstFile, &OtherFile));

using DataFileWriting = DataFileStream;

/// Two cells of five samples on an even axis, eight of five complex ones, and three samples on an axis.
std::vector<RecordOutline> Outlines() {
    RecordOutline wave;
    wave.fields.mode = CComDataBase::MODE_SPACING;
    wave.fields.hunit = kvx::SingleUnit(kvx::kAxisMilliseconds);
    wave.fields.unit = CUnitCtrl(CUnitCtrl::DIM_FORCE);
    wave.fields.rowNames = {L"加速度"};
    wave.fields.delta = 0.125;
    wave.fields.offset = -3;
    wave.rows = 2;
    wave.cols = 1;
    wave.nsamp = 5;
    RecordOutline spectrum = wave;
    spectrum.fields.hunit = kvx::SingleUnit(kvx::kAxisHertz);
    spectrum.cols = 2;
    spectrum.isComplex = true;
    RecordOutline uneven = spectrum;
    uneven.fields.mode = CComDataBase::MODE_AXIS;
    uneven.rows = 1;
    uneven.nsamp = 600;  // more than is written as zeros
    return {wave, spectrum, uneven};
}

/// A record of that outline with samples that are all different.
CComDataBase RecordOf(const RecordOutline& outline) {
    const auto& [fields, rows, cols, nsamp, isComplex] = outline;
    double value = 0.0;
    CComDataBase record;
    if (fields.mode == CComDataBase::MODE_AXIS) {
        CDataArrayDouble axis(nsamp, nullptr);
        for (double& at : kvx::Samples(axis)) at = value += 0.5;
        record.Create(rows, cols, isComplex, fields.hunit, fields.unit, axis, &fields.rowNames,
                      &fields.colNames);
    } else {
        record.Create(fields.delta, rows, cols, nsamp, fields.offset, isComplex, fields.hunit, fields.unit,
                      &fields.rowNames, &fields.colNames);
    }
    for (__int64 cell = 0; cell < rows * cols; ++cell) {
        for (double& sample : kvx::Samples(record, cell / cols, cell % cols)) sample = value += 1.25;
        for (double& sample : kvx::ImaginarySamples(record, cell / cols, cell % cols)) sample = value -= 9.75;
    }
    return record;
}

/// Writes samples `start` to `end - 1` of every cell, last cell first, and of the axis.
void WriteSome(kvx::DataFileWriter& file, const CComDataBase& record, __int64 index, __int64 start,
               __int64 end) {
    const auto some = [&](auto all) {
        return all.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
    };
    if (record.GetHData() != nullptr) file.WriteAxis(index, start, some(kvx::Samples(*record.GetHData())));
    for (__int64 cell = record.GetNumRow() * record.GetNumCol(); cell-- > 0;) {
        const kvx::SamplePlace place = {index, cell / record.GetNumCol(), cell % record.GetNumCol(), start};
        if (record.GetDataPtr()->IsComplex())
            file.WriteImaginary(place, some(kvx::ImaginarySamples(record, place.row, place.col)));
        EXPECT_THROW(file.Commit(), kvx::Error);
        file.WriteReal(place, some(kvx::Samples(record, place.row, place.col)));
    }
}

TEST_F(DataFileWriting, InAnyOrderGivesTheBytesOfStoringTheWholeFile) {
    const CComHdr header(CComHdr::EXT_INFO_VIB_DATA, L"text");
    DataFileContent whole = {header, {}};
    for (const RecordOutline& outline : Outlines()) whole.records.push_back(RecordOf(outline));
    kvx::StoreDataFile(Path(), whole);
    kvx::MemoryStream memory;
    kvx::DataFileWriter files[] = {
        kvx::DataFileWriter((folder_ / "streamed.vdf2").wstring(), header, Outlines()),
        kvx::DataFileWriter(memory, header, Outlines())};
    for (kvx::DataFileWriter& file : files) {
        for (__int64 r = std::ssize(whole.records); r-- > 0;) {
            const CComDataBase& record = whole.records[static_cast<std::size_t>(r)];
            WriteSome(file, record, r, 3, record.GetNsamp());
            WriteSome(file, record, r, 0, 3);
        }
        file.Commit();
    }
    EXPECT_EQ(folder_.Read("streamed.vdf2"), folder_.Read("file.vdf2"));
    EXPECT_EQ(TextOf(memory.Bytes()), folder_.Read("file.vdf2"));
    EXPECT_EQ(folder_.Count(), 2U);
    kvx::MemoryStream stored;
    kvx::StoreDataFile(stored, whole);
    EXPECT_EQ(TextOf(stored.Bytes()), folder_.Read("file.vdf2"));
}

TEST_F(DataFileWriting, CountsNoSampleTwice) {
    const CComHdr header(CComHdr::EXT_INFO_VIB_DATA, L"");
    const std::vector<RecordOutline> records = {Outlines()[0]};
    const double samples[5] = {1.0, 2.0, 3.0, 4.0, 5.0};
    struct Write {
        __int64 row, start, num;
    };
    const std::vector<Write> orders[] = {
        {{0, 0, 5}, {0, 0, 5}, {1, 0, 5}},
        {{1, 0, 5}, {1, 1, 3}, {0, 4, 1}, {0, 2, 3}, {0, 0, 2}},
        {{0, 1, 1}, {0, 3, 1}, {1, 1, 4}, {0, 0, 5}, {1, 0, 0}, {1, 0, 1}},
        {{0, 2, 3}, {1, 0, 3}, {1, 4, 1}, {0, 0, 1}, {1, 2, 2}, {0, 0, 4}},
    };
    for (const std::vector<Write>& order : orders) {
        kvx::DataFileWriter file(Path(), header, records);
        for (const auto& [row, start, num] : order) {
            EXPECT_THROW(file.Commit(), kvx::Error);
            file.WriteReal({0, row, 0, start}, std::span(samples).first(static_cast<std::size_t>(num)));
        }
        file.Commit();
    }
    // What was written last stays.
    std::vector<double> last(5);
    kvx::DataFileReader(Path()).ReadReal({0, 0, 0, 0}, last);
    EXPECT_EQ(last, (std::vector<double>{1.0, 2.0, 3.0, 4.0, 3.0}));
}

TEST_F(DataFileWriting, RefusesWhatIsNoRecordOrOutsideIt) {
    const CComHdr header(CComHdr::EXT_INFO_VIB_DATA, L"");
    const auto creating = [&](auto change) {
        std::vector<RecordOutline> records = Outlines();
        change(records);
        return WhatOf([&] { kvx::DataFileWriter file(L"/tmp/kvx-none.vdf2", header, records); });
    };
    const std::string path = "/tmp/kvx-none.vdf2: ";
    EXPECT_EQ(creating([](auto& records) { records.clear(); }), path + "there is no record to store");
    EXPECT_EQ(creating([](auto& records) { records[1].nsamp = 0; }),
              path + "record 2: it is empty or damaged");
    EXPECT_NE(creating([](auto& records) { records[0].nsamp = __int64{1} << 31; }), "");
    EXPECT_NE(creating([](auto& records) { records[0].fields.mode = CComDataBase::MODE_EMPTY; }), "");
    EXPECT_THROW(kvx::DataFileWriter(Path(), CComHdr(), Outlines()), kvx::Error);
    {
        kvx::DataFileWriter file(Path(), header, Outlines());
        const std::vector<double> samples(2);
        const std::tuple<kvx::SamplePlace, std::size_t> outside[] = {
            {{3, 0, 0, 0}, 1}, {{-1, 0, 0, 0}, 1}, {{0, 2, 0, 0}, 1}, {{0, 0, 1, 0}, 1},
            {{0, 0, 0, 4}, 2}, {{0, 0, 0, -1}, 1}, {{0, 0, 0, 6}, 0}};
        for (const auto& [place, count] : outside)
            EXPECT_THROW(file.WriteReal(place, std::span(samples).first(count)), kvx::Error);
        EXPECT_THROW(file.WriteImaginary({0, 0, 0, 0}, samples), kvx::Error);
        EXPECT_THROW(file.WriteAxis(2, 599, samples), kvx::Error);
        EXPECT_EQ(ErrorOf([&] { file.WriteAxis(1, 0, samples); })->Sentence(), "it has no axis values");
        EXPECT_THROW(file.Commit(), kvx::Error);
    }
    EXPECT_EQ(folder_.Count(), 0U);
}

}  // namespace
