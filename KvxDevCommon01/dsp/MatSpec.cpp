// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/kernels/ComplexKernels.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/detail/ProfileSegment.h>
#include <KvxDevCommon01/dsp/detail/RootOfPower.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>
#include <optional>

namespace {

bool HasLines(const CDataArrayDouble& array) {
    return array.GetNum() >= 1 && array.GetData() != nullptr;
}

bool HasLines(const CDataArrayDoubleCplx& array) {
    return array.GetNum() >= 1 && array.GetReal() != nullptr;
}

bool Match(const auto* out, const auto& in) {
    return out != nullptr && HasLines(*out) && HasLines(in) && out->GetNum() == in.GetNum();
}

using kvx::kNoValue;

bool HasValue(double value) {
    return value != kNoValue<double>;
}

/// The imaginary part of a line, 0 without a block of it.
double ImaginaryAt(const double* imaginary, __int64 k) {
    return imaginary != nullptr ? imaginary[k] : 0.0;
}

/// Gives `spec` an imaginary block, keeping its real one.
bool AttachImaginary(CDataArrayDoubleCplx* spec) {
    if (spec->GetImaginary() != nullptr) return true;
    CDataArrayDoubleCplx complex(1, spec->GetNum());
    if (!complex.SetReal(spec->GetReal())) return false;
    *spec = complex;
    return HasLines(*spec) && spec->GetImaginary() != nullptr;
}

bool AttachZeroImaginary(CDataArrayDoubleCplx* spec) {
    if (!AttachImaginary(spec)) return false;
    std::fill_n(spec->GetImaginary(), spec->GetNum(), 0.0);
    return true;
}

/// Sets out[k] = of(in[k], factor) with the factor of the line: `dcFactor` on the line dc, else `factor`.
/// No-value stays.
template <class Value>
void SetLines(double* out, const double* in, __int64 count, __int64 dc, double dcFactor, double factor,
              Value of) {
    for (__int64 k = 0; k < count; ++k) {
        out[k] = HasValue(in[k]) ? of(in[k], k == dc ? dcFactor : factor) : kNoValue<double>;
    }
}

/// A line of a spectrum, whose imaginary block may be missing.
struct SpectrumLine {
    double re;
    double im;

    static SpectrumLine Of(const CDataArrayDoubleCplx& spec, __int64 k) {
        return {spec.GetReal()[k], ImaginaryAt(spec.GetImaginary(), k)};
    }
    bool HasValues() const { return HasValue(re) && HasValue(im); }
    double SquaredMagnitude() const { return re * re + im * im; }
};

/// Squared magnitudes of a spectrum with the factor of each line.
void SetPowers(CDataArrayDouble* out, const CDataArrayDoubleCplx& spec, __int64 dc, double dcFactor,
               double factor) {
    double* const powers = out->GetData();
    for (__int64 k = 0; k < spec.GetNum(); ++k) {
        const SpectrumLine line = SpectrumLine::Of(spec, k);
        powers[k] =
            line.HasValues() ? line.SquaredMagnitude() * (k == dc ? dcFactor : factor) : kNoValue<double>;
    }
}

/// Sets out[k] = of(a[k], b[k], k), no-value in both parts where one of them has none.
template <class Combine>
void CombineLines(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& a, const CDataArrayDoubleCplx& b,
                  Combine of) {
    for (__int64 k = 0; k < out->GetNum(); ++k) {
        const SpectrumLine lineA = SpectrumLine::Of(a, k), lineB = SpectrumLine::Of(b, k);
        const SpectrumLine line = lineA.HasValues() && lineB.HasValues()
                                      ? of(lineA, lineB, k)
                                      : SpectrumLine{kNoValue<double>, kNoValue<double>};
        out->GetReal()[k] = line.re;
        out->GetImaginary()[k] = line.im;
    }
}

/// Calls `action(start, length, x, y)` for blocks of the lines of two spectra, with zeros for imaginary parts
/// that are missing.
template <class Action>
void ForEachSplit(const CDataArrayDoubleCplx& a, const CDataArrayDoubleCplx& b, __int64 count,
                  Action action) {
    static constexpr std::array<double, 512> kZeros{};
    const bool areComplex = a.GetImaginary() != nullptr && b.GetImaginary() != nullptr;
    const __int64 block = areComplex ? count : std::ssize(kZeros);
    const auto split = [](const CDataArrayDoubleCplx& spec, __int64 start) {
        const double* const im = spec.GetImaginary();
        return kvx::SplitValues{spec.GetReal() + start, im != nullptr ? im + start : kZeros.data()};
    };
    for (__int64 start = 0; start < count; start += block) {
        action(start, std::min(block, count - start), split(a, start), split(b, start));
    }
}

/// Multiplies a level unless it is no-value.
void Scale(double* level, double factor) {
    if (HasValue(*level)) *level *= factor;
}

/// Lines first..last, both included.
struct LineRange {
    __int64 first;
    __int64 last;

