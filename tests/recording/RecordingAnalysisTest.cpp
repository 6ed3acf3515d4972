// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/RecordingAnalysis.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace {

using kvx::LineKind;

constexpr double kRate = 64.0;

/// A pulse train of period 64, whose lines are all equally strong, from sample `late` on.
double Pulse(std::int64_t i, std::int64_t late = 0) {
    return (i - late) % 64 == 0 ? 1.0 : 0.0;
}

/// Two runs of 256 samples: "sine" and "thrice", the pulses one sample late and three times as high, in m/s2
/// with "pulses" in N; and "last", the pulses, in N.
class Signals : public kvx::SignalReader {
public:
    explicit Signals(const std::string& choice = {}) {
        const CUnitCtrl acceleration = kvx::NamedUnit("m/s2"), newton = kvx::NamedUnit("N");
        runs_ = {{1, 1 / kRate, 0, 256, {}}, {3, 1 / kRate, 0, 256, {}}};
        const kvx::SignalRun::Channel all[] = {{L"sine", acceleration, 1},
                                               {L"pulses", newton, 2},
                                               {L"thrice", acceleration, 3},
                                               {L"last", newton, 4}};
        std::vector<std::wstring> names;
        for (const auto& channel : all) names.push_back(channel.name);
        for (const std::size_t at : kvx::ChooseChannels(choice, names))
            runs_[at == 3].channels.push_back(all[at]);
        std::erase_if(runs_, [](const auto& run) { return run.channels.empty(); });
        done_.resize(runs_.size());
    }
    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        std::int64_t& done = done_[run];
        const std::size_t count = std::min({room, static_cast<std::size_t>(256 - done), std::size_t{50}});
        for (std::size_t c = 0; c < targets.size(); ++c) {
            const std::size_t number = runs_[run].channels[c].number;
            for (std::size_t i = 0; i < count; ++i) {
                const std::int64_t at = done + static_cast<std::int64_t>(i);
                targets[c][i] = number == 1   ? 5.0 * std::cos(2 * M_PI * static_cast<double>(at % 8) / 8)
                                : number == 3 ? 3.0 * Pulse(at, 1)
                                              : Pulse(at);
            }
        }
        done += static_cast<std::int64_t>(count);
        return count;
    }

private:
    std::vector<std::int64_t> done_;
};

