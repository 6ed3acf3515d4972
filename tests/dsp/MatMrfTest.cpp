// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatMrf.h>
#include <KvxDevCommon01/dsp/MatMrfMtx.h>
#include <KvxDevCommon01/dsp/MatMrfRateCnv.h>
#include <tests/dsp/Signals.h>
#include <tests/support/Starve.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr auto kKeep = CMatFir::RATE_NONE;
constexpr auto kUp = CMatFir::RATE_INTERPOLATE;
constexpr auto kDown = CMatFir::RATE_DECIMATE;

struct Plan {
    int ratio;
    std::vector<std::pair<std::uint32_t, int>> stages;  // set and factor, as they follow when decimating
};

// clang-format off
const std::array<Plan, 20> kPlans = {{
    {  1, {}},
    {  2, {{0, 2}}},
    {  4, {{2, 4}}},
    {  5, {{4, 5}}},
    {  8, {{3, 4}, {0, 2}}},
    { 10, {{5, 5}, {0, 2}}},
    { 16, {{3, 4}, {2, 4}}},
    { 20, {{5, 5}, {2, 4}}},
    { 25, {{5, 5}, {4, 5}}},
    { 32, {{3, 4}, {3, 4}, {0, 2}}},
    { 40, {{5, 5}, {3, 4}, {0, 2}}},
    { 50, {{5, 5}, {5, 5}, {0, 2}}},
    { 80, {{5, 5}, {3, 4}, {2, 4}}},
    {100, {{5, 5}, {5, 5}, {2, 4}}},
    {160, {{5, 5}, {3, 4}, {3, 4}, {0, 2}}},
    {200, {{5, 5}, {5, 5}, {3, 4}, {0, 2}}},
    {250, {{5, 5}, {5, 5}, {5, 5}, {0, 2}}},
    {320, {{5, 5}, {3, 4}, {3, 4}, {2, 4}}},
    {400, {{5, 5}, {5, 5}, {3, 4}, {2, 4}}},
    {500, {{5, 5}, {5, 5}, {5, 5}, {2, 4}}},
}};
// clang-format on

CMatMrf Cascade(CMatFir::RATE_CONV mode, int code, __int64 size = 100000, int delayOnly = 0) {
    CMatMrf cascade;
    cascade.SetConvCond(mode, static_cast<CMatMrf::OVS_RAT>(code), size, delayOnly);
    return cascade;
}

Wave Drain(CMatMrf* cascade) {
    Wave out(static_cast<std::size_t>(cascade->GetNumOutputData()));
    cascade->GetOutputData(out.data(), 0, Size(out), Size(out));
    return out;
}

Wave Convert(CMatMrf cascade, const Wave& x) {
    EXPECT_EQ(cascade.SetInputData(x.data(), 0, Size(x), Size(x)), 1);
    return Drain(&cascade);
}

/// The impulse response at the higher rate, with the gain of a decimating cascade: every stage's taps, spread
/// by the factors of the stages before it.
Wave Composite(const Plan& plan) {
    Wave h = {1.0};
    std::size_t spread = 1;
    for (const auto& [set, factor] : plan.stages) {
        CMatFir fir;
        fir.SetStdCoef(static_cast<CMatFir::FIR_COEF>(set), 0);
        CDataArrayDouble coef;
        fir.GetCoef(&coef);
        const Wave taps = ToWave(coef);
        Wave longer(h.size() + spread * (taps.size() - 1), 0.0);
        for (std::size_t i = 0; i < h.size(); ++i) {
            for (std::size_t k = 0; k < taps.size(); ++k) longer[i + k * spread] += h[i] * taps[k];
        }
        h = std::move(longer);
        spread *= static_cast<std::size_t>(factor);
    }
    return h;
}

class MrfRatio : public testing::TestWithParam<int> {
protected:
    int code() const { return GetParam(); }
    const Plan& plan() const { return kPlans[static_cast<std::size_t>(code())]; }
    std::size_t ratio() const { return static_cast<std::size_t>(plan().ratio); }
    __int64 delay() const { return kvx::CascadeDelay(static_cast<CMatMrf::OVS_RAT>(code())); }
};

