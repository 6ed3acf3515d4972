// SPDX-License-Identifier: MIT
//
// Between the passes the values lie in groups of 16: the real parts of 8 values, then their imaginary parts.
// Value q of group p after the first pass belongs to transform q, whose point is p. The middle passes work on
// whole groups, in place, by decimation in frequency: they leave the groups in the order of reversed digits.
// The last pass takes its groups in that order, `lastRadix` neighbours at a time, and puts out lines q + 8 k
// in order. The inverse transform is the forward one with the parts exchanged.

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/platform/kernels/Shuffles.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

constexpr Index kGroup = 16;     // values of a group: 8 real parts, 8 imaginary ones
constexpr Index kImaginary = 8;  // where they begin, in a group and in a block of twiddles

/// Groups that stay in the first cache while all their passes follow one another.
constexpr Index kCachedGroups = 256;

/// x e^(-i angle); the cosine and sine may be scalars.
template <class V, class Twiddle>
KVX_ALWAYS_INLINE void Rotate(V& re, V& im, Twiddle cosine, Twiddle sine) {
    const V real = re * cosine + im * sine;
    im = im * cosine - re * sine;
    re = real;
}

/// The forward transform of kRadix values, in place.
template <unsigned kRadix, class V>
KVX_ALWAYS_INLINE void Butterfly(V* re, V* im) {
    if constexpr (kRadix == 2) {
        const V r = re[1], i = im[1];
        re[1] = re[0] - r;
        im[1] = im[0] - i;
        re[0] = re[0] + r;
        im[0] = im[0] + i;
    } else if constexpr (kRadix == 4) {
        const V sum02r = re[0] + re[2], sum02i = im[0] + im[2];
        const V dif02r = re[0] - re[2], dif02i = im[0] - im[2];
        const V sum13r = re[1] + re[3], sum13i = im[1] + im[3];
        const V dif13r = re[1] - re[3], dif13i = im[1] - im[3];
        re[0] = sum02r + sum13r;
        im[0] = sum02i + sum13i;
        re[1] = dif02r + dif13i;
        im[1] = dif02i - dif13r;
        re[2] = sum02r - sum13r;
        im[2] = sum02i - sum13i;
        re[3] = dif02r - dif13i;
        im[3] = dif02i + dif13r;
    } else if constexpr (kRadix == 8) {
        constexpr double kRootHalf = 0.70710678118654752440;
        V sumr[4], sumi[4], difr[4], difi[4];
        KVX_UNROLLED
        for (unsigned k = 0; k < 4; ++k) {
            sumr[k] = re[k] + re[k + 4];
            sumi[k] = im[k] + im[k + 4];
            difr[k] = re[k] - re[k + 4];
            difi[k] = im[k] - im[k + 4];
        }
        Butterfly<4>(sumr, sumi);
        // The odd lines: a transform of four of the differences times e^(-i pi k/4), whose factors of root
        // 1/2 go with the last additions.
        const V r02 = difr[0] + difi[2], i02 = difi[0] - difr[2];
        const V r02c = difr[0] - difi[2], i02c = difi[0] + difr[2];
        const V a = difr[1] + difi[1], b = difi[1] - difr[1];
        const V c = difi[3] - difr[3], d = difi[3] + difr[3];
        const V evenr = a + c, eveni = b - d, oddr = b + d, oddi = c - a;
        re[1] = r02 + kRootHalf * evenr;
        im[1] = i02 + kRootHalf * eveni;
        re[5] = r02 - kRootHalf * evenr;
        im[5] = i02 - kRootHalf * eveni;
        re[3] = r02c + kRootHalf * oddr;
        im[3] = i02c + kRootHalf * oddi;
        re[7] = r02c - kRootHalf * oddr;
        im[7] = i02c - kRootHalf * oddi;
        KVX_UNROLLED
        for (unsigned k = 0; k < 4; ++k) {
            re[2 * k] = sumr[k];
            im[2 * k] = sumi[k];
        }
    }
}

