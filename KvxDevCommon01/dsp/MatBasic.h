// SPDX-License-Identifier: MIT
//
// CMatBasic: the basic numeric routines on which the rest of the signal processing stands. Stateless; every
// routine may be called from any thread.
//
// Unless a routine says otherwise its result is 1, or 0 for a null pointer, a count below 1 or counts that do
// not go together; then no output is written. Searches return an index, or -1 when nothing is found. Output
// pointers called optional may be null. The no-value marker -DBL_MAX (kvx::kNoValue<double>) marks a sample
// without data. Raw blocks may overlap: a routine that walks them gives the result of the plain loop from the
// first element to the last.
//
// A spectrum stands on a uniform grid, bin k at f0 + k df [Hz]. A CDataArrayDoubleCplx without an imaginary
// block is a purely real spectrum, of which routines work on the real block alone.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

#include <cstdint>

class CDataArrayDouble;
class CDataArrayDoubleCplx;
class CDataArrayIntPtr;
class CDataArrayMtxDouble;

class KVX_API CMatBasic {
public:
    /// How a signal goes on outside its ends.
    enum DATA_TERM : std::uint32_t {
        TERM_ZERO = 1,      ///< with zeros
        TERM_PERIODIC = 2,  ///< with its other end
        TERM_HOLD = 3,      ///< with its first or last sample
    };

    /// Along which law ConvRate interpolates between two bins.
    enum CONV_RATE : std::uint32_t {
        RATE_LINEAR = 0,
        RATE_LINEAR_AMPLITUDE = 1,  ///< the same as RATE_LINEAR
        RATE_LINEAR_POWER = 2,      ///< squared value over squared frequency
        RATE_LOG_AMPLITUDE = 3,     ///< log value over log frequency
        RATE_LOG_POWER = 4,         ///< log squared value over log squared frequency
    };

    /// Which way the trim routines round. "Strictly" moves a value that is on the grid to the next one.
    enum TRIM_MODE : std::uint32_t {
        TRIM_NEAREST = 1,
        TRIM_UP = 2,
        TRIM_UP_STRICTLY = 3,
        TRIM_DOWN = 4,
        TRIM_DOWN_STRICTLY = 5,
    };

    /// What CalcConvolCoef makes of the line at 0 Hz.
    enum IXFR_DC_MODE : std::uint32_t {
        IXFR_DC_ZERO = 0,
        IXFR_DC_FIRST_LINE = 1,  ///< the real part of line 1
        IXFR_DC_SETTLED = 2,     ///< zero, and the impulse response shifted so that it settles at zero
    };

    // ---- Element-wise arithmetic on blocks of n values ----

    /// a[i] += b[i]
    static int AddArr(double* a, const double* b, __int64 n);
    /// a[i] += c
    static int AddArr(double* a, double c, __int64 n);
    /// a[i] *= b[i]
    static int MulArr(double* a, const double* b, __int64 n);
    /// a[i] *= c
    static int MulArr(double* a, double c, __int64 n);
    /// a[i] /= b[i] except where b[i] is exactly 0: there a[i] stays.
    static int DivArr(double* a, const double* b, __int64 n);
    /// a[i] *= 1/c; fails for c = 0.
    static int DivArr(double* a, double c, __int64 n);
    /// a[i] = c
    static int SetArr(double* a, double c, __int64 n);
    /// a[i] = 0
    static int ZeroArr(double* a, __int64 n);
    /// dst[i] = src[i]
    static int CopyArr(double* dst, const double* src, __int64 n);
    /// a[i] = sqrt(a[i]) where a[i] > 0, else 0.
    static int SqrtArr(double* a, __int64 n);
    /// Reverses the order of the elements.
    static int Reverse(double* a, __int64 n);
    /// x clamped to the range between a and b, which come in either order. NaN stays NaN.
    static double Clip(double x, double a, double b);
    /// Natural logarithm of x, or of `floor` where x is not above it.
    static double LimitedLog(double x, double floor);
    /// The smallest power of two that is not below n: 1 for n <= 1, 0 when it would exceed 2^62.
    static __int64 GreaterEqPow2(__int64 n);

    // ---- Searches ----

    /// Index of the element nearest to x in an ascending array, found by halving steps; of two elements
    /// equally near the one that the halving reached. 0 for a null array, n < 2 or an x below all elements,
    /// n - 1 for one above all.
    static __int64 BinarySearch(const double* a, __int64 n, double x);
    /// The same over a[order[i]], `order` being the permutation that sorts `a`; the result is an index into
    /// `order`. -1 for an empty array or counts that differ.
    static __int64 BinarySerchFwInd(const CDataArrayDouble& a, const CDataArrayIntPtr& order, double x);

