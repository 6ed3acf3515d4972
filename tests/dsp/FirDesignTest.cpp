// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/FirDesign.h>
#include <tests/dsp/Signals.h>

#include <algorithm>

using namespace kvx;

namespace {

using Pass = IirFilter::Pass;
using Method = FirRequirements::Method;

double GainOf(const Wave& h, double part) {
    double gain = 0.0;
    for (std::size_t k = 0; k < h.size(); ++k)
        gain += h[k] * std::cos(2 * std::numbers::pi * part *
                                (static_cast<double>(k) - 0.5 * static_cast<double>(h.size() - 1)));
    return gain;
}

// scipy.signal.kaiserord(80, 0.05), kaiser_beta and firwin(51, ..., window=("kaiser", 7)) at the taps 0,
// 10, 25.
TEST(KaiserDesign, IsThatOfSciPy) {
    EXPECT_EQ(KaiserTaps(80, 0.025), 202.0);
    EXPECT_NEAR(KaiserBeta(80), 7.85726, 1e-14);
    EXPECT_NEAR(KaiserBeta(40), 3.3953210522614574, 1e-14);
    EXPECT_EQ(KaiserBeta(15), 0.0);
    constexpr std::size_t kPlaces[] = {0, 10, 25};
    const struct {
        std::vector<FirBand> bands;
        double taps[3];
    } cases[] = {
        {{{0, 0.15 - 1e-12, 1}, {0.15 + 1e-12, 0.5, 0}},
         {-7.551499681017395e-05, 0.005882310061298078, 0.2999758022599929}},
        {{{0, 0.1, 0}, {0.2, 0.5, 1}}, {7.552321391946172e-05, -0.005882950140576073, 0.700019702452177}},
        {{{0, 0.08, 0}, {0.12, 0.18, 1}, {0.22, 0.5, 0}},
         {-1.386605899410156e-19, -6.480656434635564e-18, 0.1998999515574602}},
    };
    for (const auto& [bands, taps] : cases) {
        const Wave h = DesignKaiser(51, 7.0, bands);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(h[kPlaces[i]], taps[i], 1e-15);
    }
}

// Chebyshev's theorem: the best filter touches its bounds in turn, in one more place than it has free
// coefficients.
TEST(EquirippleDesign, AlternatesBetweenItsBounds) {
    const struct {
        std::size_t taps;
        std::vector<FirBand> bands;
        double sciPy;  ///< weighted error of scipy.signal.remez with grid_density=64
    } cases[] = {
        {31, {{0, 0.1, 1}, {0.2, 0.5, 0}}, 0.00152515},
        {32, {{0, 0.1, 1}, {0.2, 0.5, 0}}, 0.00109578},
        {75, {{0, 0.1, 0, 10}, {0.15, 0.3, 1}, {0.35, 0.5, 0, 10}}, 0.00165814},
        {61, {{0, 0.1, 1}, {0.2, 0.3, 0}, {0.35, 0.5, 1}}, 0.00133608},
        {251, {{0, 0.01, 1}, {0.05, 0.5, 0}}, 4.97271e-9},
        {401, {{0, 0.1, 1}, {0.105, 0.5, 0, 10}}, 0.0272432},
    };
    for (const auto& [taps, bands, sciPy] : cases) {
        const EquirippleFir design = DesignEquiripple(taps, bands);
        EXPECT_LE(design.error, 1.0001 * sciPy) << taps;
        EXPECT_GT(design.error, 0.98 * sciPy) << taps;
        std::size_t touches = 0;
        double side = 0.0;
        for (const FirBand& band : bands) {
            for (int i = 0; i <= 20000; ++i) {
                const double error =
                    band.weight *
                    (GainOf(design.coefficients, band.low + (band.high - band.low) * i / 20000) - band.gain);
                EXPECT_LE(std::abs(error), design.error * (1 + 1e-6) + 1e-15) << taps;
                if (std::abs(error) < 0.999 * design.error || error * side > 0.0) continue;
                side = error;
                ++touches;
            }
        }
        EXPECT_GE(touches, (taps + 1) / 2 + 1) << taps;
        EXPECT_EQ(design.coefficients, Wave(design.coefficients.rbegin(), design.coefficients.rend()));
    }
}

TEST(FirDesign, KeepsWhatIsSpecified) {
    for (const Method method : {Method::kaiser, Method::equiripple}) {
        for (const Pass pass : {Pass::low, Pass::high, Pass::band, Pass::stop}) {
            const FirRequirements wanted = {pass, 100, 250, 30, 0.05, 70, method};
            const DesignedFir design = DesignFir(wanted, 1000.0);
            const Wave& h = design.filter.coefficients;
            EXPECT_LE(design.rippleDb, 0.05 + 1e-6) << FilterText(wanted);
            EXPECT_GE(design.attenuationDb, 70 - 1e-6) << FilterText(wanted);
            EXPECT_EQ(2 * design.filter.delay + 1, Size(h));
            EXPECT_LT(h.size(), method == Method::kaiser ? 160U : 130U);
            const bool passesLow = pass == Pass::low || pass == Pass::stop;
            EXPECT_NEAR(std::abs(GainOf(h, 0.05)), passesLow ? 1.0 : 0.0, 0.006);
            EXPECT_NEAR(std::abs(GainOf(h, 0.2)), pass == Pass::high || pass == Pass::band ? 1.0 : 0.0,
                        0.006);
        }
    }
}

TEST(FirDesign, SaysWhatIsWrong) {
    const std::vector<FirBand> low = {{0, 0.1, 1}, {0.2, 0.5, 0}}, high = {{0, 0.1, 0}, {0.2, 0.5, 1}};
    EXPECT_TRUE(IsBadValue([&] { DesignEquiripple(2, low); }));
    EXPECT_TRUE(IsBadValue([&] { DesignEquiripple(2001, low); }));
    EXPECT_TRUE(IsBadValue([&] { DesignEquiripple(32, high); }));
    EXPECT_TRUE(IsBadValue([&] { DesignKaiser(32, 5, high); }));
    EXPECT_TRUE(IsBadValue([&] { DesignKaiser(31, 5, std::vector<FirBand>{{0, 0.5, 0}}); }));
    EXPECT_TRUE(IsBadValue([&] { DesignEquiripple(31, std::vector<FirBand>{{0, 0.2, 1}, {0.1, 0.5, 0}}); }));
    EXPECT_TRUE(IsBadValue([&] {
        DesignEquiripple(31, std::vector<FirBand>{{0, 0.2, 1, -1}, {0.3, 0.5, 0}});
    }));
    EXPECT_TRUE(IsBadValue([&] { DesignFir({Pass::low, 480, 0, 30}, 1000); }));
    EXPECT_TRUE(IsBadValue([&] { DesignFir({Pass::notch, 100, 0, 30}, 1000); }));
    EXPECT_TRUE(IsBadValue([&] { DesignFir({Pass::low, 100, 0, 0}, 1000); }));
    EXPECT_EQ(FailureOf([&] { DesignFir({Pass::low, 100, 0, 0.1}, 1000); }), ErrorKind::kUnsupported);
}

}  // namespace