kvx::BlockPlan Plan(std::int64_t size = 64, double overlapPercent = 0.0) {
    return kvx::PlanBlocks(size, overlapPercent, "rectangular");
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

TEST(RecordingAnalysis, FindsASineInEverySpectrum) {
    for (const LineKind kind : {LineKind::kDensity, LineKind::kAmplitude, LineKind::kComplex}) {
        Signals signals;
        std::uint64_t told = 0;
        const auto spectra = kvx::SpectraOf(signals, {kind, Plan(64, 50), {{4.0, 20.0}, 1, 2.0}, 1.0},
                                            [&](std::uint64_t done, std::uint64_t) { told = done; });
        ASSERT_EQ(spectra.size(), 3U);
        EXPECT_EQ(spectra[0].record, 1U);
        EXPECT_EQ(spectra[1].record, 2U);
        EXPECT_EQ(spectra[0].rateHz, kRate);
        EXPECT_EQ(kvx::UnitText(spectra[1].unit), "N");
        const kvx::ChannelSpectrum& sine = spectra[0].channels[0];
        EXPECT_EQ(sine.lines.blocks, kind == LineKind::kComplex ? 1 : 7);
        EXPECT_EQ(told, kind == LineKind::kComplex ? 64U : 256U) << "no more is read of one block";
        EXPECT_EQ(sine.figures.highestHz, 8.0);
        EXPECT_NEAR(sine.figures.highestLevel, kind == LineKind::kDensity ? 12.5 : 5.0, 1e-12);
        EXPECT_NEAR(sine.figures.rms, 5.0 * M_SQRT1_2, 1e-12);
        EXPECT_EQ(sine.figures.peaks.front().hz, 8.0);
        EXPECT_EQ(sine.figures.motion.has_value(), kind == LineKind::kDensity);
        if (const auto& motion = sine.figures.motion) {
            EXPECT_NEAR(motion->velocity, 5.0 * M_SQRT1_2 / (16 * M_PI), 1e-12);
        }
        const std::vector<CComDataBase> records = kvx::DataRecords(spectra);
        ASSERT_EQ(records.size(), 3U);
        EXPECT_EQ(records[0].GetRowName(), (CStringArray{L"sine", L"thrice"}));
        EXPECT_EQ(records[0].GetImaginary(0, 0) != nullptr, kind == LineKind::kComplex);
    }
}

TEST(RecordingAnalysis, FindsADelayAndAGainAlsoAcrossRuns) {
    const auto open = [](const std::string& channels) { return std::make_unique<Signals>(channels); };
    for (const bool isByPart : {false, true}) {
        for (const char* reference : {"pulses", "4"}) {
            kvx::TransferChoice choice = {Plan(), reference, "thrice", {}, {0.0, 7.6, 31.0}};
            choice.isByPart = isByPart;
            const kvx::RecordingTransfers transfers = kvx::TransfersOf(open, choice);
            EXPECT_EQ(transfers.blocks, 4);
            EXPECT_EQ(transfers.spacingHz, 1.0);
            ASSERT_EQ(transfers.records.size(), 1U);
            const kvx::ChannelTransfer& response = transfers.records[0][0];
            EXPECT_EQ(kvx::UnitText(response.transfer.unit), "(m/s2)/N");
            EXPECT_NEAR(response.largest.magnitude, 3.0, 1e-12);
            ASSERT_EQ(response.lines.size(), 3U);
            EXPECT_EQ(response.lines[1].hz, 8.0);
            for (const kvx::TransferLine& line : response.lines) {
                EXPECT_NEAR(line.real, 3 * std::cos(2 * M_PI * line.hz / kRate), 1e-12);
                EXPECT_NEAR(line.phaseDegrees, -360 * line.hz / kRate, 1e-10);
                EXPECT_NEAR(line.coherence, 1.0, 1e-12);
            }
            const std::vector<CComDataBase> records = kvx::DataRecords(transfers);
            ASSERT_EQ(records.size(), 2U);
            EXPECT_EQ(records[1].GetRowName(), (CStringArray{L"thrice"}));
            EXPECT_NEAR(kvx::Samples(records[1], 0, 0)[9], 1.0, 1e-12);
        }
    }
    EXPECT_EQ(kvx::TransfersOf(open, {Plan(), "2"}).records.size(), 2U) << "all but the reference";
}

TEST(RecordingAnalysis, TakesTheReferenceOfAnotherRecording) {
    const auto open = [](const std::string& channels) { return std::make_unique<Signals>(channels); };
    kvx::TransferChoice choice = {Plan(), "pulses", "2,thrice"};
    choice.openReference = open;
    EXPECT_EQ(Refusal([&] { kvx::TransfersOf(open, choice); }),
              "channel 'pulses' is the reference, not a response");
    choice.isElsewhere = true;  // where the numbers of channels are others
    const kvx::RecordingTransfers transfers = kvx::TransfersOf(open, choice);
    ASSERT_EQ(transfers.records.size(), 2U);
    const double expected[] = {3.0, 1.0};  // in the order of the records
    for (std::size_t r = 0; r < 2; ++r) {
        EXPECT_NEAR(transfers.records[r][0].largest.magnitude, expected[r], 1e-12);
        EXPECT_NEAR(transfers.records[r][0].largest.coherence, 1.0, 1e-12);
    }
}

TEST(RecordingAnalysis, RefusesASilentReference) {
    const auto open = [](const std::string&) {
        class Silence : public Signals {
        public:
            std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
                const std::size_t count = Signals::Read(run, targets, room);
                for (double* const target : targets.first(run == 0 ? 1 : 0)) std::fill_n(target, count, 0.0);
                return count;
            }
        };
        return std::make_unique<Silence>();
    };
    EXPECT_EQ(
        Refusal([&] {
            kvx::TransfersOf(open, {Plan(), "sine"});
        }),
        "the reference 'sine' is silent, all its samples are 0, so nothing has a transfer function from it");
}

TEST(RecordingAnalysis, CutsSlicesThatStandAtTheirMiddle) {
    Signals signals;
    const std::vector<kvx::RunSlices> slices = kvx::SlicesOf(signals, {LineKind::kAmplitude, Plan(32), 4});
    ASSERT_EQ(slices.size(), 2U);
    EXPECT_EQ(slices[0].startSeconds, 31.5 / kRate);  // of two blocks each
    EXPECT_EQ(slices[0].intervalSeconds, 64 / kRate);
    ASSERT_EQ(slices[0].channels.size(), 3U);
    for (__int64 row = 0; row < 4; ++row)
        EXPECT_NEAR(kvx::Samples(std::as_const(slices[0].channels[0]), row, 0)[4], 5.0, 1e-12);
}

