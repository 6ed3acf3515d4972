// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/files/FileSupport.h"
#include "tests/support/TempFolder.h"

namespace {

using kvx::DataFileContent;
using kvx::DataFileFailure;
using kvx::RecordOutline;

std::string CurrentFile() {
    CComHdr header(CComHdr::EXT_INFO_RANDOM_DATA, L"name");
    return StoredBytes(header) + WaveBytes() + SpectrumBytes();
}
std::string FirstFile() {
    return FirstHeaderBytes(0, "", 1) + FirstWaveBytes() + FirstSpectrumBytes();
}

class DataFileStream : public testing::TestWithParam<std::string (*)()> {
protected:
    std::wstring Path() const { return (folder_ / "file.vdf2").wstring(); }

    TempFolder folder_;
    DataFileFailure failure_;
};

/// The samples of a cell, read in pieces of `step`.
std::vector<double> Samples(kvx::DataFileReader& file, __int64 record, __int64 row, __int64 col,
                            bool imaginary, __int64 step) {
    const __int64 count = file.GetRecords()[static_cast<std::size_t>(record)].nsamp;
    std::vector<double> samples(static_cast<std::size_t>(count), -1.0);
    for (__int64 start = 0; start < count; start += step) {
        const kvx::SampleRange range = {record, row, col, start, std::min(step, count - start)};
        EXPECT_TRUE(imaginary ? file.ReadImaginary(range, &samples[static_cast<std::size_t>(start)])
                              : file.ReadReal(range, &samples[static_cast<std::size_t>(start)]));
    }
    return samples;
}

TEST_P(DataFileStream, ReadsWhatLoadingTheWholeFileReads) {
    folder_.Write("file.vdf2", GetParam()());
    DataFileContent whole;
    ASSERT_TRUE(CComDataFile::LoadDataFile(Path().c_str(), &whole));
    kvx::DataFileReader file;
    ASSERT_TRUE(file.Open(Path().c_str(), &failure_)) << failure_.Text();
    EXPECT_EQ(file.GetHeader(), whole.header);
    ASSERT_EQ(file.GetRecords().size(), whole.records.size());
    for (std::size_t r = 0; r < whole.records.size(); ++r) {
        const RecordOutline& outline = file.GetRecords()[r];
        const CComDataBase& record = whole.records[r];
        EXPECT_EQ(outline.fields.mode, record.GetDataMode());
        EXPECT_EQ(outline.fields.delta, record.GetDelta());
        EXPECT_EQ(outline.fields.offset, record.GetOffset());
        EXPECT_EQ(outline.fields.unit, record.GetUnit());
        EXPECT_EQ(outline.fields.rowNames, record.GetRowName());
        EXPECT_EQ(outline.fields.colNames, record.GetColName());
        for (__int64 cell = 0; cell < record.GetNumRow() * record.GetNumCol(); ++cell) {
            const __int64 row = cell / record.GetNumCol();
            const __int64 col = cell % record.GetNumCol();
            for (const __int64 step : {1, 2, 1000}) {
                const auto read = [&](bool imaginary) {
                    return Samples(file, static_cast<__int64>(r), row, col, imaginary, step);
                };
                const double* real = record.GetReal(row, col);
                EXPECT_EQ(read(false), std::vector<double>(real, real + record.GetNsamp()));
                const double* imaginary = record.GetImaginary(row, col);
                ASSERT_EQ(imaginary != nullptr, outline.isComplex);
                if (imaginary != nullptr) {
                    EXPECT_EQ(read(true), std::vector<double>(imaginary, imaginary + record.GetNsamp()));
                }
            }
        }
    }
}

TEST_P(DataFileStream, RefusesEveryShortenedFileAsLoadingDoes) {
    const std::string bytes = GetParam()();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        folder_.Write("file.vdf2", bytes.substr(0, size));
        DataFileContent whole;
        DataFileFailure loading;
        const int isLoaded = CComDataFile::LoadDataFile(Path().c_str(), &whole, &loading);
        kvx::DataFileReader file;
        ASSERT_EQ(file.Open(Path().c_str(), &failure_), isLoaded) << size;
        EXPECT_EQ(failure_.Text(), loading.Text()) << size;
        EXPECT_EQ(file.GetRecords().size(), whole.records.size());
    }
}

INSTANTIATE_TEST_SUITE_P(Generations, DataFileStream, testing::Values(&CurrentFile, &FirstFile));