TEST_P(MrfRatio, HasACodeAndADelay) {
    EXPECT_EQ(CMatMrf::ConvCodeToOvsRat(static_cast<CMatMrf::OVS_RAT>(code())), plan().ratio);
    EXPECT_EQ(CMatMrf::ConvOvsRatToCode(plan().ratio), code());
    EXPECT_NEAR(Cascade(kUp, code()).GetDelay() * plan().ratio, static_cast<double>(delay()), 1e-9);
}

TEST_P(MrfRatio, AnswersAnImpulseLikeItsStagesTogether) {
    const Wave h = Composite(plan());
    EXPECT_EQ(Size(h), 2 * delay() + 1);  // symmetric: the delay is that of the centre
    const std::size_t blocks = h.size() / ratio() + 2;

    Wave impulse(blocks, 0.0);
    impulse[0] = 1.0;
    const Wave up = Convert(Cascade(kUp, code()), impulse);
    ASSERT_EQ(up.size(), blocks * ratio());
    for (std::size_t k = 0; k < up.size(); ++k) {
        ASSERT_NEAR(up[k], k < h.size() ? h[k] * plan().ratio : 0.0, 1e-14 * plan().ratio) << k;
    }

    // Decimating, an impulse shows every ratio-th sample, which ones depends on its place.
    for (std::size_t place = 0; place < ratio(); place += 1 + ratio() / 20) {
        Wave late(blocks * ratio(), 0.0);
        late[place] = 1.0;
        const Wave down = Convert(Cascade(kDown, code()), late);
        ASSERT_EQ(down.size(), blocks);
        for (std::size_t k = 0; k < blocks; ++k) {
            const std::size_t tap = k * ratio() + ratio() - 1 - place;
            ASSERT_NEAR(down[k], tap < h.size() ? h[tap] : 0.0, 1e-15) << k << " " << place;
        }
    }
}

TEST_P(MrfRatio, KeepsTheMaskOfItsBand) {
    const Wave h = Composite(plan());
    const auto lower = 1.0 / plan().ratio;  // the lower rate, as a fraction of the higher one
    const auto response = [&](double f) {
        const std::size_t centre = h.size() / 2;
        double sum = h[centre];
        for (std::size_t i = 1; i <= centre; ++i) {
            sum += 2 * h[centre - i] * std::cos(2 * std::numbers::pi * f * static_cast<double>(i));
        }
        return std::fabs(sum);
    };
    for (int i = 0; i <= 64; ++i) {
        const double inBand = lower / 2.56 * i / 64;
        ASSERT_NEAR(response(inBand), 1.0, plan().ratio > 5 ? 2.9e-3 : 8e-4) << inBand;
        // What the band's frequencies fold with: around every multiple of the lower rate.
        for (int image = 1; image <= plan().ratio / 2; image += 1 + plan().ratio / 25) {
            ASSERT_LT(response(image * lower - inBand), 1.01e-4) << image << " " << inBand;
            ASSERT_LT(response(image * lower + inBand), 1.01e-4) << image << " " << inBand;
        }
    }
}

TEST_P(MrfRatio, ASineInTheBandSurvivesDownAndUp) {
    const std::size_t window = 80 * ratio();
    for (const int periods : {3, 17, 31}) {
        const double step = 2 * std::numbers::pi * periods / static_cast<double>(window);
        const Wave x = WaveOf(2 * window, [&](double n) { return std::sin(step * n); });
        const Wave y = Convert(Cascade(kUp, code()), Convert(Cascade(kDown, code()), x));
        // In step with the input once the two delays and the place of a decimated sample are taken off.
        const std::size_t late = 2 * static_cast<std::size_t>(delay()) - (ratio() - 1);
        Line atSine = 0;
        double power = 0, worst = 0;
        for (std::size_t n = window; n < 2 * window; ++n) {
            atSine += ToLine(x[n] * y[n], std::cos(step * static_cast<double>(n)) * y[n]);
            power += y[n] * y[n];
            worst = std::max(worst, std::fabs(y[n] - x[n - late]));
        }
        const double sine = 2 * static_cast<double>(std::norm(atSine)) / static_cast<double>(window);
        EXPECT_GT(10 * std::log10(sine / (power - sine)), 71.0) << periods;
        EXPECT_LT(worst, 6e-3) << periods;
    }
}

