// SPDX-License-Identifier: MIT
//
// A real block of N points is taken as a complex block of M = N/2, even samples real and odd samples
// imaginary. The complex transform is a self-sorting radix-4 (Stockham) decimation in frequency: each pass
// reads one buffer and writes the other, so that no reordering by bit reversal is needed and the inner loops
// run over neighbouring values. When M is an odd power of two the last pass is of radix 2. A complex buffer
// is one block of N values, the real parts in its lower half and the imaginary parts in its upper one. The
// inverse transform is the forward one with the parts exchanged.

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/platform/kernels/Lanes.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

struct Complex {
    double re;
    double im;
};

inline Complex operator+(Complex a, Complex b) {
    return {a.re + b.re, a.im + b.im};
}
inline Complex operator-(Complex a, Complex b) {
    return {a.re - b.re, a.im - b.im};
}

/// x e^(-i angle)
inline Complex Rotate(Complex x, double cosine, double sine) {
    return {x.re * cosine + x.im * sine, x.im * cosine - x.re * sine};
}

/// A complex buffer in two halves.
struct Halves {
    double* re;
    double* im;

    Halves(double* block, Index points) : re(block), im(block + points) {}
    Complex Get(Index i) const { return {re[i], im[i]}; }
    void Set(Index i, Complex x) const {
        re[i] = x.re;
        im[i] = x.im;
    }
};

/// The same with real and imaginary parts exchanged.
struct ExchangedHalves : Halves {
    ExchangedHalves(double* block, Index points) : Halves(block, points) {
        re = block + points;
        im = block;
    }
};

/// Real samples read as complex pairs.
struct SamplePairs {
    const double* wave;

    Complex Get(Index i) const { return {wave[2 * i], wave[2 * i + 1]}; }
};

/// Real samples written as complex pairs, real and imaginary parts exchanged.
struct ExchangedSamplePairs {
    double* wave;

    void Set(Index i, Complex x) const {
        wave[2 * i] = x.im;
        wave[2 * i + 1] = x.re;
    }
};

/// The four-point transform of elements `distance` apart.
struct Butterfly {
    Complex y0, y1, y2, y3;

    template <class In>
    Butterfly(In in, Index i, Index distance) {
        const Complex a = in.Get(i), b = in.Get(i + distance);
        const Complex c = in.Get(i + 2 * distance), d = in.Get(i + 3 * distance);
        const Complex sumAC = a + c, difAC = a - c, sumBD = b + d, difBD = b - d;
        y0 = sumAC + sumBD;
        y1 = {difAC.re + difBD.im, difAC.im - difBD.re};
        y2 = sumAC - sumBD;
        y3 = {difAC.re - difBD.im, difAC.im + difBD.re};
    }
};

/// First pass: stride 1, so that the loop runs over the twiddles.
template <class In>
void FirstPass(Index points, const double* twiddles, In in, Halves out) {
    const Index quarter = points / 4;
    KVX_INDEPENDENT_ITERATIONS
    for (Index p = 0; p < quarter; ++p) {
        const Butterfly b(in, p, quarter);
        out.Set(4 * p, b.y0);
        out.Set(4 * p + 1, Rotate(b.y1, twiddles[p], twiddles[p + quarter]));
        out.Set(4 * p + 2, Rotate(b.y2, twiddles[p + 2 * quarter], twiddles[p + 3 * quarter]));
        out.Set(4 * p + 3, Rotate(b.y3, twiddles[p + 4 * quarter], twiddles[p + 5 * quarter]));
    }
}

/// A pass between first and last: `stride` interleaved transforms of `points` each.
inline void MiddlePass(Index points, Index stride, const double* twiddles, Halves in, Halves out) {
    const Index quarter = points / 4;
    for (Index p = 0; p < quarter; ++p) {
        const double cos1 = twiddles[p], sin1 = twiddles[p + quarter];
        const double cos2 = twiddles[p + 2 * quarter], sin2 = twiddles[p + 3 * quarter];
        const double cos3 = twiddles[p + 4 * quarter], sin3 = twiddles[p + 5 * quarter];
        const Index from = stride * p, to = 4 * stride * p;
        KVX_INDEPENDENT_ITERATIONS
        for (Index q = 0; q < stride; ++q) {
            const Butterfly b(in, from + q, quarter * stride);
            out.Set(to + q, b.y0);
            out.Set(to + q + stride, Rotate(b.y1, cos1, sin1));
            out.Set(to + q + 2 * stride, Rotate(b.y2, cos2, sin2));
            out.Set(to + q + 3 * stride, Rotate(b.y3, cos3, sin3));
        }
    }
}

/// Last pass when four points are left of each of `stride` transforms.
template <class Out>
void LastPassOfFour(Index stride, Halves in, Out out) {
    KVX_INDEPENDENT_ITERATIONS
    for (Index q = 0; q < stride; ++q) {
        const Butterfly b(in, q, stride);
        out.Set(q, b.y0);
        out.Set(q + stride, b.y1);
        out.Set(q + 2 * stride, b.y2);
        out.Set(q + 3 * stride, b.y3);
    }
}

