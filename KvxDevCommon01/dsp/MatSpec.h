// SPDX-License-Identifier: MIT
//
// CMatSpec: from one-sided Fourier spectra to powers, power spectral densities (PSD) and transfer functions
// and back, overall rms values, the reshaping of PSD profiles and spectra of random phase.
//
// The lines of a Fourier spectrum are peak amplitudes A, those that CMatFFT::WaveRfft gives; df [Hz] is their
// distance.
//   power Pw = A^2/2, density P = A^2/(2 df); on the line `dc`, which has no negative-frequency twin, A^2 and
//   A^2/df.
// `dc` is 0 for a spectrum that starts at 0 Hz and an index outside the spectrum (-1) when no line stands
// there.
//
// Arrays that go together have the same count, which the caller sets for results too. The result may be one
// of the arguments. An operation returns 1, or 0 (0.0 where the result is a value) for a null or empty block,
// counts that differ, df <= 0 or a range outside the lines; then nothing is written. A missing imaginary
// block counts as 0. A real result in a complex array goes with a zeroed imaginary block, which is attached
// if the array has none. A line without a value (no-value) in an argument has none in the result, in neither
// part, and sums pass over it. `first`..`last` is an inclusive range of lines; `last` = 0, or past the end,
// means up to the end. Any thread may call these operations.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

#include <cstdint>

class CDataArrayDouble;
class CDataArrayDoubleCplx;

class KVX_API CMatSpec {
public:
    /// Powers of the lines of a Fourier spectrum.
    static int CnvCplxToPow(CDataArrayDouble* pow, const CDataArrayDoubleCplx& spec, __int64 dc);
    /// Power spectral density of the lines of a Fourier spectrum.
    static int CnvCplxToPsd(CDataArrayDouble* psd, const CDataArrayDoubleCplx& spec, double df, __int64 dc);
    /// Density of given powers, pow/df, on every line alike.
    static int CnvPowToPsd(CDataArrayDouble* psd, const CDataArrayDouble& pow, double df);

    /// Density of peak amplitudes.
    static int CnvAmpToPsd(double* psd, const double* amp, __int64 n, double df, __int64 dc);
    static int CnvAmpToPsd(CDataArrayDouble* psd, const CDataArrayDouble& amp, double df, __int64 dc);
    static int CnvAmpToPsd(CDataArrayDoubleCplx* psd, const CDataArrayDoubleCplx& amp, double df, __int64 dc);

    /// Peak amplitudes of a density, the inverse of CnvAmpToPsd. A negative density gives NaN.
    static int CnvPsdToAmp(double* amp, const double* psd, __int64 n, double df, __int64 dc);
    static int CnvPsdToAmp(CDataArrayDouble* amp, const CDataArrayDouble& psd, double df, __int64 dc);
    static int CnvPsdToAmp(CDataArrayDoubleCplx* amp, const CDataArrayDoubleCplx& psd, double df, __int64 dc);

    /// Cross power a conj(b). `out` is given an imaginary block if it has none.
    static int CalcCrossPow(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& a,
                            const CDataArrayDoubleCplx& b, __int64 dc);
    /// Transfer function: cross power over the real part of the auto power, 0 where that is exactly 0. `out`
    /// is given an imaginary block if it has none.
    static int CalcXfr(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& autoPow,
                       const CDataArrayDoubleCplx& crossPow);

    /// Sum of the powers of the lines of a Fourier spectrum.
    static double CalcFouSumPow(const CDataArrayDoubleCplx& spec, __int64 first, __int64 last, __int64 dc);
    /// Rms of a Fourier spectrum: the square root of CalcFouSumPow.
    static double CalcFouRms(const CDataArrayDoubleCplx& spec, __int64 first, __int64 last, __int64 dc);
    /// Rms of peak amplitudes.
    static double CalcAmpRms(const double* amp, __int64 n, __int64 first, __int64 last, __int64 dc);
    static double CalcAmpRms(const CDataArrayDouble& amp, __int64 first, __int64 last, __int64 dc);
    static double CalcAmpRms(const CDataArrayDoubleCplx& amp, __int64 first, __int64 last, __int64 dc);
    /// Rms of powers; 0 when their sum is negative.
    static double CalcPowRms(const double* pow, __int64 n, __int64 first, __int64 last);
    static double CalcPowRms(const CDataArrayDouble& pow, __int64 first, __int64 last);
    static double CalcPowRms(const CDataArrayDoubleCplx& pow, __int64 first, __int64 last);
    /// Rms of a density on lines df [Hz] apart; 0 when its sum is negative.
    static double CalcPsdRms(const double* psd, __int64 n, double df, __int64 first, __int64 last);
    static double CalcPsdRms(const CDataArrayDouble& psd, double df, __int64 first, __int64 last);
    static double CalcPsdRms(const CDataArrayDoubleCplx& psd, double df, __int64 first, __int64 last);
    /// Rms of a density given at the frequencies freq [Hz], first < last: the exact integral under the
    /// straight lines that join its points on log-log axes. A segment without logarithms at its lower end
    /// (frequency or level not positive) counts as 0, one without a slope (upper level not positive) as
    /// level, one with no-value at either end not at all.
    static double CalcPsdRms(const CDataArrayDouble& psd, const CDataArrayDouble& freq, __int64 first,
                             __int64 last);

