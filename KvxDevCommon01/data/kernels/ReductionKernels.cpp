// SPDX-License-Identifier: MIT
//
// Several vectors of partial results side by side hide the latency of an addition or comparison. Every
// selection keeps the result so far when it meets a NaN, which is what minimum and maximum of the machine do.

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/kernels/ReductionKernels.h>
#include <KvxDevCommon01/data/kernels/Vectors.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

// ---- Sums

/// The first `count` < kLanes elements, and zeros.
Lanes LoadFew(const double* from, unsigned count) {
    double few[kLanes] = {};
    double* to = few;
    for (unsigned width = kLanes / 2; width > 0; width /= 2) {
        if ((count & width) == 0) continue;
        __builtin_memcpy(to, from, width * sizeof(double));
        to += width;
        from += width;
    }
    return Load(few);
}

/// The sums of kSumLanes lanes, in as few registers as hold them.
class LaneSums {
public:
    LaneSums() {
        KVX_UNROLLED
        for (Lanes& sum : sums_) sum = Lanes{};
    }
    explicit LaneSums(const double* lanes) {
        for (unsigned v = 0; v < kVectors; ++v) sums_[v] = Load(lanes + v * kLanes);
    }
    void StoreTo(double* lanes) const {
        for (unsigned v = 0; v < kVectors; ++v) Store(lanes + v * kLanes, sums_[v]);
    }

    /// Where the sums would fill the registers, half of them at a time take their values of some groups.
    template <class Term>
    KVX_ALWAYS_INLINE void AddGroups(const double* values, Index groups, Term term) {
        constexpr unsigned kAtOnce = kVectors < 8 ? kVectors : 8;
        constexpr Index kBlock = 64;
        while (groups > 0) {
            const Index block = kAtOnce == kVectors || groups < kBlock ? groups : kBlock;
            KVX_UNROLLED
            for (unsigned first = 0; first < kVectors; first += kAtOnce) {
                Lanes sums[kAtOnce];
                KVX_UNROLLED
                for (unsigned v = 0; v < kAtOnce; ++v) sums[v] = sums_[first + v];
                const double* from = values + first * kLanes;
                for (Index group = 0; group < block; ++group, from += kSumLanes) {
                    KVX_UNROLLED
                    for (unsigned v = 0; v < kAtOnce; ++v) sums[v] += term(Load(from + v * kLanes));
                }
                KVX_UNROLLED
                for (unsigned v = 0; v < kAtOnce; ++v) sums_[first + v] = sums[v];
            }
            values += block * kSumLanes;
            groups -= block;
        }
    }

    /// Adds fewer values than there are lanes to the first of them. No sum is -0.0, so that adding zeros to
    /// the sums beside those of the last values changes nothing.
    template <class Term>
    KVX_ALWAYS_INLINE void AddRest(const double* values, Index count, Term term) {
        KVX_UNROLLED
        for (unsigned v = 0; v < kVectors; ++v) {
            const double* const from = values + v * kLanes;
            const Index rest = count - Index{v * kLanes};
            if (rest <= 0) return;
            sums_[v] += term(rest >= Index{kLanes} ? Load(from) : LoadFew(from, static_cast<unsigned>(rest)));
        }
    }

    KVX_ALWAYS_INLINE double Total() const {
        Lanes sums[kVectors];
        KVX_UNROLLED
        for (unsigned v = 0; v < kVectors; ++v) sums[v] = sums_[v];
        KVX_UNROLLED
        for (unsigned half = kVectors / 2; half > 0; half /= 2) {
            KVX_UNROLLED
            for (unsigned v = 0; v < half; ++v) sums[v] += sums[v + half];
        }
        return FoldHalves<kLanes>(sums[0], [](auto low, auto high) { return low + high; });
    }

private:
    static constexpr unsigned kVectors = kSumLanes / kLanes;

    Lanes sums_[kVectors];
};

constexpr auto kValue = [](Lanes x) { return x; };
constexpr auto kSquare = [](Lanes x) { return x * x; };

/// Adds the values to the sums from the first lane on.
template <class Term>
KVX_ALWAYS_INLINE void AddAll(LaneSums& sums, const double* values, Index count, Term term) {
    const Index groups = count / kSumLanes;
    sums.AddGroups(values, groups, term);
    sums.AddRest(values + groups * kSumLanes, count % kSumLanes, term);
}

