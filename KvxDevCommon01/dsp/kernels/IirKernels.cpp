// SPDX-License-Identifier: MIT
//
// A section must finish a sample before it takes the next, and the next section waits for its output. The
// sections therefore stand in the lanes of vectors, each kDelay samples behind the one before: then all of
// them work at once, and what passes from lane to lane has as many steps to arrive. Lanes whose first sample
// has not come, or that have no more, compute something else, and it is dropped.

#include <KvxDevCommon01/dsp/kernels/IirKernels.h>
#include <KvxDevCommon01/dsp/kernels/MultiplyAdd.h>

#ifdef __SSE2__
#include <immintrin.h>
#endif

namespace kvx::KVX_KERNEL_SET {
namespace {

constexpr Index kDelay = kIirRound;

template <class Some>
constexpr unsigned kCountOf = sizeof(Some) / sizeof(double);

bool IsSilent(double x) {
    return __builtin_fabs(x) < kIirSilence;
}
double OrSilence(double x) {
    return IsSilent(x) ? 0.0 : x;
}

// What differs by the width of a vector: which lanes are silent, whether any is (as it is asked of every
// step, by the sign of what is left above silence), and the lanes moved up by one, with the last of those
// before in front.
#if defined(__GNUC__)
template <class Some>
auto IsSilent(Some x) {
    return (x > Spread<Some>(-kIirSilence)) & (x < Spread<Some>(kIirSilence));
}
#ifdef __SSE2__
bool IsAnySilent(Vector<2> x) {
    const auto size = _mm_andnot_pd(_mm_set1_pd(-0.0), x);
    return _mm_movemask_pd(_mm_sub_pd(size, _mm_set1_pd(kIirSilence))) != 0;
}
#else
bool IsAnySilent(Vector<2> x) {
    return IsSilent(x[0]) || IsSilent(x[1]);
}
#endif
Vector<2> Moved(Vector<2> before, Vector<2> lanes) {
    return __builtin_shufflevector(before, lanes, 1, 2);
}
#ifdef __AVX__
bool IsAnySilent(Vector<4> x) {
    const auto size = _mm256_andnot_pd(_mm256_set1_pd(-0.0), x);
    return _mm256_movemask_pd(_mm256_sub_pd(size, _mm256_set1_pd(kIirSilence))) != 0;
}
Vector<4> Moved(Vector<4> before, Vector<4> lanes) {
    return __builtin_shufflevector(before, lanes, 3, 4, 5, 6);
}
#endif
#ifdef __AVX512F__
bool IsAnySilent(Vector<8> x) {
    const auto above = _mm512_sub_pd(_mm512_abs_pd(x), _mm512_set1_pd(kIirSilence));
    return _mm512_movepi64_mask(_mm512_castpd_si512(above)) != 0;
}
Vector<8> Moved(Vector<8> before, Vector<8> lanes) {
    return __builtin_shufflevector(before, lanes, 7, 8, 9, 10, 11, 12, 13, 14);
}
#endif
/// The numbers, with the signs of those in `turn` added to theirs.
template <class Some>
Some Turned(Some x, Some turn) {
    using Bits = Vector<kCountOf<Some>, std::int64_t>;
    return reinterpret_cast<Some>(reinterpret_cast<Bits>(x) ^
                                  (reinterpret_cast<Bits>(turn) & reinterpret_cast<Bits>(-Some{})));
}
#else
bool IsAnySilent(double x) {
    return IsSilent(x);
}
double Moved(double before, double) {
    return before;
}
double Turned(double x, double turn) {
    return x * turn;
}
#endif
template <unsigned kLane, class Some>
double Lane(Some lanes) {
    if constexpr (kCountOf<Some> == 1) {
        return lanes;
    } else {
        return lanes[kLane];
    }
}

/// The first `kSections` of a group in kParts vectors.
template <unsigned kWidth, unsigned kParts, unsigned kSections>
class Pipeline {
    static_assert(kSections <= kWidth * kParts);
    static constexpr unsigned kLastPart = (kSections - 1) / kWidth, kLastLane = (kSections - 1) % kWidth;
    using Some = Vector<kWidth>;
    using Parts = Some[kParts];

