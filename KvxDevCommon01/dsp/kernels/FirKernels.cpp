// SPDX-License-Identifier: MIT
//
// The sums of neighbouring results are built side by side, each in its own lane. The lanes never meet, so
// that neither their number nor the place of a result among them changes a bit.

#include <KvxDevCommon01/dsp/kernels/FirKernels.h>
#include <KvxDevCommon01/dsp/kernels/MultiplyAdd.h>

#include <utility>

namespace kvx::KVX_KERNEL_SET {
namespace {

template <unsigned kValue>
struct Constant {
    static constexpr unsigned value = kValue;
};

// Of all numbers -0 alone leaves whatever is added to it as it is.
constexpr double kNothing = -0.0;

constexpr Index Least(Index a, Index b) {
    return a < b ? a : b;
}

// ---- Sums whose samples are loaded tap by tap

/// Has a vector loaded once, rather than anew for everything that it is multiplied with.
void KeepInRegister([[maybe_unused]] Lanes& lanes) {
#if defined(__AVX512F__)
    __asm__("" : "+v"(lanes));
#elif defined(__SSE2__)
    __asm__("" : "+x"(lanes));
#endif
}

// The samples of a tap straddle two lines of the cache for all but one place of kLanes, and a processor
// multiplies twice as fast as it loads such vectors. The taps are therefore cut into rows of kLanes, and the
// vector of samples loaded at place t serves all the sums that meet it, each with a row of its own: the sums
// that began there with row 0, those that began kLanes results before with row 1, and so on. Still each sum
// takes its terms in order.

/// Sums at the places 0 .. of x and y. `Offset` says where the sample of a tap is, and how many taps later it
/// is `kLanes` places on.
template <class Offset>
struct Sums {
    const double* coef;
    Index taps;
    Offset offset;

    /// `kVectors` vectors of `kWidth` neighbouring sums, the last of which begins at `last`.
    template <unsigned kWidth, unsigned kVectors>
    void Make(const double* x, double* y, Index last = kWidth * (kVectors - 1)) const {
        using Some = Vector<kWidth>;
        const auto place = [last](unsigned v) { return v + 1 < kVectors ? Index{v * kWidth} : last; };
        Some sums[kVectors];
        for (Some& sum : sums) sum = Spread<Some>(kNothing);
        for (Index tap = 0; tap < taps; ++tap) {
            const double* const from = x + offset(tap);
            for (unsigned v = 0; v < kVectors; ++v)
                sums[v] = MultiplyAdd(coef[tap], LoadAs<Some>(from + place(v)), sums[v]);
        }
        for (unsigned v = 0; v < kVectors; ++v) StoreVector(y + place(v), sums[v]);
    }

    /// 2 `kPairs` vectors of neighbouring sums. Those with an odd number are as many taps behind those before
    /// them as make them meet the same samples, which are loaded once for both.
    template <unsigned kPairs>
    void MakeInPairs(const double* x, double* y, Index behind) const {
        Lanes early[kPairs], late[kPairs];
        for (unsigned p = 0; p < kPairs; ++p) early[p] = late[p] = Spread<Lanes>(kNothing);
        const auto add = [this, x](Lanes(&sums)[kPairs], Index tap, Index from) {
            for (unsigned p = 0; p < kPairs; ++p)
                sums[p] = MultiplyAdd(coef[tap], Load(x + offset(tap) + from + 2 * p * kLanes), sums[p]);
        };
        for (Index tap = 0; tap < behind; ++tap) add(early, tap, 0);
        for (Index tap = behind; tap < taps; ++tap) {
            for (unsigned p = 0; p < kPairs; ++p) {
                Lanes samples = Load(x + offset(tap) + 2 * p * kLanes);
                KeepInRegister(samples);
                early[p] = MultiplyAdd(coef[tap], samples, early[p]);
                late[p] = MultiplyAdd(coef[tap - behind], samples, late[p]);
            }
        }
        for (Index tap = taps - behind; tap < taps; ++tap) add(late, tap, kLanes);
        for (unsigned p = 0; p < kPairs; ++p) {
            Store(y + 2 * p * kLanes, early[p]);
            Store(y + (2 * p + 1) * kLanes, late[p]);
        }
    }