/// The values to where whole registers begin, `head` of them, go to the last sums and those from there on to
/// the first, so that the sums come to lie around the ring of lanes. No sum is -0.0: adding the zeros beside
/// a few values to the sums of other lanes changes nothing.
template <class Term>
double SumAroundRing(const double* values, Index head, Index count, Term term) {
    double group[kSumLanes] = {};
    for (Index i = 0; i < head; ++i) group[kSumLanes - head + i] = values[i];
    LaneSums sums;
    sums.AddGroups(group, 1, term);
    AddAll(sums, values + head, count - head, term);
    double turned[2 * kSumLanes];
    sums.StoreTo(turned);
    sums.StoreTo(turned + kSumLanes);
    return LaneSums(turned + kSumLanes - head).Total();
}

template <class Term>
double SumOf(const double* values, Index count, Term term) {
    // Beyond the first-level cache a load that crosses two lines costs twice, and the turn pays.
    constexpr Index kLong = 4096;
    const auto position = static_cast<Index>(reinterpret_cast<__UINTPTR_TYPE__>(values) / sizeof(double));
    const Index head = count < kLong ? 0 : -position & (Index{kLanes} - 1);
    if (head != 0) return SumAroundRing(values, head, count, term);
    LaneSums sums;
    AddAll(sums, values, count, term);
    return sums.Total();
}
double Sum(const double* values, Index count) {
    return SumOf(values, count, kValue);
}
double SumOfSquares(const double* values, Index count) {
    return SumOf(values, count, kSquare);
}

template <class Term>
void AddGroups(double* lanes, const double* values, Index groups, Term term) {
    LaneSums sums(lanes);
    sums.AddGroups(values, groups, term);
    sums.StoreTo(lanes);
}
void AddToLanes(double* lanes, const double* values, Index groups) {
    AddGroups(lanes, values, groups, kValue);
}
void AddSquaresToLanes(double* lanes, const double* values, Index groups) {
    AddGroups(lanes, values, groups, kSquare);
}

/// Two vectors of each row at a time: their eight sums fit the registers and hide the latency of additions.
void AddPowersToLanes(double* rows, const double* values, Index groups, double centre) {
    constexpr unsigned kAtOnce = 2;
    constexpr unsigned kPowers = 4;
    for (unsigned first = 0; first < kSumLanes; first += kAtOnce * kLanes) {
        Lanes sums[kPowers][kAtOnce];
        const auto at = [=](unsigned power, unsigned v) {
            return rows + power * kSumLanes + first + v * kLanes;
        };
        KVX_UNROLLED
        for (unsigned power = 0; power < kPowers; ++power)
            for (unsigned v = 0; v < kAtOnce; ++v) sums[power][v] = Load(at(power, v));
        const double* from = values + first;
        for (Index group = 0; group < groups; ++group, from += kSumLanes) {
            KVX_UNROLLED
            for (unsigned v = 0; v < kAtOnce; ++v) {
                const Lanes d = Load(from + v * kLanes) - centre;
                const Lanes square = d * d;
                sums[0][v] += d;
                sums[1][v] += square;
                sums[2][v] += square * d;
                sums[3][v] += square * square;
            }
        }
        KVX_UNROLLED
        for (unsigned power = 0; power < kPowers; ++power)
            for (unsigned v = 0; v < kAtOnce; ++v) Store(at(power, v), sums[power][v]);
    }
}

// ---- Searches

/// Takes all values into `start` by low(result so far, values) and high(...). They are handed whole vectors
/// and, where these are not filled, single elements. kVectors of each keep their results side by side.
template <unsigned kVectors, typename Element, class Low, class High>
KVX_ALWAYS_INLINE Extremes<Element> FoldAll(const Element* values, Index count, Extremes<Element> start,
                                            Low low, High high) {
    constexpr Index kWidth = kWidest<Element>;
    using V = Vector<kWidest<Element>, Element>;
    if (count < kWidth) {
        for (Index i = 0; i < count; ++i) start = {low(start.low, values[i]), high(start.high, values[i])};
        return start;
    }
    V lows[kVectors], highs[kVectors];
    for (V& one : lows) one = Spread<V>(start.low);
    for (V& one : highs) one = Spread<V>(start.high);
    const auto take = [&](unsigned v, Index i) {
        const V x = LoadVector<kWidest<Element>>(values + i);
        lows[v] = low(lows[v], x);
        highs[v] = high(highs[v], x);
    };
    // Values may be taken twice: the first and the last vector overlap others, which lie on whole registers.
    take(0, 0);
    take(1, count - kWidth);
    const auto position = static_cast<Index>(reinterpret_cast<__UINTPTR_TYPE__>(values) / sizeof(Element));
    Index i = -position & (kWidth - 1);
    for (; count - i >= Index{kVectors} * kWidth; i += Index{kVectors} * kWidth) {
        for (unsigned v = 0; v < kVectors; ++v) take(v, i + v * kWidth);
    }
    for (unsigned v = 0; v < kVectors - 1 && count - i >= kWidth; ++v, i += kWidth) take(v, i);
    for (unsigned step = kVectors / 2; step > 0; step /= 2) {
        for (unsigned v = 0; v < step; ++v) {
            lows[v] = low(lows[v], lows[v + step]);
            highs[v] = high(highs[v], highs[v + step]);
        }
    }
    return {FoldHalves<kWidest<Element>>(lows[0], low), FoldHalves<kWidest<Element>>(highs[0], high)};
}

