// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <tuple>

namespace {

using std::numbers::pi;

constexpr auto kZero = CMatBasic::TERM_ZERO;
constexpr auto kPeriodic = CMatBasic::TERM_PERIODIC;
constexpr auto kHold = CMatBasic::TERM_HOLD;
constexpr auto kNoTerm = static_cast<CMatBasic::DATA_TERM>(4);

/// Sample `i` of a signal that goes on as `term` says.
double Continued(const CDataArrayDouble& wave, __int64 i, CMatBasic::DATA_TERM term) {
    const __int64 n = wave.GetNum();
    if (term == kPeriodic) i = (i % n + n) % n;
    if (term == kHold) i = std::clamp<__int64>(i, 0, n - 1);
    return wave[i];
}

/// An impulse response of times -early..late without a component at half the sampling rate.
class Response {
public:
    Response(__int64 early, __int64 late) : early_(early), taps_(early + late + 1, nullptr) {
        const CDataArrayDouble noise = ToArray(Noise(static_cast<std::size_t>(early + late), 99));
        for (__int64 i = 0; i < taps_.GetNum(); ++i) taps_[i] = noise[i] + noise[i - 1];
    }

    CDataArrayDoubleCplx Spectrum(__int64 blockSize) const {
        CDataArrayDouble wave(blockSize, 0.0), work(blockSize, 0.0);
        for (__int64 i = 0; i < taps_.GetNum(); ++i) wave[(i - early_ + blockSize) % blockSize] = taps_[i];
        CDataArrayDoubleCplx spectrum(1, blockSize / 2);
        CMatFFT::XfrRfft(wave.GetData(), work.GetData(), blockSize, spectrum.GetReal(),
                         spectrum.GetImaginary(), blockSize / 2);
        return spectrum;
    }

    /// By definition, at sample i.
    double Convolve(const CDataArrayDouble& wave, __int64 i, CMatBasic::DATA_TERM term) const {
        long double sum = 0;
        for (__int64 t = 0; t < taps_.GetNum(); ++t) {
            const auto sample = static_cast<long double>(Continued(wave, i + early_ - t, term));
            sum += static_cast<long double>(taps_[t]) * sample;
        }
        return static_cast<double>(sum);
    }