    /// Smallest and largest value of a[start..n-1] without the no-value marker, both outputs optional. NaNs
    /// are passed over unless there is nothing else. Fails (0) when `start` is outside the array or only
    /// markers are found.
    static int GetMinMax(__int64 n, const double* a, __int64 start, double* min, double* max);
    /// The same over the n values a[start..start+n-1].
    static int GetMinMaxEx(const double* a, __int64 n, __int64 start, double* min, double* max);
    /// As GetMinMax, and the smallest value above 0, or 2.2250738585072014e-308 when none is.
    static int GetMinMaxAndPMin(__int64 n, const double* a, __int64 start, double* min, double* max,
                                double* positiveMin);
    /// As GetMinMax, and the index where each occurs first. NaNs are passed over; when there are only NaNs
    /// and markers the indices are -1 and the values are not written. All outputs are optional.
    static int GetMinMaxValueAndPos(__int64 n, const double* a, __int64 start, double* min, __int64* minPos,
                                    double* max, __int64* maxPos);

    /// The first index after `start` where the sign has left that of a[start]: a value <= 0 when a[start] is
    /// above 0, else a value >= 0. Optionally that value. Markers count as the numbers they are.
    static __int64 GetZeroCrossPos(__int64 n, const double* a, __int64 start, double* value);
    /// The first index i after `start` where a[i-1] to a[i] crosses the threshold t: from below t to t or
    /// above it, or from above t to t or below it; with `bothSigns` also where it crosses -t. Optionally
    /// a[i]. Markers count as the numbers they are.
    static __int64 GetCrossedThresholdPos(__int64 n, const double* a, double threshold, __int64 start,
                                          int bothSigns, double* value);

    /// Walks from a[start] upward (`forward` not 0) or downward within the n samples that begin at `lowest`,
    /// and returns the first peak (if `stopAtPeak`) or notch (if `stopAtNotch`) that stands out: from its
    /// extreme the signal has come back by the hysteresis. That is (high - low) depth, which must be
    /// positive, or with `logScale` the factor `depth` (any return at all for a depth below 1). Markers and
    /// NaNs are passed over; the start itself is never the result. Optionally whether it was a peak. -1 also
    /// for n < 2, a depth below 0 or a start outside those samples.
    static __int64 SearchPeakNotch(__int64 n, const double* a, __int64 lowest, __int64 start, int forward,
                                   int stopAtPeak, int stopAtNotch, int logScale, double depth, double low,
                                   double high, int* isPeak);
    /// The largest peaks of an array, at most `maxNum` of them, largest first, of equal ones the lower index
    /// first. A peak is higher than its neighbours on both sides; a level top counts once, at its first
    /// sample; markers and NaNs are passed over as if they were not there, and the ends of the array are no
    /// peaks. `positions` has room for `maxNum` indices, the optional `values` for as many values. Returns
    /// how many were found, 0 also for bad arguments.
    static __int64 GetTopValueArray(__int64 n, const double* a, __int64 maxNum, __int64* positions,
                                    double* values);
    /// Quality factor of the resonance at amp[peak]: its frequency over the distance of the two half-power
    /// points, which are interpolated between samples linearly or, with `logScale`, on log-log axes. The
    /// no-value marker for bad arguments, peak < 1, a peak amplitude that is not positive and finite, a side
    /// that ends (or meets a marker) before the half-power level, logarithms of values <= 0 and two points at
    /// one frequency.
    static double GetSpecQValue(__int64 n, const double* amp, const double* freq, __int64 peak, int logScale);

    // ---- Comparison ----

    /// Sign of b - a with a tolerance relative to the larger magnitude: 0 when they differ by no more. The
    /// sign of `ratio` does not matter and it counts as 1 at most. Infinite values equal only themselves; NaN
    /// equals everything.
    static int DoubleCmpByRatio(double a, double b, double ratio);
    /// Sign of b - a, 0 when they differ by no more than |tolerance|.
    static int DoubleCmpByValue(double a, double b, double tolerance);

    // ---- Polar and rectangular spectra ----

    /// Amplitude and phase, in radians or `degrees`, of n complex numbers, each within two units in the last
    /// place (see numerics.md) and without overflow on the way. Where a part is the no-value
    /// marker both results are; 0 + 0i has phase 0. The results may replace the parts. Returns 0 for a null
    /// pointer or n = 0, 1 (with nothing to do) for n < 0.
    static int FouToAmpFltN(const double* re, const double* im, double* amp, double* phase, __int64 n,
                            int degrees);
    /// The inverse, with the arguments in the same places: `re` and `im` are the results.
    static int AmpToFouFltN(double* re, double* im, const double* amp, const double* phase, __int64 n,
                            int degrees);

