// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/kernels/IirKernels.h>

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

/// The difference equation as v = (b0 x + b1 x1) - leak y1, y = side y1 + v, leak = side - a1: see
/// SecondOrder.
struct FirstOrder {
    double side{}, b0{}, b1{};
    double leak{};
    double x1{}, y1{};

    double Step(double x);
    int Design(double fc, double pass);
    /// The same as a section of the second order, and its memory back.
    kvx::IirSection Widened() const { return {side, 0.0, b0, b1, 0.0, 0.0, leak, x1, 0.0, y1, 0.0}; }
    void Remember(const kvx::IirSection& widened) {
        x1 = widened.x1;
        y1 = widened.r1;
    }
};

/// Near the ends of the range of fc the poles crowd at z = side, 1 for a low corner and -1 for a high one,
/// and the difference equation as it is written would lose what lies between them to rounding. The same
/// equation is therefore evaluated with small steps v and coefficients free of cancellation,
///   glide = -side a2,  leak = side - a1 - side a2.
/// Where the pass band lies at z = side, direct = 0 and n = b; elsewhere the zeros crowd there as well, and
/// direct = b0 leaves n0 = 0, n2 = b0 (1 + a2), n1 = -side n2 - b0 leak.
struct SecondOrder : kvx::IirSection {
    double Step(double x);
    int Design(double fc, double q, double pass);
    void SetState(double inputBefore, double inputBeforeThat, double outputBefore, double outputBeforeThat);
    const kvx::IirSection& Widened() const { return *this; }
    void Remember(const kvx::IirSection& section) { kvx::IirSection::operator=(section); }
};

/// The section that an object holds in bytes, so that its header need not name the numbers.
template <class Section, std::size_t size>
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

double OrSilence(double x) {
    return std::fabs(x) < kvx::kIirSilence ? 0.0 : x;
}

/// Whether |x| < kIirSilence. Compilers make a branch of a comparison of bits; one of numbers would become a
/// mask, whose time adds to the way from one output to the next.
bool IsSilent(double x) {
    return std::bit_cast<std::uint64_t>(x) << 1 < std::bit_cast<std::uint64_t>(kvx::kIirSilence) << 1;
}

/// Brings a section to rest when its output is silent. While it is not, the difference of outputs is no
/// subnormal number either.
void RestInSilence(double& output, double& difference) {
    if (!IsSilent(output)) [[likely]]
        return;
    output = 0.0;
    if (IsSilent(difference)) difference = 0.0;
}

inline double FirstOrder::Step(double x) {
    y1 = side * y1 + ((b0 * x + b1 * x1) - leak * y1);
    if (IsSilent(y1)) [[unlikely]]
        y1 = 0.0;
    x1 = x;
    return y1;
}

inline double SecondOrder::Step(double x) {
    v1 = (glide * v1 + ((n0 * x + n2 * x2) + n1 * x1)) - leak * r1;
    r1 = side * r1 + v1;
    RestInSilence(r1, v1);
    x2 = x1;
    x1 = x;
    return direct * x + r1;
}

int FirstOrder::Design(double fc, double pass) {
    const auto corner = Corner::At(fc);
    if (!corner) return 0;
    const double sum = corner->sine + corner->cosine;
    b0 = (pass == kLowPass ? corner->sine : corner->cosine) / sum;
    b1 = pass * b0;
    side = corner->side;
    leak = corner->side > 0.0 ? 2.0 * (corner->sine / sum) : -2.0 * (corner->cosine / sum);
    return 1;
}

int SecondOrder::Design(double fc, double q, double pass) {
    const auto corner = Corner::At(fc);
    if (!corner || !(q > 0.0 && q <= std::numeric_limits<double>::max())) return 0;
    // With p = sine/cosine: D = 1 + p/q + p^2 = (q + damping)/(q cosine^2).
    const double damping = corner->sine * corner->cosine;
    const double scale = q / (q + damping);
    const double low = corner->sine * corner->sine * scale;
    const double high = corner->cosine * corner->cosine * scale;
    const double b0 = pass == kLowPass ? low : high;

    const double y1 = direct * x1 + r1;
    const double y2 = direct * x2 + side * (r1 - v1);
    side = corner->side;
    glide = side * ((q - damping) / (q + damping));
    leak = side > 0.0 ? 4.0 * low : -4.0 * high;
    if (side == pass) {
        direct = 0.0;
        n0 = b0;
        n1 = 2.0 * pass * b0;
        n2 = b0;
    } else {
        direct = b0;
        n0 = 0.0;
        n2 = b0 * (2.0 * (damping / (q + damping)));
        n1 = -side * n2 - b0 * leak;
    }
    SetState(x1, x2, y1, y2);
    return 1;
}