    /// Nothing when the range holds no line of `count`.
    static std::optional<LineRange> Of(__int64 count, __int64 first, __int64 last) {
        if (count < 1 || first < 0 || last < 0) return std::nullopt;
        const __int64 end = last == 0 || last >= count ? count - 1 : last;
        if (first > end) return std::nullopt;
        return LineRange{first, end};
    }

    /// Sum over the range of term(values[k], k), without the values that are no-value.
    template <class Term>
    double Sum(const double* values, Term term) const {
        double sum = 0.0;
        for (__int64 k = first; k <= last; ++k) {
            if (HasValue(values[k])) sum += term(values[k], k);
        }
        return sum;
    }
};

void SetRandomPhase(double* re, double* im, __int64 k, double amp, std::uint32_t* seed) {
    const double phase = 2.0 * std::numbers::pi * CMatBasic::GenRandom(seed);
    re[k] = HasValue(amp) ? amp * std::cos(phase) : amp;
    im[k] = HasValue(amp) ? amp * std::sin(phase) : amp;
}

/// Whether a blended gain has come to 1 from the side that its slope starts on.
bool ReachedUnity(double gain, double slope) {
    return slope > 0.0 ? gain >= 1.0 : gain <= 1.0;
}

}  // namespace

int CMatSpec::CnvCplxToPow(CDataArrayDouble* pow, const CDataArrayDoubleCplx& spec, __int64 dc) {
    if (!Match(pow, spec)) return 0;
    SetPowers(pow, spec, dc, 1.0, 0.5);
    return 1;
}

int CMatSpec::CnvCplxToPsd(CDataArrayDouble* psd, const CDataArrayDoubleCplx& spec, double df, __int64 dc) {
    if (!Match(psd, spec) || !(df > 0.0)) return 0;
    SetPowers(psd, spec, dc, 1.0 / df, 0.5 / df);
    return 1;
}

int CMatSpec::CnvPowToPsd(CDataArrayDouble* psd, const CDataArrayDouble& pow, double df) {
    if (!Match(psd, pow) || !(df > 0.0)) return 0;
    SetLines(psd->GetData(), pow.GetData(), pow.GetNum(), -1, df, df,
             [](double p, double d) { return p / d; });
    return 1;
}

int CMatSpec::CnvAmpToPsd(double* psd, const double* amp, __int64 n, double df, __int64 dc) {
    if (psd == nullptr || amp == nullptr || n < 1 || !(df > 0.0)) return 0;
    SetLines(psd, amp, n, dc, 1.0 / df, 0.5 / df, [](double a, double factor) { return a * a * factor; });
    return 1;
}

int CMatSpec::CnvAmpToPsd(CDataArrayDouble* psd, const CDataArrayDouble& amp, double df, __int64 dc) {
    return Match(psd, amp) ? CnvAmpToPsd(psd->GetData(), amp.GetData(), amp.GetNum(), df, dc) : 0;
}

int CMatSpec::CnvAmpToPsd(CDataArrayDoubleCplx* psd, const CDataArrayDoubleCplx& amp, double df, __int64 dc) {
    if (!Match(psd, amp) || !(df > 0.0) || !AttachZeroImaginary(psd)) return 0;
    return CnvAmpToPsd(psd->GetReal(), amp.GetReal(), amp.GetNum(), df, dc);
}

int CMatSpec::CnvPsdToAmp(double* amp, const double* psd, __int64 n, double df, __int64 dc) {
    if (amp == nullptr || psd == nullptr || n < 1 || !(df > 0.0)) return 0;
    SetLines(amp, psd, n, dc, df, 2.0 * df, [](double p, double factor) { return std::sqrt(p * factor); });
    return 1;
}

int CMatSpec::CnvPsdToAmp(CDataArrayDouble* amp, const CDataArrayDouble& psd, double df, __int64 dc) {
    return Match(amp, psd) ? CnvPsdToAmp(amp->GetData(), psd.GetData(), psd.GetNum(), df, dc) : 0;
}

int CMatSpec::CnvPsdToAmp(CDataArrayDoubleCplx* amp, const CDataArrayDoubleCplx& psd, double df, __int64 dc) {
    if (!Match(amp, psd) || !(df > 0.0) || !AttachZeroImaginary(amp)) return 0;
    return CnvPsdToAmp(amp->GetReal(), psd.GetReal(), psd.GetNum(), df, dc);
}

