// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/FrequencyResponse.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <string>
#include <vector>

using namespace kvx;

namespace {

using Pass = IirFilter::Pass;
using Family = IirFilter::Family;
using Norm = IirFilter::BesselNorm;
using Exact = std::complex<long double>;

ResponsePoint PointOf(const IirFilter& filter, double rateHz, double hz) {
    return ResponseOf(DesignIir(filter, rateHz), rateHz, std::array{hz}).front();
}
double GainOf(const IirFilter& filter, double rateHz, double hz) {
    return std::abs(PointOf(filter, rateHz, hz).gain);
}

struct Figure {
    double hz;
    std::complex<double> gain;
    double delaySamples;
};

// scipy.signal 1.10: cheby1, cheby2, ellip, butter, bessel, iirnotch, iirpeak for fs = 1000, as zeros and
// poles, from which gain and delay were taken in extended precision.
TEST(RecursiveFilters, HasTheResponsesOfSciPy) {
    // clang-format off
    const struct {
        IirFilter filter;
        std::vector<Figure> figures;
    } cases[] = {
        {{Pass::low, 5, 100, 0, Family::chebyshev1, 0.5},
         {{30, {0.381345235922906, -0.86411596275368}, 5.82846641868}, {100, {0.208411003366804, 0.920769130569323}, 18.012262646}, {180, {0.00563362849630283, -0.00711141374772035}, 0.930529672518}}},
        {{Pass::high, 6, 100, 0, Family::chebyshev2, 0.5, 60},
         {{80, {-9.58701604333825e-05, -0.000678231758981309}, 3.72399064542}, {150, {0.182909395513761, -0.127737077072503}, 6.38287102042}, {400, {0.782879549049812, 0.62217329558858}, 1.15991035631}}},
        {{Pass::low, 7, 100, 0, Family::elliptic, 0.1, 80},
         {{60, {-0.976753636588038, -0.179420226829755}, 9.36043294346}, {100, {0.968707830498825, -0.197084652081452}, 29.2536107319}, {110, {-0.127203810731135, -0.278882794784363}, 17.6480625849}}},
        {{Pass::band, 4, 50, 80, Family::elliptic, 1, 40},
         {{40, {-0.00865000527200873, 0.00500091879824208}, 5.98717277186}, {50, {-0.666331717452137, -0.59188704753661}, 144.057116714}, {65, {0.876883370165474, -0.220543340473262}, 24.0949588704}}},
        {{Pass::stop, 3, 50, 80, Family::chebyshev1, 1},
         {{45, {0.0464506627501004, -0.930425123120659}, 18.7224240086}, {60, {-0.00138171688776782, 0.00589172638532433}, 11.7989371139}, {120, {0.650354223507174, 0.64633479883859}, 1.72085555053}}},
        {{Pass::band, 5, 50, 400},
         {{20, {0.00751539734708417, 0.00246627908518149}, 10.5974290721}, {50, {-0.500000000000001, -0.500000000000002}, 17.8360907807}, {450, {0.0224671799972555, -0.000181341370117116}, 5.54723826778}}},
        {{Pass::stop, 8, 120, 150, Family::chebyshev2, 0.5, 50},
         {{100, {-0.315625169977558, -0.948882617584388}, 11.8892243027}, {121, {0.0013114889972529, 0.00286933814818611}, 63.2300058782}, {200, {0.365344273642636, 0.930872472184192}, 2.98411843945}}},
        {{Pass::low, 8, 100, 0, Family::bessel},
         {{50, {0.0192520230476888, -0.922381161177054}, 5.01566999337}, {100, {-0.706595723016926, 0.0268790664679834}, 5.40941610021}, {200, {0.0984882048687912, -0.0818504285957275}, 6.20362835898}}},
        {{Pass::high, 5, 100, 0, Family::bessel, 0, 0, 0, Norm::phase},
         {{50, {0.0224509265916978, -0.00801026274223186}, 6.52923830344}, {100, {-0.269727239495877, -0.239153739200235}, 5.82657361879}, {200, {-0.157849455134822, 0.822872288372611}, 1.85053565918}}},
        {{Pass::low, 16, 20, 0, Family::bessel, 0, 0, 0, Norm::delay},
         {{5, {0.968014771225658, -0.246856635317969}, 7.94923365541}, {20, {0.531652878029158, -0.828000299077621}, 7.97872975556}, {60, {-0.856363055379289, -0.0941882684540336}, 8.23646933212}}},
        {{Pass::notch, 0, 60, 0, {}, 0, 0, 30},
         {{59, {0.504015195926639, -0.49998387794177}, 80.2237654858}, {60.5, {0.198737783102931, 0.399050218231032}, 126.524456753}, {200, {0.999907339031184, 0.0096256107733711}, 0.011619706621}}},
        {{Pass::peak, 0, 60, 0, {}, 0, 0, 5},
         {{50, {0.230758131661893, 0.421317951592151}, 7.41483280865}, {60, {1, 1.37051269354914e-14}, 26.5132562872}, {200, {0.00332806655263424, -0.0575933201478738}, 0.0695246773635}}},
    };
    // clang-format on
    for (const auto& [filter, figures] : cases) {
        for (const auto& [hz, gain, delay] : figures) {
            const ResponsePoint point = PointOf(filter, 1000.0, hz);
            EXPECT_NEAR(std::abs(point.gain - gain), 0.0, 2e-13) << FilterText(filter) << " at " << hz;
            EXPECT_NEAR(point.delaySamples, delay, 1e-9 * delay) << FilterText(filter) << " at " << hz;
        }
    }
}

std::vector<IirFilter> AllFilters(Family family, double rateHz, double part) {
    const double corner = part * rateHz;
    const double upper = part < 0.3 ? 1.5 * corner : corner + 0.3 * (0.5 * rateHz - corner);
    std::vector<IirFilter> filters;
    for (const Pass pass : {Pass::low, Pass::high, Pass::band, Pass::stop}) {
        for (const std::int32_t order : {1, 2, 3, 4, 7, 12, 19, 32})
            filters.push_back({pass, order, corner, upper, family, 0.3, 55.0});
    }
    return filters;
}

// What the families promise at their corners, from a hundred-thousandth of the rate to nearly half of it.
TEST(RecursiveFilters, MeetsItsCornersExactly) {
    constexpr double kRate = 1e5;
    const double ripple = std::pow(10.0, -0.3 / 20), attenuation = std::pow(10.0, -55.0 / 20);
    const struct {
        Family family;
        double atCorner;
    } cases[] = {{Family::butterworth, M_SQRT1_2},
                 {Family::bessel, M_SQRT1_2},
                 {Family::chebyshev1, ripple},
                 {Family::elliptic, ripple},
                 {Family::chebyshev2, attenuation}};
    for (const auto& [family, atCorner] : cases) {
        for (const double part : {1e-5, 0.01, 0.25, 0.49}) {
            for (const IirFilter& filter : AllFilters(family, kRate, part)) {
                const std::string text = FilterText(filter);
                const double tolerance = filter.order < 32 ? 1e-9 : 1e-7;  // sharp as a step
                EXPECT_NEAR(GainOf(filter, kRate, filter.cornerHz) / atCorner, 1.0, tolerance) << text;
                const double other = filter.IsBand() ? filter.upperHz : filter.cornerHz;
                EXPECT_NEAR(GainOf(filter, kRate, other) / atCorner, 1.0, tolerance) << text;
                EXPECT_NEAR(GainOf(filter, kRate, 0.0), GainAtZero(filter), 1e-12) << text;
            }
        }
    }
}

// Chebyshev's polynomials alternate: within a band of ripple every extreme touches its bound.
TEST(RecursiveFilters, RipplesWithinTheirBounds) {
    constexpr double kRate = 1000.0;
    const struct {
        Family family;
        bool ripples, stopsEvenly;
    } cases[] = {
        {Family::chebyshev1, true, false}, {Family::chebyshev2, false, true}, {Family::elliptic, true, true}};
    for (const auto& [family, ripples, stopsEvenly] : cases) {
        for (const std::int32_t order : {3, 6, 9}) {
            const IirFilter filter = {Pass::low, order, 100.0, 0, family, 0.3, 55.0};
            double deepest = 2.0, highest = 0.0;
            for (double hz = 0.0; hz <= 100.0; hz += 0.02)
                deepest = std::min(deepest, GainOf(filter, kRate, hz));
            double before = GainOf(filter, kRate, 100.0), now = before;
            for (double hz = 100.0; hz <= 500.0; hz += 0.05) {
                const double next = GainOf(filter, kRate, hz);
                if (before <= now && now > next && hz > 100.1) highest = std::max(highest, now);
                before = std::exchange(now, next);
            }
            EXPECT_TRUE(!ripples || std::abs(20 * std::log10(deepest) + 0.3) < 1e-5) << FilterText(filter);
            EXPECT_TRUE(!stopsEvenly || std::abs(20 * std::log10(highest) + 55) < 2e-3) << FilterText(filter);
        }
    }
}

TEST(RecursiveFilters, ANotchHasItsWidth) {
    for (const double hz : {1.0, 60.0, 400.0}) {
        // Its band of hz/Q lies around it on the warped axis: cos(middle) = cos(hz) cos(band/2).
        const IirFilter notch = {Pass::notch, 0, hz, 0, {}, 0, 0, 8},
                        peak = {Pass::peak, 0, hz, 0, {}, 0, 0, 8};
        const double turn = 2 * std::numbers::pi / 1000.0;
        const double middle = std::acos(std::cos(hz * turn) * std::cos(hz / 16 * turn)) / turn;
        EXPECT_EQ(GainOf(notch, 1000.0, hz) < 1e-12, true);
        EXPECT_NEAR(GainOf(peak, 1000.0, hz), 1.0, 1e-12);
        for (const double edge : {middle - hz / 16, middle + hz / 16}) {
            EXPECT_NEAR(GainOf(notch, 1000.0, edge), M_SQRT1_2, 1e-8);
            EXPECT_NEAR(GainOf(peak, 1000.0, edge), M_SQRT1_2, 1e-8);
        }
    }
}

/// The impulse response of sections at samples n >= 1 by partial fractions in s, in extended precision:
/// h[n] = sum of the residues of H at the poles times 2 z^(n-1)/(1 - s)^2, log z = 2 artanh s.
class PartialFractions {
public:
    explicit PartialFractions(const std::vector<Biquad>& sections) {
        const auto value = [](const std::array<double, 3>& q, Exact s) {
            return ToLine(q[0]) + s * (ToLine(q[1]) + s * ToLine(q[2]));
        };
        for (std::size_t k = 0; k < sections.size(); ++k) {
            const auto& d = sections[k].denominator;
            const Exact discriminant = ToLine(d[1]) * ToLine(d[1]) - Exact(4) * ToLine(d[0]) * ToLine(d[2]);
            for (const long double sign : {1.0L, -1.0L}) {
                if (d[2] == 0.0 && sign < 0) continue;
                const Exact slope = d[2] == 0.0 ? ToLine(d[1]) : sign * std::sqrt(discriminant);
                const Exact s =
                    d[2] == 0.0 ? ToLine(-d[0]) / ToLine(d[1]) : (slope - ToLine(d[1])) / ToLine(2 * d[2]);
                Exact residue = value(sections[k].numerator, s) / slope;
                for (std::size_t j = 0; j < sections.size(); ++j) {
                    if (j != k)
                        residue *= value(sections[j].numerator, s) / value(sections[j].denominator, s);
                }
                logs_.push_back(Exact(2) * std::atanh(s));
                sizes_.push_back(residue * Exact(2) / ((Exact(1) - s) * (Exact(1) - s)));
            }
        }
    }
    double At(std::size_t n) const {
        Exact sum = 0;
        for (std::size_t k = 0; k < logs_.size(); ++k)
            sum += sizes_[k] * std::exp(logs_[k] * static_cast<long double>(n - 1));
        return static_cast<double>(sum.real());
    }

private:
    std::vector<Exact> logs_, sizes_;
};

TEST(Sections, AnswerAnImpulseAsTheirPartialFractions) {
    const struct {
        double part;       ///< of the rate, of the corner
        double tolerance;  ///< of the largest of the response
    } cases[] = {{0.2, 1e-13}, {0.01, 2e-13}, {1e-3, 2e-12}, {1e-5, 5e-11}, {0.49, 2e-13}};
    for (const auto& [part, tolerance] : cases) {
        for (const Family family :
             {Family::chebyshev1, Family::chebyshev2, Family::elliptic, Family::bessel}) {
            for (const Pass pass : {Pass::low, Pass::high, Pass::band, Pass::stop}) {
                const IirFilter filter = {pass,   5,   part, 0.5 * (part + std::min(2 * part, 0.5)),
                                          family, 0.3, 55};
                const std::vector<Biquad> sections = DesignIir(filter, 1.0);
                const PartialFractions truth(sections);
                const std::size_t count =
                    std::min<std::size_t>(20000 + static_cast<std::size_t>(2 / part), 300000);
                Wave impulse(count), answer;
                impulse[0] = 1.0;
                MakeSections(sections, Ends::zero)->Feed(impulse, answer);
                double largest = 0.0, error = 0.0;
                for (std::size_t n = 1; n < count; n += 1 + n / 50) {
                    largest = std::max(largest, std::abs(truth.At(n)));
                    error = std::max(error, std::abs(truth.At(n) - answer[n]));
                }
                EXPECT_LT(error / largest, tolerance) << FilterText(filter);
            }
        }
    }
}

TEST(Sections, BeginSettledWhenHeld) {
    const Wave constant(5000, 7.0);
    for (const Family family :
         {Family::butterworth, Family::chebyshev1, Family::chebyshev2, Family::elliptic, Family::bessel}) {
        for (const IirFilter& filter : AllFilters(family, 1000.0, 1e-4)) {
            Wave answer;
            MakeIir(filter, 1e-3, Ends::held)->Feed(constant, answer);
            EXPECT_THAT(answer, testing::Each(testing::DoubleNear(7.0 * GainAtZero(filter), 1e-11)))
                << FilterText(filter);
        }
    }
}

TEST(Sections, GiveTheSameBitsHoweverTheSignalIsCut) {
    const Wave wave = Noise(3001);
    for (const std::int32_t order : {1, 3, 9, 17, 32}) {
        const IirFilter filter = {Pass::band, order, 50, 90, Family::elliptic, 0.3, 55};
        Wave whole;
        MakeIir(filter, 1e-3, Ends::held)->Feed(wave, whole);
        for (const std::size_t piece : {1U, 7U, 300U}) {
            const auto process = MakeIir(filter, 1e-3, Ends::held);
            Wave cut;
            for (std::size_t at = 0; at < wave.size(); at += piece)
                process->Feed(std::span(wave).subspan(at, std::min(piece, wave.size() - at)), cut);
            EXPECT_EQ(cut, whole) << order << " " << piece;
        }
    }
}

TEST(Sections, AreRowsOfCoefficientsAndBack) {
    const std::vector<Biquad> sections = DesignIir({Pass::low, 7, 120, 0, Family::elliptic, 0.1, 80}, 1000.0);
    std::vector<Biquad> back;
    for (const Biquad& section : sections) back.push_back(SectionOf(RowOf(section)));
    const ZerosAndPoles places = ZerosAndPolesOf(sections);
    EXPECT_EQ(places.zeros.size(), 7U);
    EXPECT_EQ(places.poles.size(), 7U);
    for (const double hz : {0.0, 50.0, 120.0, 310.0, 500.0}) {
        const std::complex<double> gain = ResponseOf(sections, 1000.0, std::array{hz}).front().gain;
        std::complex<double> product = places.gain;
        const std::complex<double> z = std::polar(1.0, 2 * std::numbers::pi * hz / 1000.0);
        for (const auto& zero : places.zeros) product *= z - zero;
        for (const auto& pole : places.poles) product /= z - pole;
        EXPECT_NEAR(std::abs(product - gain), 0.0, 1e-13) << hz;
        EXPECT_NEAR(std::abs(ResponseOf(back, 1000.0, std::array{hz}).front().gain - gain), 0.0, 1e-13) << hz;
    }
    // The impulse decays below what a double holds beside its largest value.
    const double settling = SettlingSamples(sections);
    Wave impulse(static_cast<std::size_t>(2 * settling)), answer;
    impulse[0] = 1.0;
    MakeSections(sections, Ends::zero)->Feed(impulse, answer);
    for (std::size_t n = static_cast<std::size_t>(settling); n < answer.size(); ++n)
        EXPECT_LT(std::abs(answer[n]), 1e-17);
}

TEST(FrequencyResponses, OfFirFiltersAreTheirTransforms) {
    const Wave b = {1, 0.5, 0.2, 0.7};  // scipy.signal.freqz and group_delay at 0.2 and 0.4 of the rate
    const std::vector<ResponsePoint> points = ResponseOf(FirFilter{b, 0}, 10.0, std::array{2.0, 4.0});
    const struct {
        std::complex<double> gain;
        double delay;
    } figures[] = {{{0.4263932022500211, -0.1816356320013402}, -4.1509763551505},
                   {{0.8736067977499788, -0.7694208842938133}, 1.3220515870295}};
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(std::abs(points[i].gain - figures[i].gain), 0.0, 1e-14);
        EXPECT_NEAR(points[i].delaySamples, figures[i].delay, 1e-12);
    }
    // A chain multiplies gains and adds delays; what is taken out of a FIR filter is not told.
    const IirFilter low = {Pass::low, 3, 2};
    const ResponsePoint chain =
        ResponseOf(SampleFilters{{{{0.25, 0.5, 0.25}, 1}}, {low}, {}}, 10.0, std::array{1.0}).front();
    const ResponsePoint alone = PointOf(low, 10.0, 1.0);
    const double cosine = std::cos(std::numbers::pi / 10);
    EXPECT_NEAR(std::abs(chain.gain - alone.gain * cosine * cosine), 0.0, 1e-15);
    EXPECT_NEAR(chain.delaySamples, alone.delaySamples, 1e-14);
    EXPECT_NEAR(chain.LevelDb(), alone.LevelDb() + 40 * std::log10(cosine), 1e-12);
    EXPECT_EQ(ResponseOf(FirFilter{{1, 0, -1}, 1}, 10.0, std::array{0.0}).front().LevelDb(), -kInfinity);
    const std::vector<double> grid = FrequencyGrid(1, 100, 3, FrequencySteps::multiple);
    EXPECT_NEAR(grid[1], 10.0, 1e-14);
    EXPECT_EQ(FrequencyGrid(0, 100, 5, FrequencySteps::equal), (Wave{0, 25, 50, 75, 100}));
}

