// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <KvxDevCommon01/dsp/MatMtxp.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <complex>

namespace {

using Complex = std::complex<double>;
using Spectra = CDataArrayDoubleMtxCplx;

/// Rows of complex numbers.
struct Grid : std::vector<std::vector<Complex>> {
    using vector::vector;
    std::size_t Cols() const { return front().size(); }
};

template <class Function>
Grid GridOf(std::size_t rows, std::size_t cols, Function function) {
    Grid grid(rows, std::vector<Complex>(cols));
    for (std::size_t i = 0; i < rows * cols; ++i) grid[i / cols][i % cols] = function(i / cols, i % cols);
    return grid;
}

Grid operator*(const Grid& a, const Grid& b) {
    return GridOf(a.size(), b.Cols(), [&](std::size_t i, std::size_t j) {
        Complex sum = 0.0;
        for (std::size_t k = 0; k < b.size(); ++k) sum += a[i][k] * b[k][j];
        return sum;
    });
}
Grid operator*(const Grid& a, double factor) {
    return GridOf(a.size(), a.Cols(), [&](std::size_t i, std::size_t j) { return a[i][j] * factor; });
}
Grid Adjoint(const Grid& a) {
    return GridOf(a.Cols(), a.size(), [&](std::size_t i, std::size_t j) { return std::conj(a[j][i]); });
}
Grid NoiseGrid(std::size_t rows, std::size_t cols, std::uint64_t seed) {
    const Wave re = Noise(rows * cols, seed), im = Noise(rows * cols, seed + 100);
    return GridOf(rows, cols,
                  [&](std::size_t i, std::size_t j) { return Complex(re[i * cols + j], im[i * cols + j]); });
}

/// Spectra whose lines are these grids, and back.
Spectra ToSpectra(const std::vector<Grid>& lines) {
    const auto rows = static_cast<__int64>(lines[0].size()), cols = static_cast<__int64>(lines[0].Cols());
    Spectra spectra(1, rows, cols, static_cast<__int64>(lines.size()));
    for (std::size_t n = 0; n < lines.size(); ++n) {
        for (__int64 i = 0; i < rows * cols; ++i) {
            const Complex value =
                lines[n][static_cast<std::size_t>(i / cols)][static_cast<std::size_t>(i % cols)];
            spectra.GetReal(i / cols, i % cols)[n] = value.real();
            spectra.GetImaginary(i / cols, i % cols)[n] = value.imag();
        }
    }
    return spectra;
}
Grid LineOf(const Spectra& spectra, __int64 line) {
    CDataDoubleMtxCplx values;
    EXPECT_EQ(spectra.SetMtxCplx(&values, line), 1);
    return GridOf(static_cast<std::size_t>(values.GetNumRow()), static_cast<std::size_t>(values.GetNumCol()),
                  [&](std::size_t i, std::size_t j) {
                      const auto row = static_cast<__int64>(i), col = static_cast<__int64>(j);
                      return Complex(values.GetReal(row, col), values.GetImaginary(row, col));
                  });
}

/// Largest difference; infinite for other shapes and for NaN.
double Distance(const Grid& a, const Grid& b) {
    if (a.size() != b.size() || a.Cols() != b.Cols()) return kInfinity;
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size() * a.Cols(); ++i) {
        const double distance = std::abs(a[i / a.Cols()][i % a.Cols()] - b[i / a.Cols()][i % a.Cols()]);
        largest = std::max(largest, std::isnan(distance) ? kInfinity : distance);
    }
    return largest;
}

TEST(MtxpTransfer, IsThatOfTheSystemWhateverTheUnitsOfItsInputs) {
    const Grid h = NoiseGrid(3, 2, 1);
    for (const double unit : {1.0, 1e-9, 1e120}) {
        const Grid scale = {{1.0, 0.0}, {0.0, unit}}, back = {{1.0, 0.0}, {0.0, 1.0 / unit}};
        std::vector<Grid> in, cross;
        for (const std::uint64_t seed : {2U, 3U, 4U}) {
            const Grid x = scale * NoiseGrid(2, 5, seed);
            in.push_back(x * Adjoint(x));
            cross.push_back(h * back * in.back());
        }
        Spectra xfr;
        ASSERT_EQ(CMatMtxp::CalcXfr(&xfr, ToSpectra(in), ToSpectra(cross)), 1);
        for (const __int64 line : {0, 1, 2}) EXPECT_LT(Distance(LineOf(xfr, line) * scale, h), 1e-13) << unit;
    }
}