int CMatSpec::CalcCrossPow(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& a,
                           const CDataArrayDoubleCplx& b, __int64 dc) {
    if (!Match(out, a) || !Match(out, b) || !AttachImaginary(out)) return 0;
    const kvx::ComplexKernels& kernels = kvx::ActiveKernels<kvx::ComplexKernels>();
    const __int64 count = out->GetNum();
    SpectrumLine dcLine{};
    const bool hasDc = dc >= 0 && dc < count;
    if (hasDc) {
        const SpectrumLine x = SpectrumLine::Of(a, dc), y = SpectrumLine::Of(b, dc);
        kernels.crossPower({&dcLine.re, &dcLine.im}, {&x.re, &x.im}, {&y.re, &y.im}, 1.0, 1);
    }
    ForEachSplit(a, b, count, [&](__int64 start, __int64 length, kvx::SplitValues x, kvx::SplitValues y) {
        kernels.crossPower({out->GetReal() + start, out->GetImaginary() + start}, x, y, 0.5, length);
    });
    if (hasDc) {
        out->GetReal()[dc] = dcLine.re;
        out->GetImaginary()[dc] = dcLine.im;
    }
    return 1;
}

int CMatSpec::CalcXfr(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& autoPow,
                      const CDataArrayDoubleCplx& crossPow) {
    if (!Match(out, autoPow) || !Match(out, crossPow) || !AttachImaginary(out)) return 0;
    CombineLines(out, autoPow, crossPow, [](const SpectrumLine& power, const SpectrumLine& cross, __int64) {
        if (power.re == 0.0) return SpectrumLine{0.0, 0.0};
        return SpectrumLine{cross.re / power.re, cross.im / power.re};
    });
    return 1;
}

double CMatSpec::CalcFouSumPow(const CDataArrayDoubleCplx& spec, __int64 first, __int64 last, __int64 dc) {
    if (!HasLines(spec)) return 0.0;
    const auto range = LineRange::Of(spec.GetNum(), first, last);
    if (!range) return 0.0;
    const double sum = range->Sum(spec.GetReal(), [&](double, __int64 k) {
        const SpectrumLine line = SpectrumLine::Of(spec, k);
        return line.HasValues() ? line.SquaredMagnitude() * (k == dc ? 2.0 : 1.0) : 0.0;
    });
    return 0.5 * sum;
}

double CMatSpec::CalcFouRms(const CDataArrayDoubleCplx& spec, __int64 first, __int64 last, __int64 dc) {
    return std::sqrt(CalcFouSumPow(spec, first, last, dc));
}

double CMatSpec::CalcAmpRms(const double* amp, __int64 n, __int64 first, __int64 last, __int64 dc) {
    const auto range = LineRange::Of(n, first, last);
    if (amp == nullptr || !range) return 0.0;
    return std::sqrt(range->Sum(amp, [dc](double a, __int64 k) { return a * a * (k == dc ? 1.0 : 0.5); }));
}

double CMatSpec::CalcAmpRms(const CDataArrayDouble& amp, __int64 first, __int64 last, __int64 dc) {
    return CalcAmpRms(amp.GetData(), amp.GetNum(), first, last, dc);
}

double CMatSpec::CalcAmpRms(const CDataArrayDoubleCplx& amp, __int64 first, __int64 last, __int64 dc) {
    return CalcAmpRms(amp.GetReal(), amp.GetNum(), first, last, dc);
}

double CMatSpec::CalcPowRms(const double* pow, __int64 n, __int64 first, __int64 last) {
    return CalcPsdRms(pow, n, 1.0, first, last);
}

double CMatSpec::CalcPowRms(const CDataArrayDouble& pow, __int64 first, __int64 last) {
    return CalcPowRms(pow.GetData(), pow.GetNum(), first, last);
}

double CMatSpec::CalcPowRms(const CDataArrayDoubleCplx& pow, __int64 first, __int64 last) {
    return CalcPowRms(pow.GetReal(), pow.GetNum(), first, last);
}

double CMatSpec::CalcPsdRms(const double* psd, __int64 n, double df, __int64 first, __int64 last) {
    const auto range = LineRange::Of(n, first, last);
    if (psd == nullptr || !range || !(df > 0.0)) return 0.0;
    return kvx::RootOfPower(df * range->Sum(psd, [](double p, __int64) { return p; }));
}

