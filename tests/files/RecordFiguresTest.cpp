// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/files/RecordFigures.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

constexpr double kGravity = 9.80665;

TEST(RecordFigures, AreInTheUnitOfTheRecord) {
    // 100 channels of more samples than are read at a time; channel c holds c g, and one sample no value.
    constexpr __int64 kChannels = 100, kSamples = 3000;
    CComDataWave wave(0.5, kChannels, 1, kSamples, 4, *kvx::ParseUnit(L"g"), nullptr, nullptr);
    for (__int64 c = 0; c < kChannels; ++c)
        std::ranges::fill(kvx::Samples(wave, c, 0), static_cast<double>(c) * kGravity);
    kvx::Samples(wave, 7, 0)[2000] = kvx::kNoValue<double>;
    // 3 + 4i and -6 - 8i: magnitudes of 5 and 10.
    CComDataSpecF lines(2.0, 1, 1, 2, 0, CUnitCtrl(), nullptr, nullptr);
    kvx::Samples(lines, 0, 0)[0] = 3.0, kvx::ImaginarySamples(lines, 0, 0)[0] = 4.0;
    kvx::Samples(lines, 0, 0)[1] = -6.0, kvx::ImaginarySamples(lines, 0, 0)[1] = -8.0;
    kvx::DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, L""), {}};
    content.records.push_back(std::move(wave));
    content.records.push_back(std::move(lines));
    kvx::MemoryStream stream;
    kvx::StoreDataFile(stream, content);
    stream.Seek(0);
    kvx::DataFileReader file(stream);

    std::vector<std::uint64_t> steps;
    const std::vector<kvx::RecordFigures> records = kvx::MeasureRecords(file, [&](auto done, auto total) {
        EXPECT_EQ(total, 101U);
        steps.push_back(done);
    });
    EXPECT_EQ(steps, (std::vector<std::uint64_t>{64, 100, 101}));
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(kvx::RecordType(file.Records()[0]), "time waveform");
    EXPECT_EQ(records[0].axis.unit, CUnitCtrl(CUnitCtrl::DIM_TIME));
    EXPECT_EQ(records[0].axis.first, 2.0);
    EXPECT_EQ(records[0].axis.last, 2.0 + 2999 * 0.5);
    for (std::size_t c = 0; c < records[0].figures.size(); ++c) {
        const kvx::SampleFigures& figures = records[0].figures[c];
        EXPECT_EQ(records[0].channels[c].number, c + 1);
        EXPECT_NEAR(figures.mean, static_cast<double>(c), 1e-12 * 100);
        EXPECT_NEAR(figures.rms, static_cast<double>(c), 1e-12 * 100);
        EXPECT_EQ(figures.missing, c == 7 ? 1 : 0);
        EXPECT_EQ(figures.count + figures.missing, kSamples);
    }
    EXPECT_EQ(kvx::RecordType(file.Records()[1]), "complex spectrum");
    EXPECT_EQ(records[1].axis.last, 2.0);
    EXPECT_EQ(records[1].figures.at(0).min, 5.0);
    EXPECT_EQ(records[1].figures.at(0).peak, 10.0);
    EXPECT_EQ(records[1].figures.at(0).mean, 7.5);
}

}  // namespace