    void MakeAll(const double* x, double* y, Index count) const {
        constexpr Index kMost = 8 * kLanes;
        const Index behind = offset.TapsPerLanes();
        Index k = 0;
        for (; count - k >= kMost; k += kMost) {
            if (kLanes >= 4 && taps >= behind) {
                MakeInPairs<4>(x + k, y + k, behind);
            } else {
                Make<kLanes, 8>(x + k, y + k);
            }
        }
        if (count >= static_cast<Index>(kLanes)) {
            if (k < count) MakeRest<8>(x + k, y + k, count - k);
        } else {
            MakeFew<kLanes / 2>(x, y, count);
        }
    }

    /// The last sums, `rest` of them in up to `kVectors` vectors, behind which there is nothing. The last
    /// vector begins before them where it would end late: what is made again are the same bits.
    template <unsigned kVectors>
    void MakeRest(const double* x, double* y, Index rest) const {
        if constexpr (kVectors > 1) {
            if (rest <= Index{kVectors - 1} * Index{kLanes}) return MakeRest<kVectors - 1>(x, y, rest);
        }
        Make<kLanes, kVectors>(x, y, rest - kLanes);
    }

    /// Fewer sums than a vector has.
    template <unsigned kWidth>
    void MakeFew(const double* x, double* y, Index count) const {
        if constexpr (kWidth > 0) {
            if (count > static_cast<Index>(kWidth)) {
                Make<kWidth, 2>(x, y, count - kWidth);
            } else if (count == static_cast<Index>(kWidth)) {
                Make<kWidth, 1>(x, y);
            } else {
                MakeFew<kWidth / 2>(x, y, count);
            }
        }
    }
};

struct Neighbour {
    Index operator()(Index tap) const { return tap; }
    static Index TapsPerLanes() { return kLanes; }
};
struct Listed {
    const Index* offsets;
    Index ratio;
    Index operator()(Index tap) const { return offsets[tap]; }
    Index TapsPerLanes() const { return ratio * static_cast<Index>(kLanes); }
};

void WeightedSums(const double* coef, const Index* offsets, Index taps, Index ratio, const double* x,
                  double* y, Index count) {
    Sums<Listed>{coef, taps, {offsets, ratio}}.MakeAll(x, y, count);
}

// ---- Sums that share their samples

#if defined(__AVX512F__)
constexpr unsigned kMostRows = 12;
/// How many sets of sums, apart from each other, are needed so that none waits for the addition before.
constexpr unsigned SetsFor(Index rows) {
    return rows <= 3 ? 4 : rows <= 7 ? 2 : 1;
}
#else
constexpr unsigned kMostRows = 5;
constexpr unsigned SetsFor(Index) {
    return 2;
}
#endif

/// Adds `kRows` rows of taps, the last one with `lastTaps`, to `count` results, a multiple of SetsFor(kRows)
/// vectors, that begin with them or, unless `isFirst`, go on.
template <unsigned kRows>
void AddRows(const double* coef, Index lastTaps, bool isFirst, const double* x, double* y, Index count) {
    constexpr unsigned kSets = SetsFor(kRows);
    constexpr auto kBefore = static_cast<Index>(kRows - 1);
    const Index apart = count / kSets;
    const Index length = apart / kLanes;
    Lanes sums[kSets][kRows];
    for (auto& set : sums) {
        for (Lanes& sum : set) sum = Spread<Lanes>(kNothing);
    }
    const auto add = [&](auto rows, const double* from, const double* taps) {
        for (unsigned set = 0; set < kSets; ++set) {
            Lanes samples = Load(from + set * apart);
            KeepInRegister(samples);
            for (unsigned row = 0; row < decltype(rows)::value; ++row)
                sums[set][row] = MultiplyAdd(taps[row * kLanes], samples, sums[set][row]);
        }
    };
    // What begins before the first result or behind the last one is not stored.
    for (Index place = 0; place < length + kBefore; ++place) {
        const double* const from = x + place * kLanes;
        if (!isFirst && place < length) {
            for (unsigned set = 0; set < kSets; ++set) sums[set][0] = Load(y + place * kLanes + set * apart);
        }
        for (Index s = 0; s < lastTaps; ++s) add(Constant<kRows>(), from + s, coef + s);
        if (place >= kBefore) {
            for (unsigned set = 0; set < kSets; ++set)
                Store(y + (place - kBefore) * kLanes + set * apart, sums[set][kRows - 1]);
        }
        if (place == length + kBefore - 1) break;
        for (Index s = lastTaps; s < static_cast<Index>(kLanes); ++s)
            add(Constant<kRows - 1>(), from + s, coef + s);
        for (auto& set : sums) {
            for (unsigned row = kRows - 1; row > 0; --row) set[row] = set[row - 1];
            set[0] = Spread<Lanes>(kNothing);
        }
    }
}

/// AddRows for 2 to `kRows` rows.
template <unsigned kRows>
void AddSomeRows(Index rows, const double* coef, Index lastTaps, bool isFirst, const double* x, double* y,
                 Index count) {
    if constexpr (kRows > 2) {
        if (rows < static_cast<Index>(kRows))
            return AddSomeRows<kRows - 1>(rows, coef, lastTaps, isFirst, x, y, count);
    }
    AddRows<kRows>(coef, lastTaps, isFirst, x, y, count);
}

void Convolve(const double* coef, Index taps, const double* x, double* y, Index count) {
    constexpr Index kWorthwhile = 24 * kLanes;
    const Sums<Neighbour> all{coef, taps, {}};
    const Index rows = (taps + kLanes - 1) / kLanes;
    if (kLanes < 4 || rows < 2 || count < kWorthwhile) return all.MakeAll(x, y, count);
    // Runs of about equally many rows, so that every one has sums enough to keep the processor busy.
    const Index runs = (rows + kMostRows - 1) / kMostRows;
    const Index made = count - count % (SetsFor(rows / runs) * kLanes);
    for (Index run = 0, first = 0; run < runs; ++run) {
        const Index end = rows * (run + 1) / runs;
        AddSomeRows<kMostRows>(end - first, coef + first * kLanes, Least(taps - (end - 1) * kLanes, kLanes),
                               first == 0, x + first * kLanes, y, made);
        first = end;
    }
    all.MakeAll(x + made, y + made, count - made);
}

// ---- Samples dealt out and results dealt in

#if defined(__GNUC__)
/// One vector out of `kCount`: lane l is the element Place::Of(l), counted through all of them.
template <class Place, unsigned kSource, unsigned... kLane>
Lanes TakeFrom(Lanes so, Lanes source, std::integer_sequence<unsigned, kLane...>) {
    return __builtin_shufflevector(
        so, source, (Place::Of(kLane) / kLanes == kSource ? kLanes + Place::Of(kLane) % kLanes : kLane)...);
}
template <class Place, unsigned kCount, unsigned kSource = 0>
Lanes Collect(const Lanes (&sources)[kCount], Lanes so = Lanes{}) {
    if constexpr (kSource == kCount) {
        return so;
    } else {
        constexpr auto kAll = std::make_integer_sequence<unsigned, kLanes>();
        return Collect<Place, kCount, kSource + 1>(sources,
                                                   TakeFrom<Place, kSource>(so, sources[kSource], kAll));
    }
}

/// The element that Place takes from the lane `lane` of one of the vectors, where it takes one from each
/// lane.
template <class Place>
struct Standing {
    static constexpr unsigned Of(unsigned lane) {
        unsigned to = 0;
        while (Place::Of(to) % kLanes != lane) ++to;
        return Place::Of(to);
    }
};
template <class Place, unsigned... kLane>
Lanes PutInOrder(Lanes standing, std::integer_sequence<unsigned, kLane...>) {
    return __builtin_shufflevector(standing, standing, (Place::Of(kLane) % kLanes)...);
}
/// The same for a Place that takes one element from each lane: they are brought together without leaving
/// their lanes, which costs little, and moved once.
template <class Place, unsigned kCount>
Lanes CollectStanding(const Lanes (&sources)[kCount]) {
    return PutInOrder<Place>(Collect<Standing<Place>, kCount, 1>(sources, sources[0]),
                             std::make_integer_sequence<unsigned, kLanes>());
}
#else
template <class Place, unsigned kCount>
Lanes Collect(const Lanes (&sources)[kCount]) {
    return sources[Place::Of(0)];
}
template <class Place, unsigned kCount>
Lanes CollectStanding(const Lanes (&sources)[kCount]) {
    return Collect<Place>(sources);
}
#endif

template <unsigned kRatio, unsigned kRow>
struct OfRow {
    static constexpr unsigned Of(unsigned lane) { return lane * kRatio + kRow; }
};
template <unsigned kRatio, unsigned kPart>
struct OfPart {
    static constexpr unsigned Of(unsigned lane) {
        const unsigned result = kPart * kLanes + lane;
        return result % kRatio * kLanes + result / kRatio;
    }
};

/// Calls use(Constant) for 0 .. kCount-1.
template <class Use, unsigned... kIndex>
void ForEach(Use use, std::integer_sequence<unsigned, kIndex...>) {
    (use(Constant<kIndex>()), ...);
}

/// Deals out what fills vectors and returns how many samples this was, a multiple of the ratio.
template <unsigned kRatio>
Index DealVectors(const double* x, Index count, double* rows, Index rowLength) {
    constexpr Index kStep = kRatio * kLanes;
    const Index last = count >= kStep ? (count - kStep) / kRatio * kRatio : -1;
    Index first = 0;
    while (first <= last) {
        Lanes samples[kRatio];
        for (unsigned v = 0; v < kRatio; ++v) samples[v] = Load(x + first + v * kLanes);
        ForEach(
            [&](auto number) {
                constexpr unsigned kRow = decltype(number)::value;
                double* const row = rows + kRow * rowLength + first / kRatio;
                if constexpr (kRatio % 2 == 1) {
                    Store(row, CollectStanding<OfRow<kRatio, kRow>>(samples));
                } else {
                    Store(row, Collect<OfRow<kRatio, kRow>>(samples));
                }
            },
            std::make_integer_sequence<unsigned, kRatio>());
        // The last step begins early where it would end late: it deals some samples out again.
        first = first < last ? Least(first + kStep, last) : last + 1;
    }
    return last < 0 ? 0 : last + kStep;
}

Index DealVectors(const double* x, Index count, Index ratio, double* rows, Index rowCount, Index rowLength) {
    if (rowCount < ratio) return 0;
    switch (ratio) {
        case 2:
            return DealVectors<2>(x, count, rows, rowLength);
        case 3:
            return DealVectors<3>(x, count, rows, rowLength);
        case 4:
            return DealVectors<4>(x, count, rows, rowLength);
        case 5:
            return DealVectors<5>(x, count, rows, rowLength);
        default:
            return 0;
    }
}

void Deal(const double* x, Index count, Index ratio, double* rows, Index rowCount, Index rowLength) {
    const Index done = DealVectors(x, count, ratio, rows, rowCount, rowLength);
    for (Index row = 0; row < rowCount; ++row) {
        double* to = rows + row * rowLength + done / ratio;
        for (Index k = done + row; k < count; k += ratio) *to++ = x[k];
    }
}

/// The taps of an interpolation as its phases find them: phase r meets, from its oldest sample on, the taps
/// rest - r, rest - r + ratio ..., rest being what is left of taps - 1 by whole ratios. The first of them
/// lies before the filter for the phases beyond the rest, which begin with the next sample.
struct Phases {
    const double* coef;
    Index ratio;
    Index rest;
    Index before;  // samples before the one at hand that phase 0 meets

