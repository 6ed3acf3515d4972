// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatWIND.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

/// a0 - a1 cos phi + a2 cos 2 phi - a3 cos 3 phi
using CosineTerms = std::array<double, 4>;

// clang-format off
constexpr CosineTerms kHanning           = {0.5,     0.5,     0.0,     0.0};
constexpr CosineTerms kHamming           = {0.54,    0.46,    0.0,     0.0};
constexpr CosineTerms kBlackman          = {0.42,    0.5,     0.08,    0.0};
constexpr CosineTerms kBlackmanHarris    = {0.35875, 0.48829, 0.14128, 0.01168};
constexpr CosineTerms kBlackmanHarris61  = {0.44959, 0.49364, 0.05677, 0.0};
constexpr CosineTerms kBlackmanHarris67  = {0.42323, 0.49755, 0.07922, 0.0};
constexpr CosineTerms kBlackmanHarris74  = {0.40217, 0.49703, 0.09392, 0.00183};
// clang-format on

bool HasSamples(const CDataArrayDouble* window) {
    return window != nullptr && window->GetNum() >= 1 && window->GetData() != nullptr;
}

double SumOfCosines(const CosineTerms& terms, double phi) {
    double value = terms[0] - terms[1] * std::cos(phi);
    if (terms[2] != 0.0 || terms[3] != 0.0) value += terms[2] * std::cos(2.0 * phi);
    if (terms[3] != 0.0) value -= terms[3] * std::cos(3.0 * phi);
    return value;
}

int Generate(CDataArrayDouble* window, const CosineTerms& terms) {
    if (!HasSamples(window)) return 0;
    const __int64 count = window->GetNum();
    double* const w = window->GetData();
    const double step = 2.0 * std::numbers::pi / static_cast<double>(count);
    // Mirrored, so that the window is symmetric to the last bit.
    for (__int64 n = 0; 2 * n <= count; ++n) {
        w[n] = SumOfCosines(terms, static_cast<double>(n) * step);
        if (n > 0) w[count - n] = w[n];
    }
    return 1;
}

/// 1 + the sum over k = 1..16 of ((x/2)^k / (k-1)!)^k, ended by a term below 1e-20.
double TaperSeries(double x) {
    constexpr int kTermCount = 16;
    constexpr double kNegligible = 1e-20;
    double sum = 1.0;
    double base = 1.0;
    for (int k = 1; k <= kTermCount; ++k) {
        base *= 0.5 * x / std::max(1, k - 1);
        const double term = std::pow(base, k);
        sum += term;
        if (term < kNegligible) break;
    }
    return sum;
}

/// Kaiser's shape parameter for a side-lobe attenuation.
double TaperShape(double attenuationDb) {
    if (attenuationDb > 50.0) return 0.1102 * (attenuationDb - 8.7);
    if (attenuationDb > 21.0) {
        return 0.5842 * std::pow(attenuationDb - 21.0, 0.4) + 0.07886 * (attenuationDb - 21.0);
    }
    return 0.0;
}

/// What the neighbours outside the lines 1..count-1 are taken to be.
enum class Edge { kStraightLine, kZero };

void ConvolveWithHann(double* out, const double* in, __int64 count, Edge edge) {
    // Read before it is written: `out` may be `in`.
    double lower = 0.0;
    double current = in[0];
    double upper = count > 1 ? in[1] : 0.0;
    out[0] = current;
    for (__int64 k = 1; k < count; ++k) {
        const bool isFirst = k == 1;
        const bool isLast = k == count - 1;
        lower = isFirst ? 0.0 : current;
        current = upper;
        upper = isLast ? 0.0 : in[k + 1];
        // On a straight line the two neighbours average to the value between them.
        const bool vanishes = edge == Edge::kStraightLine && (isFirst || isLast);
        out[k] = vanishes ? 0.0 : current - 0.5 * (lower + upper);
    }
}

}  // namespace

int CMatWIND::GeneRectangular(CDataArrayDouble* window) {
    if (!HasSamples(window)) return 0;
    return window->SetData(1.0);
}

int CMatWIND::GeneHanning(CDataArrayDouble* window) {
    return Generate(window, kHanning);
}

int CMatWIND::GeneHamming(CDataArrayDouble* window) {
    return Generate(window, kHamming);
}

