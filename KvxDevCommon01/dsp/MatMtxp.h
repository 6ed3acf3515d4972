// SPDX-License-Identifier: MIT
//
// CMatMtxp: systems with several inputs x (n of them) and outputs y (m of them), from the matrices of their
// averaged power and cross spectra, line by line: transfer matrix, its inverse and partial coherences.
//
// Cells are spectra of one count of lines. A cross spectrum is that of CMatSpec::CalcCrossPow, row times
// conjugate column; powers and densities will do alike.
//   inPow     n x n   cell (j, k) = xj conj(xk), powers on the diagonal (their imaginary parts count as 0)
//   crossPow  m x n   cell (i, k) = yi conj(xk)
//   outPow    m x m   cell (i, k) = yi conj(yk), or m x 1, the powers alone; only they are used
// A cell without imaginary block is real.
//
// Singular lines. Averages over too few blocks, or inputs that depend on one another, leave directions
// without power, which no estimate can tell anything about. `cutoff` (0 <= cutoff < 1) says what counts as
// none; they get nothing instead of amplified rounding errors. It is relative, so that the results do not
// depend on the units. A line with a number that is not finite gives NaN and leaves the other lines alone.
//
// Results get their shape. They may be one of the arguments. An operation returns 1, or 0 for a null result,
// shapes or counts that do not fit, a cutoff out of range or when memory runs out; then nothing is written.
// Any thread may call them.
#pragma once

#include <KvxDevCommon01/Export.h>

class CDataArrayDoubleMtxCplx;

class KVX_API CMatMtxp {
public:
    /// Part of the strongest direction (of an input's own power in CalcPartCoh) below which a direction
    /// counts as empty: 120 dB for powers.
    static constexpr double kCutoff = 1e-12;

    /// Transfer matrix H of y = H x, m x n, the estimate with noise on the outputs alone: crossPow times the
    /// inverse of inPow. An input with no power gets 0; with one input it is CMatSpec::CalcXfr. Where inPow,
    /// its inputs scaled to equal power, has singular values of at most `cutoff` times the largest, the
    /// pseudo-inverse without them is taken: of all H that explain the outputs equally well the smallest.
    static int CalcXfr(CDataArrayDoubleMtxCplx* xfr, const CDataArrayDoubleMtxCplx& inPow,
                       const CDataArrayDoubleMtxCplx& crossPow, double cutoff = kCutoff);

    /// Inverse of a transfer matrix, n x m for m x n: the inputs that give wanted outputs. Where there is
    /// none, the pseudo-inverse, which gives the least squared error of the outputs and of all inputs that do
    /// the smallest. Singular values of H of at most `cutoff` times the line's largest are left out; a
    /// cutoff such as 0.01 limits the drive near antiresonances.
    static int CalcIXfr(CDataArrayDoubleMtxCplx* ixfr, const CDataArrayDoubleMtxCplx& xfr,
                        double cutoff = kCutoff);
    /// The same from spectra: CalcIXfr of CalcXfr, `cutoff` being that of the inverse.
    static int CalcIxfr(CDataArrayDoubleMtxCplx* ixfr, const CDataArrayDoubleMtxCplx& inPow,
                        const CDataArrayDoubleMtxCplx& crossPow, double cutoff = kCutoff);

    /// Partial coherences, m x n real cells from 0 to 1: the part that input k explains of the power that is
    /// left of output i when what the other inputs explain is taken out of both (conditioned spectra; Bendat
    /// and Piersol, Random Data, chapter 7). With one input it is the ordinary coherence. 0 where of the
    /// power of the input or the output at most `cutoff` is left.
    static int CalcPartCoh(CDataArrayDoubleMtxCplx* coherence, const CDataArrayDoubleMtxCplx& inPow,
                           const CDataArrayDoubleMtxCplx& outPow, const CDataArrayDoubleMtxCplx& crossPow,
                           double cutoff = kCutoff);
};