    Phases(const double* filter, Index taps, Index rate)
        : coef(filter), ratio(rate), rest((taps - 1) % rate), before((taps - 1) / rate) {}

    /// Phases `phase` .. of kVectors times kWidth samples, the first one x.
    template <unsigned kPhases, unsigned kWidth, unsigned kVectors>
    void Make(Index phase, const double* x, Vector<kWidth> (&sums)[kPhases][kVectors]) const {
        using Some = Vector<kWidth>;
        const auto samples = [&](Index place, unsigned v) {
            return LoadAs<Some>(x - before + place + v * kWidth);
        };
        for (unsigned r = 0; r < kPhases; ++r) {
            const Index tap = rest - phase - static_cast<Index>(r);
            for (unsigned v = 0; v < kVectors; ++v) {
                sums[r][v] = Spread<Some>(kNothing);
                if (tap >= 0) sums[r][v] = MultiplyAdd(coef[tap], samples(0, v), sums[r][v]);
            }
        }
        const double* taps = coef + (rest - phase);
        for (Index place = 1; place <= before; ++place) {
            taps += ratio;
            for (unsigned v = 0; v < kVectors; ++v) {
                const Some x1 = samples(place, v);
                for (unsigned r = 0; r < kPhases; ++r)
                    sums[r][v] = MultiplyAdd(taps[-static_cast<Index>(r)], x1, sums[r][v]);
            }
        }
    }