TEST(RecursiveFilters, SaysWhatIsWrongWithItsNumbers) {
    const struct {
        IirFilter filter;
        const char* sentence;
    } cases[] = {
        {{Pass::low, 33, 10, 0, Family::elliptic}, "an order of 33 is above the limit of 32"},
        {{Pass::band, 2, 10, 10}, "a band from 10 to 10 Hz does not rise"},
        {{Pass::stop, 2, 10, 600}, "600 Hz is not below half"},
        {{Pass::low, 2, 10, 0, Family::chebyshev1, 0.0}, "a ripple in dB of 0 is not above 0"},
        {{Pass::low, 2, 10, 0, Family::chebyshev2, 1, kNaN}, "an attenuation in dB"},
        {{Pass::low, 2, 10, 0, Family::elliptic, 3, 2}, "an attenuation in dB of 2 is not above 3"},
        {{Pass::notch, 2, 10, 0, {}, 0, 0, 0}, "a quality of 0 is not above 0"},
        {{Pass::peak, 2, 400, 0, {}, 0, 0, 0.5},
         "a quality of 0.5 at 400 Hz makes a band wider than half the rate"},
        {{static_cast<Pass>(9), 2, 10}, "no such kind"},
    };
    for (const auto& [filter, sentence] : cases) {
        try {
            DesignIir(filter, 1000.0);
            ADD_FAILURE() << sentence;
        } catch (const Error& error) {
            EXPECT_THAT(error.Sentence(), testing::HasSubstr(sentence));
        }
    }
    EXPECT_TRUE(IsBadValue([] {
        MakeSections(std::vector<Biquad>{SectionOf({1, 0, 0, 1, -2, 1})}, Ends::zero);
    }));
    EXPECT_TRUE(IsBadValue([] { SectionOf({1, 0, 0, 0, 0, 0}); }));
    EXPECT_TRUE(IsBadValue([] { SectionOf({kNaN, 0, 0, 1, 0, 0}); }));
    EXPECT_TRUE(IsBadValue([] { ResponseOf(FirFilter{{1}, 0}, 0.0, std::array{1.0}); }));
    EXPECT_TRUE(IsBadValue([] { FrequencyGrid(0, 5, 10, FrequencySteps::multiple); }));
    EXPECT_TRUE(IsBadValue([] { FrequencyGrid(1, 5, 1, FrequencySteps::equal); }));
}

}  // namespace