TEST_P(MrfRatio, GivesTheSameBitsHoweverTheInputIsCut) {
    for (const auto mode : {kUp, kDown}) {
        const Wave x = Noise(mode == kUp ? 60 + 2000 / ratio() : 2100);
        const Wave whole = Convert(Cascade(mode, code()), x);
        for (const __int64 split : {1, 5, 20, 300}) {
            CMatMrf cascade = Cascade(mode, code());
            for (__int64 done = 0; done < Size(x); done += split) {
                cascade.SetInputData(x.data(), done, std::min(split, Size(x) - done), Size(x));
            }
            ASSERT_EQ(Drain(&cascade), whole) << mode << " " << split;
        }
    }
}

TEST_P(MrfRatio, AloneDelaysAsItsFiltersWould) {
    const Wave x = Noise(2 * static_cast<std::size_t>(delay()) + 3 * ratio());
    const Wave down = Convert(Cascade(kDown, code(), 100000, 1), x);
    const Wave up = Convert(Cascade(kUp, code(), 100000, 1), Wave(x.begin(), x.begin() + 40));
    const auto late = static_cast<std::size_t>(delay());
    for (std::size_t k = 0; k < down.size(); ++k) {
        const std::size_t now = k * ratio() + ratio() - 1;
        ASSERT_EQ(down[k], now < late ? 0.0 : x[now - late]) << k;
    }
    ASSERT_EQ(up.size(), 40 * ratio());
    for (std::size_t k = 0; k < up.size(); ++k) {
        ASSERT_EQ(up[k], k < late ? 0.0 : x[(k - late) / ratio()]) << k;
    }
}

TEST_P(MrfRatio, AFullBufferKeepsTheNewest) {
    for (const auto mode : {kUp, kDown}) {
        const Wave x = Noise(mode == kUp ? 40 : 20 * ratio());
        const Wave all = Convert(Cascade(mode, code()), x);
        CMatMrf atOnce = Cascade(mode, code(), 7), singly = atOnce;
        EXPECT_EQ(atOnce.SetInputData(x.data(), 0, Size(x), Size(x)), 0);
        std::size_t kept = 0;
        for (const double sample : x) kept += singly.SetInputData(sample) != 0 ? 1U : 0U;
        EXPECT_EQ(kept, mode == kUp ? 7 / ratio() : 20 * ratio() - 13);
        const Wave newest(all.end() - 7, all.end());
        EXPECT_EQ(Drain(&atOnce), newest);
        EXPECT_EQ(Drain(&singly), newest);
    }
}

INSTANTIATE_TEST_SUITE_P(All, MrfRatio, testing::Range(1, 20), [](const auto& test) {
    return std::to_string(kPlans[static_cast<std::size_t>(test.param)].ratio);
});

// ---- Settings

TEST(Mrf, RatioOnePassesEverythingUnchanged) {
    const Wave x = Noise(2000);
    for (const auto& [mode, code] : {std::pair(kDown, 0), {kUp, 0}, {kKeep, 7}, {kKeep, 99}}) {
        CMatMrf cascade = Cascade(mode, code, 3000);
        EXPECT_EQ(cascade.GetDelay(), 0.0);
        EXPECT_EQ(Convert(cascade, x), x);
    }
}