    /// All results of kWidth samples, each phase for itself.
    template <unsigned kWidth>
    void MakeSingly(Index phases, const double* x, double* y) const {
        for (Index phase = 0; phase < phases; ++phase) {
            Vector<kWidth> sums[1][1];
            Make<1, kWidth, 1>(phase, x, sums);
            double row[kWidth];
            StoreVector(row, sums[0][0]);
            for (unsigned k = 0; k < kWidth; ++k) y[k * ratio + phase] = row[k];
        }
    }

    /// All results of kVectors vectors of samples, of which there are kRatio each.
    template <unsigned kRatio, unsigned kVectors>
    void MakeTogether(const double* x, double* y) const {
        Lanes sums[kRatio][kVectors];
        Make<kRatio, kLanes, kVectors>(0, x, sums);
        for (unsigned v = 0; v < kVectors; ++v) {
            Lanes phases[kRatio];
            for (unsigned r = 0; r < kRatio; ++r) phases[r] = sums[r][v];
            ForEach(
                [&](auto part) {
                    constexpr unsigned kPart = decltype(part)::value;
                    Store(y + (v * kRatio + kPart) * kLanes, Collect<OfPart<kRatio, kPart>>(phases));
                },
                std::make_integer_sequence<unsigned, kRatio>());
        }
    }

