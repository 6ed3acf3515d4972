// SPDX-License-Identifier: MIT
//
// Spectra: polar and rectangular form, filters that shape a spectrum, the product of spectra.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/kernels/ComplexKernels.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/detail/FilterResponse.h>

#include <algorithm>
#include <cmath>

namespace {

using kvx::FilterResponse;
using kvx::kNoValue;

constexpr double kRadiansPerDegree = 0.017453292519943295;

/// The frequencies of the bins of a spectrum.
class BinGrid {
public:
    BinGrid(double f0, double df) : f0_(std::max(f0, 0.0)), df_(df) {}

    bool IsValid() const { return std::isfinite(f0_) && std::isfinite(df_) && df_ >= 0.0; }
    bool HasSteps() const { return IsValid() && df_ > 0.0; }
    double Frequency(__int64 k) const { return f0_ + static_cast<double>(k) * df_; }

    // A bin within this part of df around a corner frequency lies on it.
    static constexpr double kMargin = 0.01;

    /// Number of the first `n` bins that lie below fc.
    __int64 CountBelow(double fc, __int64 n) const {
        return Limit(std::floor((fc - f0_ - kMargin * df_) / df_) + 1.0, n);
    }
    /// The first bin above fc; n when it is none of the first `n`.
    __int64 FirstAbove(double fc, __int64 n) const {
        return Limit(std::ceil((fc - f0_ + kMargin * df_) / df_), n);
    }

private:
    static __int64 Limit(double k, __int64 n) {
        if (!(k > 0.0)) return 0;
        return k < static_cast<double>(n) ? static_cast<__int64>(k) : n;
    }

    double f0_;
    double df_;
};

bool HasBins(const CDataArrayDoubleCplx* spec) {
    return spec != nullptr && spec->GetNum() > 0 && spec->GetReal() != nullptr;
}

/// Multiplies each bin by response(f).
template <class Response>
int MulResponse(CDataArrayDoubleCplx* spec, double f0, double df, double fc, Response response) {
    const BinGrid grid(f0, df);
    if (!HasBins(spec) || !grid.IsValid() || !kvx::IsFilterParameter(fc)) return 0;
    double* const re = spec->GetReal();
    double* const im = spec->GetImaginary();
    for (__int64 k = 0; k < spec->GetNum(); ++k) {
        const FilterResponse h = response(grid.Frequency(k));
        if (im == nullptr) {
            re[k] *= h.re;
            continue;
        }
        const double product = re[k] * h.re - im[k] * h.im;
        im[k] = re[k] * h.im + im[k] * h.re;
        re[k] = product;
    }
    return 1;
}

/// Multiplies the bins first..end-1 by the real number gain(k).
template <class Gain>
void MulGain(CDataArrayDoubleCplx* spec, __int64 first, __int64 end, Gain gain) {
    for (__int64 k = first; k < end; ++k) {
        const double g = gain(k);
        spec->GetReal()[k] *= g;
        if (spec->GetImaginary() != nullptr) spec->GetImaginary()[k] *= g;
    }
}

void ZeroBins(CDataArrayDoubleCplx* spec, __int64 first, __int64 end) {
    std::fill(spec->GetReal() + first, spec->GetReal() + end, 0.0);
    if (spec->GetImaginary() != nullptr) {
        std::fill(spec->GetImaginary() + first, spec->GetImaginary() + end, 0.0);
    }
}

/// A high-pass leaves exactly nothing at 0 Hz, whatever stood there.
int ZeroDc(CDataArrayDoubleCplx* spec, double f0, int result) {
    if (result != 0 && f0 <= 0.0) ZeroBins(spec, 0, 1);
    return result;
}

}  // namespace

int CMatBasic::FouToAmpFltN(const double* re, const double* im, double* amp, double* phase, __int64 n,
                            int degrees) {
    if (re == nullptr || im == nullptr || amp == nullptr || phase == nullptr || n == 0) return 0;
    if (n < 0) return 1;
    kvx::ActiveKernels<kvx::ComplexKernels>().polar(amp, phase, {re, im},
                                                    degrees ? kvx::kPhaseInDegrees : kvx::kPhaseInRadians, n);
    return 1;
}

int CMatBasic::AmpToFouFltN(double* re, double* im, const double* amp, const double* phase, __int64 n,
                            int degrees) {
    if (re == nullptr || im == nullptr || amp == nullptr || phase == nullptr || n == 0) return 0;
    const double unit = degrees ? kRadiansPerDegree : 1.0;
    for (__int64 i = 0; i < n; ++i) {
        const double a = amp[i];
        const double p = phase[i];
        if (a == kNoValue<double> || p == kNoValue<double>) {
            re[i] = kNoValue<double>;
            im[i] = kNoValue<double>;
        } else if (a == 0.0 && p == 0.0) {
            re[i] = 0.0;
            im[i] = 0.0;
        } else {
            re[i] = a * std::cos(p * unit);
            im[i] = a * std::sin(p * unit);
        }
    }
    return 1;
}