TEST(Mrf, WithoutStagesDoesNothing) {
    CMatMrf cascade;
    CDataArrayDouble array(3, 1.0);
    const auto doesNothing = [&] {
        return AllFail(cascade.SetInputData(1.0), cascade.SetInputData(array, 0, 3, 0),
                       cascade.SetInputDataLong(1), cascade.InitData(), cascade.ClearResult(),
                       cascade.GetOutputData(), cascade.GetOutputData(&array, 0, 1, 0),
                       cascade.GetNumOutputData(), cascade.GetDelay());
    };
    EXPECT_TRUE(doesNothing());
    for (const auto& [code, size] :
         {std::pair<int, __int64>(20, 10), {-1, 10}, {4, 0}, {4, kLowest}, {4, kFarthest}}) {
        cascade = Cascade(kDown, 4);
        EXPECT_EQ(cascade.SetConvCond(kDown, static_cast<CMatMrf::OVS_RAT>(code), size, 0), 0);
        EXPECT_TRUE(doesNothing()) << code << " " << size;
    }
    EXPECT_EQ(CMatMrf::ConvOvsRatToCode(3), -1);
    EXPECT_EQ(CMatMrf::ConvCodeToOvsRat(CMatMrf::OVS_RAT{20}), 0);
    EXPECT_EQ(kvx::CascadeDelay(CMatMrf::OVS_RAT_UNKNOWN), 0);
}

TEST(Mrf, ReportsItsConditionsAndItsDelay) {
    const CMatMrf cascade = Cascade(kDown, 4, 50);
    CMatMrf::OVS_RAT code{};
    __int64 size = 0;
    EXPECT_EQ(cascade.GetConvCond(&code, &size), kDown);
    EXPECT_EQ(cascade.GetConvCond(nullptr, nullptr), kDown);
    EXPECT_EQ(code, CMatMrf::OVS_RAT_8);
    EXPECT_EQ(size, 50);
    EXPECT_EQ(cascade.GetDelay(), 5.5);
    EXPECT_EQ(kvx::CascadeDelay(code), 13 + 4 * 18);
}

// ---- Rings

// A controller resets its filters between two samples.
TEST(Mrf, AResetTakesNoMemoryAndForgetsAllThatWas) {
    const Wave x = Noise(3000);
    const auto settings = {std::pair(kKeep, 0), {kDown, 5}, {kUp, 5}, {kDown, 3}, {kUp, 1}};
    for (const auto& [mode, code] : settings) {
        CMatMrf cascade = Cascade(mode, code);
        CMatFir fir;
        fir.SetStdCoef(CMatFir::FIR_COEF_4, 0);
        fir.SetRateConv(mode, code);
        const auto answer = [&] {
            cascade.SetInputData(x.data(), 0, Size(x), Size(x));
            fir.SetInputData(x.data(), 100);
            for (int i = 100; i < 300; ++i) fir.SetInputData(x[static_cast<std::size_t>(i)]);
            Wave y = Drain(&cascade), z(static_cast<std::size_t>(fir.GetNumOutputData()));
            fir.GetOutputData(z.data(), Size(z));
            y.insert(y.end(), z.begin(), z.end());
            return y;
        };
        const Wave first = answer();
        int isReset = 0;
        {
            const FailingMemory failing(0);
            isReset = cascade.InitData() & fir.PrepFir() & fir.ClearResult();
        }
        EXPECT_EQ(isReset, 1);
        EXPECT_EQ(answer(), first);
        fir.SetOutBufSize(2000);
        const FailingMemory failing(0);
        EXPECT_EQ(fir.PrepFir() + fir.SetInputData(1.0), 0);
    }
}

TEST(Mrf, WithoutMemoryDoesNothing) {
    CMatMrf made;
    const auto doesNothing = [&] { EXPECT_EQ(made.SetInputData(1.0) + made.GetNumOutputData(), 0); };
    for (const auto mode : {kDown, kUp}) {
        const CMatMrf source = Cascade(mode, CMatMrf::OVS_RAT_8, 9);
        const auto make = [&] { return made.SetConvCond(mode, CMatMrf::OVS_RAT_8, 9, 0); };
        const auto copy = [&] { return (made = source).SetInputData(1.0); };
        EXPECT_GT(Starve(make, doesNothing), 0);
        EXPECT_GT(Starve(copy, doesNothing), 0);
    }
}