double CMatSpec::CalcPsdRms(const CDataArrayDouble& psd, double df, __int64 first, __int64 last) {
    return CalcPsdRms(psd.GetData(), psd.GetNum(), df, first, last);
}

double CMatSpec::CalcPsdRms(const CDataArrayDoubleCplx& psd, double df, __int64 first, __int64 last) {
    return CalcPsdRms(psd.GetReal(), psd.GetNum(), df, first, last);
}

double CMatSpec::CalcPsdRms(const CDataArrayDouble& psd, const CDataArrayDouble& freq, __int64 first,
                            __int64 last) {
    if (!Match(&psd, freq)) return 0.0;
    const auto range = LineRange::Of(psd.GetNum(), first, last);
    if (!range) return 0.0;
    const double power = kvx::ProfilePower(freq, psd, static_cast<std::size_t>(range->first),
                                           static_cast<std::size_t>(range->last));
    return power > 0.0 ? std::sqrt(power) : 0.0;
}

int CMatSpec::ChangePsdLevel(double rms, const CDataArrayDouble& freq, CDataArrayDouble* psd) {
    if (!Match(psd, freq) || !(rms > 0.0)) return 0;
    const double current = CalcPsdRms(*psd, freq, 0, 0);
    if (!(current > 0.0)) return 0;
    if (current == rms) return 1;
    const double ratio = rms / current;
    for (__int64 i = 0; i < psd->GetNum(); ++i) Scale(&(*psd)[i], ratio * ratio);
    return 1;
}

int CMatSpec::ChangePsdLevel(double fLow, double fHigh, double level, const CDataArrayDouble& freq,
                             CDataArrayDouble* psd) {
    if (!Match(psd, freq)) return 0;
    for (__int64 i = 0; i < freq.GetNum(); ++i) {
        if (fLow <= freq[i] && freq[i] <= fHigh) (*psd)[i] = level;
    }
    return 1;
}

int CMatSpec::ChangePsdLevelRatio(double fLow, double fHigh, double ratio, const CDataArrayDouble& freq,
                                  CDataArrayDouble* psd, double slope) {
    if (!Match(psd, freq) || !(fLow > 0.0) || !(fHigh > 0.0) || !(ratio > 0.0) || std::isnan(slope)) return 0;
    const __int64 count = freq.GetNum();
    double* const p = psd->GetData();
    __int64 below = -1;
    __int64 above = count;
    for (__int64 i = 0; i < count && above == count; ++i) {
        if (freq[i] < fLow) {
            below = i;
        } else if (freq[i] > fHigh) {
            above = i;
        } else if (freq[i] >= fLow) {
            Scale(&p[i], ratio);
        }
    }
    if (slope == 0.0) return 1;

    for (__int64 i = below; i >= 0; --i) {
        if (!(freq[i] > 0.0)) continue;
        const double gain = ratio * std::pow(fLow / freq[i], slope);
        if (ReachedUnity(gain, slope)) break;
        Scale(&p[i], gain);
    }
    if (above < count) {
        const double gain = ratio * std::pow(freq[above] / fHigh, slope);
        if (!ReachedUnity(gain, slope)) Scale(&p[above], gain);
    }
    return 1;
}

int CMatSpec::GenRandomPhaseSpec(CDataArrayDoubleCplx* out, const CDataArrayDouble& amp,
                                 std::uint32_t* seed) {
    if (!Match(out, amp) || seed == nullptr || !AttachImaginary(out)) return 0;
    for (__int64 k = 0; k < out->GetNum(); ++k) {
        SetRandomPhase(out->GetReal(), out->GetImaginary(), k, amp[k], seed);
    }
    return 1;
}

int CMatSpec::GenRandomPhaseSpec(CDataArrayDoubleCplx* out, double amp, std::uint32_t* seed) {
    if (out == nullptr || !HasLines(*out) || seed == nullptr || !AttachImaginary(out)) return 0;
    for (__int64 k = 0; k < out->GetNum(); ++k) {
        SetRandomPhase(out->GetReal(), out->GetImaginary(), k, amp, seed);
    }
    return 1;
}

int CMatSpec::GetLevelFromFreq(double f, __int64 index, const CDataArrayDouble& freq,
                               const CDataArrayDouble& level, double* out) {
    if (out == nullptr || !Match(&freq, level) || index < 0 || index >= freq.GetNum() - 1) return 0;
    const kvx::ProfileSegment segment = kvx::SegmentAt(freq, level, static_cast<std::size_t>(index));
    if (!(segment.f1 <= f && f <= segment.f2)) return 0;
    *out = segment.LevelAt(f);
    return 1;
}
