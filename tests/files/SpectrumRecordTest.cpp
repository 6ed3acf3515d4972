// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(SpectrumRecord, HasARowPerSpectrum) {
    kvx::LineSpectrum spectrum;
    spectrum.unit = kvx::NamedUnit("g/N");
    spectrum.spacingHz = 0.5;
    spectrum.real = {1.0, 2.0, 3.0};
    spectrum.imaginary = {4.0, 5.0, 6.0};
    std::vector<kvx::LineSpectrum> spectra(2, spectrum);
    spectra[1].imaginary[2] = 7.0;
    const CComDataBase record = kvx::SpectrumRecord(spectra, {L"top", L"base"}, L"hammer");
    EXPECT_TRUE(record.Check());
    EXPECT_EQ(record.GetDelta(), 0.5);
    EXPECT_EQ(record.GetUnit(), spectrum.unit);
    EXPECT_EQ(record.GetHUnit(), CUnitCtrl::DIM_FREQUENCY);
    EXPECT_EQ(record.GetRowName(), (CStringArray{L"top", L"base"}));
    EXPECT_EQ(record.GetColName(), CStringArray{L"hammer"});
    EXPECT_EQ(kvx::Samples(record, 0, 0)[2], 3.0);
    EXPECT_EQ(kvx::ImaginarySamples(record, 1, 0)[2], 7.0);

    EXPECT_THROW(kvx::SpectrumRecord({}, {}), kvx::Error);
    EXPECT_THROW(kvx::SpectrumRecord(spectra, {L"top"}), kvx::Error);
    spectra[0].imaginary.clear();
    EXPECT_THROW(kvx::SpectrumRecord(spectra, {L"top", L"base"}), kvx::Error);
}

}  // namespace
