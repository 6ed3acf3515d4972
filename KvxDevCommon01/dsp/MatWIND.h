// SPDX-License-Identifier: MIT
//
// CMatWIND: analysis windows, their figures, and the Hann window applied to a spectrum.
//
// A window is written into an array whose count N, set by the caller, is the block size; sample n stands at
// phi = 2 pi n/N. The windows are periodic: their period is N, not N - 1. All operations return 1, or 0 for a
// null or empty array, which is then left as it is. Any thread may call them.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

class CDataArrayDouble;
class CDataArrayDoubleCplx;

class KVX_API CMatWIND {
public:
    /// 1
    static int GeneRectangular(CDataArrayDouble* window);
    /// 0.5 - 0.5 cos phi
    static int GeneHanning(CDataArrayDouble* window);
    /// 0.54 - 0.46 cos phi
    static int GeneHamming(CDataArrayDouble* window);
    /// 0.42 - 0.5 cos phi + 0.08 cos 2 phi
    static int GeneBlackman(CDataArrayDouble* window);
    /// The minimum four-term window of Harris (1978): side lobes below -92 dB.
    static int GeneBlackmanHarris(CDataArrayDouble* window);
    /// The three-term window of Harris (1978) with side lobes below -61 dB.
    static int GeneBlackmanHarris_61dB(CDataArrayDouble* window);
    /// The minimum three-term window of Harris (1978): side lobes below -67 dB.
    static int GeneBlackmanHarris_67dB(CDataArrayDouble* window);
    /// The four-term window of Harris (1978) for -74 dB with the coefficients as first printed, whose side
    /// lobes are in fact at -57 dB.
    static int GeneBlackmanHarris_74dB(CDataArrayDouble* window);
    /// The -67 dB window times sin(x)/x, x = 2.4 pi (N - 2n)/N: the level of a line is right within 1.2 %
    /// (0.1 dB) wherever between two lines a sine lies.
    static int GeneFlatTop(CDataArrayDouble* window);
    /// Sets the N/2 samples from N/4 on to 1 and leaves the others as they are.
    static int GeneHalfRectangular(CDataArrayDouble* window);
    /// exp(n a): a negative `a` decays.
    static int GeneExponent(CDataArrayDouble* window, double a);
    /// a0 - a1 cos phi + a2 cos 2 phi
    static int Gen3termCos(CDataArrayDouble* window, double a0, double a1, double a2);
    /// a0 - a1 cos phi + a2 cos 2 phi - a3 cos 3 phi
    static int Gen4termCos(CDataArrayDouble* window, double a0, double a1, double a2, double a3);

    /// Multiplies the present values by the suite's Kaiser-Bessel taper of the given side-lobe attenuation;
    /// 21 dB and less change nothing. The taper's series is the suite's own, not that of the modified Bessel
    /// function. Fails (0) also for an attenuation so large (above some 1600 dB) that the series overflows.
    static int AddKaiserBessel(CDataArrayDouble* window, double attenuationDb);

    /// Mean of a window and its equivalent noise bandwidth, N sum w^2 / (sum w)^2, in lines. Either output
    /// may be null. Fails (0) when a bandwidth is asked for of a window whose mean is 0.
    static int CalcWindENBW(const CDataArrayDouble& window, double* enbw, double* mean);

    /// Applies the Hann window of mean 1, 1 - cos phi, to a spectrum: out[k] = in[k] - (in[k-1] + in[k+1])/2.
    /// The DC line is kept. At both ends of the other lines the neighbour outside is extrapolated: the real
    /// part on a straight line, the imaginary part as 0. `out` may be `in`; it must have as many lines, and
    /// an imaginary block if `in` has one (an imaginary block that `in` has not becomes 0).
    static int SpecHanning(CDataArrayDoubleCplx* out, const CDataArrayDoubleCplx& in);
};