TEST(RecordingAnalysis, ChoosesBlocksByTheSpacingAndTakesTrendsOut) {
    Signals signals;
    kvx::SpectraChoice choice = {LineKind::kPower, Plan()};
    choice.blocks.spacingHz = 3.0;
    choice.blocks.windowText = "rectangular";
    choice.blocks.overlapPercent = 25.0;
    choice.blocks.averaging.hasMiddleLine = true;
    const auto records = kvx::SpectraOf(signals, choice);
    ASSERT_EQ(records.at(0).blocks.cut.size, 32);  // lines 2 Hz apart
    EXPECT_EQ(records[0].blocks.cut.overlap, 8);
    EXPECT_EQ(records[0].channels.at(0).lines.real.size(), 17U);
    EXPECT_EQ(kvx::UnitText(records[0].channels[0].lines.unit), "(m/s2)2");
    // A pulse in one block of two to five: its power is equal on all lines without a twin, double on others.
    const auto& pulses = records.at(1).channels.at(0).lines.real;
    EXPECT_NEAR(pulses[16], pulses[0], 1e-15);
    EXPECT_NEAR(pulses[5], 2.0 * pulses[0], 1e-15);

    Signals again;
    choice.blocks = kvx::PlanBlocks(32, 0.0, "rectangular", {.detrend = kvx::Detrend::kMean});
    EXPECT_NEAR(kvx::SpectraOf(again, choice).at(1).channels.at(0).lines.real[0], 0.0, 1e-30);
    const auto refused = [](const kvx::Averaging& averaging) {
        return Refusal([&] {
            Signals any;
            kvx::SlicesOf(any, {LineKind::kDensity, kvx::PlanBlocks(32, 0.0, "hann", averaging)});
        });
    };
    EXPECT_EQ(refused({.hasMiddleLine = true}),
              "transfer functions and slices are linear averages of blocks without zeros behind them");
    EXPECT_EQ(refused({.detrend = kvx::Detrend::kLinear}), "");
    kvx::BlockPlan forgetting = kvx::PlanBlocks(32, 50.0, "hann", {.mode = kvx::AverageMode::kExponential});
    forgetting.timeConstantSeconds = 0.25;
    EXPECT_NEAR(forgetting.At(64.0).averaging.weight, 1.0 - std::exp(-1.0), 1e-15);
}

TEST(RecordingAnalysis, RefusesWhatItCannotDoBeforeItReads) {
    const auto spectra = [](const kvx::SpectraChoice& choice) {
        return Refusal([&] {
            Signals signals;
            kvx::SpectraOf(signals, choice, [](std::uint64_t, std::uint64_t) { FAIL(); });
        });
    };
    EXPECT_EQ(spectra({LineKind::kDensity, Plan(512)}),
              "a block of 512 is more than its 256 samples; choose a smaller cut.size");
    EXPECT_EQ(spectra({LineKind::kDensity, {{64, 0}, kvx::MakeWindow("hann", 32)}}),
              "the window has another size than the blocks");
    EXPECT_EQ(spectra({LineKind::kCoherence, Plan()}), "a transfer function or coherence is of two channels");
    EXPECT_THAT(spectra({LineKind::kDensity, Plan(), {{40.0}}}), testing::HasSubstr("lies in the band"));
    Signals pulses("2,4");
    EXPECT_EQ(Refusal([&] {
                  kvx::SpectraOf(pulses, {LineKind::kDensity, Plan(), {{}, 0, 9.0}});
              }),
              "cutoffHz is for the motion of accelerations, which no channel is");
    for (const double start : {3.1, -1.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_THAT(spectra({LineKind::kComplex, Plan(), {}, start}),
                    testing::HasSubstr("no full block is left"));
    const auto transfers = [](const kvx::TransferChoice& choice) {
        return Refusal([&] {
            kvx::TransfersOf([](const std::string& channels) { return std::make_unique<Signals>(channels); },
                             choice, [](std::uint64_t, std::uint64_t) { FAIL(); });
        });
    };
    EXPECT_EQ(transfers({Plan(), "1,2"}), "reference '1,2' names several channels");
    EXPECT_EQ(transfers({Plan(), "2", "1-3"}), "channel 'pulses' is the reference, not a response");
    EXPECT_EQ(transfers({Plan(), "2", "1", {}, {-1.0}}), "there is no line below 0 Hz");
    EXPECT_EQ(transfers({Plan(), "2", "1", {}, {32.0}}), "its last line is at 31 Hz, not at 32 Hz");
}

}  // namespace