TEST(MtxpTransfer, OfOneInputIsThatOfSingleSpectra) {
    const auto x = ToSpectrum(Noise(9, 1), Noise(9, 2)), y = ToSpectrum(Noise(9, 3), Noise(9, 4));
    Spectra in(1, 1, 1, 9), xfr(1, 1, 1, 9);
    CDataArrayDoubleCplx single(1, 9);
    CMatSpec::CalcCrossPow(in.GetArrayPtr(0, 0), x, x, 0);
    CMatSpec::CalcCrossPow(xfr.GetArrayPtr(0, 0), y, x, 0);
    CMatSpec::CalcXfr(&single, *in.GetArrayPtr(0, 0), *xfr.GetArrayPtr(0, 0));
    ASSERT_EQ(CMatMtxp::CalcXfr(&xfr, in, xfr), 1);  // the result may be an argument
    EXPECT_THAT(PartsOf(*xfr.GetArrayPtr(0, 0)).first, Near(PartsOf(single).first, 1e-13));
    EXPECT_THAT(PartsOf(*xfr.GetArrayPtr(0, 0)).second, Near(PartsOf(single).second, 1e-13));
}

// Lines: twin inputs share what they explain; an input without power; none at all; a number that is none.
TEST(MtxpTransfer, DirectionsWithoutPowerGetNothing) {
    const Complex a(1.0, 2.0), b(-3.0, 0.5);
    const Grid cross = {{a, a}, {b, b}}, twins = {{2.0, 2.0}, {2.0, 2.0}}, one = {{4.0, 0.0}, {0.0, 0.0}};
    const Grid bad = {{kNaN, 0.0}, {0.0, 1.0}};
    Spectra xfr;
    ASSERT_EQ(CMatMtxp::CalcXfr(&xfr, ToSpectra({twins, one, one * 0.0, bad}),
                                ToSpectra({cross, cross, cross, cross})),
              1);
    EXPECT_LT(Distance(LineOf(xfr, 0), cross * 0.25), 1e-15);
    EXPECT_LT(Distance(LineOf(xfr, 1), {{a / 4.0, 0.0}, {b / 4.0, 0.0}}), 1e-15);
    EXPECT_EQ(Distance(LineOf(xfr, 2), cross * 0.0), 0.0);
    EXPECT_TRUE(std::isnan(LineOf(xfr, 3)[0][0].real()));
}

struct Shape {
    std::size_t rows, cols, rank;
};
class MtxpInverse : public testing::TestWithParam<Shape> {};

