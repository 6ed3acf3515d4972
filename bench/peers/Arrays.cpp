// SPDX-License-Identifier: MIT
//
// W3: arithmetic of arrays; scaling is in place. W4: figures of an array. W9: unit conversion in place, back
// and forth. W12: complex arrays, a conj(b) / 2 and amplitude with phase.

#include "Loops.h"
#include "Rows.h"

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/units/UnitText.h>

#ifdef KVX_PEER_VOLK
#include <volk/volk.h>
#endif

#include <algorithm>
#include <cmath>
#include <complex>
#include <numeric>

#ifdef KVX_PEER_OPENBLAS
extern "C" {
double ddot_(const int* n, const double* x, const int* stepX, const double* y, const int* stepY);
void dscal_(const int* n, const double* factor, double* x, const int* step);
}
#endif

namespace peers {
namespace {

/// Inputs of an operation, and where its results go. `x`, which begins as `a`, is changed in place, forth and
/// every second time back, so that its values stay in their range.
template <class Array, class Floats>
struct Operands {
    Array a, b, x, out;
    Floats floats{};
    Range range{};
    double sum = 0;
    bool isBack = false;
};
using Plain = Operands<Buffer<double>, Buffer<float>>;
using Ours = Operands<CDataArrayDouble, CDataArrayFloat>;

void Fill(Buffer<double>& array, std::span<const double> x) {
    array.assign(x.begin(), x.end());
}
void Fill(CDataArrayDouble& array, std::span<const double> x) {
    array.SetData(static_cast<__int64>(x.size()), x.data());
}

/// Adds `operation` on arrays of `count` numbers, `parts` to each value; isRight(operands) judges the first
/// run.
template <class Operands>
void Add(const std::string& workload, const std::string& peer, size_t count, const Work& each, auto operation,
         auto isRight, size_t parts = 1) {
    const auto values = static_cast<double>(count / parts);
    const Work work{values, each.bytes * values, each.flops * values};
    AddRow(workload + "." + SizeName(count / parts), peer, work, [=] {
        Operands filled{};
        for (auto* array : {&filled.a, &filled.x, &filled.out}) Fill(*array, Noise(count, 1));
        Fill(filled.b, Noise(count, 2));
        auto run = [operation, operands = std::move(filled)]() mutable {
            operation(operands);
            benchmark::DoNotOptimize(operands.sum);
            operands.isBack = !operands.isBack;
            return &operands;
        };
        Require(isRight(*run()), "result");
        return run;
    });
}

/// Compares each element of a member of the operands with what `expected` makes of its inputs.
auto Each(auto member, auto expected, double tolerance = 0) {
    return [=](const auto& operands) {
        const std::span a(operands.a), b(operands.b);
        const std::span out(operands.*member);
        for (size_t i = 0; i < out.size(); ++i)
            if (!IsNear(static_cast<double>(out[i]), expected(a[i], b[i]), tolerance)) return false;
        return true;
    };
}

constexpr double kGravity = 9.80665, kZeroCelsius = 273.15;  // m/s², K

/// Adds the rows of a peer: an operation for each workload that it has.
template <class Operands>
class Rows {
public:
    explicit Rows(std::string peer) : peer_(std::move(peer)) {}