    /// 1e-12 of the largest value that taps within [-2, 2] can lead to.
    double Tolerance() const { return 2e-12 * static_cast<double>(taps_.GetNum()); }

private:
    __int64 early_;
    CDataArrayDouble taps_;
};

class FilteringTest : public testing::TestWithParam<std::tuple<__int64, std::size_t, CMatBasic::DATA_TERM>> {
protected:
    const __int64 block_ = std::get<0>(GetParam());
    const CDataArrayDouble wave_ = ToArray(Noise(std::get<1>(GetParam())));
    const CMatBasic::DATA_TERM term_ = std::get<2>(GetParam());
    const Response response_{block_ / 4, block_ / 4};
    const CDataArrayDoubleCplx spectrum_ = response_.Spectrum(block_);
};

TEST_P(FilteringTest, EqualsTheDirectConvolutionInTheStretchAskedFor) {
    const __int64 n = wave_.GetNum();
    for (const auto& [first, last] : {std::pair<__int64, __int64>{0, n - 1}, {n / 3, n * 2 / 3}}) {
        const auto filter = [&, from = first, to = last](CDataArrayDouble* out, const CDataArrayDouble& in) {
            return to - from == n - 1
                       ? CMatBasic::SpecFiltering(out, in, term_, spectrum_, block_)
                       : CMatBasic::SpecFilteringModPeri(out, in, term_, spectrum_, block_, from, to);
        };
        CDataArrayDouble out(n, 7.0), inPlace = wave_;
        ASSERT_EQ(filter(&out, wave_) + filter(&inPlace, inPlace), 2);
        for (__int64 i = 0; i < n; ++i) {
            const bool isInside = i >= first && i <= last;
            const double expected = isInside ? response_.Convolve(wave_, i, term_) : wave_[i];
            ASSERT_NEAR(out[i], expected, isInside ? response_.Tolerance() : 0.0) << i;
            ASSERT_EQ(inPlace[i], out[i]);
        }
    }
}

TEST_P(FilteringTest, StreamsWithItsLagAndIsExactPastHalfABlock) {
    const __int64 start = -3, skip = block_ / 2 + 3;
    CDataArrayDouble stream(wave_.GetNum() + skip, 7.0), late(wave_.GetNum(), 7.0);
    ASSERT_EQ(CMatBasic::CoreMultiFrame(&stream, wave_, block_, spectrum_, term_, start, 0), 1);
    ASSERT_EQ(CMatBasic::CoreMultiFrame(&late, wave_, block_, spectrum_, term_, start, skip), 1);
    for (__int64 j = block_ / 2; j < stream.GetNum(); ++j) {
        const double expected = response_.Convolve(wave_, start - block_ / 4 + j, term_);
        ASSERT_NEAR(stream[j], expected, response_.Tolerance()) << j;
        ASSERT_EQ(late[std::max<__int64>(j - skip, 0)], stream[std::max(j, skip)]);
    }
}

INSTANTIATE_TEST_SUITE_P(MatBasic, FilteringTest,
                         testing::Combine(testing::Values(4, 16, 256), testing::Values(1U, 7U, 64U, 701U),
                                          testing::Values(kZero, kPeriodic, kHold)));

TEST(Filtering, LinesThatTheResponseLacksCountAsZero) {
    const CDataArrayDouble wave = ToArray(Noise(100));
    CDataArrayDoubleCplx whole = Response(4, 4).Spectrum(16), part(1, 5);
    part.Copy(whole, 0, 0, 5);
    for (__int64 k = 5; k < 8; ++k) whole.GetReal()[k] = whole.GetImaginary()[k] = 0.0;
    CDataArrayDouble a(100, 0.0), b(100, 1.0);
    ASSERT_EQ(CMatBasic::SpecFiltering(&a, wave, kHold, whole, 16), 1);
    ASSERT_EQ(CMatBasic::SpecFiltering(&b, wave, kHold, part, 16), 1);
    EXPECT_EQ(ToWave(a), ToWave(b));
}

TEST(Filtering, RefusesWhatDoesNotFitAndWritesNothing) {
    const CDataArrayDouble in(8, 1.0);
    const CDataArrayDoubleCplx good = Response(1, 1).Spectrum(16), real(0, 8);
    CDataArrayDouble out(8, 7.0), shorter(7, 7.0), empty;
    const auto filter = [&](CDataArrayDouble* result, const CDataArrayDoubleCplx& response, __int64 block,
                            CMatBasic::DATA_TERM term = kZero) {
        return CMatBasic::SpecFiltering(result, in, term, response, block);
    };
    const auto stretch = [&](__int64 first, __int64 last) {
        return CMatBasic::SpecFilteringModPeri(&out, in, kZero, good, 16, first, last);
    };
    const auto stream = [&](const CDataArrayDouble& wave, __int64 block, __int64 start, __int64 skip) {
        return CMatBasic::CoreMultiFrame(&out, wave, block, good, kZero, start, skip);
    };
    const auto raw = [&](const double* wave, __int64 count, int mode, __int64 lines) {
        return MatLibCvlFiltering(out.GetData(), wave, count, mode, good.GetReal(), good.GetImaginary(),
                                  lines, 16);
    };
    EXPECT_TRUE(AllFail(filter(nullptr, good, 16), filter(&shorter, good, 16), filter(&empty, good, 16),
                        filter(&out, good, 16, kNoTerm), filter(&out, real, 16), filter(&out, {}, 16),
                        stretch(-1, 3), stretch(4, 3), stretch(0, 8), stretch(kLowest, kFarthest),
                        stream(out, 16, 0, 0), stream(empty, 16, 0, 0), stream(in, 16, 0, -1),
                        stream(in, 16, kLowest, 0), stream(in, 16, 0, kFarthest), stream(in, 32, 0, 0),
                        raw(nullptr, 8, 0, 8), raw(in.GetData(), kLowest, 0, 8), raw(in.GetData(), 8, 3, 8),
                        raw(in.GetData(), 8, 0, 0)));
    for (const __int64 block : Results{kLowest, -16, 0, 1, 2, 15, 262144, kFarthest})
        EXPECT_EQ(filter(&out, good, block) + stream(in, block, 0, 0), 0) << block;
    EXPECT_EQ(ToWave(out), Wave(8, 7.0));
}

TEST(CoreAddCir, ChecksItsWorkSpace) {
    CDataArrayDouble sum(16, 0.0), wave(16, 0.0), work(16, 0.0), frame(8, 1.0);
    CDataArrayDoubleCplx spec(1, 8), shortSpec(1, 7);
    const auto add = [&](__int64 position, CDataArrayDoubleCplx* lines, CDataArrayDouble* imag) {
        return CMatBasic::CoreAddCir(&sum, position, frame, Response(1, 1).Spectrum(16), lines, &wave, imag);
    };
    EXPECT_EQ(add(15, &spec, &work), 1);
    EXPECT_TRUE(AllFail(add(16, &spec, &work), add(-1, &spec, &work), add(0, &shortSpec, &work),
                        add(0, nullptr, &work), add(0, &spec, &frame), add(0, &spec, nullptr)));
}

TEST(SelectWave, TakesAnyStretchOfTheContinuedSignal) {
    Results starts = {kLowest, kFarthest - 16};
    for (__int64 start = -40; start <= 40; ++start) starts.push_back(start);
    for (const std::size_t count : {1U, 2U, 5U}) {
        const CDataArrayDouble wave = ToArray(Noise(count));
        for (const auto term : {kZero, kPeriodic, kHold}) {
            for (const __int64 start : starts) {
                CDataArrayDouble out(17, 7.0);
                ASSERT_EQ(CMatBasic::SelectWave(&out, wave, start, term), 1);
                for (__int64 i = 0; i < 17; ++i) ASSERT_EQ(out[i], Continued(wave, start + i, term)) << start;
            }
        }
    }
}

TEST(SelectWave, ClearsItsResultBeforeItFails) {
    const CDataArrayDouble in(3, 1.0);
    CDataArrayDouble out(2, 7.0), other(2, 7.0), self(3, 1.0), empty;
    const auto select = [](CDataArrayDouble* result, const CDataArrayDouble& wave, auto term) {
        return CMatBasic::SelectWave(result, wave, 0, term);
    };
    EXPECT_TRUE(AllFail(select(&out, empty, kHold), select(&other, in, kNoTerm), select(nullptr, in, kZero),
                        select(&empty, in, kZero), select(&self, self, kZero)));
    EXPECT_TRUE(out.IsAllZero() && other.IsAllZero());
}

TEST(WaveInterpol, PutsZerosBetweenTheScaledSamples) {
    const CDataArrayDouble in = ToArray({1, -2});
    CDataArrayDouble out;
    EXPECT_EQ(CMatBasic::WaveInterpol(&out, in, 3), 6);
    EXPECT_EQ(ToWave(out), (Wave{3, 0, 0, -6, 0, 0}));
    EXPECT_EQ(CMatBasic::WaveInterpol(&out, in, 1), 2);
    EXPECT_TRUE(AllFail(CMatBasic::WaveInterpol(&out, in, kLowest), CMatBasic::WaveInterpol(&out, in, 0),
                        CMatBasic::WaveInterpol(&out, in, kFarthest), CMatBasic::WaveInterpol(&out, {}, 2),
                        CMatBasic::WaveInterpol(&out, out, 2), CMatBasic::WaveInterpol(nullptr, in, 2)));
    EXPECT_EQ(ToWave(out), (Wave{1, -2}));
}

TEST(WindowCore, TakesTheEntryOfTheTableNearestToEachAngle) {
    constexpr double kStep = pi / 65536.0;
    for (const double phase : {0.0, 0.3, -2.0, 4.0, 100.0, -1e6, 1e6, 10.4 * kStep, 10.6 * kStep}) {
        Wave data(20, 3.0);
        ASSERT_EQ(CMatBasic::WindowCore(0.6, 0.4, phase, 0.7, 20, data.data()), 1);
        const auto window = [phase](double i) {
            return 3.0 * (0.6 - 0.4 * std::cos(std::floor((phase + 0.7 * i) / kStep + 0.5) * kStep));
        };
        EXPECT_THAT(data, Near(WaveOf(20, window), 1e-9)) << phase;
    }
}

TEST(WindowCore, RefusesWhatHasNoMeaning) {
    Wave data(4, 2.0);
    const auto window = [](double phase, double step, __int64 count, double* wave) {
        return CMatBasic::WindowCore(0.5, 0.5, phase, step, count, wave);
    };
    EXPECT_TRUE(AllFail(window(0.0, 1.0, 4, nullptr), window(0.0, 1.0, 0, data.data())));
    for (const double bad : {kNaN, kInfinity, -1e300})
        EXPECT_EQ(window(bad, 1.0, 4, data.data()) + window(0.0, bad, 4, data.data()), 0) << bad;
    EXPECT_EQ(data, Wave(4, 2.0));
}

class ConvolCoefTest : public testing::Test {
protected:
    static constexpr __int64 kSize = 64;
    static constexpr __int64 kLines = kSize / 2;
    const CDataArrayDoubleCplx in_ = ToSpectrum(Noise(kLines, 3), Noise(kLines, 4));
    CDataArrayDoubleCplx out_, spec_;
    CDataArrayDouble wave_, imag_;