// The four conditions of Moore and Penrose, at magnitudes whose squares are out of range.
TEST_P(MtxpInverse, IsThePseudoInverse) {
    const Shape shape = GetParam();
    const Grid h = NoiseGrid(shape.rows, shape.rank, 1) * NoiseGrid(shape.rank, shape.cols, 2);
    for (const double size : {1.0, 0x1p-700, 0x1p700}) {
        Spectra inverse;
        ASSERT_EQ(CMatMtxp::CalcIXfr(&inverse, ToSpectra({h * size})), 1);
        const Grid g = LineOf(inverse, 0) * size;
        EXPECT_LT(Distance(h * g * h, h), 1e-11);
        EXPECT_LT(Distance(g * h * g, g), 1e-11);
        EXPECT_LT(Distance(Adjoint(h * g), h * g), 1e-11);
        EXPECT_LT(Distance(Adjoint(g * h), g * h), 1e-11);
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, MtxpInverse,
                         testing::Values(Shape{1, 1, 1}, Shape{3, 3, 3}, Shape{8, 8, 8}, Shape{5, 2, 2},
                                         Shape{2, 5, 2}, Shape{4, 4, 2}, Shape{6, 3, 1}, Shape{3, 6, 1}));

TEST(MtxpInverse, LeavesOutWeakDirectionsOnDemand) {
    const Spectra h = ToSpectra({{{2.0, 0.0}, {0.0, 0.01}}}), unit = ToSpectra({{{1.0, 0.0}, {0.0, 1.0}}});
    Spectra strong, all;
    ASSERT_EQ(CMatMtxp::CalcIXfr(&strong, h, 0.1) + CMatMtxp::CalcIxfr(&all, unit, h), 2);
    EXPECT_LT(Distance(LineOf(strong, 0), {{0.5, 0.0}, {0.0, 0.0}}), 1e-15);
    EXPECT_LT(Distance(LineOf(all, 0), {{0.5, 0.0}, {0.0, 100.0}}), 1e-12);
}

// Two inputs of power 1 with the correlation r, y = h1 x1 + h2 x2 + noise: of input k, |hk|^2 (1 - |r|^2) is
// left.
TEST(MtxpPartialCoherence, ComparesWhatTheOtherInputsLeave) {
    const Complex r(0.6, -0.5), h1(2.0, 1.0), h2(-1.0, 3.0);
    const double noise = 0.3, left = 1.0 - std::norm(r);
    const Grid in = {{1.0, r}, {std::conj(r), 1.0}}, h = {{h1, h2}, {h1, 0.0}};
    const Grid cross = h * in, out = h * in * Adjoint(h);
    const Spectra outPow = ToSpectra({{{out[0][0] + noise, out[0][1]}, {out[1][0], out[1][1] + noise}}});
    const Spectra powers = ToSpectra({{{out[0][0] + noise}, {out[1][1] + noise}}});
    const auto expected = [&](const Complex& gain) {
        return std::norm(gain) * left / (std::norm(gain) * left + noise);
    };
    for (const Spectra* const either : {&outPow, &powers}) {
        Spectra coherence;
        ASSERT_EQ(CMatMtxp::CalcPartCoh(&coherence, ToSpectra({in}), *either, ToSpectra({cross})), 1);
        EXPECT_EQ(coherence.IsComplex(), 0);
        EXPECT_LT(Distance(LineOf(coherence, 0), {{expected(h1), expected(h2)}, {expected(h1), 0.0}}), 1e-14);
    }
}

// Of twin inputs none explains what the other does not; the third is not hindered by them. Then one input
// alone.
TEST(MtxpPartialCoherence, IsZeroWhereNothingIsLeft) {
    const Grid in = {{1.0, 1.0, 0.0}, {1.0, 1.0, 0.0}, {0.0, 0.0, 4.0}};
    Spectra coherence;
    ASSERT_EQ(CMatMtxp::CalcPartCoh(&coherence, ToSpectra({in, in * 0.0}), ToSpectra({{{6.0}}, {{6.0}}}),
                                    ToSpectra({{{1.0, 1.0, 4.0}}, {{0.0, 0.0, 0.0}}})),
              1);
    EXPECT_LT(Distance(LineOf(coherence, 0), {{0.0, 0.0, 4.0 / 5.0}}), 1e-15);
    EXPECT_EQ(Distance(LineOf(coherence, 1), {{0.0, 0.0, 0.0}}), 0.0);
    ASSERT_EQ(CMatMtxp::CalcPartCoh(&coherence, ToSpectra({{{2.0}}}), ToSpectra({{{8.0}}}),
                                    ToSpectra({{{{0.0, 2.0}}}})),
              1);
    EXPECT_LT(Distance(LineOf(coherence, 0), {{4.0 / 16.0}}), 1e-15);
}

TEST(MtxpShapes, ThatDoNotFitFailAndWriteNothing) {
    const Spectra in(1, 2, 2, 4), cross(1, 3, 2, 4), pow(0, 3, 1, 4), none, otherLines(1, 3, 2, 5),
        wide(1, 2, 3, 4);
    Spectra out(1, 1, 1, 1);
    out.SetData(7.0);
    EXPECT_TRUE(AllFail(
        CMatMtxp::CalcXfr(nullptr, in, cross), CMatMtxp::CalcXfr(&out, wide, cross),
        CMatMtxp::CalcXfr(&out, in, otherLines), CMatMtxp::CalcXfr(&out, in, wide),
        CMatMtxp::CalcXfr(&out, none, none), CMatMtxp::CalcXfr(&out, in, cross, 1.0),
        CMatMtxp::CalcXfr(&out, in, cross, kNaN), CMatMtxp::CalcIXfr(nullptr, in),
        CMatMtxp::CalcIXfr(&out, none), CMatMtxp::CalcIXfr(&out, in, -1.0),
        CMatMtxp::CalcIxfr(nullptr, in, cross), CMatMtxp::CalcIxfr(&out, in, wide),
        CMatMtxp::CalcPartCoh(nullptr, in, pow, cross), CMatMtxp::CalcPartCoh(&out, in, cross, cross),
        CMatMtxp::CalcPartCoh(&out, in, in, cross), CMatMtxp::CalcPartCoh(&out, in, pow, cross, 2.0)));
    cross.GetArrayPtr(0, 0)->Create(1, 2);  // a cell that lost its length
    EXPECT_TRUE(AllFail(CMatMtxp::CalcXfr(&out, in, cross), CMatMtxp::CalcIXfr(&out, cross),
                        CMatMtxp::CalcPartCoh(&out, in, pow, cross)));
    EXPECT_EQ(LineOf(out, 0)[0][0], Complex(7.0, 7.0));
}

TEST(MtxpMemory, BlocksAreZeroAndOnlyOfShapesThatExist) {
    double* const block = MatLibMtxpAllocReal(3, 5);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(ToWave(block, 15), Wave(15, 0.0));
    MatLibMtxpFree(block);
    MatLibMtxpFree(nullptr);
    for (const __int64 bad : {kLowest, __int64{-1}, __int64{0}, kFarthest})
        EXPECT_EQ(MatLibMtxpAllocReal(bad, bad), nullptr);
}

}  // namespace