TEST(Mrf, TakesNoMoreMemoryThanItsTapsAndItsQueueNeed) {
    FailingMemory::largest = 0;
    Cascade(kDown, CMatMrf::OVS_RAT_2, 100);
    Cascade(kUp, CMatMrf::OVS_RAT_2, 100);
    EXPECT_LE(FailingMemory::largest, 700 * sizeof(double));
    EXPECT_LE(sizeof(CMatMrf), 256U);
}

TEST(Mrf, RangesWalkRingsFromAnyStart) {
    CMatMrf pass = Cascade(kKeep, 0, 20);
    const Wave ring = {0, 1, 2, 3, 4};
    const std::vector<std::pair<__int64, Wave>> cases = {{-2, {3, 4, 0}},      {4, {4, 0, 1}},
                                                         {13, {3, 4, 0}},      {-11, {4, 0, 1}},
                                                         {kLowest, {2, 3, 4}}, {kFarthest, {2, 3, 4}}};
    for (const auto& [start, expected] : cases) {
        EXPECT_EQ(pass.SetInputData(ring.data(), start, 3, 5), 1);
        EXPECT_EQ(Drain(&pass), expected) << start;
    }
    EXPECT_EQ(pass.SetInputData(ToArray(ring), 3, 12, 1), 1);
    EXPECT_THAT(Drain(&pass), ElementsAre(3, 4, 0, 1, 2, 3, 4, 0, 1, 2, 3, 4));

    pass.SetInputData(ToArray({5, 6, 7, 8, 9, 10}), 0, 6, 0);
    Wave out(4, 0.0);
    EXPECT_EQ(pass.GetOutputData(out.data(), -1, 3, 4), 3);
    EXPECT_THAT(out, ElementsAre(6, 7, 0, 5));
    CDataArrayDouble array = ToArray({-1, -2});
    EXPECT_EQ(pass.GetOutputData(&array, 1, 2, 0), 2);  // ends behind them
    EXPECT_THAT(ToWave(array), ElementsAre(-1, 8, 9));
    EXPECT_EQ(pass.GetOutputData(&array, 5, 2, 1), 1);
    EXPECT_THAT(ToWave(array), ElementsAre(-1, 8, 10));
}

TEST(Mrf, IntegerRangesAreRoundedOnTheirWayOut) {
    CMatMrf pass = Cascade(kKeep, 0, 20);
    const CDataArrayLong in(3, std::array<std::int32_t, 3>{7, 8, 9}.data());
    EXPECT_EQ(pass.SetInputDataLong(in, -1, 2, 1), 1);
    EXPECT_EQ(pass.SetInputDataLong(in.GetData(), 4, 1, 3), 1);
    EXPECT_EQ(pass.SetInputDataLong(5), 1);
    EXPECT_EQ(pass.SetInputData(-2.6), 1);
    CDataArrayLong out(2, 0);
    EXPECT_EQ(pass.GetOutputDataLong(), 9);
    EXPECT_EQ(pass.GetOutputDataLong(out.GetData(), 1, 2, 2), 2);
    EXPECT_EQ(out[0] * 10 + out[1], 87);
    EXPECT_EQ(pass.GetOutputDataLong(&out, 0, 9, 0), 2);
    EXPECT_EQ(out[0], 5);
    EXPECT_EQ(out[1], -3);
}