    template <unsigned kRatio>
    void MakeAllTogether(const double* x, double* y, Index count) const {
        constexpr unsigned kVectors = kLanes == 8   ? (kRatio == 2   ? 6
                                                       : kRatio == 3 ? 4
                                                                     : 3)
                                      : kRatio == 2 ? 4
                                                    : 2;
        Index k = 0;
        for (; count - k >= kVectors * kLanes; k += kVectors * kLanes)
            MakeTogether<kRatio, kVectors>(x + k, y + k * kRatio);
        for (; k < count; k += kLanes) {
            const Index from = Least(k, count - kLanes);
            MakeTogether<kRatio, 1>(x + from, y + from * kRatio);
        }
    }
};

void Interpolate(const double* coef, Index taps, Index ratio, const double* x, double* y, Index count) {
    const Phases phases(coef, taps, ratio);
    if (count >= static_cast<Index>(kLanes) && taps >= ratio) {
        switch (ratio) {
            case 2:
                return phases.MakeAllTogether<2>(x, y, count);
            case 3:
                return phases.MakeAllTogether<3>(x, y, count);
            case 4:
                return phases.MakeAllTogether<4>(x, y, count);
            case 5:
                return phases.MakeAllTogether<5>(x, y, count);
            default:
                break;
        }
    }
    const Index filled = Least(ratio, taps);
    Index k = 0;
    for (; count - k >= static_cast<Index>(kLanes); k += kLanes)
        phases.MakeSingly<kLanes>(filled, x + k, y + k * ratio);
    for (; k < count; ++k) phases.MakeSingly<1>(filled, x + k, y + k * ratio);
}

// ---- Sums of results to come

double AddTerms(const double* coef, double x, double* sums, Index taps) {
    const double completed = MultiplyAdd(coef[0], x, sums[0]);
    for (Index k = 0; k < taps - 1; k += kLanes)
        Store(sums + k, MultiplyAdd(x, Load(coef + k + 1), Load(sums + k + 1)));
    return completed;
}

}  // namespace

extern const FirKernels kFirKernels = {Convolve, Deal, WeightedSums, Interpolate, AddTerms};

}  // namespace kvx::KVX_KERNEL_SET
