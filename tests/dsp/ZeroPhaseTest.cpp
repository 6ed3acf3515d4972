// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/FrequencyResponse.h>
#include <KvxDevCommon01/dsp/ZeroPhase.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <array>

using namespace kvx;

namespace {

using Pass = IirFilter::Pass;
using Process = std::unique_ptr<SampleProcess>;

Wave Through(const Process& process, std::span<const double> wave, std::size_t piece = 1 << 30) {
    Wave results;
    for (std::size_t at = 0; at < wave.size(); at += piece)
        process->Feed(wave.subspan(at, std::min(piece, wave.size() - at)), results);
    process->Finish(results);
    return results;
}

Process MakeAlone(const IirFilter& filter, const ZeroPhaseEnds& ends = {}) {
    return MakeZeroPhase(SampleFilters{{}, {filter}, {}}, 1e-3, ends);
}

// scipy.signal.sosfiltfilt(butter(2, 0.2, output="sos"), x, padtype=...) and filtfilt([0.25, 0.5, 0.25], 1,
// x) at the samples 0, 5 and 13.
TEST(ZeroPhase, GivesTheResultsOfSciPy) {
    const Wave x = {3, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8, 9, 7};
    constexpr std::size_t kPlaces[] = {0, 5, 13};
    const struct {
        Extension extension;
        std::array<double, 3> results;
    } cases[] = {
        {Extension::odd, {2.99686774593553, 4.62012317646631, 7.00025721220688}},
        {Extension::even, {2.2791894123151, 4.58136187283641, 7.62224862462118}},
        {Extension::constant, {2.63802857912531, 4.60074252465136, 7.31125291841403}},
        {Extension::none, {2.63585101315903, 4.62739041652433, 6.56135993088278}},
    };
    for (const auto& [extension, results] : cases) {
        const Wave y = Through(MakeAlone({Pass::low, 2, 100}, {extension, {}}), x);
        const Wave bySections =
            Through(MakeZeroPhase(DesignIir({Pass::low, 2, 100}, 1000.0), ZeroPhaseEnds{extension, {}}), x);
        ASSERT_EQ(y.size(), x.size());
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(y[kPlaces[i]], results[i], 1e-13) << static_cast<int>(extension);
        EXPECT_THAT(bySections, Near(y, 1e-13));
    }
    const Wave fir = Through(MakeZeroPhase(SampleFilters{{{{0.25, 0.5, 0.25}, 1}}, {}, {}}, 1.0), x);
    EXPECT_NEAR(fir[0], 3, 1e-14);
    EXPECT_NEAR(fir[5], 5.5625, 1e-14);
    EXPECT_NEAR(fir[13], 7, 1e-14);
}

TEST(ZeroPhase, SquaresTheGainAndMovesNothing) {
    const IirFilter filters[] = {{Pass::low, 4, 30},
                                 {Pass::band, 3, 10, 40, IirFilter::Family::elliptic, 0.5, 60},
                                 {Pass::notch, 0, 22, 0, {}, 0, 0, 5}};
    const Wave sine =
        WaveOf(40000, [](double i) { return std::sin(2 * std::numbers::pi * 0.025 * i + 0.3); });
    for (const IirFilter& filter : filters) {
        const double gain =
            std::norm(ResponseOf(DesignIir(filter, 1000.0), 1000.0, std::array{25.0}).front().gain);
        const Wave y = Through(MakeAlone(filter), sine);
        for (std::size_t i = 10000; i < 30000; i += 7)
            ASSERT_NEAR(y[i], gain * sine[i], 1e-11) << FilterText(filter);
    }
}

// The backward pass begins anew for each block; the signal as a whole, one pass there and one back, is the
// truth.
TEST(ZeroPhase, OfBlocksIsThatOfTheWholeSignalHoweverItIsCut) {
    const IirFilter filter = {Pass::low, 3, 3};
    const Wave wave = Noise(60000);
    const ZeroPhaseEnds none = {Extension::none, {}};
    const double memory = SettlingSamples(DesignIir(filter, 1000.0));
    EXPECT_LT(3 * memory, 60000);
    Wave whole = wave;
    for (int pass = 0; pass < 2; ++pass) {
        whole = Through(MakeIir(filter, 1e-3, Ends::held), whole);
        std::ranges::reverse(whole);
    }
    const Wave blocks = Through(MakeAlone(filter, none), wave);
    EXPECT_THAT(blocks, Near(whole, 1e-14));
    for (const std::size_t piece : {1U, 777U, 30000U})
        EXPECT_EQ(Through(MakeAlone(filter, none), wave, piece), blocks) << piece;
    const Wave odd = Through(MakeAlone(filter), wave);
    EXPECT_EQ(Through(MakeAlone(filter), wave, 5), odd);
}

TEST(ZeroPhase, TakesShortSignalsAndRefusesWhatRingsTooLong) {
    EXPECT_TRUE(Through(MakeAlone({Pass::low, 4, 30}), {}).empty());
    for (const std::size_t count : {1U, 2U, 5U}) {
        EXPECT_THAT(Through(MakeAlone({Pass::low, 4, 30}), Wave(count, 3.0)), Near(Wave(count, 3.0), 1e-14));
    }
    EXPECT_EQ(FailureOf([] { MakeAlone({Pass::low, 4, 1e-5}); }), ErrorKind::kUnsupported);
    EXPECT_TRUE(IsBadValue([] { MakeAlone({Pass::low, 4, 30}, {Extension::odd, -1}); }));
    EXPECT_TRUE(IsBadValue([] { MakeZeroPhase(std::vector<Biquad>{SectionOf({1, 0, 0, 1, -2.5, 1})}); }));
}

}  // namespace
