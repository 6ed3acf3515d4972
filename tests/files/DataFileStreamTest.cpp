// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "tests/files/FileSupport.h"
#include "tests/support/Starve.h"
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

/// Loads the file both ways, which must agree; whether they accept it.
void ExpectSameOutcome(const std::wstring& path, std::size_t place) {
    DataFileContent whole;
    DataFileFailure loading, reading;
    const int isLoaded = CComDataFile::LoadDataFile(path.c_str(), &whole, &loading);
    kvx::DataFileReader file;
    ASSERT_EQ(file.Open(path.c_str(), &reading), isLoaded)
        << place << ": " << loading.Text() << reading.Text();
    ASSERT_EQ(reading.Text(), loading.Text()) << place;
    ASSERT_EQ(reading.error.m_cause, loading.error.m_cause) << place;
    ASSERT_EQ(file.GetRecords().size(), whole.records.size()) << place;
}

TEST_P(DataFileStream, RefusesEveryShortenedFileAsLoadingDoes) {
    const std::string bytes = GetParam()();
    folder_.Write("file.vdf2", bytes);
    for (std::size_t size = bytes.size(); size-- > 0 && !HasFatalFailure();) {
        resize_file(folder_ / "file.vdf2", size);
        ExpectSameOutcome(Path(), size);
    }
}

TEST_P(DataFileStream, RefusesEveryDamagedFileAsLoadingDoes) {
    const std::string bytes = GetParam()();
    folder_.Write("file.vdf2", bytes);
    std::fstream file(folder_ / "file.vdf2", std::ios::in | std::ios::out | std::ios::binary);
    const auto put = [&](std::size_t place, const std::string& some) {
        file.seekp(static_cast<std::streamoff>(place));
        file.write(some.data(), static_cast<std::streamsize>(some.size())).flush();
    };
    for (std::size_t place = 0; place + 4 <= bytes.size() && !HasFatalFailure(); ++place) {
        if (place == 12) place = 316;  // the text of the header, of any generation
        for (const int flips : {0x01, 0x02, 0x80, 0xFF}) {
            put(place, std::string(1, static_cast<char>(bytes[place] ^ flips)));
            ExpectSameOutcome(Path(), place);
        }
        for (const std::uint32_t word : {0U, 2U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            put(place, ByteImage().Words({word}).bytes);
            ExpectSameOutcome(Path(), place);
        }
        put(place, bytes.substr(place, 4));
    }
}

TEST_P(DataFileStream, IsNeverCalledDamagedWhenAllocationFails) {
    folder_.Write("file.vdf2", GetParam()());
    const std::wstring path = Path();
    const auto expectNoMemory = [this] { EXPECT_EQ(failure_.reason, DataFileFailure::kNoMemory); };
    DataFileContent whole;
    EXPECT_GT(
        Starve([&] { return CComDataFile::LoadDataFile(path.c_str(), &whole, &failure_); }, expectNoMemory),
        9);
    kvx::DataFileReader file;
    EXPECT_GT(Starve([&] { return file.Open(path.c_str(), &failure_); }, expectNoMemory), 9);
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
    DataFileContent whole;
    ASSERT_TRUE(CComDataFile::LoadDataFile(path.c_str(), &whole));
    EXPECT_EQ(whole.records[0].GetRowName(), CStringArray{L"n"});
    EXPECT_LT(whole.records[0].GetRowName().capacity(), 9U);
    kvx::DataFileReader file;
    ASSERT_TRUE(file.Open(path.c_str()));
    EXPECT_EQ(file.GetRecords()[0].fields.rowNames, CStringArray{L"n"});
    EXPECT_LT(FailingMemory::largest.load(), 4 * kNames);
}

INSTANTIATE_TEST_SUITE_P(Generations, DataFileStream, testing::Values(&CurrentFile, &FirstFile, &OtherFile));

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

TEST_F(DataFileWriting, CountsNoSampleTwice) {
    const CComHdr header(CComHdr::EXT_INFO_VIB_DATA, L"");
    std::vector<RecordOutline> records = TwoRecords();
    records.pop_back();  // two cells of five samples
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
        kvx::DataFileWriter file;
        ASSERT_TRUE(file.Create(Path().c_str(), header, records));
        for (const Write& write : order) {
            EXPECT_FALSE(file.Commit());
            ASSERT_TRUE(file.WriteReal({0, write.row, 0, write.start, write.num}, samples));
        }
        EXPECT_TRUE(file.Commit());
    }
    // What was written last stays.
    kvx::DataFileReader file;
    ASSERT_TRUE(file.Open(Path().c_str()));
    EXPECT_EQ(Samples(file, 0, 0, 0, false, 5), (std::vector<double>{1.0, 2.0, 3.0, 4.0, 3.0}));
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