void SecondOrder::SetState(double inputBefore, double inputBeforeThat, double outputBefore,
                           double outputBeforeThat) {
    x1 = inputBefore;
    x2 = inputBeforeThat;
    r1 = outputBefore - direct * x1;
    v1 = r1 - side * (outputBeforeThat - direct * x2);
}

bool IsBlock(const double* data, const double* out, __int64 n) {
    return data != nullptr && out != nullptr && n >= 1;
}

/// Runs a block through a copy of the section, which can stay in registers.
template <class Section>
int RunBlock(Section* section, const double* data, double* out, __int64 n) {
    if (!IsBlock(data, out, n)) return 0;
    Section local = *section;
    for (__int64 i = 0; i < n; ++i) out[i] = local.Step(OrSilence(data[i]));
    *section = local;
    return 1;
}

/// Calls use(place, k) for the second-order sections k = 0..count-1 of a Butterworth filter, place being
/// where in the cascade a section stands.
///
/// In their own order, which holds up to kPlainOrder, the first sections weaken what lies at the corner and
/// the last ones, of high quality, restore it, with the rounding errors made meanwhile: by 127 at order 32
/// and by 1e71 at 1024. Longer cascades pair k with the k-th from the end, whose gains at the corner cancel,
/// and spread the pairs by the reversed bits of their number, so that any part of the cascade is like the
/// whole: wherever it is cut, the gain of the rest stays below 3 at every frequency.
template <class Use>
void ForEachPlace(int count, Use use) {
    constexpr int kPlainOrder = 32;
    std::size_t place = 0;
    if (count <= kPlainOrder / 2) {
        for (int k = 0; k < count; ++k) use(place++, k);
        return;
    }
    const auto pairs = static_cast<unsigned>((count + 1) / 2);
    const auto bits = static_cast<unsigned>(std::bit_width(pairs - 1));
    for (unsigned turned = 0; turned < 1U << bits; ++turned) {
        unsigned pair = 0;
        for (unsigned bit = 0; bit < bits; ++bit) pair |= (turned >> bit & 1U) << (bits - 1 - bit);
        if (pair >= pairs) continue;
        const int k = static_cast<int>(pair);
        use(place++, k);
        if (k != count - 1 - k) use(place++, count - 1 - k);
    }
}

}  // namespace

using First = FirstOrder;
using Second = SecondOrder;

// A section repeats its state until it is designed.
CMatIir1th::CMatIir1th() {
    new (section_) First{.side = 1.0};
}

int CMatIir1th::CalcCoefLPF(double fc) {
    return In<First>(section_).Design(fc, kLowPass);
}

int CMatIir1th::CalcCoefHPF(double fc) {
    return In<First>(section_).Design(fc, kHighPass);
}

void CMatIir1th::ClearBuf(double value) {
    In<First>(section_).x1 = value;
    In<First>(section_).y1 = value;
}

double CMatIir1th::Filtering(double x) {
    return In<First>(section_).Step(OrSilence(x));
}

int CMatIir1th::Filtering(const double* data, double* out, __int64 n) {
    return RunBlock(&In<First>(section_), data, out, n);
}

int CMatIir1th::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}

CMatIir2th::CMatIir2th() {
    (new (section_) Second{})->side = 1.0;
}

int CMatIir2th::CalcCoefLPF(double fc, double q) {
    return In<Second>(section_).Design(fc, q, kLowPass);
}

int CMatIir2th::CalcCoefHPF(double fc, double q) {
    return In<Second>(section_).Design(fc, q, kHighPass);
}

void CMatIir2th::ClearBuf(double value) {
    In<Second>(section_).SetState(value, value, value, value);
}

double CMatIir2th::Filtering(double x) {
    return In<Second>(section_).Step(OrSilence(x));
}

int CMatIir2th::Filtering(const double* data, double* out, __int64 n) {
    return RunBlock(&In<Second>(section_), data, out, n);
}

int CMatIir2th::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}

CMatIirNth::CMatIirNth(const CMatIirNth& other) {
    *this = other;
}

