// SPDX-License-Identifier: MIT
//
// Levels, bands and statistics of recordings: channels of several units, runs, starts and cuts.
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalLevels.h>
#include <KvxRecording01/SignalStatistics.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

namespace {

constexpr double kRate = 2048.0;
constexpr std::int64_t kSamples = 8192;

/// One run from 1 s on: "mic" in Pa, a tone of 64 Hz and 1 Pa rms; "top" in m/s2, one of 256 Hz and 2 m/s2
/// rms; and where it is asked for a channel in dB or one in °C that rises from 20 to 30 °C.
class Tones : public kvx::SignalReader {
public:
    explicit Tones(std::size_t most = 1000, const char* third = nullptr) : most_(most) {
        runs_ = {{1,
                  1 / kRate,
                  2048,
                  kSamples,
                  {{L"mic", kvx::NamedUnit("Pa"), 1}, {L"top", kvx::NamedUnit("m/s2"), 2}}}};
        if (third != nullptr) runs_[0].channels.push_back({L"third", kvx::NamedUnit(third), 3});
        text_ = L"tones";
    }
    std::size_t Read(std::size_t, std::span<double* const> targets, std::size_t room) override {
        const std::size_t count = std::min({room, most_, static_cast<std::size_t>(kSamples - done_)});
        for (std::size_t i = 0; i < count; ++i, ++done_) {
            const double turn = 2.0 * std::numbers::pi * static_cast<double>(done_ % 32) / 32.0;
            targets[0][i] = std::sqrt(2.0) * std::sin(turn);
            targets[1][i] = 2.0 * std::sqrt(2.0) * std::sin(4.0 * turn);
            if (targets.size() > 2)
                targets[2][i] =
                    293.15 + 10.0 * static_cast<double>(done_) / static_cast<double>(kSamples - 1);
        }
        return count;
    }

private:
    std::size_t most_;
    std::int64_t done_ = 0;
};

/// All that a reader gives of its first run, asked for in pieces.
std::vector<std::vector<double>> ReadAll(kvx::SignalReader& reader, std::size_t piece) {
    const std::size_t columns = reader.Runs()[0].Columns();
    std::vector<std::vector<double>> all(columns), room(columns, std::vector<double>(piece));
    std::vector<double*> targets;
    for (std::vector<double>& column : room) targets.push_back(column.data());
    while (const std::size_t count = reader.Read(0, targets, piece)) {
        for (std::size_t c = 0; c < columns; ++c)
            all[c].insert(all[c].end(), room[c].begin(),
                          room[c].begin() + static_cast<std::ptrdiff_t>(count));
    }
    return all;
}

/// What `action` is refused with.
std::string Refusal(const std::function<void()>& action) {
    try {
        action();
    } catch (const kvx::Error& error) {
        return error.Sentence();
    }
    return "";
}

TEST(SignalLevels, AreInBandsOfEveryChannelWithItsReference) {
    Tones tones;
    const std::vector<kvx::RunBands> runs =
        kvx::BandsOf(tones, {1, 31.5, 500.0, kvx::FrequencyWeighting::kZ});
    ASSERT_EQ(runs.size(), 1U);
    ASSERT_EQ(runs[0].bands.size(), 5U);
    EXPECT_NEAR(runs[0].channels[0].total, 1.0, 1e-12);
    EXPECT_NEAR(runs[0].channels[0].meanSquares[1], 1.0, 0.01);
    EXPECT_NEAR(runs[0].channels[1].meanSquares[3], 4.0, 0.04);
    EXPECT_LT(runs[0].channels[1].meanSquares[0], 1e-3);
    const std::vector<CComDataBase> levels = kvx::DataRecords(runs, true);
    ASSERT_EQ(levels.size(), 1U);
    // 1 Pa is 93.98 dB over 20 uPa, 2 m/s2 are 126.02 dB over 1 um/s2.
    const CUnitCtrl unit = levels[0].GetUnit();
    EXPECT_EQ(kvx::UnitText(unit), "dB");
    EXPECT_NEAR(unit.ConvDtoI(kvx::Samples(levels[0], 0, 0)[1], 1.0, 1), 93.979, 0.05);
    EXPECT_NEAR(unit.ConvDtoI(kvx::Samples(levels[0], 1, 0)[3], 1.0, 1), 126.021, 0.05);
    const std::vector<CComDataBase> linear = kvx::DataRecords(runs, false);
    ASSERT_EQ(linear.size(), 2U);
    EXPECT_EQ(kvx::UnitText(linear[1].GetUnit()), "m/s2");
    EXPECT_NEAR(kvx::Samples(linear[1], 0, 0)[3], 2.0, 0.01);
    EXPECT_NEAR((*linear[1].GetHData())[1], 63.0957344480193, 1e-12);

    Tones again;
    const std::vector<double> half = {50.0};
    const kvx::LevelChoice meter = {kvx::FrequencyWeighting::kZ, kvx::TimeWeighting::kFast,
                                    kvx::FrequencyWeighting::kZ};
    const std::vector<kvx::RunLevels> measured = kvx::LevelsOf(again, meter, half);
    EXPECT_NEAR(measured[0].channels[1].figures.meanSquare, 4.0, 1e-12);
    EXPECT_NEAR(measured[0].channels[1].exceeded[0].value_or(0.0), 4.0, 0.02);
    EXPECT_NEAR(measured[0].channels[0].figures.peakSquare, 2.0, 1e-12);
}

TEST(SignalLevels, RunInTimeWithTheSameBitsForEveryCut) {
    kvx::CourseChoice choice;
    choice.stepSeconds = 0.25;
    for (const bool isByBands : {false, true}) {
        if (isByBands) choice.bands = kvx::BandsChoice{3, 20.0, 250.0, kvx::FrequencyWeighting::kZ};
        const auto course = kvx::LevelCourses(std::make_unique<Tones>(), choice);
        const kvx::SignalRun& run = course->Runs()[0];
        const std::size_t bands = isByBands ? 12 : 1;
        ASSERT_EQ(run.channels.size(), 2 * bands);
        EXPECT_EQ(run.delta, 0.25);
        EXPECT_EQ(run.offset, 5);  // from 1 s on, at the end of each step
        EXPECT_EQ(run.samples, 16);
        EXPECT_EQ(course->Text(), L"tones");
        const std::vector<std::vector<double>> all = ReadAll(*course, 100);
        const std::size_t mic = isByBands ? 5 : 0;
        const std::size_t top = isByBands ? bands + 11 : 1;
        EXPECT_EQ(run.channels[mic].name, isByBands ? L"mic 63 Hz" : L"mic");
        EXPECT_EQ(run.channels[top].name, isByBands ? L"top 250 Hz" : L"top");
        for (std::size_t k = 6; k < 16; ++k) {
            EXPECT_NEAR(20.0 * std::log10(all[mic][k]), 93.979, 0.12) << k;
            EXPECT_NEAR(20.0 * std::log10(all[top][k]), 126.021, 0.12) << k;
        }
        for (const std::size_t piece : {1U, 3U, 16U}) {
            const auto cut = kvx::LevelCourses(std::make_unique<Tones>(37 * piece), choice);
            EXPECT_EQ(ReadAll(*cut, piece), all) << piece;
        }
    }
    choice.areLevels = false;
    EXPECT_EQ(kvx::UnitText(kvx::LevelCourses(std::make_unique<Tones>(), choice)->Runs()[0].channels[0].unit),
              "Pa");
}

TEST(SignalLevels, SayWhatTheyCannotDo) {
    const auto bands = [](const kvx::BandsChoice& choice, const char* third = nullptr) {
        return Refusal([&] {
            Tones tones(1000, third);
            kvx::BandsOf(tones, choice);
        });
    };
    EXPECT_THAT(bands({3, 100.0, 1000.0}), testing::HasSubstr("the highest possible is that at 800 Hz"));
    EXPECT_THAT(bands({3, 100.0, 50.0}), testing::HasSubstr("the lower one first"));
    EXPECT_THAT(bands({3}, "dB"), testing::HasSubstr("a logarithm"));
    EXPECT_EQ(bands({3}), "");
    kvx::CourseChoice choice;
    choice.stepSeconds = 5.0;
    EXPECT_THAT(Refusal([&] { kvx::LevelCourses(std::make_unique<Tones>(), choice); }),
                testing::HasSubstr("longer than its 8192 samples"));
    EXPECT_THAT(Refusal([&] { kvx::LevelCourses(nullptr, choice); }), testing::HasSubstr("no recording"));
    choice.stepSeconds = 0.1;
    choice.reference = kvx::StatedReference{1.0, kvx::NamedEntryUnit("Pa"), "1 Pa"};
    EXPECT_THAT(Refusal([&] { kvx::LevelCourses(std::make_unique<Tones>(), choice); }),
                testing::HasSubstr("does not convert to 'm/s2' of channel 'top'"));
}

TEST(SignalStatistics, CountValuesInTheirUnitAndPlaceWindows) {
    Tones first(1000, "degC"), second(777, "degC");
    const std::vector<kvx::RunFigures> figures = kvx::MeasureSignal(first);
    EXPECT_NEAR(figures[0].channels[2].mean, 25.0, 1e-9);
    EXPECT_NEAR(figures[0].channels[2].kurtosis, 1.8, 1e-6);  // of a ramp
    const auto histograms = kvx::HistogramsOf(second, figures, {4});
    EXPECT_NEAR(histograms[0][2].Edge(1), 22.5, 1e-9);
    EXPECT_THAT(histograms[0][2].Counts(), testing::ElementsAre(2048, 2048, 2048, 2048));
    EXPECT_NEAR(histograms[0][2].Density()[0], 0.1, 1e-9);
    Tones third;
    EXPECT_THAT(Refusal([&] {
                    kvx::HistogramsOf(third, figures, {4, 1.0, 1.0});
                }),
                testing::HasSubstr("the lower one first"));

    const kvx::SignalRun moved = kvx::MovingRmsRun(first.Runs()[0], {1024, 512});
    EXPECT_EQ(moved.samples, 15);
    EXPECT_EQ(moved.offset, 6);  // the first window ends at 1.5 s
    EXPECT_EQ(moved.delta, 0.25);
    EXPECT_EQ(kvx::UnitText(moved.channels[2].unit), "K");
    EXPECT_THAT(Refusal([&] {
                    kvx::MovingRmsRun(first.Runs()[0], {9000, 1});
                }),
                testing::HasSubstr("is longer than"));
}

}  // namespace