    // ---- Filters on a complex spectrum ----
    //
    // Each multiplies the bins of `spec`, bin k at f = max(f0, 0) + k df, by the response of a filter with
    // the corner frequency fc [Hz]. They fail (0) for an empty spectrum, a frequency that is not finite,
    // df < 0 and fc not positive. x stands for f/fc; Butterworth sections as in any text on analogue filters.

    /// First-order low-pass: 1/(1 + ix).
    static int SpecLPF1Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc);
    /// First-order high-pass: ix/(1 + ix).
    static int SpecHPF1Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc);
    /// Second-order low-pass of quality q > 0: 1/(1 - x^2 + ix/q).
    static int SpecLPF2Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double q);
    /// Second-order high-pass of quality q > 0: -x^2/(1 - x^2 + ix/q).
    static int SpecHPF2Ex(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double q);
    /// Butterworth low-pass, its order clamped to 1..16, as a cascade of the sections above (a real spectrum
    /// is scaled by the real part of each). Fails for df = 0.
    static int SpecBwLPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, std::int32_t order);
    /// Butterworth high-pass, likewise.
    static int SpecBwHPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, std::int32_t order);
    /// Real gain (fc/f)^order on the bins above fc, by more than 1 % of df; the others stay. Fails when there
    /// are none and for df = 0.
    static int SpecLinLPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double order);
    /// Real gain (f/fc)^order, 0 at f = 0, on the bins below fc, likewise.
    static int SpecLinHPFN(CDataArrayDoubleCplx* spec, double f0, double df, double fc, double order);
    /// Zeroes the bins above fc, by more than 1 % of df. Fails when there are none and for df = 0. fc may be
    /// any frequency.
    static int SpecTrancLPF(CDataArrayDoubleCplx* spec, double f0, double df, double fc);
    /// Zeroes the bins below fc, likewise.
    static int SpecTrancHPF(CDataArrayDoubleCplx* spec, double f0, double df, double fc);
    /// out = a b, bin by bin over the bins of `out`, which may be one of them. Fails unless `out` has a bin,
    /// the others have as many, and all are complex.
    static int SpecMul(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& a,
                       const CDataArrayDoubleCplx& b);

    // ---- Filtering of signals through spectra ----
    //
    // A response H has N/2 lines, line k at k fs/N: the unscaled transform (CMatFFT::XfrRfft) of an impulse
    // response of N samples whose upper half stands for negative times. N is the block size, a power of two
    // from 4 to 131072. Filtering equals the direct convolution as long as the impulse response lasts at most
    // N/4 samples on either side of time 0; the line at fs/2 counts as 0.

    /// Convolves a signal with the impulse response of H; the result stands where the signal stands. Lines
    /// that H lacks count as 0. `out` has the count of `in` and may be `in`. Fails for empty or different
    /// counts, an unknown `term`, a wrong block size and a response without an imaginary block.
    static int SpecFiltering(CDataArrayDouble* out, const CDataArrayDouble& in, DATA_TERM term,
                             const CDataArrayDoubleCplx& response, __int64 blockSize);
    /// The same for the samples first..last of the signal, 0 <= first <= last < count: those are filtered in
    /// the setting of the whole signal, the others of `out` are those of `in`.
    static int SpecFilteringModPeri(CDataArrayDouble* out, const CDataArrayDouble& in, DATA_TERM term,
                                    const CDataArrayDoubleCplx& response, __int64 blockSize, __int64 first,
                                    __int64 last);
    /// Convolution by overlapping frames of N/2 samples under Hann windows, which add up to 1 at a hop of
    /// N/4. The first frame begins N/4 samples before in[start]; what lies outside `in` follows from `term`.
    /// The stream of results begins with the second frame and lags: its sample j belongs to in[start - N/4 +
    /// j]. `out`, whose count the caller sets, receives the stream from sample `skip` >= 0 on. Samples before
    /// in[start] come in under the rising half of the first window, so with a non-causal or long response the
    /// stream is exact from skip = N/2 on. `out` must not be `in`. `response` has at least N/2 lines.
    static int CoreMultiFrame(CDataArrayDouble* out, const CDataArrayDouble& in, __int64 blockSize,
                              const CDataArrayDoubleCplx& response, DATA_TERM term, __int64 start,
                              __int64 skip);
    /// One frame of CoreMultiFrame: convolves `frame`, N/2 samples, with the response and adds the N results,
    /// the first N/4 of them before the frame, to the circular accumulator `sum` of N samples from `position`
    /// on, 0 <= position < N. `spec` (complex, N/2 lines), `wave` and `work` (N samples each) are work space.
    static int CoreAddCir(CDataArrayDouble* sum, __int64 position, const CDataArrayDouble& frame,
                          const CDataArrayDoubleCplx& response, CDataArrayDoubleCplx* spec,
                          CDataArrayDouble* wave, CDataArrayDouble* work);
    /// Makes a time-limited response for such filtering from the N/2 lines of `in`. Lines below `lowLimit`,
    /// if that is above 1.5, and above `highLimit`, if that is not 0, roll off with the sixth power; the line
    /// at 0 Hz follows `mode` (the first line counts as 0 when lines roll off below). Of the impulse response
    /// the first N a samples stay under a falling half Hann window and the last N b samples, negative times,
    /// under a rising one, 0 <= a, b <= 1. `out` becomes the transform of 2N samples, N lines. `workSpec`,
    /// `workWave` and `workImag` are work space, sized as needed. Fails also for an N that is not a power of
    /// two from 4 to 65536.
    static int CalcConvolCoef(const CDataArrayDoubleCplx& in, CDataArrayDoubleCplx* out,
                              CDataArrayDoubleCplx* workSpec, CDataArrayDouble* workWave, __int64 n,
                              CDataArrayDouble* workImag, double a, double b, IXFR_DC_MODE mode,
                              double lowLimit, double highLimit);
    /// Fills `out`, whose count the caller sets, with the samples of `in` from index `start` on, which may
    /// lie anywhere; what lies outside `in` follows from `term`. Fails for an empty `in` or an unknown
    /// `term`, and then leaves `out` zeroed. `out` must not be `in`.
    static int SelectWave(CDataArrayDouble* out, const CDataArrayDouble& in, __int64 start, DATA_TERM term);
    /// Makes `out` the samples of `in` times `factor` >= 1, factor - 1 zeros behind each: the input of an
    /// interpolation filter of gain 1. Returns its count, or 0 on failure. `out` must not be `in`.
    static __int64 WaveInterpol(CDataArrayDouble* out, const CDataArrayDouble& in, __int64 factor);
    /// Multiplies data[i], i < n, by a - b cos(phase0 + i dphase), angles in radians. The cosine is the entry
    /// of the sine table nearest to the angle, in steps of pi/65536. (0.5, 0.5, 0, 2 pi/n, n) is the periodic
    /// Hann window. Fails (0), leaving the data as they are, for a null block, n < 1, an angle that is not
    /// finite or one too large (beyond about 1e11) to have a meaning on the table.
    static int WindowCore(double a, double b, double phase0, double dphase, __int64 n, double* data);

    // ---- Vibration quantities ----

    /// Rms of a power spectral density on lines df [Hz] apart, lines without a value left out; 0 for an empty
    /// one or a negative power.
    static double GetPsdRms(const CDataArrayDouble& psd, double df);
    /// Rms of acceleration, velocity and displacement from the density of an acceleration, in its units; a
    /// line at 0 Hz and lines without a value are left out. No output may be null.
    static int AccPsdSpToRmsAVD(const CDataArrayDouble& psd, double f0, double df, double* accRms,
                                double* velRms, double* dispRms);
    /// Adds to velocity and displacement rms, which are changed in place, what the leakage of a Hann-windowed
    /// analysis adds below the first line of an acceleration density that is not 0, through a Butterworth
    /// high-pass of corner hpfFc [Hz] and order hpfOrder and the weight (f/f1)^weightPower, f1 the frequency
    /// of that line (an exponent <= 0 leaves the factor out). A point within
    /// 1e-6 df of 0 Hz is left out. Nothing is added when that line lies beyond 100 Hz or in the upper half
    /// of the density.
    static int AddHanLeakToRmsVD(const CDataArrayDouble& psd, double f0, double df, double hpfFc,
                                 double hpfOrder, double weightPower, double* velRms, double* dispRms);
    /// Of the amplitudes of a harmonic motion (acceleration, velocity, displacement) and its frequency [Hz]
    /// the `wanted` one from two others, x and y, all in standard units. Displacements are peak-to-peak when
    /// `peakToPeak` is not 0, else peak. 0 when x or y is not positive, unless it is the one wanted, and for
    /// dimensions that do not determine it.
    static double ConvAmpFAVD(double x, CUnitCtrl::DIM_CODE dimX, double y, CUnitCtrl::DIM_CODE dimY,
                              CUnitCtrl::DIM_CODE wanted, int peakToPeak);
    /// Phase [rad] of one of acceleration, velocity and displacement from that of another: each lags the one
    /// before by a quarter turn. Other dimensions leave the phase as it is.
    static double ConvPhaseFAVD(double phase, CUnitCtrl::DIM_CODE from, CUnitCtrl::DIM_CODE to);
    /// Power spectral densities, in unit^2/Hz, of waves sampled at fs [Hz], averaged over blocks that overlap
    /// by `overlap` samples, 0 <= overlap < blockSize, under a `window` of MATLIB_WINDOW. Each density of
    /// `psd`, which is created anew, has blockSize/2 lines. Fails when the waves do not fill one block.
    static int CalcWavePSD(const CDataArrayMtxDouble& waves, double fs, __int64 blockSize, __int64 window,
                           __int64 overlap, CDataArrayMtxDouble* psd);

    // ---- Sequences, rates, rounding and random numbers ----

    /// out[i] = start + i step for i < n.
    static int CreateSeqLin(double start, double step, __int64 n, CDataArrayDouble* out);
    /// start, start + step, ... up to `end` or, for a negative step, down to it, `max` values at most. A last
    /// value within 0.001 step of `end` counts as `end` reached. Returns their number; 0, `out` unchanged,
    /// for step = 0, an end on the other side and values that are not finite.
    static __int64 CreateSeqLin(double start, double end, double step, __int64 max, CDataArrayDouble* out);
    /// start 10^(i/perDecade) up, or down, to `end`, `max` values at most, likewise; both ends positive.
    static __int64 CreateSeqLog(double start, double end, __int64 perDecade, __int64 max,
                                CDataArrayDouble* out);
    /// Resamples a spectrum from the grid (oldF0, oldDf) to the grid (newF0, newDf), both in Hz; the caller
    /// sets the count of `out`, which must not be `in`. 0 outside the old grid and, with a log law, below
    /// 0.999 newDf; a bin within 0.001 newDf of the frequency is taken as it is; between others `law` decides
    /// (a neighbour below the first bin or above the last takes the value of the last). Where an old bin has
    /// no value, neither has the new one. Does nothing for an unknown law.
    static void ConvRate(double newF0, double oldF0, double newDf, double oldDf, CONV_RATE law,
                         CDataArrayDouble* out, const CDataArrayDouble& in);
    /// Samples that n samples become when their rate changes from b to a, at every c-th sample:
    /// floor(n a/(b c) + 0.5); 0 when that is no number of 64 bits.
    static __int64 GetNumConvFs(double a, double b, __int64 n, double c);
    /// Changes the sampling rate of a waveform, band-limited: flat to 88 % of half the lower of both rates,
    /// -118 dB from half the lower rate on. Sample i of `out`, made GetNumConvFs(newFs, oldFs, n, 1) samples
    /// long, stands at i/newFs; what lies outside `in` follows from `term`. Fails for an empty `in`, rates
    /// that are not positive or differ by more than a factor of 1000, and when no sample results. `out` must
    /// not be `in`.
    static int ConvFs(CDataArrayDouble* out, const CDataArrayDouble& in, double newFs, double oldFs,
                      DATA_TERM term);

    /// Rounds to the series ..., 1, 2, 5, 10, 20, ...; optionally the mantissa chosen, 1, 2 or 5. Up and down
    /// are meant on the real axis; a value within 1 ppm of the series counts as on it; the nearest is that on
    /// a log scale, of equals the one nearer to 0. 0 and subnormal numbers give 0, mantissa 0, and so do an
    /// unknown mode and values that are not finite.
    static double TrimVal125(double x, TRIM_MODE mode, std::int32_t* mantissa);
    /// Rounds to a power of ten, in the same way.
    static double TrimValPow10(double x, TRIM_MODE mode);
    /// Rounds to a multiple of |step|. A value within 0.001 step of a multiple counts as on it; of equally
    /// near multiples the one nearer to 0. 0 for an unknown mode, step = 0 and values that are not finite.
    static double TrimValStep(double x, double step, TRIM_MODE mode);

    /// The next number of the suite's uniform generator: seed = (1229 seed + 351750) mod 1664501 in 32-bit
    /// arithmetic; the result is seed/1664501, in [0, 1). 0 for a null seed. A given seed gives the same
    /// sequence everywhere.
    static double GenRandom(std::uint32_t* seed);
};
