// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/kernels/KernelSets.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>

namespace {

using testing::ElementsAre;

constexpr auto kNone_ = CMatFir::RATE_NONE;
constexpr auto kUp = CMatFir::RATE_INTERPOLATE;
constexpr auto kDown = CMatFir::RATE_DECIMATE;

Wave Drain(CMatFir* fir) {
    Wave out(static_cast<std::size_t>(fir->GetNumOutputData()));
    fir->GetOutputData(out.data(), Size(out));
    return out;
}

CMatFir Filter(const Wave& coef, CMatFir::RATE_CONV mode = kNone_, __int64 ratio = 1, __int64 size = 1024) {
    CMatFir fir;
    fir.SetCoef(coef.data(), Size(coef), 0.0);
    fir.SetRateConv(mode, ratio);
    fir.SetOutBufSize(size);
    return fir;
}

/// The filter by its definition: the input with zeros between its samples, the sum over the taps, of which
/// decimation keeps every ratio-th.
Wave Definition(const Wave& coef, CMatFir::RATE_CONV mode, std::size_t ratio, const Wave& x) {
    const std::size_t up = mode == kUp ? ratio : 1, keep = mode == kDown ? ratio : 1;
    Wave y;
    for (std::size_t t = keep - 1; t < x.size() * up; t += keep) {
        double sum = 0.0;
        for (std::size_t tap = 0; tap < coef.size(); ++tap) {
            const std::size_t back = coef.size() - 1 - tap;
            if (back > t || (t - back) % up != 0) continue;
            sum += coef[tap] * (x[(t - back) / up] * static_cast<double>(up));
        }
        y.push_back(sum);
    }
    return y;
}

using Shape = std::tuple<CMatFir::RATE_CONV, int, int>;  // mode, ratio, taps

class FirFilter : public testing::TestWithParam<Shape> {};

TEST_P(FirFilter, GivesTheBitsOfItsDefinitionHoweverTheInputIsCut) {
    const auto [mode, ratio, taps] = GetParam();
    const Wave coef = Noise(static_cast<std::size_t>(taps), 7), x = Noise(1300);
    const Wave expected = Definition(coef, mode, static_cast<std::size_t>(ratio), x);
    for (const __int64 split : {1, 5, 20, 300, 1300}) {
        SCOPED_TRACE(split);
        CMatFir fir = Filter(coef, mode, ratio, Size(expected) + 1);
        for (__int64 done = 0; done < Size(x); done += split) {
            ASSERT_EQ(fir.SetInputData(x.data() + done, std::min(split, Size(x) - done)), 1);
        }
        ASSERT_EQ(Drain(&fir), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, FirFilter,
                         testing::Values(Shape{kNone_, 1, 1}, Shape{kNone_, 1, 37}, Shape{kNone_, 1, 600},
                                         Shape{kDown, 2, 1}, Shape{kDown, 2, 37}, Shape{kDown, 5, 93},
                                         Shape{kDown, 7, 3}, Shape{kDown, 600, 37}, Shape{kDown, 3, 700},
                                         Shape{kUp, 2, 1}, Shape{kUp, 2, 37}, Shape{kUp, 4, 75},
                                         Shape{kUp, 5, 93}, Shape{kUp, 7, 3}, Shape{kUp, 600, 37},
                                         Shape{kUp, 513, 700}, Shape{kUp, 3, 2000}));

}  // namespace
