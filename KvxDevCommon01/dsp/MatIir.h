// SPDX-License-Identifier: MIT
//
// Recursive filters for streams of samples: CMatIir1th and CMatIir2th are low-pass and high-pass sections of
// the first and second order, CMatIirNth cascades them into Butterworth filters. They come from the analogue
// filters through the bilinear transform, p = tan(pi fc), so that the gain at the corner is the analogue one.
//
// Corners fc are fractions of the sampling rate, 0 < fc < 0.5. A filter keeps its state from call to call:
// blocks may be cut anywhere, the result is the same to the last bit. All of them are values: copies go on
// from the state of the original. One object belongs to one thread at a time.
//
// Magnitudes below 2^-512 (7e-155) count as 0, in the samples and in the state of the sections. What a signal
// leaves behind in silence therefore ends in zeros instead of subnormal numbers, with which processors are a
// hundred times slower, and a sample costs the same whatever its value.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

#include <cstddef>
#include <cstdint>
#include <memory>

class CDataArrayDouble;
namespace kvx {
struct IirGroup;
}

/// First order: y = b0 x + b1 x1 + a1 y1, where 1 marks the sample before. a1 = (1-p)/(1+p);
///   low-pass   b0 = b1 = p/(1+p);
///   high-pass  b0 = -b1 = 1/(1+p).
/// Before it is designed, a section repeats its state: 0, or the value of ClearBuf.
class KVX_API CMatIir1th {
public:
    CMatIir1th();

    /// Designs a low-pass and keeps the state. Fails (0), changing nothing, unless 0 < fc < 0.5.
    int CalcCoefLPF(double fc);
    /// The same for a high-pass.
    int CalcCoefHPF(double fc);

    /// Sets the remembered input and output to `value`. A low-pass then stands on that level and gives it
    /// back when fed with it: to the last bit up to fc = 0.25, to rounding above.
    void ClearBuf(double value);

    /// Filters one sample.
    double Filtering(double x);
    /// Filters `n` samples. `out` may be `data`; other overlap is not allowed. Fails (0), writing nothing,
    /// for a null pointer and for n < 1.
    int Filtering(const double* data, double* out, __int64 n);
    /// Filters all samples of `in`; `out`, which may be `in`, gets their count. Fails (0), changing nothing,
    /// for a null or an empty array and when memory runs out.
    int Filtering(CDataArrayDouble* out, const CDataArrayDouble& in);

private:
    alignas(double) std::byte section_[12 * sizeof(double)];  // coefficients and memory
};

/// Second order: y = b0 x + b1 x1 + b2 x2 + a1 y1 + a2 y2. With D = 1 + p/q + p^2: a1 = 2 (1 - p^2)/D,
/// a2 = -(1 - p/q + p^2)/D;
///   low-pass   b0 = b2 = p^2/D, b1 = 2 b0;
///   high-pass  b0 = b2 = 1/D,   b1 = -2 b0.
/// q is the gain at the corner, 1/sqrt(2) for the flattest response.
class KVX_API CMatIir2th {
public:
    CMatIir2th();

    /// Designs a low-pass and keeps the state. Fails (0), changing nothing, unless 0 < fc < 0.5 and q is
    /// positive and finite.
    int CalcCoefLPF(double fc, double q);
    /// The same for a high-pass.
    int CalcCoefHPF(double fc, double q);

    /// As CMatIir1th, both remembered inputs and outputs.
    void ClearBuf(double value);

    // As CMatIir1th.
    double Filtering(double x);
    int Filtering(const double* data, double* out, __int64 n);
    int Filtering(CDataArrayDouble* out, const CDataArrayDouble& in);

private:
    alignas(double) std::byte section_[12 * sizeof(double)];  // coefficients and memory
};

/// Butterworth filters of order N: for an odd order a first-order section, then N/2 second-order sections,
/// all with the corner fc, where the gain is 1/sqrt(2). The qualities q of the sections rise up to order 32;
/// beyond, low and high ones alternate, so that the response stays within N 1e-13 up to the highest order.
/// Order 0, like an object that was never designed or could not be copied for want of memory, passes the
/// samples through.
class KVX_API CMatIirNth {
public:
    /// Highest order.
    static constexpr std::int32_t kMaxOrder = 1024;

    CMatIirNth();
    CMatIirNth(const CMatIirNth& other);
    CMatIirNth& operator=(const CMatIirNth& other);
    ~CMatIirNth();

    /// Designs a low-pass, whose sections start from 0. Fails (0), changing nothing, unless 0 < fc < 0.5 and
    /// 0 <= order <= kMaxOrder, and when memory runs out.
    int CalcCoefBwLPF(double fc, std::int32_t order);
    /// The same for a high-pass.
    int CalcCoefBwHPF(double fc, std::int32_t order);

    /// Sets every remembered input and output of every section to `value`.
    void ClearBuf(double value);

    // As CMatIir1th.
    double Filtering(double x);
    int Filtering(const double* data, double* out, __int64 n);
    int Filtering(CDataArrayDouble* out, const CDataArrayDouble& in);

private:
    int Design(double fc, std::int32_t order, double pass);
    bool Allocate(int sectionCount);

    int sectionCount_ = 0;
    std::unique_ptr<kvx::IirGroup[]> groups_;
};