/// Where an angle of a table of blocks is.
KVX_ALWAYS_INLINE Index InBlocks(Index k) {
    return k / 8 * kGroup + k % 8;
}

/// Real samples read as complex pairs.
struct SamplePairs {
    const double* wave;

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void Get(Index p, unsigned k, Index groups, Vector<kWidth>& re,
                               Vector<kWidth>& im) const {
        LoadPairs<kWidth>(wave + 2 * (p + k * groups), re, im);
    }
};

/// The same, times a window.
struct WindowedPairs {
    const double* wave;
    const double* window;

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void Get(Index p, unsigned k, Index groups, Vector<kWidth>& re,
                               Vector<kWidth>& im) const {
        Vector<kWidth> weightRe, weightIm;
        LoadPairs<kWidth>(wave + 2 * (p + k * groups), re, im);
        LoadPairs<kWidth>(window + 2 * (p + k * groups), weightRe, weightIm);
        re *= weightRe;
        im *= weightIm;
    }
};

/// The complex spectrum, its parts exchanged, that belongs to the lines of a real block.
struct SpectrumOfLines {
    FftSpectrum lines;
    const double* twiddles;  // FftPlan::real

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void Get(Index p, unsigned k, Index groups, Vector<kWidth>& re,
                               Vector<kWidth>& im) const {
        using V = Vector<kWidth>;
        constexpr Index kCount = kWidth;
        const Index half = 8 * groups;
        const Index line = p + k * groups;
        V ar, ai, br, bi;  // lines from `line` up, and those from N/2 - line down
        if (k == 0 && p == 0) {
            ar = WithFirst<kWidth>(LoadVector<kWidth>(lines.re), lines.dc);
            ai = WithFirst<kWidth>(LoadVector<kWidth>(lines.im), 0.0);
            br = ReversedAfter<kWidth>(V{} + lines.middle, LoadVector<kWidth>(lines.re + half - kCount));
            bi = ReversedAfter<kWidth>(V{}, LoadVector<kWidth>(lines.im + half - kCount));
        } else {
            const Index mirrored = half - line - (kCount - 1);
            ar = LoadVector<kWidth>(lines.re + line);
            ai = LoadVector<kWidth>(lines.im + line);
            br = Reversed<kWidth>(LoadVector<kWidth>(lines.re + mirrored));
            bi = Reversed<kWidth>(LoadVector<kWidth>(lines.im + mirrored));
        }
        // Angles beyond the table are a quarter turn more than those in it.
        const double* const twiddle = twiddles + InBlocks(p + (k & 3) * groups);
        const V cosine = LoadVector<kWidth>(twiddle), sine = LoadVector<kWidth>(twiddle + kImaginary);
        const V difr = ar - br, difi = ai + bi;
        if (k < 4) {
            im = ar + br - difi * cosine - difr * sine;
            re = ai - bi + difr * cosine - difi * sine;
        } else {
            im = ar + br - difr * cosine + difi * sine;
            re = ai - bi - difi * cosine - difr * sine;
        }
    }
};

template <unsigned kWidth, class In>
void FirstPass(const FftPlan& plan, const In& in, double* work) {
    using V = Vector<kWidth>;
    const Index groups = plan.groups;
    for (Index p = 0; p < groups; p += kWidth) {
        const double* const twiddles = plan.first + p / 8 * (7 * kGroup) + p % 8;
        V re[8], im[8];
        KVX_UNROLLED
        for (unsigned k = 0; k < 8; ++k) in.template Get<kWidth>(p, k, groups, re[k], im[k]);
        Butterfly<8>(re, im);
        KVX_UNROLLED
        for (unsigned k = 1; k < 8; ++k) {
            const double* const twiddle = twiddles + (k - 1) * kGroup;
            Rotate(re[k], im[k], LoadVector<kWidth>(twiddle), LoadVector<kWidth>(twiddle + kImaginary));
        }
        StoreColumns<kWidth>(re, work + p * kGroup, kGroup);
        StoreColumns<kWidth>(im, work + p * kGroup + kImaginary, kGroup);
    }
}