    struct Lines {
        Parts side, direct, n0, n1, n2, glide, leak;
        Parts x1, x2, r1, r2, v1;
    };
    static constexpr unsigned kRows = sizeof(IirGroup) / sizeof(IirGroup::Row);
    static_assert(sizeof(Lines) == kRows * sizeof(Parts));

    /// What passed from section to section in the last kDelay steps.
    struct Passed {
        Parts first{}, second{}, third{}, fourth{};
    };

    Parts places_;  // of the sections
    bool isInput_;

public:
    explicit Pipeline(bool isInput) : isInput_(isInput) {
        double places[kWidth * kParts];
        for (unsigned s = 0; s < kWidth * kParts; ++s) places[s] = s;
        __builtin_memcpy(&places_, places, sizeof places_);
    }

    void Run(IirGroup* group, const double* data, double* out, Index count) const {
        const Lines start = LinesOf(*group);
        const double silence[kDelay] = {};
        double nothing[kDelay];
        Lines lines = start;
        Passed passed;
        const double* const end = data + count;
        for (unsigned section = 1; section < kSections; ++section, data += kDelay) {
            Advance(lines, passed, data, nothing);
            Remember(lines, start, section);
        }
        for (; end - data >= kDelay; data += kDelay, out += kDelay) {
            if (IsNothing(data) && IsAtRest(lines, passed)) [[unlikely]] {
                for (Index d = 0; d < kDelay; ++d) out[d] = 0.0;
            } else {
                Advance(lines, passed, data, out);
            }
        }
        for (; data < end; ++data) {
            *out++ = Step(lines, passed.first, isInput_ ? OrSilence(*data) : *data);
            const Passed before = passed;
            Copy(passed.first, before.second);
            Copy(passed.second, before.third);
            Copy(passed.third, before.fourth);
            Copy(passed.fourth, before.first);
        }
        Lines last = lines;
        for (unsigned section = 1; section < kSections; ++section, out += kDelay) {
            Advance(lines, passed, silence, out);
            Remember(last, lines, section);
        }
        GiveBack(last, group);
    }

private:
    // Row by row, of which the group's are longer.
    static Lines LinesOf(const IirGroup& group) {
        Lines lines;
        for (unsigned row = 0; row < kRows; ++row)
            __builtin_memcpy(At<Parts>(&lines, row), At<const IirGroup::Row>(&group, row), sizeof(Parts));
        return lines;
    }
    static void GiveBack(const Lines& lines, IirGroup* group) {
        for (unsigned row = 0; row < kRows; ++row)
            __builtin_memcpy(At<IirGroup::Row>(group, row), At<const Parts>(&lines, row), sizeof(Parts));
    }
    template <class Row, class Rows>
    static Row* At(Rows* rows, unsigned row) {
        return reinterpret_cast<Row*>(rows) + row;
    }
    static void Copy(Parts& to, const Parts& from) {
        for (unsigned p = 0; p < kParts; ++p) to[p] = from[p];
    }

    /// Gives the sections from `first` on the memory that they have in `source`.
    void Remember(Lines& lines, const Lines& source, unsigned first) const {
        const Some firstPlace = Spread<Some>(static_cast<double>(first));
        for (unsigned p = 0; p < kParts; ++p) {
            const auto is = places_[p] >= firstPlace;
            lines.x1[p] = is ? source.x1[p] : lines.x1[p];
            lines.x2[p] = is ? source.x2[p] : lines.x2[p];
            lines.r1[p] = is ? source.r1[p] : lines.r1[p];
            lines.r2[p] = is ? source.r2[p] : lines.r2[p];
            lines.v1[p] = is ? source.v1[p] : lines.v1[p];
        }
    }

    static bool IsAnySilent(const double* samples) {
        bool isAny = false;
        for (unsigned d = 0; d < kDelay; d += kPiece)
            isAny |= KVX_KERNEL_SET::IsAnySilent(LoadVector<kPiece>(samples + d));
        return isAny;
    }
    static constexpr unsigned kPiece = kWidth < kDelay ? kWidth : static_cast<unsigned>(kDelay);

    /// Whether nothing comes in for kDelay steps.
    bool IsNothing(const double* samples) const {
        if (!IsAnySilent(samples)) [[likely]]
            return false;
        for (unsigned d = 0; d < kDelay; ++d) {
            if (isInput_ ? !KVX_KERNEL_SET::IsSilent(samples[d]) : samples[d] != 0.0) return false;
        }
        return true;
    }