    /// Scales a profile so that its rms, by its frequencies freq [Hz], becomes `rms`. Fails (0) for rms <= 0
    /// and for a profile without rms.
    static int ChangePsdLevel(double rms, const CDataArrayDouble& freq, CDataArrayDouble* psd);
    /// Sets the points with fLow <= freq <= fHigh [Hz] to `level`.
    static int ChangePsdLevel(double fLow, double fHigh, double level, const CDataArrayDouble& freq,
                              CDataArrayDouble* psd);
    /// Multiplies the points with fLow <= freq <= fHigh [Hz], freq ascending, by `ratio` and, unless `slope`
    /// is 0, blends the edges: the points below fLow, downward, by g = ratio (fLow/f)^slope as long as g is
    /// short of 1 (below it for a positive slope, above it for a negative one), and the one point next above
    /// fHigh by g = ratio (f/fHigh)^slope under the same condition. Fails (0) unless fLow, fHigh and ratio
    /// are positive, and for a slope that is NaN.
    static int ChangePsdLevelRatio(double fLow, double fHigh, double ratio, const CDataArrayDouble& freq,
                                   CDataArrayDouble* psd, double slope);

    /// Lines of given peak amplitude and random phase: amp (cos phi + i sin phi), phi = 2 pi
    /// CMatBasic::GenRandom(seed), one call per line in their order. `out` is given an imaginary block if it
    /// has none.
    static int GenRandomPhaseSpec(CDataArrayDoubleCplx* out, const CDataArrayDouble& amp,
                                  std::uint32_t* seed);
    /// The same with one amplitude for all lines.
    static int GenRandomPhaseSpec(CDataArrayDoubleCplx* out, double amp, std::uint32_t* seed);

    /// Level at the frequency f [Hz] of a breakpoint profile, on the segment from point `index` to point
    /// `index` + 1: on the straight line between them on log-log axes or, where a frequency or a level is not
    /// positive, on linear axes; no-value beside a point that has it. Fails (0) when there is no such
    /// segment, when f lies outside it or for a null output.
    static int GetLevelFromFreq(double f, __int64 index, const CDataArrayDouble& freq,
                                const CDataArrayDouble& level, double* out);

    /// The filters of FilteringPsd: low-pass (LPF) and high-pass (HPF) of the spectrum filters of CMatBasic.
    enum PSD_FILTER : std::uint32_t {
        FILTER_LPF1 = 1,
        FILTER_HPF1 = 2,
        FILTER_LPF2 = 3,  ///< `parameter` is the quality q
        FILTER_HPF2 = 4,
        FILTER_BW_LPF = 5,  ///< Butterworth; `parameter` is the order, 1..16
        FILTER_BW_HPF = 6,
        FILTER_LIN_LPF = 7,  ///< straight slope beyond the corner; `parameter` is the order of the amplitude
        FILTER_LIN_HPF = 8,
        FILTER_TRANC_LPF = 9,  ///< nothing beyond the corner
        FILTER_TRANC_HPF = 10,
    };

    /// Shapes a breakpoint profile, straight on log-log axes, by a filter with the corner fc [Hz]: the level
    /// is multiplied by the squared magnitude of the response. Points are added, one at fc and others where
    /// the response bends, so that the profile follows the filtered one within 0.02 dB everywhere; cut-off
    /// parts lose their points. Fails (0), changing nothing, for points other than PsdProfile takes, a filter
    /// that is none of PSD_FILTER or has a corner or parameter out of range, and when less than two points
    /// remain. Levels stay above 0.
    static int FilteringPsd(double fc, int filter, CDataArrayDouble* freq, CDataArrayDouble* psd,
                            double parameter);
};