/// A pass in place over `count` transforms of `points` groups each.
template <unsigned kRadix>
void MiddlePass(double* work, Index count, Index points, const double* twiddles) {
    const Index distance = points / kRadix * kGroup;
    for (Index transform = 0; transform < count; ++transform, work += points * kGroup) {
        const double* twiddle = twiddles;
        for (Index p = 0; p < distance; p += kGroup, twiddle += 2 * (kRadix - 1)) {
            for (Index lane = 0; lane < 8; lane += kLanes) {
                double* const values = work + p + lane;
                Lanes re[kRadix], im[kRadix];
                KVX_UNROLLED
                for (unsigned k = 0; k < kRadix; ++k) {
                    re[k] = Load(values + k * distance);
                    im[k] = Load(values + k * distance + kImaginary);
                }
                Butterfly<kRadix>(re, im);
                KVX_UNROLLED
                for (unsigned k = 1; k < kRadix; ++k)
                    Rotate(re[k], im[k], twiddle[2 * k - 2], twiddle[2 * k - 1]);
                KVX_UNROLLED
                for (unsigned k = 0; k < kRadix; ++k) {
                    Store(values + k * distance, re[k]);
                    Store(values + k * distance + kImaginary, im[k]);
                }
            }
        }
    }
}

inline void MiddlePass(int radix, double* work, Index count, Index points, const double* twiddles) {
    if (radix == 8) {
        MiddlePass<8>(work, count, points, twiddles);
    } else {
        MiddlePass<4>(work, count, points, twiddles);
    }
}

/// The middle passes from `pass` on over a transform of `points` groups. What does not fit into the first
/// cache is cut by one pass into parts, which are finished one after the other.
void MiddlePasses(const FftPlan& plan, int pass, double* work, Index points) {
    for (Index count = 1; pass < plan.middlePasses; ++pass) {
        const FftPlan::Pass& step = plan.middle[pass];
        MiddlePass(step.radix, work, count, points, step.twiddles);
        if (count == 1 && points > kCachedGroups) {
            points /= step.radix;
            for (int part = 0; part < step.radix; ++part)
                MiddlePasses(plan, pass + 1, work + part * points * kGroup, points);
            return;
        }
        count *= step.radix;
        points /= step.radix;
    }
}

/// Counts up where the digits are reversed: to the group of the next line.
class ReversedCount {
public:
    explicit ReversedCount(const FftPlan& plan) : digits_(plan.middlePasses) {
        Index unit = plan.groups;
        for (int digit = 0; digit < digits_; ++digit) {
            above_[digit] = unit;
            unit /= plan.middle[digit].radix;
            unit_[digit] = unit;
        }
    }

    Index Group() const { return group_; }

    void Next() {
        for (int digit = 0; digit < digits_; ++digit) {
            group_ += unit_[digit];
            if ((group_ & (above_[digit] - 1)) >= unit_[digit]) return;
            group_ -= above_[digit];
        }
    }

private:
    int digits_;
    Index group_ = 0;
    Index unit_[FftPlan::kMostMiddlePasses];
    Index above_[FftPlan::kMostMiddlePasses];  // the unit of the digit above
};

/// Lines k from those of the even and the odd samples, and the lines N/2 - k: X[k] = even + odd, X[N/2 - k] =
/// conj(even - odd), without the factor 1/2.
template <class V>
struct LinePair {
    V evenr, eveni, oddr, oddi;

    KVX_ALWAYS_INLINE LinePair Times(double factor) const {
        return {evenr * factor, eveni * factor, oddr * factor, oddi * factor};
    }
};

/// A vector element by element.
template <unsigned kWidth>
struct Elements {
    double values[kWidth];