CMatIirNth& CMatIirNth::operator=(const CMatIirNth& other) {
    if (this == &other) return *this;
    LclFree();
    if (!LclAlloc(other.sectionCount_)) return *this;
    std::copy_n(other.sections_.get(), other.sectionCount_, sections_.get());
    first_ = other.first_;
    return *this;
}

CMatIirNth::~CMatIirNth() {
    LclFree();
}

bool CMatIirNth::LclAlloc(__int64 sectionCount) {
    std::unique_ptr<CMatIir2th[]> sections;
    if (sectionCount > 0) {
        sections.reset(new (std::nothrow) CMatIir2th[static_cast<std::size_t>(sectionCount)]);
        if (!sections) return false;
    }
    LclFree();
    sections_ = std::move(sections);
    sectionCount_ = sectionCount;
    return true;
}

void CMatIirNth::LclFree() {
    first_.reset();
    sectionCount_ = 0;
    sections_.reset();
}

int CMatIirNth::CalcCoefBwLPF(double fc, std::int32_t order) {
    return Design(fc, order, kLowPass);
}

int CMatIirNth::CalcCoefBwHPF(double fc, std::int32_t order) {
    return Design(fc, order, kHighPass);
}

int CMatIirNth::Design(double fc, std::int32_t order, double previousInput) {
    if (!Corner::At(fc) || order < 0 || order > kMaxOrder || !LclAlloc(order / 2)) return 0;
    const bool isLowPass = previousInput == kLowPass;
    if (order % 2 == 1) isLowPass ? first_.emplace().CalcCoefLPF(fc) : first_.emplace().CalcCoefHPF(fc);
    // The pole pair k stands at an angle of k pi/N + pi/N (pi/2N for an even order) from the negative real
    // axis.
    const int firstHalfSteps = order % 2 == 1 ? 2 : 1;
    ForEachPlace(order / 2, [&](std::size_t place, int k) {
        const double angle = std::numbers::pi * (2 * k + firstHalfSteps) / (2.0 * order);
        const double q = 0.5 / std::cos(angle);
        isLowPass ? sections_[place].CalcCoefLPF(fc, q) : sections_[place].CalcCoefHPF(fc, q);
    });
    return 1;
}

void CMatIirNth::ClearBuf(double value) {
    if (first_) first_->ClearBuf(value);
    std::for_each_n(sections_.get(), sectionCount_,
                    [value](CMatIir2th& section) { section.ClearBuf(value); });
}

double CMatIirNth::Filtering(double x) {
    if (first_ || sectionCount_ > 0) x = OrSilence(x);
    if (first_) x = In<First>(first_->section_).Step(x);
    std::for_each_n(sections_.get(), sectionCount_,
                    [&x](CMatIir2th& section) { x = In<Second>(section.section_).Step(x); });
    return x;
}

int CMatIirNth::Filtering(const double* data, double* out, __int64 n) {
    if (!IsBlock(data, out, n)) return 0;
    const __int64 before = first_ ? 1 : 0, count = sectionCount_ + before;
    // Singly, sections that follow each other work at once as well, though fewer of them.
    constexpr __int64 kFew = 32;
    if (count == 1) return first_ ? first_->Filtering(data, out, n) : sections_[0].Filtering(data, out, n);
    if (count == 0 || n < kFew) {
        for (__int64 i = 0; i < n; ++i) out[i] = Filtering(data[i]);
        return 1;
    }
    for (__int64 done = 0; done < count;) {
        // As many as run at once, but never one alone.
        const __int64 left = count - done;
        const __int64 run = left == kvx::kIirSections + 1 ? left - 2 : std::min(left, kvx::kIirSections);
        std::array<kvx::IirSection, kvx::kIirSections> sections;
        const auto forEach = [&](auto use) {
            for (__int64 i = 0; i < run; ++i) {
                kvx::IirSection& section = sections[static_cast<std::size_t>(i)];
                if (done + i < before) {
                    use(section, In<First>(first_->section_));
                } else {
                    use(section, In<Second>(sections_[static_cast<std::size_t>(done + i - before)].section_));
                }
            }
        };
        forEach([](kvx::IirSection& section, const auto& own) { section = own.Widened(); });
        kvx::ActiveKernels<kvx::IirKernels>().runSections(sections.data(), run, done == 0,
                                                          done == 0 ? data : out, out, n);
        forEach([](const kvx::IirSection& section, auto& own) { own.Remember(section); });
        done += run;
    }
    return 1;
}

int CMatIirNth::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}
