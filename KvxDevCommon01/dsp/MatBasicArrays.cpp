// SPDX-License-Identifier: MIT
//
// Element-wise arithmetic on raw blocks, by the kernels where the blocks allow it, and the comparison of
// numbers.

#include <KvxDevCommon01/data/kernels/ElementRuns.h>
#include <KvxDevCommon01/dsp/MatBasic.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>

namespace {

using kvx::ElementKernels;

/// a[i] = operation(a[i], c)
template <class Operation>
int WithNumber(double* a, double c, __int64 n, ElementKernels::OfNumber* ElementKernels::*kernel,
               Operation operation) {
    if (a == nullptr || n < 1) return 0;
    kvx::ChangeEach(a, c, n, kernel, operation);
    return 1;
}

/// a[i] = operation(a[i], b[i])
template <class Operation>
int WithArray(double* a, const double* b, __int64 n, ElementKernels::OfTwo* ElementKernels::*kernel,
              Operation operation) {
    if (a == nullptr || b == nullptr || n < 1) return 0;
    kvx::SetOfTwo(a, a, b, n, kernel, operation);
    return 1;
}

}  // namespace

int CMatBasic::AddArr(double* a, const double* b, __int64 n) {
    return WithArray(a, b, n, &ElementKernels::add, std::plus<>());
}

int CMatBasic::AddArr(double* a, double c, __int64 n) {
    return WithNumber(a, c, n, &ElementKernels::addNumber, std::plus<>());
}

int CMatBasic::MulArr(double* a, const double* b, __int64 n) {
    return WithArray(a, b, n, &ElementKernels::multiply, std::multiplies<>());
}

int CMatBasic::MulArr(double* a, double c, __int64 n) {
    return WithNumber(a, c, n, &ElementKernels::scale, std::multiplies<>());
}

int CMatBasic::DivArr(double* a, const double* b, __int64 n) {
    return WithArray(a, b, n, &ElementKernels::divideUnlessByZero,
                     [](double x, double y) { return y == 0.0 ? x : x / y; });
}

int CMatBasic::DivArr(double* a, double c, __int64 n) {
    return c == 0.0 ? 0 : MulArr(a, 1.0 / c, n);
}

int CMatBasic::SetArr(double* a, double c, __int64 n) {
    if (a == nullptr || n < 1) return 0;
    std::fill_n(a, n, c);
    return 1;
}

int CMatBasic::ZeroArr(double* a, __int64 n) {
    return SetArr(a, 0.0, n);
}

int CMatBasic::CopyArr(double* dst, const double* src, __int64 n) {
    if (dst == nullptr || src == nullptr || n < 1) return 0;
    if (kvx::Overtakes(dst, src, n)) {
        for (__int64 i = 0; i < n; ++i) dst[i] = src[i];
    } else {
        std::copy_n(src, n, dst);
    }
    return 1;
}

int CMatBasic::SqrtArr(double* a, __int64 n) {
    if (a == nullptr || n < 1) return 0;
    kvx::ActiveKernels<ElementKernels>().squareRoot(a, a, n);
    return 1;
}

int CMatBasic::Reverse(double* a, __int64 n) {
    if (a == nullptr || n < 1) return 0;
    std::reverse(a, a + n);
    return 1;
}

__int64 CMatBasic::GreaterEqPow2(__int64 n) {
    if (n <= 1) return 1;
    if (n > __int64{1} << 62) return 0;
    return static_cast<__int64>(std::bit_ceil(static_cast<std::uint64_t>(n)));
}

double CMatBasic::Clip(double x, double a, double b) {
    return std::min(std::max(x, std::min(a, b)), std::max(a, b));
}

double CMatBasic::LimitedLog(double x, double floor) {
    return std::log(x > floor ? x : floor);
}

int CMatBasic::DoubleCmpByRatio(double a, double b, double ratio) {
    constexpr double kMaxRatio = 1.0;
    const double larger = std::max(std::abs(a), std::abs(b));
    // An infinite tolerance would make infinity equal to every number.
    const double tolerance = std::isinf(larger) ? 0.0 : larger * std::min(std::abs(ratio), kMaxRatio);
    return DoubleCmpByValue(a, b, tolerance);
}

int CMatBasic::DoubleCmpByValue(double a, double b, double tolerance) {
    const bool largerIsB = std::abs(b) > std::abs(a);
    const double larger = largerIsB ? b : a;
    const double smaller = largerIsB ? a : b;
    const int sign = largerIsB ? 1 : -1;
    const double margin = std::abs(tolerance);
    if (smaller < larger - margin) return sign;
    if (smaller > larger + margin) return -sign;
    return 0;
}
