// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/detail/IirCascade.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <numbers>
#include <optional>
#include <type_traits>
#include <utility>

namespace {

constexpr double kLowPass = 1.0;
constexpr double kHighPass = -1.0;

/// Sine and cosine of the angle pi fc, each with the relative precision of a double.
struct Corner {
    double sine;
    double cosine;
    double side;  // 1 below a quarter of the sampling rate, -1 above

    /// Nothing unless 0 < fc < 0.5.
    static std::optional<Corner> At(double fc) {
        if (!(fc > 0.0 && fc < 0.5)) return std::nullopt;
        if (fc == 0.25) return Corner{std::numbers::sqrt2 / 2.0, std::numbers::sqrt2 / 2.0, 1.0};  // p is 1
        if (fc < 0.25) return Corner{std::sin(std::numbers::pi * fc), std::cos(std::numbers::pi * fc), 1.0};
        const double toEnd = std::numbers::pi * (0.5 - fc);
        return Corner{std::cos(toEnd), std::sin(toEnd), -1.0};
    }
};

/// A section as the kernels have it.
///
/// Near the ends of the range of fc the poles crowd at z = side, 1 for a low corner and -1 for a high one,
/// and the difference equation as it is written would lose what lies between them to rounding. The same
/// equation is therefore evaluated with small steps v = y - side y1 and coefficients free of cancellation,
/// of the first order
///   v = b0 x + b1 x1 - c y1, c = side - a1,
/// and of the second one
///   v = b0 x + b1 x1 + b2 x2 + d v1 - c y1, c = side - a1 - side a2, d = -side a2.
/// In both, y1 is replaced by side y2 + v1, so that v need not wait for y1: leak = side c, glide = d - c.
/// Where the pass band lies at z = side, direct = 0 and n = b; elsewhere the zeros of the second order crowd
/// there as well, and r = y - b0 x, direct = b0 leaves n0 = 0, n2 = b0 (1 + a2), n1 = -side n2 - b0 c.
struct Section : kvx::RunningSection {
    int DesignFirst(double fc, double pass);
    int DesignSecond(double fc, double q, double pass);
};

/// The section that an object holds in bytes, so that its header need not name the numbers.
template <std::size_t size>
Section& In(std::byte (&bytes)[size]) {
    static_assert(sizeof(Section) == size && std::is_trivially_copyable_v<Section>);
    return *std::launder(reinterpret_cast<Section*>(bytes));
}

template <class Filter>
int FilterArray(Filter* filter, CDataArrayDouble* out, const CDataArrayDouble& in) {
    const __int64 count = in.GetNum();
    if (out == nullptr || count < 1) return 0;
    if (out->GetNum() != count) {
        CDataArrayDouble result;
        if (!result.SetData(count, 0.0)) return 0;
        *out = std::move(result);
    }
    return filter->Filtering(in.GetData(), out->GetData(), count);
}

int Section::DesignFirst(double fc, double pass) {
    const auto corner = Corner::At(fc);
    if (!corner) return 0;
    const double sum = corner->sine + corner->cosine;
    n0 = (pass == kLowPass ? corner->sine : corner->cosine) / sum;
    n1 = pass * n0;
    side = corner->side;
    leak = 2.0 * ((side > 0.0 ? corner->sine : corner->cosine) / sum);
    glide = -side * leak;
    SetState(x1, x2, r1, r2);
    return 1;
}

int Section::DesignSecond(double fc, double q, double pass) {
    const auto corner = Corner::At(fc);
    if (!corner || !(q > 0.0 && q <= std::numeric_limits<double>::max())) return 0;
    // With p = sine/cosine: D = 1 + p/q + p^2 = (q + damping)/(q cosine^2).
    const double damping = corner->sine * corner->cosine;
    const double scale = q / (q + damping);
    const double low = corner->sine * corner->sine * scale;
    const double high = corner->cosine * corner->cosine * scale;
    const double b0 = pass == kLowPass ? low : high;

    const double y1 = direct * x1 + r1;
    const double y2 = direct * x2 + r2;
    side = corner->side;
    leak = 4.0 * (side > 0.0 ? low : high);
    glide = side * ((q - damping) / (q + damping) - leak);
    if (side == pass) {
        direct = 0.0;
        n0 = b0;
        n1 = 2.0 * pass * b0;
        n2 = b0;
    } else {
        direct = b0;
        n0 = 0.0;
        n2 = b0 * (2.0 * (damping / (q + damping)));
        n1 = -side * (n2 + b0 * leak);
    }
    SetState(x1, x2, y1, y2);
    return 1;
}

bool IsBlock(const double* data, const double* out, __int64 n) {
    return data != nullptr && out != nullptr && n >= 1;
}

/// Runs a block through a copy of the section, which can stay in registers.
int RunBlock(Section* section, const double* data, double* out, __int64 n) {
    if (!IsBlock(data, out, n)) return 0;
    Section local = *section;
    for (__int64 i = 0; i < n; ++i) out[i] = local.Step(kvx::OrSilence(data[i]));
    *section = local;
    return 1;
}

/// Calls use(k) for the second-order sections k = 0..count-1 of a Butterworth filter, in the order of the
/// cascade.
///
/// In their own order, which holds up to kPlainOrder, the first sections weaken what lies at the corner and
/// the last ones, of high quality, restore it, with the rounding errors made meanwhile: by 127 at order 32
/// and by 1e71 at 1024. Longer cascades pair k with the k-th from the end, whose gains at the corner cancel,
/// and spread the pairs by the reversed bits of their number, so that any part of the cascade is like the
/// whole: wherever it is cut, the gain of the rest stays below 3 at every frequency.
template <class Use>
void ForEachInOrder(int count, Use use) {
    constexpr int kPlainOrder = 32;
    if (count <= kPlainOrder / 2) {
        for (int k = 0; k < count; ++k) use(k);
        return;
    }
    const auto pairs = static_cast<unsigned>((count + 1) / 2);
    const auto bits = static_cast<unsigned>(std::bit_width(pairs - 1));
    for (unsigned turned = 0; turned < 1U << bits; ++turned) {
        unsigned pair = 0;
        for (unsigned bit = 0; bit < bits; ++bit) pair |= (turned >> bit & 1U) << (bits - 1 - bit);
        if (pair >= pairs) continue;
        const int k = static_cast<int>(pair);
        use(k);
        if (k != count - 1 - k) use(count - 1 - k);
    }
}

}  // namespace

