// SPDX-License-Identifier: MIT
//
// A section must finish a sample before it takes the next, and the next section waits for its output. The
// sections therefore stand in the lanes of vectors, each kDelay samples behind the one before: then all of
// them work at once, and what passes from lane to lane has as many steps to arrive. While the first samples
// have not come to the last sections, and when the first sections have no more, these stand still.

#include <KvxDevCommon01/dsp/kernels/IirKernels.h>
#include <KvxDevCommon01/dsp/kernels/MultiplyAdd.h>

#include <cstddef>

#ifdef __SSE2__
#include <immintrin.h>
#endif

namespace kvx::KVX_KERNEL_SET {
namespace {

constexpr Index kDelay = 4;
constexpr unsigned kFields = sizeof(IirSection) / sizeof(double);
constexpr unsigned kSide = offsetof(IirSection, side) / sizeof(double);
constexpr unsigned kR1 = offsetof(IirSection, r1) / sizeof(double);

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
#else
bool IsAnySilent(double x) {
    return IsSilent(x);
}
double Moved(double before, double) {
    return before;
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

/// `kSections` in kParts vectors; idle lanes behind them stay at rest, but not at 0.
template <unsigned kWidth, unsigned kParts, unsigned kSections>
class Pipeline {
    static_assert(kSections <= kWidth * kParts);
    static constexpr Index kLag = kDelay * (kSections - 1);
    using Some = Vector<kWidth>;
    using Parts = Some[kParts];

    struct Lines {
        Parts side, direct, n0, n1, n2, glide, leak;
        Parts x1, x2, r1, v1;
    };
    Lines lines_;
    Parts places_;  // steps by which a section is behind the first
    Index count_;
    bool isInput_;

    static_assert(sizeof(Lines) == kFields * sizeof(Parts));

public:
    Pipeline(const IirSection* sections, bool isInput, Index count) : count_(count), isInput_(isInput) {
        double numbers[kFields][kWidth * kParts];
        double places[kWidth * kParts];
        for (unsigned s = 0; s < kWidth * kParts; ++s) {
            double fields[kFields] = {};
            if (s < kSections) {
                __builtin_memcpy(fields, &sections[s], sizeof fields);
            } else {
                fields[kSide] = fields[kR1] = 1.0;
            }
            for (unsigned f = 0; f < kFields; ++f) numbers[f][s] = fields[f];
            places[s] = kDelay * s;
        }
        __builtin_memcpy(&lines_, numbers, sizeof lines_);
        __builtin_memcpy(&places_, places, sizeof places_);
    }

    void GiveBack(IirSection* sections) const {
        double numbers[kFields][kWidth * kParts];
        __builtin_memcpy(numbers, &lines_, sizeof lines_);
        for (unsigned s = 0; s < kSections; ++s) {
            double fields[kFields];
            for (unsigned f = 0; f < kFields; ++f) fields[f] = numbers[f][s];
            __builtin_memcpy(&sections[s], fields, sizeof fields);
        }
    }

    void Run(const double* data, double* out) {
        Lines lines = lines_;
        // What passed from section to section in the last steps, kDelay of which are made at once.
        Parts passed0{}, passed1{}, passed2{}, passed3{};
        for (Index step = 0; step < count_ + kLag; step += kDelay) {
            const double* const from = data + step;
            double* const to = out + (step - kLag);
            if (step >= kLag && step + kDelay <= count_) {
                const bool isSilence =
                    IsNothing(from[0]) && IsNothing(from[1]) && IsNothing(from[2]) && IsNothing(from[3]);
                if (isSilence && IsAtRest(lines, passed0, passed1, passed2, passed3)) {
                    for (unsigned d = 0; d < kDelay; ++d) to[d] = 0.0;
                    continue;
                }
                to[0] = Advance(lines, passed0, from[0]);
                to[1] = Advance(lines, passed1, from[1]);
                to[2] = Advance(lines, passed2, from[2]);
                to[3] = Advance(lines, passed3, from[3]);
            } else {
                AdvanceSome(lines, passed0, step, data, out);
                AdvanceSome(lines, passed1, step + 1, data, out);
                AdvanceSome(lines, passed2, step + 2, data, out);
                AdvanceSome(lines, passed3, step + 3, data, out);
            }
        }
        lines_ = lines;
    }

private:
    static constexpr unsigned kLastPart = (kSections - 1) / kWidth, kLastLane = (kSections - 1) % kWidth;

    bool IsNothing(double sample) const { return isInput_ ? IsSilent(sample) : sample == 0.0; }

    /// Whether nothing but zeros is left in the sections and between them.
    static bool IsAtRest(const Lines& lines, const Parts& passed0, const Parts& passed1, const Parts& passed2,
                         const Parts& passed3) {
        if (Lane<kLastLane>(lines.r1[kLastPart]) != 0.0) return false;
        const auto abs = [](Some x) { return x < Some{} ? -x : x; };
        double sizes[kWidth * kParts];
        for (unsigned p = 0; p < kParts; ++p) {
            const Some size = abs(lines.x1[p]) + abs(lines.x2[p]) + abs(lines.r1[p]) + abs(lines.v1[p]) +
                              abs(passed0[p]) + abs(passed1[p]) + abs(passed2[p]) + abs(passed3[p]);
            StoreVector(sizes + p * kWidth, size);
        }
        for (unsigned s = 0; s < kSections; ++s) {
            if (sizes[s] != 0.0) return false;
        }
        return true;
    }

    /// A step of all sections, the first of which takes `sample`; returns the output of the last one.
    /// `passed` are the outputs of kDelay steps before and becomes those of now.
    double Advance(Lines& lines, Parts& passed, double sample) const {
        Some before = Spread<Some>(isInput_ ? OrSilence(sample) : sample);
        for (unsigned p = 0; p < kParts; ++p) {
            const Some x = Moved(before, passed[p]);
            before = passed[p];
            const Some w = (lines.n0[p] * x + lines.n2[p] * lines.x2[p]) + lines.n1[p] * lines.x1[p];
            Some v = (lines.glide[p] * lines.v1[p] + w) - lines.leak[p] * lines.r1[p];
            Some r = lines.side[p] * lines.r1[p] + v;
            if (IsAnySilent(r)) [[unlikely]] {
                const auto isSilent = IsSilent(r);
                r = isSilent ? Some{} : r;
                v = isSilent & IsSilent(v) ? Some{} : v;
            }
            passed[p] = lines.direct[p] * x + r;
            lines.x2[p] = lines.x1[p];
            lines.x1[p] = x;
            lines.r1[p] = r;
            lines.v1[p] = v;
        }
        return Lane<kLastLane>(passed[kLastPart]);
    }

    /// The same where sections without a sample stand still.
    void AdvanceSome(Lines& lines, Parts& passed, Index step, const double* data, double* out) const {
        const Lines still = lines;
        const double output = Advance(lines, passed, step < count_ ? data[step] : 0.0);
        const Some now = Spread<Some>(static_cast<double>(step));
        const Some over = Spread<Some>(static_cast<double>(step - count_));
        for (unsigned p = 0; p < kParts; ++p) {
            const auto works = (places_[p] <= now) & (places_[p] > over);
            lines.x1[p] = works ? lines.x1[p] : still.x1[p];
            lines.x2[p] = works ? lines.x2[p] : still.x2[p];
            lines.r1[p] = works ? lines.r1[p] : still.r1[p];
            lines.v1[p] = works ? lines.v1[p] : still.v1[p];
        }
        if (step >= kLag && step - kLag < count_) out[step - kLag] = output;
    }
};

template <unsigned kWidth, unsigned kParts, unsigned kSections>
void RunPipeline(IirSection* sections, bool isInput, const double* data, double* out, Index count) {
    Pipeline<kWidth, kParts, kSections> pipeline(sections, isInput, count);
    pipeline.Run(data, out);
    pipeline.GiveBack(sections);
}

void RunSections(IirSection* sections, Index sectionCount, bool isInput, const double* data, double* out,
                 Index count) {
    constexpr unsigned kTwo = kLanes < 2 ? 1 : 2, kFour = kLanes < 4 ? kTwo : 4,
                       kEight = kLanes < 8 ? kFour : 8;
    switch (sectionCount) {
        case 2:
            return RunPipeline<kTwo, 2 / kTwo, 2>(sections, isInput, data, out, count);
        case 3:
            return RunPipeline<kFour, 4 / kFour, 3>(sections, isInput, data, out, count);
        case 4:
            return RunPipeline<kFour, 4 / kFour, 4>(sections, isInput, data, out, count);
        case 5:
            return RunPipeline<kEight, 8 / kEight, 5>(sections, isInput, data, out, count);
        case 6:
            return RunPipeline<kEight, 8 / kEight, 6>(sections, isInput, data, out, count);
        case 7:
            return RunPipeline<kEight, 8 / kEight, 7>(sections, isInput, data, out, count);
        default:
            return RunPipeline<kEight, 8 / kEight, 8>(sections, isInput, data, out, count);
    }
}

}  // namespace

extern const IirKernels kIirKernels = {RunSections};

}  // namespace kvx::KVX_KERNEL_SET