    /// Whether nothing but zeros is left in the sections and between them.
    static bool IsAtRest(const Lines& lines, const Passed& passed) {
        if (Lane<kLastLane>(lines.r1[kLastPart]) != 0.0) return false;
        const auto abs = [](Some x) { return x < Some{} ? -x : x; };
        double sizes[kWidth * kParts];
        for (unsigned p = 0; p < kParts; ++p) {
            const Some size = abs(lines.x1[p]) + abs(lines.x2[p]) + abs(lines.r1[p]) + abs(lines.r2[p]) +
                              abs(lines.v1[p]) + abs(passed.first[p]) + abs(passed.second[p]) +
                              abs(passed.third[p]) + abs(passed.fourth[p]);
            StoreVector(sizes + p * kWidth, size);
        }
        for (unsigned s = 0; s < kSections; ++s) {
            if (sizes[s] != 0.0) return false;
        }
        return true;
    }

    /// kDelay steps.
    void Advance(Lines& lines, Passed& passed, const double* samples, double* out) const {
        double heard[kDelay];
        if (isInput_ && IsAnySilent(samples)) [[unlikely]] {
            for (unsigned d = 0; d < kDelay; ++d) heard[d] = OrSilence(samples[d]);
            samples = heard;
        }
        const double first = samples[0], second = samples[1], third = samples[2], fourth = samples[3];
        out[0] = Step(lines, passed.first, first);
        out[1] = Step(lines, passed.second, second);
        out[2] = Step(lines, passed.third, third);
        out[3] = Step(lines, passed.fourth, fourth);
    }

    /// A step of all sections, the first of which takes `sample`; returns the output of the last one.
    /// `passed` are the outputs of kDelay steps before and becomes those of now.
    static double Step(Lines& lines, Parts& passed, double sample) {
        Some before = Spread<Some>(sample);
        for (unsigned p = 0; p < kParts; ++p) {
            const Some x = Moved(before, passed[p]);
            before = passed[p];
            const Some outer = lines.n0[p] * x + lines.n2[p] * lines.x2[p];
            const Some inner = lines.n1[p] * lines.x1[p] - lines.leak[p] * lines.r2[p];
            Some v = lines.glide[p] * lines.v1[p] + (outer + inner);
            Some r = Turned(lines.r1[p], lines.side[p]) + v;
            if (KVX_KERNEL_SET::IsAnySilent(r)) [[unlikely]] {
                const auto isSilent = KVX_KERNEL_SET::IsSilent(r);
                r = isSilent ? Some{} : r;
                v = isSilent & KVX_KERNEL_SET::IsSilent(v) ? Some{} : v;
            }
            passed[p] = lines.direct[p] * x + r;
            lines.x2[p] = lines.x1[p];
            lines.x1[p] = x;
            lines.r2[p] = lines.r1[p];
            lines.r1[p] = r;
            lines.v1[p] = v;
        }
        return Lane<kLastLane>(passed[kLastPart]);
    }
};

void RunSections(IirGroup* group, Index sectionCount, bool isInput, const double* data, double* out,
                 Index count) {
    constexpr unsigned kTwo = kLanes < 2 ? 1 : 2, kFour = kLanes < 4 ? kTwo : 4,
                       kEight = kLanes < 8 ? kFour : 8;
    switch (sectionCount) {
        case 2:
            return Pipeline<kTwo, 2 / kTwo, 2>(isInput).Run(group, data, out, count);
        case 3:
            return Pipeline<kFour, 4 / kFour, 3>(isInput).Run(group, data, out, count);
        case 4:
            return Pipeline<kFour, 4 / kFour, 4>(isInput).Run(group, data, out, count);
        case 5:
            return Pipeline<kEight, 8 / kEight, 5>(isInput).Run(group, data, out, count);
        case 6:
            return Pipeline<kEight, 8 / kEight, 6>(isInput).Run(group, data, out, count);
        case 7:
            return Pipeline<kEight, 8 / kEight, 7>(isInput).Run(group, data, out, count);
        default:
            return Pipeline<kEight, 8 / kEight, 8>(isInput).Run(group, data, out, count);
    }
}

}  // namespace

extern const IirKernels kIirKernels = {RunSections};

}  // namespace kvx::KVX_KERNEL_SET