int CMatBasic::SpecLPF1Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc) {
    return MulResponse(spec, f0, df, fc, [fc](double f) { return kvx::LowPass1(f, fc); });
}

int CMatBasic::SpecHPF1Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc) {
    return ZeroDc(spec, f0, MulResponse(spec, f0, df, fc, [fc](double f) { return kvx::HighPass1(f, fc); }));
}

int CMatBasic::SpecLPF2Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double q) {
    if (!kvx::IsFilterParameter(q)) return 0;
    return MulResponse(spec, f0, df, fc, [=](double f) { return kvx::LowPass2(f, fc, q); });
}

int CMatBasic::SpecHPF2Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double q) {
    if (!kvx::IsFilterParameter(q)) return 0;
    return ZeroDc(spec, f0,
                  MulResponse(spec, f0, df, fc, [=](double f) { return kvx::HighPass2(f, fc, q); }));
}

int CMatBasic::SpecBwLPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, std::int32_t order) {
    int result = df == 0.0 ? 0 : 1;
    kvx::ForEachButterworthSection(
        order, [&] { result = result && SpecLPF1Ex(spec, f0, df, fc); },
        [&](double q) { result = result && SpecLPF2Ex(spec, f0, df, fc, q); });
    return result;
}

int CMatBasic::SpecBwHPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, std::int32_t order) {
    int result = df == 0.0 ? 0 : 1;
    kvx::ForEachButterworthSection(
        order, [&] { result = result && SpecHPF1Ex(spec, f0, df, fc); },
        [&](double q) { result = result && SpecHPF2Ex(spec, f0, df, fc, q); });
    return result;
}

int CMatBasic::SpecLinLPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double order) {
    const BinGrid grid(f0, df);
    if (!HasBins(spec) || !grid.HasSteps() || !kvx::IsFilterParameter(fc) || !std::isfinite(order)) {
        return 0;
    }
    const __int64 first = grid.FirstAbove(fc, spec->GetNum());
    if (first == spec->GetNum()) return 0;
    MulGain(spec, first, spec->GetNum(), [&](__int64 k) { return std::pow(fc / grid.Frequency(k), order); });
    return 1;
}

int CMatBasic::SpecLinHPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double order) {
    const BinGrid grid(f0, df);
    if (!HasBins(spec) || !grid.HasSteps() || !kvx::IsFilterParameter(fc) || !std::isfinite(order)) {
        return 0;
    }
    const __int64 count = grid.CountBelow(fc, spec->GetNum());
    if (count == 0) return 0;
    MulGain(spec, 0, count, [&](__int64 k) {
        const double f = grid.Frequency(k);
        return f > 0.0 ? std::pow(f / fc, order) : 0.0;
    });
    return 1;
}

int CMatBasic::SpecTrancLPF(CDataArrayDoubleCplx* spec, double f0, double df, double fc) {
    const BinGrid grid(f0, df);
    if (!HasBins(spec) || !grid.HasSteps() || !std::isfinite(fc)) return 0;
    const __int64 first = grid.FirstAbove(fc, spec->GetNum());
    if (first == spec->GetNum()) return 0;
    ZeroBins(spec, first, spec->GetNum());
    return 1;
}

int CMatBasic::SpecTrancHPF(CDataArrayDoubleCplx* spec, double f0, double df, double fc) {
    const BinGrid grid(f0, df);
    if (!HasBins(spec) || !grid.HasSteps() || !std::isfinite(fc)) return 0;
    const __int64 count = grid.CountBelow(fc, spec->GetNum());
    if (count == 0) return 0;
    ZeroBins(spec, 0, count);
    return 1;
}

int CMatBasic::SpecMul(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& a,
                       const CDataArrayDoubleCplx& b) {
    if (out == nullptr || out->GetNum() < 1 || out->GetNum() > a.GetNum() || out->GetNum() > b.GetNum()) {
        return 0;
    }
    for (const CDataArrayDoubleCplx* const spec : {static_cast<const CDataArrayDoubleCplx*>(out), &a, &b}) {
        if (spec->GetReal() == nullptr || spec->GetImaginary() == nullptr) return 0;
    }
    kvx::ActiveKernels<kvx::ComplexKernels>().multiply({out->GetReal(), out->GetImaginary()},
                                                       {a.GetReal(), a.GetImaginary()},
                                                       {b.GetReal(), b.GetImaginary()}, out->GetNum());
    return 1;
}