int CMatWIND::GeneBlackman(CDataArrayDouble* window) {
    return Generate(window, kBlackman);
}

int CMatWIND::GeneBlackmanHarris(CDataArrayDouble* window) {
    return Generate(window, kBlackmanHarris);
}

int CMatWIND::GeneBlackmanHarris_61dB(CDataArrayDouble* window) {
    return Generate(window, kBlackmanHarris61);
}

int CMatWIND::GeneBlackmanHarris_67dB(CDataArrayDouble* window) {
    return Generate(window, kBlackmanHarris67);
}

int CMatWIND::GeneBlackmanHarris_74dB(CDataArrayDouble* window) {
    return Generate(window, kBlackmanHarris74);
}

int CMatWIND::GeneFlatTop(CDataArrayDouble* window) {
    if (!GeneBlackmanHarris_67dB(window)) return 0;
    const __int64 count = window->GetNum();
    double* const w = window->GetData();
    const double step = 2.4 * std::numbers::pi / static_cast<double>(count);
    for (__int64 n = 0; n < count; ++n) {
        if (2 * n == count) continue;
        const double x = static_cast<double>(count - 2 * n) * step;
        w[n] *= std::sin(x) / x;
    }
    return 1;
}

int CMatWIND::GeneHalfRectangular(CDataArrayDouble* window) {
    if (!HasSamples(window)) return 0;
    const __int64 count = window->GetNum();
    std::fill_n(window->GetData() + count / 4, count / 2, 1.0);
    return 1;
}

int CMatWIND::GeneExponent(CDataArrayDouble* window, double a) {
    if (!HasSamples(window)) return 0;
    double* const w = window->GetData();
    for (__int64 n = 0; n < window->GetNum(); ++n) w[n] = std::exp(static_cast<double>(n) * a);
    return 1;
}

int CMatWIND::Gen3termCos(CDataArrayDouble* window, double a0, double a1, double a2) {
    return Generate(window, {a0, a1, a2, 0.0});
}

int CMatWIND::Gen4termCos(CDataArrayDouble* window, double a0, double a1, double a2, double a3) {
    return Generate(window, {a0, a1, a2, a3});
}

int CMatWIND::AddKaiserBessel(CDataArrayDouble* window, double attenuationDb) {
    if (!HasSamples(window)) return 0;
    const double shape = TaperShape(attenuationDb);
    const double centre = TaperSeries(shape);
    if (!std::isfinite(centre)) return 0;

    const __int64 count = window->GetNum();
    const __int64 half = count / 2;
    double* const w = window->GetData();
    for (__int64 i = 0; i <= half; ++i) {
        const double ratio = half > 0 ? static_cast<double>(i) / static_cast<double>(half) : 0.0;
        const double gain = TaperSeries(shape * std::sqrt(1.0 - ratio * ratio)) / centre;
        w[half - i] *= gain;
        if (i > 0 && half + i < count) w[half + i] *= gain;
    }
    return 1;
}

int CMatWIND::CalcWindENBW(const CDataArrayDouble& window, double* enbw, double* mean) {
    if (!HasSamples(&window)) return 0;
    const __int64 count = window.GetNum();
    const double average = window.GetAve();
    if (enbw != nullptr) {
        if (average == 0.0) return 0;
        *enbw = window.GetSqSum(0, count) / (static_cast<double>(count) * average * average);
    }
    if (mean != nullptr) *mean = average;
    return 1;
}

int CMatWIND::SpecHanning(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& in) {
    if (out == nullptr || in.GetNum() < 1 || out->GetNum() != in.GetNum()) return 0;
    if (out->GetReal() == nullptr || in.GetReal() == nullptr) return 0;
    if (in.GetImaginary() != nullptr && out->GetImaginary() == nullptr) return 0;

    const __int64 count = in.GetNum();
    ConvolveWithHann(out->GetReal(), in.GetReal(), count, Edge::kStraightLine);
    if (in.GetImaginary() != nullptr) {
        ConvolveWithHann(out->GetImaginary(), in.GetImaginary(), count, Edge::kZero);
    } else if (out->GetImaginary() != nullptr) {
        std::fill_n(out->GetImaginary(), count, 0.0);
    }
    return 1;
}
