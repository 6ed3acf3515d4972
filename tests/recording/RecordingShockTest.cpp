// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/RecordingShock.h>
#include <KvxRecording01/SignalRecords.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

using kvx::ShockExtreme;
using testing::ElementsAre;

constexpr double kRate = 1000.0;

/// Two channels in g and one in N, 3000 samples from 2 s on: pulses over an offset of 1.
std::unique_ptr<kvx::SignalReader> Shocks() {
    const auto record = [](const char* unit, const CStringArray& names) {
        CComDataWave wave(1.0 / kRate, std::ssize(names), 1, 3000, 2000, kvx::NamedUnit(unit), &names,
                          nullptr);
        for (__int64 row = 0; row < wave.GetNumRow(); ++row) {
            std::ranges::fill(kvx::Samples(wave, row, 0), 1.0);
            for (int i = 0; i < 10; ++i)
                kvx::Samples(wave, row, 0)[1000 + static_cast<std::size_t>(i)] += row == 0 ? 20.0 : -30.0;
        }
        return wave;
    };
    kvx::DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, L""),
                                    {record("g", {L"top", L"base"}), record("N", {L"force"})}};
    return kvx::SignalOfRecords(std::move(content));
}

std::string Refusal(const kvx::ShockChoice& choice) {
    try {
        kvx::ShockSpectraOf(*Shocks(), choice);
    } catch (const kvx::Error& error) {
        return error.Sentence();
    }
    return "";
}

TEST(RecordingShock, HasASpectrumForEachChannel) {
    kvx::ShockChoice choice = {.fromHz = 10.0, .toHz = 300.0, .perOctave = 3, .baselineSeconds = 1.0};
    const auto spectra = kvx::ShockSpectraOf(*Shocks(), choice);
    ASSERT_EQ(spectra.size(), 2U);
    EXPECT_EQ(spectra[0].frequencies, kvx::FrequenciesPerOctave(10.0, 300.0, 3));
    EXPECT_EQ(spectra[0].interpolation, 10);
    ASSERT_EQ(spectra[0].channels.size(), 2U);
    // The channels by themselves, without the offset.
    std::vector<double> samples(3000);
    std::fill(samples.begin() + 1000, samples.begin() + 1010, 20.0);
    kvx::ShockSpectrum alone({kRate, spectra[0].frequencies});
    alone.Add(samples);
    const kvx::ShockExtremes expected = alone.Extremes();
    EXPECT_EQ(spectra[0].channels[0].extremes.primaryPositive, expected.primaryPositive);
    for (std::size_t i = 0; i < expected.primaryPositive.size(); ++i) {
        EXPECT_NEAR(spectra[0].channels[1].extremes.primaryNegative[i], 1.5 * expected.primaryPositive[i],
                    1e-12);
        EXPECT_NEAR(spectra[1].channels[0].extremes.residualPositive[i], expected.residualPositive[i], 1e-12);
    }
    const ShockExtreme both[] = {ShockExtreme::kPositive, ShockExtreme::kNegative};
    const std::vector<CComDataBase> records = kvx::DataRecords(spectra, both);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_THAT(records[0].GetRowName(),
                ElementsAre(L"top positive", L"top negative", L"base positive", L"base negative"));
    EXPECT_EQ(records[0].GetUnit(), kvx::NamedUnit("g"));
    EXPECT_EQ(records[0].GetDataMode(), CComDataBase::MODE_AXIS);
    EXPECT_EQ(kvx::Samples(records[0], 1, 0)[3], expected.Of(ShockExtreme::kNegative)[3]);
    EXPECT_EQ(kvx::DataRecords(spectra, std::span(both).first(1))[1].GetRowName(), CStringArray{L"force"});
    // Without bounds: three decades up to the end of the band.
    const auto [low, high] = std::ranges::minmax(kvx::ShockSpectraOf(*Shocks())[0].frequencies);
    EXPECT_NEAR(high, kRate / 2.56, 0.06 * high);
    EXPECT_NEAR(low, kRate / 2560.0, 0.06 * low);
}

TEST(RecordingShock, HasAPulseForEachChannel) {
    const std::vector<kvx::ChannelPulse> pulses = kvx::PulsesOf(*Shocks(), {{0.5, 0.0, 0.0}, 0.5});
    ASSERT_EQ(pulses.size(), 3U);
    EXPECT_EQ(pulses[1].channel.name, L"base");
    EXPECT_NEAR(pulses[1].figures.peak, -30.0, 1e-12);
    EXPECT_NEAR(pulses[1].figures.peakSeconds, 3.0, 1e-12);
    EXPECT_NEAR(pulses[1].figures.durationSeconds, 0.01, 1e-12);
    EXPECT_NEAR(pulses[1].figures.velocityChange, -30.0 * (0.009 + 0.00075), 1e-12);
    EXPECT_NEAR(pulses[0].figures.fromSeconds, 2.9995, 1e-12);
    EXPECT_NEAR(pulses[0].figures.toSeconds, 3.0095, 1e-12);
}

TEST(RecordingShock, IsRefusedBeforeItIsRead) {
    EXPECT_EQ(Refusal({.response = kvx::ShockResponse::kRelativeDisplacement}),
              "channel 'force': only of an acceleration are there spectra of velocity and displacement");
    EXPECT_EQ(Refusal({.baselineSeconds = 3.1}), "a baseline of 3.1 s is no part of the recording");
    EXPECT_EQ(Refusal({.baselineSeconds = -1.0}), "a baseline of -1 s is no part of the recording");
    EXPECT_EQ(Refusal({.damping = 1.0}), "a damping ratio of 1 is not from 0 to below 1");
    EXPECT_EQ(Refusal({.fromHz = 3.0, .toHz = 2.0}), "there is no natural frequency from 3 Hz to 2 Hz");
}

}  // namespace