    void Plus(auto f) const { Sized("W3.add", {1, 24, 1}, f, Each(&Operands::out, std::plus())); }
    void Times(auto f) const { Sized("W3.mul", {1, 24, 1}, f, Each(&Operands::out, std::multiplies())); }
    void Scale(auto f) const {
        Sized("W3.scale", {1, 16, 1}, f, Each(&Operands::x, [](double a, double) { return 0.5 * a; }));
    }
    void ToFloat(auto f) const {
        const auto rounded = [](double a, double) { return static_cast<double>(static_cast<float>(a)); };
        Sized("W3.to_float", {1, 12, 0}, f, Each(&Operands::floats, rounded));
    }
    void Sum(auto f) const {
        Sized("W4.sum", {1, 8, 1}, f, [](const Operands& operands) {
            const std::span a(operands.a);
            return IsNear(operands.sum, static_cast<double>(std::accumulate(a.begin(), a.end(), 0.0L)), 1e-9);
        });
    }
    void SumOfSquares(auto f) const {
        Sized("W4.sumsq", {1, 8, 2}, f, [](const Operands& operands) {
            const std::span a(operands.a);
            const auto expected =
                static_cast<double>(std::inner_product(a.begin(), a.end(), a.begin(), 0.0L));
            return IsNear(operands.sum / expected, 1, 1e-12);
        });
    }
    void MinMax(auto f) const {
        Sized("W4.minmax", {1, 8, 2}, f, [](const Operands& operands) {
            const auto [low, high] = std::ranges::minmax(std::span(operands.a));
            return operands.range.low == low && operands.range.high == high;
        });
    }
    void ToGravity(auto f) const {
        const auto right = Each(
            &Operands::x, [](double a, double) { return a / kGravity; }, 1e-15);
        for (const size_t size : {1U << 16, 1U << 22})
            Add<Operands>("W9.ms2_to_g", peer_, size, {1, 16, 1}, f, right);
    }
    void ToCelsius(auto f) const {
        const auto right = Each(
            &Operands::x, [](double a, double) { return a - kZeroCelsius; }, 1e-12);
        for (const size_t size : {1U << 16, 1U << 22})
            Add<Operands>("W9.K_to_degC", peer_, size, {1, 16, 1}, f, right);
    }
    void CrossPower(auto f) const {
        Complex("W12.cmul_split", {1, 48, 8}, f,
                [](const auto& a, const auto& b) { return a * std::conj(b) / 2.0; });
    }
    void Polar(auto f) const {
        Complex("W12.mag_phase", {1, 32, 0}, f,
                [](const auto& a, const auto&) { return std::complex(std::abs(a), std::arg(a)); });
    }

private:
    void Sized(const char* workload, const Work& each, auto f, auto isRight) const {
        for (const size_t size : {1U << 6, 1U << 10, 1U << 16, 1U << 22})
            Add<Operands>(workload, peer_, size, each, f, isRight);
    }
    /// On arrays of real, then imaginary parts.
    void Complex(const char* workload, const Work& each, auto f, auto expected) const {
        for (const size_t size : {1U << 10, 1U << 16})
            Add<Operands>(
                workload, peer_, 2 * size, each, f,
                [=](const Operands& operands) {
                    const std::span a(operands.a), b(operands.b), out(operands.out);
                    for (size_t i = 0; i < size; ++i) {
                        const std::complex right =
                            expected(std::complex(a[i], a[size + i]), std::complex(b[i], b[size + i]));
                        if (!(std::abs(right - std::complex(out[i], out[size + i])) < 1e-14)) return false;
                    }
                    return true;
                },
                2);
    }