using DataFileWriting = DataFileStream;

std::vector<RecordOutline> TwoRecords() {
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
    return {wave, spectrum};
}

TEST_F(DataFileWriting, InAnyOrderGivesTheBytesOfStoringTheWholeFile) {
    const CComHdr header(CComHdr::EXT_INFO_VIB_DATA, L"text");
    const std::vector<RecordOutline> outlines = TwoRecords();
    DataFileContent whole = {header, {}};
    kvx::DataFileWriter file;
    const std::wstring streamed = (folder_ / "streamed.vdf2").wstring();
    ASSERT_TRUE(file.Create(streamed.c_str(), header, outlines, &failure_)) << failure_.Text();
    for (std::size_t r = 0; r < outlines.size(); ++r) {
        const auto& [fields, rows, cols, nsamp, isComplex] = outlines[r];
        CComDataBase& record = whole.records.emplace_back();
        record.Create(fields.delta, rows, cols, nsamp, fields.offset, isComplex, fields.hunit, fields.unit,
                      &fields.rowNames, &fields.colNames);
        double value = 1.0;
        for (__int64 start : {3, 0}) {  // the last two samples of every cell come first
            for (__int64 cell = 0; cell < rows * cols; ++cell) {
                const kvx::SampleRange range = {static_cast<__int64>(r), cell / cols, cell % cols, start,
                                                start == 0 ? 3 : 2};
                for (const bool imaginary : {true, false}) {
                    double* samples = imaginary ? record.GetImaginary(range.row, range.col)
                                                : record.GetReal(range.row, range.col);
                    if (samples == nullptr) continue;
                    for (__int64 i = 0; i < range.num; ++i) samples[start + i] = value *= 1.25;
                    EXPECT_FALSE(file.Commit());
                    EXPECT_TRUE(imaginary ? file.WriteImaginary(range, samples + start)
                                          : file.WriteReal(range, samples + start));
                }
            }
        }
    }
    ASSERT_TRUE(file.Commit(&failure_)) << failure_.Text();
    ASSERT_TRUE(CComDataFile::StoreDataFile(Path().c_str(), whole));
    EXPECT_EQ(folder_.Read("streamed.vdf2"), folder_.Read("file.vdf2"));
    EXPECT_EQ(folder_.Count(), 2U);
}

TEST_F(DataFileWriting, RefusesWhatIsNoRecordOrOutsideIt) {
    kvx::DataFileWriter file;
    double sample = 0.0;
    EXPECT_FALSE(file.WriteReal({0, 0, 0, 0, 1}, &sample));
    EXPECT_FALSE(file.Commit());
    const CComHdr header(CComHdr::EXT_INFO_VIB_DATA, L"");
    const auto create = [&](auto change) {
        std::vector<RecordOutline> records = TwoRecords();
        change(records);
        return file.Create(Path().c_str(), header, records, &failure_);
    };
    EXPECT_FALSE(create([](auto& records) { records.clear(); }));
    EXPECT_FALSE(create([](auto& records) { records[1].nsamp = 0; }));
    EXPECT_EQ(failure_.record, 1);
    EXPECT_FALSE(create([](auto& records) { records[0].nsamp = __int64{1} << 31; }));
    EXPECT_FALSE(create([](auto& records) { records[0].fields.mode = CComDataBase::MODE_AXIS; }));
    EXPECT_FALSE(file.Create(Path().c_str(), CComHdr(), TwoRecords()));
    ASSERT_TRUE(create([](auto&) {}));
    const kvx::SampleRange outside[] = {{2, 0, 0, 0, 1}, {-1, 0, 0, 0, 1}, {0, 2, 0, 0, 1}, {0, 0, 1, 0, 1},
                                        {0, 0, 0, 4, 2}, {0, 0, 0, -1, 1}, {0, 0, 0, 6, 0}, {0, 0, 0, 0, -1}};
    for (const kvx::SampleRange& range : outside) EXPECT_FALSE(file.WriteReal(range, &sample));
    EXPECT_FALSE(file.WriteImaginary({0, 0, 0, 0, 1}, &sample));
    EXPECT_FALSE(file.WriteReal({0, 0, 0, 0, 1}, nullptr));
    EXPECT_FALSE(file.Commit(&failure_));
    EXPECT_FALSE(create([](auto& records) { records.clear(); }));
    EXPECT_EQ(folder_.Count(), 0U);
}

}  // namespace