/// Last pass when two points are left of each of `stride` transforms.
template <class Out>
void LastPassOfTwo(Index stride, Halves in, Out out) {
    KVX_INDEPENDENT_ITERATIONS
    for (Index q = 0; q < stride; ++q) {
        const Complex a = in.Get(q), b = in.Get(q + stride);
        out.Set(q, a + b);
        out.Set(q + stride, a - b);
    }
}

/// Passes of radix 4 and 2 that a transform of 2^log2Points takes.
inline Index PassCount(Index log2Points) {
    return (log2Points + 1) / 2;
}

/// All passes of a complex transform of 2^log2Points. The first writes into `other`, the next into `one`, and
/// so on in turn; the last writes `out`.
template <class Buffer, class In, class Out>
void Transform(Index log2Points, TwiddleTables twiddles, In in, double* one, double* other, Out out) {
    const Index all = Index{1} << log2Points;
    double* from = other;
    double* to = one;
    FirstPass(all, twiddles[log2Points], in, Buffer(other, all));
    Index left = log2Points - 2;
    Index stride = 4;
    for (; left > 2; left -= 2, stride *= 4) {
        const Buffer source(from, all), target(to, all);
        // Constant strides let the compiler unroll the shortest loops whole.
        if (stride == 4) {
            MiddlePass(Index{1} << left, 4, twiddles[left], source, target);
        } else if (stride == 16) {
            MiddlePass(Index{1} << left, 16, twiddles[left], source, target);
        } else {
            MiddlePass(Index{1} << left, stride, twiddles[left], source, target);
        }
        double* const swapped = from;
        from = to;
        to = swapped;
    }
    if (left == 2) {
        LastPassOfFour(stride, Buffer(from, all), out);
    } else {
        LastPassOfTwo(stride, Buffer(from, all), out);
    }
}

void Forward(Index log2Size, TwiddleTables twiddles, const double* wave, double* re, double* im) {
    const Index half = Index{1} << (log2Size - 1);
    const Index quarter = half / 2;
    double* const z = PassCount(log2Size - 1) % 2 != 0 ? im : re;
    Transform<Halves>(log2Size - 1, twiddles, SamplePairs{wave}, re, im, Halves(z, half));

    // Line k of the even and of the odd samples from the lines k and half-k of the complex transform, then
    // the four lines that belong together. They overwrite just the four values that were read, whichever
    // block holds them.
    const double* const cosine = twiddles[log2Size];
    const double* const sine = cosine + quarter;
    const double evenSum = z[0], oddSum = z[half];
    const double middleRe = z[quarter], middleIm = z[quarter + half];
    KVX_INDEPENDENT_ITERATIONS
    for (Index k = 1; k < quarter; ++k) {
        const Index m = half - k;
        const double evenRe = 0.5 * (z[k] + z[m]), evenIm = 0.5 * (z[half + k] - z[half + m]);
        const double oddRe = 0.5 * (z[half + k] + z[half + m]), oddIm = 0.5 * (z[m] - z[k]);
        const Complex odd = Rotate({oddRe, oddIm}, cosine[k], sine[k]);
        re[k] = evenRe + odd.re;
        re[m] = evenRe - odd.re;
        re[half + k] = evenRe - odd.re;
        re[half + m] = evenRe + odd.re;
        im[k] = evenIm + odd.im;
        im[m] = odd.im - evenIm;
        im[half + k] = evenIm - odd.im;
        im[half + m] = -evenIm - odd.im;
    }
    re[0] = evenSum + oddSum;
    im[0] = 0.0;
    re[half] = evenSum - oddSum;
    im[half] = 0.0;
    re[quarter] = middleRe;
    im[quarter] = -middleIm;
    re[half + quarter] = middleRe;
    im[half + quarter] = middleIm;
}

void Inverse(Index log2Size, TwiddleTables twiddles, double* re, double* im) {
    const Index half = Index{1} << (log2Size - 1);
    const Index quarter = half / 2;
    double* const z = PassCount(log2Size - 1) % 2 != 0 ? im : re;
    double* const other = z == re ? im : re;

    // The inverse of the step at the end of the forward transform, without its factors 1/2.
    const double* const cosine = twiddles[log2Size];
    const double* const sine = cosine + quarter;
    const double evenSum = re[0] + re[half], oddSum = re[0] - re[half];
    const double middleRe = 2.0 * re[quarter], middleIm = -2.0 * im[quarter];
    KVX_INDEPENDENT_ITERATIONS
    for (Index k = 1; k < quarter; ++k) {
        const Index m = half - k;
        const double evenRe = re[k] + re[m], evenIm = im[k] - im[m];
        const Complex odd = Rotate({re[k] - re[m], im[k] + im[m]}, cosine[k], -sine[k]);
        z[k] = evenRe - odd.im;
        z[m] = evenRe + odd.im;
        z[half + k] = evenIm + odd.re;
        z[half + m] = odd.re - evenIm;
    }
    z[0] = evenSum;
    z[half] = oddSum;
    z[quarter] = middleRe;
    z[half + quarter] = middleIm;
    Transform<ExchangedHalves>(log2Size - 1, twiddles, ExchangedHalves(z, half), z, other,
                               ExchangedSamplePairs{re});
}

}  // namespace

extern const FftKernels kFftKernels = {Forward, Inverse};

}  // namespace kvx::KVX_KERNEL_SET