    std::string peer_;
};

void AddOperations(const std::string& peer, const ArrayOperations& f) {
    const Rows<Plain> rows(peer);
    if (f.add) rows.Plus([f](Plain& o) { f.add(o.a.data(), o.b.data(), o.out.data(), o.a.size()); });
    if (f.multiply)
        rows.Times([f](Plain& o) { f.multiply(o.a.data(), o.b.data(), o.out.data(), o.a.size()); });
    if (f.scale) {
        rows.Scale([f](Plain& o) { f.scale(o.x.data(), o.isBack ? 2 : 0.5, o.x.size()); });
        rows.ToGravity(
            [f](Plain& o) { f.scale(o.x.data(), o.isBack ? kGravity : 1 / kGravity, o.x.size()); });
    }
    if (f.shift)
        rows.ToCelsius(
            [f](Plain& o) { f.shift(o.x.data(), o.isBack ? kZeroCelsius : -kZeroCelsius, o.x.size()); });
    if (f.toFloat)
        rows.ToFloat([f](Plain& o) {
            o.floats.resize(o.a.size());
            f.toFloat(o.a.data(), o.floats.data(), o.a.size());
        });
    if (f.sum) rows.Sum([f](Plain& o) { o.sum = f.sum(o.a.data(), o.a.size()); });
    if (f.sumOfSquares) rows.SumOfSquares([f](Plain& o) { o.sum = f.sumOfSquares(o.a.data(), o.a.size()); });
    if (f.range) rows.MinMax([f](Plain& o) { o.range = f.range(o.a.data(), o.a.size()); });
    if (f.crossPower)
        rows.CrossPower(
            [f](Plain& o) { f.crossPower(o.a.data(), o.b.data(), o.out.data(), o.a.size() / 2); });
    if (f.polar)
        rows.Polar([f](Plain& o) {
            f.polar(o.a.data(), o.out.data(), o.out.data() + o.a.size() / 2, o.a.size() / 2);
        });
}

/// Our product works on complex arrays, which take the place of the operands at the first run.
class OurProduct {
public:
    void operator()(Plain& o) {
        const auto n = o.a.size() / 2;
        if (out_.GetNum() == 0) {
            for (auto [array, parts] : {std::pair(&a_, &o.a), std::pair(&b_, &o.b)}) {
                array->Create(1, static_cast<__int64>(n));
                array->SetReal(parts->data());
                array->SetImaginary(parts->data() + n);
            }
            out_ = a_;
            CMatSpec::CalcCrossPow(&out_, a_, b_, -1);
            std::copy_n(out_.GetReal(), n, o.out.begin());
            std::copy_n(out_.GetImaginary(), n, o.out.data() + n);
        }
        CMatSpec::CalcCrossPow(&out_, a_, b_, -1);
    }

private:
    CDataArrayDoubleCplx a_, b_, out_;
};

/// Converts `x` to the unit and back.
auto InUnit(const wchar_t* name) {
    return [unit = kvx::ParseUnit(name).value()](Plain& o) {
        const auto n = static_cast<__int64>(o.x.size());
        o.isBack ? unit.ConvItoD(o.x.data(), o.x.data(), n, 1, 1)
                 : unit.ConvDtoI(o.x.data(), o.x.data(), n, 1, 1);
    };
}

void AddKvx() {
    const Rows<Ours> rows("kvx");
    rows.Plus([](Ours& o) { CDataArrayDouble::AddArr(&o.out, 0, o.a, 0, o.b, 0, o.a.GetNum()); });
    rows.Times([](Ours& o) { CDataArrayDouble::MulArr(&o.out, 0, o.a, 0, o.b, 0, o.a.GetNum()); });
    rows.Scale([](Ours& o) { o.x *= o.isBack ? 2 : 0.5; });
    rows.ToFloat([](Ours& o) { o.a.GetDataArrayFloat(&o.floats); });
    rows.Sum([](Ours& o) { o.sum = o.a.GetSum(); });
    rows.SumOfSquares([](Ours& o) { o.sum = o.a.GetSqSum(0, 0); });
    rows.MinMax([](Ours& o) { o.a.GetMinMax(0, &o.range.low, &o.range.high); });
    rows.Polar([](Ours& o) {
        const __int64 n = o.a.GetNum() / 2;
        CMatBasic::FouToAmpFltN(o.a.GetData(), o.a.GetData() + n, o.out.GetData(), o.out.GetData() + n, n, 0);
    });
    const Rows<Plain> plainRows("kvx");
    plainRows.ToGravity(InUnit(L"G"));
    plainRows.ToCelsius(InUnit(L"degC"));
    plainRows.CrossPower(OurProduct());
}

constexpr ArrayOperations kStandard{
    .sum = [](const double* x, size_t n) { return std::reduce(x, x + n); },
    .range =
        [](const double* x, size_t n) {
            const auto [low, high] = std::minmax_element(x, x + n);
            return Range{*low, *high};
        },
};

#ifdef KVX_PEER_VOLK
constexpr ArrayOperations kVolk{
    .add = [](const double* a, const double* b, double* out,
              size_t n) { volk_64f_x2_add_64f(out, a, b, static_cast<unsigned>(n)); },
    .multiply = [](const double* a, const double* b, double* out,
                   size_t n) { volk_64f_x2_multiply_64f(out, a, b, static_cast<unsigned>(n)); },
    .toFloat = [](const double* x, float* out,
                  size_t n) { volk_64f_convert_32f(out, x, static_cast<unsigned>(n)); },
};
#endif

#ifdef KVX_PEER_OPENBLAS
constexpr int kStep = 1;
constexpr ArrayOperations kOpenBlas{
    .scale =
        [](double* x, double factor, size_t n) {
            const int count = static_cast<int>(n);
            dscal_(&count, &factor, x, &kStep);
        },
    .sumOfSquares =
        [](const double* x, size_t n) {
            const int count = static_cast<int>(n);
            return ddot_(&count, x, &kStep, x, &kStep);
        },
};
#endif

}  // namespace

void AddArrays() {
    AddKvx();
    for (const auto& [suffix, loops] :
         {std::pair("", &baseline::kLoops), std::pair("-native", &native::kLoops)}) {
        AddOperations(std::string("loop") + suffix, loops->plain);
        AddOperations(std::string("eigen") + suffix, loops->eigen);
        AddOperations(std::string("sleef") + suffix, loops->sleef);
    }
    AddOperations("std", kStandard);
#ifdef KVX_PEER_VOLK
    AddOperations("volk", kVolk);
#endif
#ifdef KVX_PEER_OPENBLAS
    AddOperations("openblas", kOpenBlas);
#endif
}

}  // namespace peers