template <typename Value>
Value Smaller(Value soFar, Value x) {
    return x < soFar ? x : soFar;
}
template <typename Value>
Value Larger(Value soFar, Value x) {
    return x > soFar ? x : soFar;
}

constexpr auto kSmaller = [](auto soFar, auto x) { return Smaller(soFar, x); };
constexpr auto kLarger = [](auto soFar, auto x) { return Larger(soFar, x); };
constexpr auto kKept = [](auto soFar, auto) { return soFar; };

/// The extremes of the values that are not the marker; `ends` are those of the element's range, high and low.
template <typename Element>
Extremes<Element> ExtremesBesideMarkers(const Element* values, Index count, Extremes<Element> ends) {
    return FoldAll<4>(
        values, count, ends,
        [](auto soFar, auto x) { return Smaller(soFar, x == kNoValue<Element> ? soFar : x); },
        [](auto soFar, auto x) { return Larger(soFar, x == kNoValue<Element> ? soFar : x); });
}

constexpr double kInfinity = __builtin_huge_val();

/// Looks for markers only where they can be: the marker is the most negative finite value.
Extremes<double> FindExtremes(const double* values, Index count) {
    constexpr Extremes<double> kEnds{kInfinity, -kInfinity};
    const Extremes<double> found = FoldAll<4>(values, count, kEnds, kSmaller, kLarger);
    return found.low <= kNoValue<double> ? ExtremesBesideMarkers(values, count, kEnds) : found;
}

Extremes<std::int32_t> FindLongExtremes(const std::int32_t* values, Index count) {
    return ExtremesBesideMarkers<std::int32_t>(values, count, {INT32_MAX, INT32_MIN});
}

double SmallestPositive(const double* values, Index count) {
    const auto positive = [](auto soFar, auto x) { return Smaller(soFar, x > 0.0 ? x : soFar); };
    return FoldAll<8>(values, count, Extremes<double>{kInfinity, 0.0}, positive, kKept).low;
}

double LargestMagnitude(const double* values, Index count) {
    const auto larger = [](auto soFar, auto x) { return Larger(soFar, x < 0.0 ? -x : x); };
    return FoldAll<8>(values, count, Extremes<double>{0.0, 0.0}, kKept, larger).high;
}

/// The index of the first element that equals `value`.
Index Find(const double* values, Index count, double value) {
    constexpr Index kBlock = 64;
    Index i = 0;
    for (; count - i >= kBlock; i += kBlock) {
        unsigned found = 0;
        for (Index k = 0; k < kBlock; ++k) found |= values[i + k] == value;
        if (found) break;
    }
    while (i < count && values[i] != value) ++i;
    return i;
}

/// Without a way out of the loop, so that no value waits for the ones before it.
bool AreWithin(const double* values, Index count, double low, double high) {
    constexpr Index kVectors = 4;
    constexpr Index kWidth = kLanes;
    const auto isWithin = [=](auto x) { return (x > low) & (x <= high); };
    bool areWithin = true;
    Index i = 0;
    if (count >= kVectors * kWidth) {
        auto within = isWithin(Load(values));
        for (; count - i >= kVectors * kWidth; i += kVectors * kWidth) {
            KVX_UNROLLED
            for (Index v = 0; v < kVectors; ++v) within &= isWithin(Load(values + i + v * kWidth));
        }
        areWithin = FoldHalves<kLanes>(within, [](auto a, auto b) { return a & b; }) != 0;
    }
    for (; i < count; ++i) areWithin &= isWithin(values[i]);
    return areWithin;
}

}  // namespace

extern const ReductionKernels kReductionKernels = {
    Sum,          SumOfSquares,     AddToLanes,       AddSquaresToLanes, AddPowersToLanes,
    FindExtremes, FindLongExtremes, SmallestPositive, LargestMagnitude,  Find,
    AreWithin};

}  // namespace kvx::KVX_KERNEL_SET