TEST(Mrf, RefusesRangesThatAreNone) {
    CMatMrf pass = Cascade(kKeep, 0, 20);
    CDataArrayDouble array(3, 1.0), empty;
    double* const data = array.GetData();
    EXPECT_TRUE(AllFail(pass.SetInputData(nullptr, 0, 1, 1), pass.SetInputData(data, 0, -1, 3),
                        pass.SetInputData(data, 0, 1, 0), pass.SetInputData(data, 0, 1, kLowest),
                        pass.SetInputData(array, -1, 1, 0), pass.SetInputData(array, 1, 3, 0),
                        pass.SetInputData(array, 1, kFarthest, 0), pass.SetInputData(array, 4, 0, 0),
                        pass.SetInputData(array, 0, -1, 0), pass.SetInputData(empty, 0, 1, 1),
                        pass.GetNumOutputData()));
    EXPECT_EQ(pass.SetInputData(empty, 0, 0, 0), 1);
    EXPECT_EQ(pass.SetInputData(array, 0, 3, 0), 1);
    CDataArrayDouble* const none = nullptr;
    CDataArrayDouble shorter(2, 1.0);
    EXPECT_TRUE(AllFail(pass.GetOutputData(&shorter, -1, 3, 0), pass.GetOutputData(&shorter, kLowest, 3, 0),
                        pass.GetOutputData(&shorter, kFarthest, 3, 0)));
    EXPECT_TRUE(AllFail(pass.GetOutputData(nullptr, 0, 1, 1), pass.GetOutputData(data, 0, 0, 3),
                        pass.GetOutputData(data, 0, 1, 0), pass.GetOutputData(none, 0, 1, 0),
                        pass.GetOutputData(&array, -1, 1, 0), pass.GetOutputData(&array, 4, 1, 0),
                        pass.GetOutputData(&empty, 0, 1, 1), pass.GetOutputData(&array, 0, kLowest, 1)));
    EXPECT_EQ(pass.GetNumOutputData(), 3);
    EXPECT_EQ(pass.ClearResult(), 1);
    EXPECT_EQ(pass.GetNumOutputData(), 0);
}

// ---- Channels

TEST(MrfChannels, EachCellPassesACascadeOfItsOwn) {
    CDataArrayMtxDouble block(2, 3, 800);
    Wave snapshots(6 * 800);
    std::vector<Wave> expected;
    for (std::size_t channel = 0; channel < 6; ++channel) {
        const Wave x = Noise(800, channel + 1);
        std::copy(x.begin(), x.end(),
                  block.GetDataPtr(static_cast<__int64>(channel / 3), static_cast<__int64>(channel % 3)));
        for (std::size_t k = 0; k < x.size(); ++k) snapshots[k * 6 + channel] = x[k];
        expected.push_back(Convert(Cascade(kDown, 1), x));
    }
    CMatMrfMtx blocks;
    CMatMrfRateCnv rings;
    EXPECT_EQ(blocks.SetConvCond(kDown, CMatMrf::OVS_RAT_2, 2, 3, 500, 0), 1);
    EXPECT_EQ(rings.SetConvCond(kDown, CMatMrf::OVS_RAT_2, 2, 3, 500, 0), 1);
    CMatMrfMtx interleaved = blocks;
    EXPECT_EQ(blocks.GetDelay(), 9.0);
    EXPECT_EQ(blocks.SetInputData(block), 1);
    EXPECT_EQ(interleaved.SetInputData(CDataArrayDouble(6, snapshots.data())), 1);
    EXPECT_EQ(interleaved.SetInputData(snapshots.data() + 6, 799), 1);
    EXPECT_EQ(rings.SetInputDataCir(block, -800, 300), 1);
    EXPECT_EQ(rings.SetInputDataCir(block, 1100, 500), 1);

    CDataArrayMtxDouble out, circle(2, 3, 250);
    EXPECT_EQ(blocks.GetOutputData(&out, kFarthest), 400);
    EXPECT_EQ(interleaved.GetOutputData(snapshots.data(), 400), 400);
    EXPECT_EQ(rings.GetOutputDataCir(&circle, 240, 100), 100);
    EXPECT_EQ(rings.GetOutputDataCir(&circle, 340, 150), 150);
    EXPECT_EQ(rings.GetNumOutputData(), 150);
    for (std::size_t channel = 0; channel < 6; ++channel) {
        const auto row = static_cast<__int64>(channel / 3), col = static_cast<__int64>(channel % 3);
        const Wave& y = expected[channel];
        EXPECT_EQ(ToWave(*out.GetArrayPtr(row, col)), y);
        for (std::size_t k = 0; k < y.size(); ++k) ASSERT_EQ(snapshots[k * 6 + channel], y[k]);
        for (std::size_t k = 0; k < 250; ++k) ASSERT_EQ(circle.GetDataPtr(row, col)[(k + 240) % 250], y[k]);
    }
}

