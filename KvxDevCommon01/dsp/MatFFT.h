// SPDX-License-Identifier: MIT
//
// CMatFFT: the Fourier transform between a real time block and its one-sided spectrum, in the scaling of
// waveforms (lines are peak amplitudes) and in that of impulse responses and transfer functions (unscaled
// lines).
//
// A block has N samples, N a power of two from 1 to 131072; line k stands at k fs/N. The spectrum comes as
// separate real and imaginary blocks of nLines lines, 1 <= nLines <= N, most often N/2: then the line at fs/2
// is not carried. All operations return 1, or 0 for a null block, an N or an nLines that is none of these, or
// when allocation fails. `re` and `im` may be the very blocks `wave` and `work`; no other overlap is allowed.
// Any thread may call them.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CMatFFT {
public:
    /// Spectrum of a wave in peak amplitudes: a sine of amplitude A on line k gives |re + i im| = A there, a
    /// constant c gives re[0] = c. A cosine is real, a sine negative imaginary. The wave is kept unless
    /// `re` is that block; `work`, of N values, is overwritten.
    static int WaveRfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines);

    /// The inverse of WaveRfft: the time block whose lines are given, those from nLines up being 0. Past N/2
    /// a line takes the place of its mirror image N - k. `work`, of N values, is overwritten.
    static int WaveIfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines);

    /// Unscaled spectrum of an impulse response. The wave is overwritten by the real part of the whole
    /// transform, `work`, of N values, by its imaginary part; im[0] is 0.
    static int XfrRfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines);

    /// The inverse of XfrRfft; as WaveIfft but for the scaling, which is 1/N. `work` receives the imaginary
    /// part of the time block: 0, but for a line N/2 with an imaginary part.
    static int XfrIfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines);

    /// Cosine and sine of 2 pi i/N for any i and N >= 1 from the sine table: exact entries when N divides
    /// 131072, else the nearest entry. An output may be null. Fails (0) for N < 1.
    static int GetCosSinI(__int64 i, __int64 N, double* cosOut, double* sinOut);
};