    int Run(const CDataArrayDoubleCplx& in, __int64 n, double a, double b, int mode, double low = 0,
            double high = 0) {
        return CMatBasic::CalcConvolCoef(in, &out_, &spec_, &wave_, n, &imag_, a, b,
                                         static_cast<CMatBasic::IXFR_DC_MODE>(mode), low, high);
    }

    /// Impulse response by definition, n of any size, of lines whose real part at 0 Hz is `dc`.
    double Impulse(__int64 n, double dc) const {
        double sum = dc;
        for (__int64 k = 1; k < kLines; ++k) {
            const double angle = 2 * pi * static_cast<double>(k * n % kSize) / kSize;
            sum += 2 * (in_.GetReal()[k] * std::cos(angle) - in_.GetImaginary()[k] * std::sin(angle));
        }
        return sum / kSize;
    }
};

TEST_F(ConvolCoefTest, KeepsBothPartsUnderHalfHannWindows) {
    struct Case {
        double a, b;
        __int64 causal, early, settled;  // samples kept, and those that make the settled value
    };
    for (const Case& c :
         {Case{24.2, 9.8, 24, 10, 2}, {64, 32, 64, 32, 8}, {16, 0, 16, 0, 2}, {64, 64, 64, 64, 16}}) {
        double mean = 0;
        for (__int64 i = 0; i < c.settled; ++i)
            mean += Impulse(2 * kSize - c.settled / 2 - c.early + i, 0.0) / static_cast<double>(c.settled);
        const double dc[] = {0.0, in_.GetReal()[1], 0.0}, shift[] = {0.0, 0.0, mean};
        for (int mode = 0; mode < 3; ++mode) {
            ASSERT_EQ(Run(in_, kSize, c.a / kSize, c.b / kSize, mode), 1);
            for (__int64 k = 0; k < kSize; ++k) {
                std::complex<double> line = 0;
                for (__int64 n = -c.early; n < c.causal; ++n) {
                    const double time = static_cast<double>(n);
                    const double part = time / static_cast<double>(n < 0 ? -c.early : c.causal);
                    const double sample = Impulse(n + kSize, dc[mode]) - shift[mode];
                    line += std::polar(sample * (0.5 + 0.5 * std::cos(pi * part)),
                                       -pi * static_cast<double>(k) * time / kSize);
                }
                // The windows take their cosine from a table of steps pi/65536.
                ASSERT_NEAR(out_.GetReal()[k], line.real(), 2e-4) << k;
                ASSERT_NEAR(out_.GetImaginary()[k], k == 0 ? 0.0 : line.imag(), 2e-4) << k;
            }
        }
    }
}

TEST_F(ConvolCoefTest, RollsOffOutsideItsLimitsWithTheSixthPower) {
    Wave expected = PartsOf(in_).first;
    ASSERT_EQ(Run(in_, kSize, 0.5, 0.5, CMatBasic::IXFR_DC_FIRST_LINE, 1.5, 1000), 1);
    expected[0] = expected[1];
    EXPECT_EQ(PartsOf(spec_).first, expected) << "limits that reach no line";
    ASSERT_EQ(Run(in_, kSize, 0.5, 0.5, CMatBasic::IXFR_DC_FIRST_LINE, 4, 20), 1);
    for (std::size_t k = 0; k < expected.size(); ++k) {
        const double line = static_cast<double>(k);
        expected[k] *= k < 4 ? std::pow(line / 4, 6) : k > 20 ? std::pow(20 / line, 6) : 1.0;
    }
    EXPECT_THAT(PartsOf(spec_).first, Near(expected, 1e-15));
}

TEST_F(ConvolCoefTest, RefusesWhatDoesNotFit) {
    out_.Create(1, 3);
    const CDataArrayDoubleCplx real(0, kLines);
    EXPECT_TRUE(AllFail(Run(in_, kSize, 0.5, 0.5, 3), Run(in_, 2 * kSize, 0.5, 0.5, 0),
                        Run(in_, 0, 0.5, 0.5, 0), Run(real, kSize, 0.5, 0.5, 0),
                        Run(in_, kSize, -0.1, 0.5, 0), Run(in_, kSize, 0.5, 1.1, 0),
                        Run(in_, kSize, kNaN, 0.5, 0), Run(in_, kSize, 0.5, kNaN, 0)));
    EXPECT_EQ(out_.GetNum(), 3) << "the result is left as it was";
    const auto run = [&](CDataArrayDoubleCplx* out, CDataArrayDouble* imag) {
        return CMatBasic::CalcConvolCoef(in_, out, &spec_, &wave_, kSize, imag, 0, 0, {}, 0, 0);
    };
    EXPECT_TRUE(AllFail(run(nullptr, &imag_), run(&spec_, &imag_), run(&out_, nullptr), run(&out_, &wave_)));
    EXPECT_EQ(run(&out_, &imag_), 1);
    EXPECT_EQ(out_.IsAllZero(), 1) << "nothing kept";
}

}  // namespace