TEST(MrfChannels, RefuseWhatDoesNotFit) {
    CMatMrfMtx blocks;
    CMatMrfRateCnv rings;
    CDataArrayMtxDouble fits(2, 1, 4), wide(1, 2, 4);
    const CDataArrayDouble snapshot(2, 1.0);
    const auto doNothing = [&] {
        return AllFail(blocks.SetInputData(fits), blocks.SetInputData(snapshot),
                       blocks.SetInputData(CDataArrayDouble()), blocks.InitData(), blocks.ClearResult(),
                       blocks.GetNumOutputData(), blocks.GetDelay(), blocks.GetOutputData(&fits, 1),
                       blocks.GetNumRow(), rings.SetInputDataCir(fits, 0, 1));
    };
    EXPECT_TRUE(doNothing());
    for (const auto& [rows, cols] :
         {std::pair<__int64, __int64>(0, 1), {1, -1}, {kFarthest, kFarthest}, {kFarthest, 1}}) {
        EXPECT_EQ(blocks.SetConvCond(kUp, CMatMrf::OVS_RAT_2, rows, cols, 10, 0), 0);
    }
    EXPECT_EQ(blocks.SetConvCond(kUp, CMatMrf::OVS_RAT_2, 2, 1, kFarthest, 0), 0);
    EXPECT_TRUE(doNothing());

    EXPECT_EQ(blocks.SetConvCond(kUp, CMatMrf::OVS_RAT_2, 2, 1, 10, 0), 1);
    EXPECT_EQ(rings.SetConvCond(kUp, CMatMrf::OVS_RAT_2, 2, 1, 10, 0), 1);
    EXPECT_TRUE(AllFail(blocks.SetInputData(wide), blocks.SetInputData(CDataArrayDouble(3, 1.0)),
                        blocks.SetInputData(nullptr, 1), blocks.SetInputData(snapshot.GetData(), -1),
                        rings.SetInputDataCir(wide, 0, 1), rings.SetInputDataCir(fits, 0, -1),
                        blocks.GetNumOutputData(), rings.GetNumOutputData()));
    EXPECT_EQ(blocks.SetInputData(snapshot), 1);
    EXPECT_EQ(rings.SetInputDataCir(fits, 0, 3), 1);
    CDataArrayMtxDouble* const none = nullptr;
    EXPECT_TRUE(AllFail(blocks.GetOutputData(none, 1), blocks.GetOutputData(&wide, 0),
                        rings.GetOutputDataCir(none, 0, 1), rings.GetOutputDataCir(&wide, 0, 1),
                        rings.GetOutputDataCir(&fits, 0, -1)));
    fits.GetArrayPtr(1, 0)->Append(1.0);  // a ring of another length
    EXPECT_EQ(rings.SetInputDataCir(fits, 0, 1) + rings.GetOutputDataCir(&fits, 0, 1), 0);
    EXPECT_EQ(rings.ClearResult(), 1);
    EXPECT_EQ(rings.GetNumOutputData(), 0);
    EXPECT_EQ(blocks.GetOutputData(&wide, 9), 2);
    EXPECT_EQ(wide.GetNumRow() * 10 + wide.GetNum(), 22);
}

TEST(MrfChannels, WithoutMemoryThereAreNone) {
    CMatMrfMtx blocks;
    blocks.SetConvCond(kUp, CMatMrf::OVS_RAT_2, 1, 1, 10, 0);
    const CMatMrfMtx source = blocks;
    const auto leavesNone = [&] { EXPECT_EQ(blocks.GetNumRow() + blocks.InitData(), 0); };
    const auto build = [&] { return blocks.SetConvCond(kUp, CMatMrf::OVS_RAT_2, 1, 1, 10, 0); };
    const auto copy = [&] { return (blocks = source).GetNumRow() > 0 ? 1 : 0; };
    EXPECT_GT(Starve(build, leavesNone), 0);
    EXPECT_GT(Starve(copy, leavesNone), 0);
}

}  // namespace