// A section repeats its state until it is designed.
CMatIir1th::CMatIir1th() {
    (new (section_) Section{})->side = 1.0;
}

int CMatIir1th::CalcCoefLPF(double fc) {
    return In(section_).DesignFirst(fc, kLowPass);
}

int CMatIir1th::CalcCoefHPF(double fc) {
    return In(section_).DesignFirst(fc, kHighPass);
}

void CMatIir1th::ClearBuf(double value) {
    In(section_).SetState(value, value, value, value);
}

double CMatIir1th::Filtering(double x) {
    return In(section_).Step(kvx::OrSilence(x));
}

int CMatIir1th::Filtering(const double* data, double* out, __int64 n) {
    return RunBlock(&In(section_), data, out, n);
}

int CMatIir1th::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}

CMatIir2th::CMatIir2th() {
    (new (section_) Section{})->side = 1.0;
}

int CMatIir2th::CalcCoefLPF(double fc, double q) {
    return In(section_).DesignSecond(fc, q, kLowPass);
}

int CMatIir2th::CalcCoefHPF(double fc, double q) {
    return In(section_).DesignSecond(fc, q, kHighPass);
}

void CMatIir2th::ClearBuf(double value) {
    In(section_).SetState(value, value, value, value);
}

double CMatIir2th::Filtering(double x) {
    return In(section_).Step(kvx::OrSilence(x));
}

int CMatIir2th::Filtering(const double* data, double* out, __int64 n) {
    return RunBlock(&In(section_), data, out, n);
}

int CMatIir2th::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}

CMatIirNth::CMatIirNth() = default;

CMatIirNth::CMatIirNth(const CMatIirNth& other) {
    *this = other;
}

CMatIirNth& CMatIirNth::operator=(const CMatIirNth& other) {
    if (this == &other) return *this;
    sectionCount_ = 0;
    groups_.reset();
    if (!Allocate(other.sectionCount_)) return *this;
    std::copy_n(other.groups_.get(), kvx::IirCascade::GroupsFor(sectionCount_), groups_.get());
    return *this;
}

CMatIirNth::~CMatIirNth() = default;

bool CMatIirNth::Allocate(int sectionCount) {
    std::unique_ptr<kvx::IirGroup[]> groups;
    if (sectionCount > 0) {
        groups.reset(new (std::nothrow)
                         kvx::IirGroup[static_cast<std::size_t>(kvx::IirCascade::GroupsFor(sectionCount))]);
        if (!groups) return false;
    }
    groups_ = std::move(groups);
    sectionCount_ = sectionCount;
    return true;
}

int CMatIirNth::CalcCoefBwLPF(double fc, std::int32_t order) {
    return Design(fc, order, kLowPass);
}

int CMatIirNth::CalcCoefBwHPF(double fc, std::int32_t order) {
    return Design(fc, order, kHighPass);
}

int CMatIirNth::Design(double fc, std::int32_t order, double pass) {
    if (!Corner::At(fc) || order < 0 || order > kMaxOrder || !Allocate((order + 1) / 2)) return 0;
    kvx::IirCascade::Filler filler({groups_.get(), sectionCount_});
    Section section;
    if (order % 2 == 1) {
        section.DesignFirst(fc, pass);
        filler.Add(section);
    }
    // The pole pair k stands at an angle of k pi/N + pi/N (pi/2N for an even order) from the negative real
    // axis.
    const int firstHalfSteps = order % 2 == 1 ? 2 : 1;
    ForEachInOrder(order / 2, [&](int k) {
        const double angle = std::numbers::pi * (2 * k + firstHalfSteps) / (2.0 * order);
        section = {};
        section.DesignSecond(fc, 0.5 / std::cos(angle), pass);
        filler.Add(section);
    });
    return 1;
}

void CMatIirNth::ClearBuf(double value) {
    kvx::IirCascade{groups_.get(), sectionCount_}.SetState(value);
}

double CMatIirNth::Filtering(double x) {
    return kvx::IirCascade{groups_.get(), sectionCount_}.Filter(x);
}

int CMatIirNth::Filtering(const double* data, double* out, __int64 n) {
    if (!IsBlock(data, out, n)) return 0;
    kvx::IirCascade{groups_.get(), sectionCount_}.Filter(data, out, n);
    return 1;
}

int CMatIirNth::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}