    KVX_ALWAYS_INLINE explicit Elements(Vector<kWidth> vector) { StoreVector(values, vector); }
};

/// Stores all lines.
struct LineStore {
    double* re;
    double* im;
    Index half;
    double scale;

    /// Lines from `line` up and those from N/2 - line down, but not the line N/2: `line` is 0 if `isLowest`
    /// and r is 0.
    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void Put(Index line, bool isLowest, unsigned r,
                               const LinePair<Vector<kWidth>>& pair) const {
        using V = Vector<kWidth>;
        const LinePair<V> x = pair.Times(scale);
        const V downRe = x.evenr - x.oddr, downIm = x.oddi - x.eveni;
        StoreVector(re + line, x.evenr + x.oddr);
        StoreVector(im + line, x.eveni + x.oddi);
        const Index end = half - line;
        if (r > 0 || !isLowest) {
            StoreVector(re + end - (kWidth - 1), Reversed<kWidth>(downRe));
            StoreVector(im + end - (kWidth - 1), Reversed<kWidth>(downIm));
        } else if (kWidth > 1) {
            // What lies before these lines is put later.
            StoreVector(re + end - kWidth, ReversedAfter<kWidth>(downRe, downRe));
            StoreVector(im + end - kWidth, ReversedAfter<kWidth>(downIm, downIm));
        }
    }

    /// The same of lines that are `distance` apart.
    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void PutApart(Index line, Index distance, const LinePair<Vector<kWidth>>& pair) const {
        const LinePair<Vector<kWidth>> x = pair.Times(scale);
        const Elements<kWidth> upRe(x.evenr + x.oddr), upIm(x.eveni + x.oddi);
        const Elements<kWidth> downRe(x.evenr - x.oddr), downIm(x.oddi - x.eveni);
        for (unsigned j = 0; j < kWidth; ++j) {
            re[line + j * distance] = upRe.values[j];
            im[line + j * distance] = upIm.values[j];
            re[half - line - j * distance] = downRe.values[j];
            im[half - line - j * distance] = downIm.values[j];
        }
    }
};

/// Stores the first `count` lines.
struct SomeLines {
    LineStore all;
    Index count;

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void Put(Index line, bool, unsigned, const LinePair<Vector<kWidth>>& pair) const {
        PutApart<kWidth>(line, 1, pair);
    }

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void PutApart(Index line, Index distance, const LinePair<Vector<kWidth>>& pair) const {
        constexpr Index kCount = kWidth;
        const LinePair<Vector<kWidth>> x = pair.Times(all.scale);
        const Index mirrored = all.half - line;
        if (line < count) {
            const Vector<kWidth> re = x.evenr + x.oddr, im = x.eveni + x.oddi;
            if (distance == 1 && line + kCount <= count) {
                StoreVector(all.re + line, re);
                StoreVector(all.im + line, im);
            } else {
                PutSome<kWidth>(line, distance, re, im);
            }
        }
        if (mirrored - (kCount - 1) * distance < count) {
            const Vector<kWidth> re = x.evenr - x.oddr, im = x.oddi - x.eveni;
            if (distance == 1 && mirrored < count) {
                StoreVector(all.re + mirrored - (kCount - 1), Reversed<kWidth>(re));
                StoreVector(all.im + mirrored - (kCount - 1), Reversed<kWidth>(im));
            } else {
                PutSome<kWidth>(mirrored, -distance, re, im);
            }
        }
    }

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void PutSome(Index line, Index distance, Vector<kWidth> re, Vector<kWidth> im) const {
        const Elements<kWidth> realParts(re), imaginaryParts(im);
        for (unsigned j = 0; j < kWidth; ++j, line += distance) {
            if (line >= count) continue;
            all.re[line] = realParts.values[j];
            all.im[line] = imaginaryParts.values[j];
        }
    }
};

