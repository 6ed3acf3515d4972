// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatIir.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <new>
#include <numbers>
#include <optional>
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
        if (fc <= 0.25) return Corner{std::sin(std::numbers::pi * fc), std::cos(std::numbers::pi * fc), 1.0};
        const double toEnd = std::numbers::pi * (0.5 - fc);
        return Corner{std::cos(toEnd), std::sin(toEnd), -1.0};
    }
};

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

/// Runs a block of at least one sample through `step`.
template <class Step>
void RunBlock(const double* data, double* out, __int64 n, Step step) {
    for (__int64 i = 0; i < n; ++i) out[i] = step(data[i]);
}

bool IsBlock(const double* data, const double* out, __int64 n) {
    return data != nullptr && out != nullptr && n >= 1;
}

}  // namespace

int CMatIir1th::CalcCoefLPF(double fc) {
    return Design(fc, kLowPass);
}

int CMatIir1th::CalcCoefHPF(double fc) {
    return Design(fc, kHighPass);
}

int CMatIir1th::Design(double fc, double previousInput) {
    const auto corner = Corner::At(fc);
    if (!corner) return 0;
    const double sum = corner->sine + corner->cosine;
    b0_ = (previousInput == kLowPass ? corner->sine : corner->cosine) / sum;
    previousInput_ = previousInput;
    side_ = corner->side;
    leak_ = corner->side > 0.0 ? 2.0 * (corner->sine / sum) : -2.0 * (corner->cosine / sum);
    return 1;
}

void CMatIir1th::ClearBuf(double value) {
    x1_ = value;
    y1_ = value;
}

inline double CMatIir1th::Step(double x) {
    y1_ = side_ * y1_ + (b0_ * (x + previousInput_ * x1_) - leak_ * y1_);
    x1_ = x;
    return y1_;
}

double CMatIir1th::Filtering(double x) {
    return Step(x);
}

int CMatIir1th::Filtering(const double* data, double* out, __int64 n) {
    if (!IsBlock(data, out, n)) return 0;
    CMatIir1th section = *this;
    RunBlock(data, out, n, [&section](double x) { return section.Step(x); });
    *this = section;
    return 1;
}

int CMatIir1th::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}

int CMatIir2th::CalcCoefLPF(double fc, double q) {
    return Design(fc, q, kLowPass);
}

int CMatIir2th::CalcCoefHPF(double fc, double q) {
    return Design(fc, q, kHighPass);
}

int CMatIir2th::Design(double fc, double q, double previousInput) {
    const auto corner = Corner::At(fc);
    if (!corner || !(q > 0.0 && q <= std::numeric_limits<double>::max())) return 0;
    // With p = sine/cosine: D = 1 + p/q + p^2 = (q + damping)/(q cosine^2).
    const double damping = corner->sine * corner->cosine;
    const double scale = q / (q + damping);
    const double low = corner->sine * corner->sine * scale;
    const double high = corner->cosine * corner->cosine * scale;
    // The state keeps its meaning, y2 = side (y1 - v1), when the poles change sides.
    if (side_ != corner->side) v1_ = 2.0 * y1_ - v1_;

    b0_ = previousInput == kLowPass ? low : high;
    twicePreviousInput_ = 2.0 * previousInput;
    side_ = corner->side;
    glide_ = corner->side * ((q - damping) / (q + damping));
    leak_ = corner->side > 0.0 ? 4.0 * low : -4.0 * high;
    return 1;
}

void CMatIir2th::ClearBuf(double value) {
    x1_ = value;
    x2_ = value;
    y1_ = value;
    v1_ = value - side_ * value;
}

inline double CMatIir2th::Step(double x) {
    v1_ = (glide_ * v1_ + b0_ * ((x + x2_) + twicePreviousInput_ * x1_)) - leak_ * y1_;
    y1_ = side_ * y1_ + v1_;
    x2_ = x1_;
    x1_ = x;
    return y1_;
}

double CMatIir2th::Filtering(double x) {
    return Step(x);
}

int CMatIir2th::Filtering(const double* data, double* out, __int64 n) {
    if (!IsBlock(data, out, n)) return 0;
    CMatIir2th section = *this;
    RunBlock(data, out, n, [&section](double x) { return section.Step(x); });
    *this = section;
    return 1;
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
    if (order % 2 == 1) first_.emplace().Design(fc, previousInput);
    // The pole pair k stands at an angle of k pi/N + pi/N (pi/2N for an even order) from the negative real
    // axis.
    const int firstHalfSteps = order % 2 == 1 ? 2 : 1;
    for (int k = 0; k < order / 2; ++k) {
        const double angle = std::numbers::pi * (2 * k + firstHalfSteps) / (2.0 * order);
        sections_[static_cast<std::size_t>(k)].Design(fc, 0.5 / std::cos(angle), previousInput);
    }
    return 1;
}

void CMatIirNth::ClearBuf(double value) {
    if (first_) first_->ClearBuf(value);
    std::for_each_n(sections_.get(), sectionCount_,
                    [value](CMatIir2th& section) { section.ClearBuf(value); });
}

double CMatIirNth::Filtering(double x) {
    if (first_) x = first_->Step(x);
    std::for_each_n(sections_.get(), sectionCount_, [&x](CMatIir2th& section) { x = section.Step(x); });
    return x;
}

template <std::size_t kSections>
void CMatIirNth::RunSections(CMatIir2th* sections, const double* data, double* out, __int64 n) {
    std::array<CMatIir2th, kSections> local;
    std::copy_n(sections, kSections, local.begin());
    for (__int64 i = 0; i < n; ++i) {
        double x = data[i];
        for (CMatIir2th& section : local) x = section.Step(x);
        out[i] = x;
    }
    std::copy_n(local.begin(), kSections, sections);
}

int CMatIirNth::Filtering(const double* data, double* out, __int64 n) {
    if (!IsBlock(data, out, n)) return 0;
    // Sections that run side by side hide each other's latency; more than this many would not fit into the
    // registers.
    constexpr __int64 kTogether = 4;
    if (first_) {
        first_->Filtering(data, out, n);
    } else if (out != data) {
        std::copy_n(data, n, out);
    }
    __int64 done = 0;
    for (; done + kTogether <= sectionCount_; done += kTogether)
        RunSections<kTogether>(sections_.get() + done, out, out, n);
    switch (sectionCount_ - done) {
        case 3:
            RunSections<3>(sections_.get() + done, out, out, n);
            break;
        case 2:
            RunSections<2>(sections_.get() + done, out, out, n);
            break;
        case 1:
            RunSections<1>(sections_.get() + done, out, out, n);
            break;
        default:
            break;
    }
    return 1;
}

int CMatIirNth::Filtering(CDataArrayDouble* out, const CDataArrayDouble& in) {
    return FilterArray(this, out, in);
}