/// Adds up the powers of lines.
struct PowerSum {
    double* sums;
    Index half;

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void Put(Index line, bool isLowest, unsigned, const LinePair<Vector<kWidth>>& x) const {
        double* const up = sums + line;
        double* const down = sums + half - line - (kWidth - 1);
        StoreVector(up, LoadVector<kWidth>(up) + Up(x));
        // The mirror images of the first lines of each r are first lines, too.
        const Vector<kWidth> power = isLowest ? WithFirst<kWidth>(Down(x), 0.0) : Down(x);
        StoreVector(down, LoadVector<kWidth>(down) + Reversed<kWidth>(power));
    }

    template <unsigned kWidth>
    KVX_ALWAYS_INLINE void PutApart(Index line, Index distance, const LinePair<Vector<kWidth>>& x) const {
        const Elements<kWidth> up(Up(x)), down(Down(x));
        for (unsigned j = 0; j < kWidth; ++j) {
            const Index own = line + j * distance;
            sums[own] += up.values[j];
            if (own != half - own) sums[half - own] += down.values[j];
        }
    }

    template <class V>
    KVX_ALWAYS_INLINE static V Up(const LinePair<V>& x) {
        const V re = x.evenr + x.oddr, im = x.eveni + x.oddi;
        return re * re + im * im;
    }
    template <class V>
    KVX_ALWAYS_INLINE static V Down(const LinePair<V>& x) {
        const V re = x.evenr - x.oddr, im = x.oddi - x.eveni;
        return re * re + im * im;
    }
};

/// From values k and N/2 - k of the complex transform; the angle of line k, or a quarter turn less.
template <class V>
KVX_ALWAYS_INLINE LinePair<V> LinesOf(V ar, V ai, V br, V bi, V cosine, V sine, bool isQuarterMore) {
    const V oddr = ai + bi, oddi = br - ar;
    const V along = oddr * cosine + oddi * sine, across = oddi * cosine - oddr * sine;
    return isQuarterMore ? LinePair<V>{ar + br, ai - bi, across, -along}
                         : LinePair<V>{ar + br, ai - bi, along, across};
}

/// The forward transform of the values of kRadix neighbouring groups.
template <unsigned kWidth, unsigned kRadix>
KVX_ALWAYS_INLINE void TransformNeighbours(const double* values, Vector<kWidth>* re, Vector<kWidth>* im) {
    KVX_UNROLLED
    for (unsigned r = 0; r < kRadix; ++r) {
        re[r] = LoadVector<kWidth>(values + r * kGroup);
        im[r] = LoadVector<kWidth>(values + r * kGroup + kImaginary);
    }
    Butterfly<kRadix>(re, im);
}

/// The last pass and the step from the complex transform to the lines. Group g and its mirror image are taken
/// together: line 8 (g + r groups/radix) + q in the one belongs to one counted down from the end of the
/// other, but for q = 0, whose counterpart is in the image of group g - 1 and is kept from there.
template <unsigned kWidth, unsigned kRadix, class Out>
void LastPass(const FftPlan& plan, const double* work, const Out& out) {
    using V = Vector<kWidth>;
    constexpr Index kCount = kWidth;
    const Index distance = plan.groups / kRadix * 8;  // of the lines of neighbouring values
    V keptRe[kRadix] = {}, keptIm[kRadix] = {};
    ReversedCount position(plan);
    for (Index line = 0; line < distance / 2; line += kCount) {
        const Index lane = line % 8;
        if (line > 0 && lane == 0) position.Next();
        const double* const values = work + position.Group() * kGroup + lane;
        const double* const mirrored =
            work + (plan.groups - kRadix - position.Group()) * kGroup + (8 - kCount - lane);
        V ar[kRadix], ai[kRadix], br[kRadix], bi[kRadix];
        TransformNeighbours<kWidth, kRadix>(values, ar, ai);
        TransformNeighbours<kWidth, kRadix>(mirrored, br, bi);
        if (line == 0) {
            KVX_UNROLLED
            for (unsigned r = 0; r < kRadix; ++r) {
                keptRe[r] = ar[(r + 1) % kRadix];
                keptIm[r] = ai[(r + 1) % kRadix];
            }
        }
        KVX_UNROLLED
        for (unsigned r = 0; r < kRadix; ++r) {
            constexpr unsigned kLast = kRadix - 1;
            const bool isQuarterMore = kRadix > 1 && r >= kRadix / 2;
            const double* const twiddle =
                plan.real + InBlocks(line + (isQuarterMore ? r - kRadix / 2 : r) * distance);
            out.template Put<kWidth>(
                line + r * distance, line == 0, r,
                LinesOf(ar[r], ai[r], ReversedAfter<kWidth>(keptRe[kLast - r], br[kLast - r]),
                        ReversedAfter<kWidth>(keptIm[kLast - r], bi[kLast - r]), LoadVector<kWidth>(twiddle),
                        LoadVector<kWidth>(twiddle + kImaginary), isQuarterMore));
        }
        KVX_UNROLLED
        for (unsigned r = 0; r < kRadix; ++r) {
            keptRe[r] = br[r];
            keptIm[r] = bi[r];
        }
    }
    // The lines halfway, which are one another's mirror images.
    double re[kRadix], im[kRadix];
    KVX_UNROLLED
    for (unsigned r = 0; r < kRadix; ++r) {
        re[r] = First<kWidth>(keptRe[r]);
        im[r] = First<kWidth>(keptIm[r]);
    }
    constexpr unsigned kPairs = kRadix < 2 ? 1 : kRadix / 2;
    constexpr unsigned kSome = kPairs < kLanes ? kPairs : kLanes;
    for (unsigned r = 0; r < kPairs; r += kSome) {
        const unsigned m = kRadix - kSome - r;
        out.template PutApart<kSome>(
            distance / 2 + r * distance, distance,
            LinesOf(LoadVector<kSome>(re + r), LoadVector<kSome>(im + r),
                    Reversed<kSome>(LoadVector<kSome>(re + m)), Reversed<kSome>(LoadVector<kSome>(im + m)),
                    LoadVector<kSome>(plan.halfway + r), LoadVector<kSome>(plan.halfway + 4 + r), false));
    }
}

/// The last pass of the inverse: the samples, in pairs.
template <unsigned kWidth, unsigned kRadix>
void LastPassOfInverse(const FftPlan& plan, const double* work, double* wave, double scale) {
    using V = Vector<kWidth>;
    const Index distance = plan.groups / kRadix * 8;
    ReversedCount position(plan);
    for (Index pair = 0; pair < distance; pair += 8, position.Next()) {
        for (Index lane = 0; lane < 8; lane += kWidth) {
            const double* const values = work + position.Group() * kGroup + lane;
            V re[kRadix], im[kRadix];
            TransformNeighbours<kWidth, kRadix>(values, re, im);
            KVX_UNROLLED
            for (unsigned r = 0; r < kRadix; ++r) {
                StorePairs<kWidth>(wave + 2 * (pair + lane + r * distance), im[r] * scale, re[r] * scale);
            }
        }
    }
}

/// All but the last pass.
template <class In>
void AllButLastPass(const FftPlan& plan, const In& in, double* work) {
    if (plan.groups >= kLanes) {
        FirstPass<kLanes>(plan, in, work);
    } else if (plan.groups == 1) {
        FirstPass<1>(plan, in, work);
    } else if constexpr (kLanes > 2) {
        if constexpr (kLanes > 4) {
            if (plan.groups == 4) {
                FirstPass<4>(plan, in, work);
                return;
            }
        }
        FirstPass<2>(plan, in, work);
    }
    MiddlePasses(plan, 0, work, plan.groups);
}

template <class Out>
void LastPass(const FftPlan& plan, const double* work, const Out& out) {
    // A single group is its own mirror image: its two halves are taken as a pair.
    constexpr unsigned kWidth = kLanes < 4 ? kLanes : 4;
    if (plan.groups > 8) {
        if (plan.lastRadix == 8) {
            LastPass<kLanes, 8>(plan, work, out);
        } else {
            LastPass<kLanes, 4>(plan, work, out);
        }
    } else if (plan.lastRadix == 8) {
        LastPass<kWidth, 8>(plan, work, out);
    } else if (plan.lastRadix == 4) {
        LastPass<kWidth, 4>(plan, work, out);
    } else if (plan.lastRadix == 2) {
        LastPass<kWidth, 2>(plan, work, out);
    } else {
        LastPass<kWidth, 1>(plan, work, out);
    }
}

void Transform(const FftPlan& plan, const double* wave, const double* window, double* work) {
    if (window == nullptr) {
        AllButLastPass(plan, SamplePairs{wave}, work);
    } else {
        AllButLastPass(plan, WindowedPairs{wave, window}, work);
    }
}

/// The line N/2 of what the passes before the last one left: the lines at 0 Hz and N/2 are the sum and the
/// difference of the two sums that groups of a transform's first line hold.
double MiddleLine(const FftPlan& plan, const double* work) {
    double evenSum = 0.0, oddSum = 0.0;
    for (int r = 0; r < plan.lastRadix; ++r) {
        evenSum += work[r * kGroup];
        oddSum += work[r * kGroup + kImaginary];
    }
    return evenSum - oddSum;
}

double Forward(const FftPlan& plan, const double* wave, const double* window, double* work,
               const FftLines& lines) {
    Transform(plan, wave, window, work);
    const Index half = 8 * plan.groups;
    const LineStore all = {lines.re, lines.im, half, 0.5 * lines.scale};
    if (lines.count >= half) {
        LastPass(plan, work, all);
    } else {
        LastPass(plan, work, SomeLines{all, lines.count});
    }
    lines.im[0] = 0.0;
    return lines.scale * MiddleLine(plan, work);
}

void AddPowers(const FftPlan& plan, const double* wave, const double* window, double* work, double* sums) {
    Transform(plan, wave, window, work);
    const Index half = 8 * plan.groups;
    LastPass(plan, work, PowerSum{sums, half});  // adds 0 to the line N/2
    const double middle = MiddleLine(plan, work);
    sums[half] += 4.0 * middle * middle;
}

void AddCrossPowers(Index count, const double* xRe, const double* xIm, const double* yRe, const double* yIm,
                    const FftCrossPowers& sums) {
    double* const xPower = sums.reference;
    double* const yPower = sums.response;
    double* const crossRe = sums.re;
    double* const crossIm = sums.im;
    KVX_INDEPENDENT_ITERATIONS
    for (Index k = 0; k < count; ++k) {
        xPower[k] += xRe[k] * xRe[k] + xIm[k] * xIm[k];
        yPower[k] += yRe[k] * yRe[k] + yIm[k] * yIm[k];
        crossRe[k] += yRe[k] * xRe[k] + yIm[k] * xIm[k];
        crossIm[k] += yIm[k] * xRe[k] - yRe[k] * xIm[k];
    }
}

void Inverse(const FftPlan& plan, const FftSpectrum& lines, double* work, double* wave, double scale) {
    AllButLastPass(plan, SpectrumOfLines{lines, plan.real}, work);
    if (plan.lastRadix == 8) {
        LastPassOfInverse<kLanes, 8>(plan, work, wave, scale);
    } else if (plan.lastRadix == 4) {
        LastPassOfInverse<kLanes, 4>(plan, work, wave, scale);
    } else if (plan.lastRadix == 2) {
        LastPassOfInverse<kLanes, 2>(plan, work, wave, scale);
    } else {
        LastPassOfInverse<kLanes, 1>(plan, work, wave, scale);
    }
}

}  // namespace

extern const FftKernels kFftKernels = {Forward, AddPowers, AddCrossPowers, Inverse};

}  // namespace kvx::KVX_KERNEL_SET
